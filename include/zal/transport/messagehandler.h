// What a thread does with a received message: the handler interface and its control-message form.
#pragma once

#include "zal/transport/messages.h"
#include "zal/transport/zmqcontrolsockettemplate.h"

namespace zal {

// The socket is the one to answer on (the receiving one, a forwarding target, or null when the
// message cannot be answered). Handlers never own it.
template <class Socket, class Message>
class MessageHandler {
public:
    virtual void handleMessage(Message& message, Socket* socket) = 0;
    virtual ~MessageHandler() = default;
};

// The base of every handler of control messages: name service, group manager, groups, processors.
class ControlMessageHandler
    : public MessageHandler<ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>>, ControlMessage> {};

}  // namespace zal
