// Joins one socket to one handler: the owning thread calls processInput when the socket is readable.
#pragma once

#include <functional>

#include "zal/transport/messagehandler.h"
#include "zal/transport/socketerror.h"
#include "zal/transport/zmqsocketbase.h"

namespace zal {

class InputClient {
public:
    // Receives one message and hands it on; socket and handler exceptions pass to the caller.
    virtual void processInput() = 0;
    virtual ~InputClient() = default;
};

// Replies go back on the socket the message came on. Neither pointer is owned.
template <class Socket, class Message>
class InputClientBase : public InputClient {
public:
    InputClientBase(Socket* socket, MessageHandler<Socket, Message>* handler)
        : socket(socket), handler(handler) {}

    void processInput() override {
        Message message;
        socket->receiveMessage(message);
        handler->handleMessage(message, socket);
    }

    // processInput without waiting: false at once when nothing is queued. Only for sockets that
    // can try a receive; the message object is kept so its buffers serve the next message too.
    bool processQueuedInput() {
        if (!socket->tryReceiveMessage(queued)) {
            return false;
        }
        handler->handleMessage(queued, socket);
        return true;
    }

protected:
    Socket* socket;
    MessageHandler<Socket, Message>* handler;
    Message queued;
};

// For subscriptions, which cannot be answered on the socket they arrive on: the handler gets null.
template <class Socket, class Message>
class SubInputClient : public InputClient {
public:
    SubInputClient(ReceiveSocket<Message>* socket, MessageHandler<Socket, Message>* handler)
        : socket(socket), handler(handler) {}

    void processInput() override {
        Message message;
        socket->receiveMessage(message);
        handler->handleMessage(message, nullptr);
    }

protected:
    ReceiveSocket<Message>* socket;
    MessageHandler<Socket, Message>* handler;
};

// Hands each message to the handler together with the socket it is to be forwarded on.
// A malformed message (MessageFormatError) reaches the caller, unless `onMalformed` is given: then
// the rest of that message is read and dropped, and `onMalformed` gets what was read of it (a
// router message's source, for one), so that the owner's loop can go on.
template <class Socket, class Message, class ForwardMessage>
class ForwardingInputClient : public InputClient {
public:
    using MalformedCallback = std::function<void(const Message& partial)>;

    ForwardingInputClient(Socket* socket, MessageHandler<Socket, Message>* handler, Socket* forward,
                          MalformedCallback onMalformed = {})
        : socket(socket), handler(handler), forward(forward), onMalformed(std::move(onMalformed)) {}

    void processInput() override {
        Message message;
        try {
            socket->receiveMessage(message);
        } catch (const MessageFormatError&) {
            if (!onMalformed) {
                throw;
            }
            socket->discardRestOfMessage();
            onMalformed(message);
            return;
        }
        handler->handleMessage(message, forward);
    }

protected:
    Socket* socket;
    MessageHandler<Socket, Message>* handler;
    Socket* forward;
    MalformedCallback onMalformed;
};

}  // namespace zal
