// The socket side's class tree: who provides the raw socket, and the send/receive interfaces.
#pragma once

namespace zal {

template <class Socket>
class ZmqSocketProvider {
public:
    virtual Socket& getSocket() = 0;
    virtual ~ZmqSocketProvider() = default;
};

// Points at a socket owned elsewhere: the owning thread object closes it, so a template built on
// this base must not outlive the socket.
template <class Traits>
class ZmqSocketBase : public ZmqSocketProvider<typename Traits::socket_type> {
public:
    using socket_type = typename Traits::socket_type;

    explicit ZmqSocketBase(socket_type& socket) : socket(&socket) {}
    socket_type& getSocket() override { return *socket; }

private:
    socket_type* socket;
};

template <class Message>
class SendSocket {
public:
    virtual void sendMessage(const Message& message) = 0;
    virtual ~SendSocket() = default;
};

template <class Message>
class ReceiveSocket {
public:
    virtual void receiveMessage(Message& message) = 0;
    virtual ~ReceiveSocket() = default;
};

}  // namespace zal
