#include "zal/threads/zmqthreadcontroller.h"

#include <boost/lexical_cast.hpp>

#include "zal/msg/controlmessagehelper.h"
#include "zal/platform/errorhandler.h"
#include "zal/transport/constants.h"
#include "zal/transport/context.h"
#include "zal/transport/uninterrupted.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

namespace {
void report(const char* format, const std::exception& e) {
    if (ErrorHandler::isTracing()) {
        _Q_Trace(QString::fromLatin1(format).arg(QString::fromUtf8(e.what())), "zmqthreadcontroller",
                 __LINE__);
    }
}
}  // namespace

ZmqThreadController::ZmqThreadController()
    : socket(std::make_shared<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::pair)),
      address(makeUniqueSocketAddress()) {
    ZmqHelper::bindSocket(*socket, address);
}

std::string ZmqThreadController::makeUniqueSocketAddress() const {
    return makeUniqueSocketAddress(this);
}

std::string ZmqThreadController::makeUniqueSocketAddress(const void* owner) {
    return "inproc://ZAL/__" + boost::lexical_cast<std::string>(owner) + "__";
}

zalmsg::ControlMessage ZmqThreadController::makeCreatedControlMessage(int resultType) {
    zalmsg::ControlMessage message =
        ControlMessageHelper::makeMessage(zalmsg::ControlMessage::MessageType::Created);
    message.SetResultType(resultType);
    return message;
}

bool ZmqThreadController::signalReady() {
    return sendToCreator(makeCreatedControlMessage(zalmsg::ControlMessage::ResultType::Success));
}

bool ZmqThreadController::signalError() {
    return sendToCreator(makeCreatedControlMessage(zalmsg::ControlMessage::ResultType::Error));
}

bool ZmqThreadController::sendToCreator(const zalmsg::ControlMessage& message) {
    try {
        zmq::socket_t sender(*Context::getZMQContext(), zmq::socket_type::pair);
        // A bound PAIR takes one peer: a second signal while the first sender's pipe is still
        // being torn down finds no peer, and would otherwise wait for one forever.
        sender.set(zmq::sockopt::sndtimeo, socketDefaultTimeout);
        sender.set(zmq::sockopt::linger, 0);
        ZmqHelper::connectSocket(sender, address);
        const QByteArray payload = ControlMessageHelper::toPayload(message);
        const auto sent = sendUninterrupted(
            sender, zmq::const_buffer(payload.constData(), static_cast<size_t>(payload.size())),
            zmq::send_flags::none);
        return sent && *sent == static_cast<size_t>(payload.size());
    } catch (const std::exception& e) {
        report("Sending to creator thread failed: (%1)", e);
        return false;
    }
}

bool ZmqThreadController::waitForThread() {
    return waitForThread(-1);
}

bool ZmqThreadController::waitForThread(long timeoutMs) {
    try {
        zmq_pollitem_t item{socket->handle(), 0, ZMQ_POLLIN, 0};
        if (retryInterrupted([&] { return zmq_poll(&item, 1, timeoutMs); }) <= 0) {
            return false;
        }
        zmq::message_t frame;
        if (!receiveUninterrupted(*socket, frame, zmq::recv_flags::dontwait)) {
            return false;
        }
        const zalmsg::ControlMessage message = ControlMessageHelper::fromPayload(
            QByteArray(static_cast<const char*>(frame.data()), static_cast<qsizetype>(frame.size())));
        return message.GetMessageType() == zalmsg::ControlMessage::MessageType::Created &&
               message.GetResultType() == zalmsg::ControlMessage::ResultType::Success;
    } catch (const std::exception& e) {
        report("Waiting for thread failed: (%1)", e);
        return false;
    }
}

}  // namespace zal
