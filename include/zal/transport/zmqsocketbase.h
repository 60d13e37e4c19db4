// The socket side's class tree: who provides the raw socket, and the send/receive interfaces.
#pragma once

#include <zmq.h>

#include "zal/transport/uninterrupted.h"

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

    // Reads and drops whatever is left of a message whose receive stopped part-way, so that the
    // next receive starts at a message boundary. ZeroMQ delivers a message's frames together, so
    // this never waits. Returns the number of frames dropped.
    int discardRestOfMessage() {
        int dropped = 0;
        int more = 0;
        size_t size = sizeof more;
        while (zmq_getsockopt(socket->handle(), ZMQ_RCVMORE, &more, &size) == 0 && more != 0) {
            zmq_msg_t frame;
            zmq_msg_init(&frame);
            const int received =
                retryInterrupted([&] { return zmq_msg_recv(&frame, socket->handle(), ZMQ_DONTWAIT); });
            zmq_msg_close(&frame);
            if (received < 0) {
                break;
            }
            ++dropped;
        }
        return dropped;
    }

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
