#include "client.h"

#include <stdexcept>

#include "../roundtrip.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/context.h"
#include "zal/transport/zmqhelper.h"

namespace zalbench {

using zal::ControlMessageHelper;
using Message = zalmsg::ControlMessage;

Client::Client(const std::string& frontend)
    : socket(*zal::Context::getZMQContext(), zmq::socket_type::dealer) {
    zal::ZmqHelper::connectSocket(socket, frontend);
}

Message Client::request(const std::string& destination, const Message& message) {
    const QByteArray payload = ControlMessageHelper::toPayload(message);
    const QByteArray identity = ControlMessageHelper::makeIdentity(destination);
    socket.send(zmq::const_buffer("", 0), zmq::send_flags::sndmore);
    socket.send(zmq::const_buffer(identity.constData(), size_t(identity.size())), zmq::send_flags::sndmore);
    socket.send(zmq::const_buffer(payload.constData(), size_t(payload.size())), zmq::send_flags::none);
    zmq_pollitem_t item{socket.handle(), 0, ZMQ_POLLIN, 0};
    if (zmq_poll(&item, 1, 10000) != 1) {
        throw std::runtime_error("no reply from " + destination);
    }
    const auto frames = receiveAll(socket);
    if (frames.size() != 3) {
        throw std::runtime_error("malformed reply from " + destination);
    }
    lastReplySize = int(frames[2].size());
    return ControlMessageHelper::fromPayload(
        QByteArray(static_cast<const char*>(frames[2].data()), qsizetype(frames[2].size())));
}

Message Client::succeed(const std::string& destination, const Message& message) {
    Message reply = request(destination, message);
    if (reply.GetResultType() != Message::ResultType::Success) {
        throw std::runtime_error(message.GetMessageTypeAsString().toStdString() + " at " + destination +
                                 " refused: " + reply.GetMessageText().toStdString());
    }
    return reply;
}

}  // namespace zalbench
