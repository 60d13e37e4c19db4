// A blocking request/reply client with a time-out, over a REQ socket that is renewed after a time-out.
#pragma once

#include <QString>
#include <functional>
#include <memory>
#include <string>

#include "zal/msg/controlmessagehelper.h"
#include "zal/msg/messagetextprovider.h"
#include "zal/transport/constants.h"
#include "zal/transport/context.h"
#include "zal/transport/socketreader.h"
#include "zal/transport/zmqcontrolsockettemplate.h"

namespace zal {

// What became of one request.
enum class ReplyStatus {
    Received,    // a control message came back, whatever its result
    TimedOut,    // nothing came back within the time-out
    Unreadable,  // something came back that is not a control message
};

// Belongs to one thread. A REQ socket alternates strictly between send and receive, so every
// time-out throws the socket away and the next request starts on a fresh connection; a late
// reply to the timed-out request is lost with the old socket.
template <class Socket, class ControlSocket, class Reader>
class RequestClientTemplate : public MessageTextProvider {
public:
    // Called on every socket the client opens, before it connects (for security options).
    using Prepare = std::function<void(Socket&)>;

    // withAddress: the envelope's address travels as a frame of its own (Addressed: for a ROUTER
    // peer that reads it as the destination); otherwise the payload travels alone (DataOnly).
    RequestClientTemplate(const std::string& endpoint, bool withAddress, int timeoutMs, Prepare prepare = {})
        : endpoint(endpoint),
          envelopeMode(withAddress ? EnvelopeMode::Addressed : EnvelopeMode::DataOnly),
          prepare(std::move(prepare)) {
        open();
        reader->setTimeout(timeoutMs);
    }
    ~RequestClientTemplate() { close(); }
    RequestClientTemplate(const RequestClientTemplate&) = delete;
    RequestClientTemplate& operator=(const RequestClientTemplate&) = delete;

    // Sends, waits and parses the reply; true exactly when a reply arrived with result "Success".
    // A time-out or an unreadable reply returns false with the reason as the last message text.
    bool request(const zalmsg::ControlMessage& message, zalmsg::ControlMessage& reply) {
        return request(QByteArray::fromStdString(endpoint), message, reply);
    }
    bool request(const QByteArray& destination, const zalmsg::ControlMessage& message,
                 zalmsg::ControlMessage& reply) {
        return exchange(destination, message, reply) == ReplyStatus::Received &&
               reply.GetResultType() == zalmsg::ControlMessage::ResultType::Success;
    }

    // Sends, waits and parses the reply. Received: `reply` holds it and the last message text is
    // its text; otherwise the last message text gives the reason.
    ReplyStatus exchange(const QByteArray& destination, const zalmsg::ControlMessage& message,
                         zalmsg::ControlMessage& reply) {
        send(destination, message);
        if (!waitForReply()) {
            reset();
            return ReplyStatus::TimedOut;
        }
        ControlMessage envelope;
        controlSocket->receiveMessage(envelope);
        try {
            reply = ControlMessageHelper::fromPayload(envelope.data);
        } catch (const std::exception& e) {
            setLastMessageText(std::string("Invalid reply: ") + e.what());
            return ReplyStatus::Unreadable;
        }
        checkMessageResult(reply);
        return ReplyStatus::Received;
    }

    // Sends without waiting; the caller must receive (or reset) before the next send.
    void send(const QByteArray& destination, const zalmsg::ControlMessage& message) {
        controlSocket->sendMessage(ControlMessageHelper::makeMessageEnvelope(destination, message));
    }

    bool waitForReply() {
        const int ready = reader->waitForSocketsOrTimeout();
        const int events = reader->getEvents(index);
        if (ready != 0) {
            if (SocketReader::hasError(events)) {
                throw zmq::error_t();
            }
            return SocketReader::isReadable(events);
        }
        setLastMessageText(QStringLiteral("Socket timeout %2ms: %1")
                               .arg(QString::fromStdString(endpoint))
                               .arg(reader->getTimeout())
                               .toStdString());
        return false;
    }

    void reset() {
        const long timeout = reader ? reader->getTimeout() : -1;
        close();
        open();
        reader->setTimeout(timeout);
    }

    std::string getEndpoint() const { return endpoint; }

private:
    void open() {
        socket = std::make_unique<Socket>(*Context::getZMQContext(), zmq::socket_type::req);
        controlSocket = std::make_shared<ControlSocket>(*socket, envelopeMode);
        reader = std::make_shared<Reader>();
        if (prepare) {
            prepare(*socket);
        }
        socket->connect(endpoint);
        index = reader->addSocket(*socket, ZMQ_POLLIN);
    }

    void close() {
        reader.reset();
        controlSocket.reset();
        // Pending requests are dropped at once rather than lingering towards a peer that is gone.
        if (socket) {
            socket->set(zmq::sockopt::linger, 0);
            socket.reset();
        }
    }

    std::string endpoint;
    EnvelopeMode envelopeMode;
    Prepare prepare;
    std::unique_ptr<Socket> socket;
    std::shared_ptr<ControlSocket> controlSocket;
    std::shared_ptr<Reader> reader;
    int index = -1;
};

using RequestClient = RequestClientTemplate<zmq::socket_t, ZmqControlSocket, SocketReader>;

}  // namespace zal
