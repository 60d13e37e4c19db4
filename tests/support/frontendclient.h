// An outside client of the router's frontend: a DEALER socket speaking the wire protocol.
#pragma once

#include "support/sockets.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/zmqhelper.h"

namespace zaltest {

// A request for a processor of `type` that publishes `stream` at `address`.
inline zalmsg::ControlMessage createRequest(const std::string& type, const std::string& name,
                                            const std::string& stream, const std::string& address) {
    return zal::ControlMessageHelper::makeCreateProcessorMessage(
        type, name, zal::ControlMessageHelper::makeProcessorConfig(stream, address));
}

// Sends: empty delimiter, destination identity (with its zero byte), payload. A reply arrives
// as: empty delimiter, the replying service's identity, payload.
class FrontendClient {
public:
    // A bounded linger: requests still queued when the client goes are sent if the frontend is
    // there, and cannot hold up the end of the process when it is not.
    explicit FrontendClient(const std::string& frontend) {
        socket.set(zmq::sockopt::linger, 1000);
        zal::ZmqHelper::connectSocket(socket, frontend);
    }

    void sendRaw(const std::vector<QByteArray>& frames) { sendFrames(socket, frames); }

    void send(const std::string& destination, const QByteArray& payload) {
        sendRaw({"", zal::ControlMessageHelper::makeIdentity(destination), payload});
    }

    // Frames of the next reply, empty when none comes within timeoutMs.
    std::vector<QByteArray> receive(long timeoutMs = 5000) { return receiveFrames(socket, timeoutMs); }

    // One request, one reply; fails the calling test when no well-formed reply arrives.
    zalmsg::ControlMessage request(const std::string& destination, const zalmsg::ControlMessage& message,
                                   long timeoutMs = 5000) {
        send(destination, zal::ControlMessageHelper::toPayload(message));
        const auto frames = receive(timeoutMs);
        if (frames.size() != 3) {
            ADD_FAILURE() << "expected a three-frame reply from " << destination << ", got " << frames.size();
            return zalmsg::ControlMessage();
        }
        EXPECT_EQ(frames[0], "");
        EXPECT_EQ(frames[1], zal::ControlMessageHelper::makeIdentity(destination));
        return zal::ControlMessageHelper::fromPayload(frames[2]);
    }

    // A request that must succeed; the reply, for its values.
    zalmsg::ControlMessage succeed(const std::string& destination, const zalmsg::ControlMessage& message,
                                   long timeoutMs = 10000) {
        zalmsg::ControlMessage reply = request(destination, message, timeoutMs);
        EXPECT_EQ(reply.GetResultType(), zalmsg::ControlMessage::ResultType::Success)
            << message.GetMessageTypeAsString().toStdString() << ": " << reply.GetMessageText().toStdString();
        return reply;
    }

    // A request that must be refused; the refusal's text.
    QString refusal(const std::string& destination, const zalmsg::ControlMessage& message,
                    long timeoutMs = 10000) {
        const zalmsg::ControlMessage reply = request(destination, message, timeoutMs);
        EXPECT_EQ(reply.GetResultType(), zalmsg::ControlMessage::ResultType::Error)
            << message.GetMessageTypeAsString().toStdString();
        return reply.GetMessageText();
    }

    zmq::socket_t& raw() { return socket; }

private:
    zmq::socket_t socket = makeSocket(zmq::socket_type::dealer);
};

}  // namespace zaltest
