// The creator pipe of a controlled thread: bound by the thread, connected by the creator.
#pragma once

#include <memory>
#include <string>
#include <zmq.hpp>

#include "zal/msg/controlmessagehelper.h"
#include "zal/threads/controllerbase.h"
#include "zal/threads/zmqthreadcontroller.h"
#include "zal/transport/context.h"
#include "zal/transport/socketerror.h"
#include "zal/transport/uninterrupted.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

template <class T>
class ZmqController : public ControllerBase<T> {
public:
    explicit ZmqController(QThread* thread) : ControllerBase<T>(thread) {}

    // The connect happens only after the thread has bound the pipe (it binds before initialize()
    // and start() waits for initialize() to end), so an in-process connect never precedes the bind.
    void start() override {
        ControllerBase<T>::start();
        setupCreator();
    }

    // Sends "Shutdown" and joins without a time limit.
    void stop() override {
        if (creatorSocket) {
            sendMessage(*creatorSocket,
                        ControlMessageHelper::makeMessage(zalmsg::ControlMessage::MessageType::Shutdown));
        }
        ControllerBase<T>::stop();
    }

    // In the new thread: binds the thread's end of the pipe and hands it to the service.
    void setupThread(T* service) override {
        threadSocket = std::make_shared<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::pair);
        address = ZmqThreadController::makeUniqueSocketAddress(this);
        try {
            ZmqHelper::bindSocket(*threadSocket, address);
        } catch (const std::exception& e) {
            throw ThreadError(std::string("ZmqControllableThread: Binding socket failed: ") + e.what());
        }
        service->setCreatorSocket(threadSocket);
    }

    // One frame of the message's XML text. A failure is deliberately not reported: the caller
    // stops the thread either way and joins it.
    static bool sendMessage(zmq::socket_t& socket, const zalmsg::ControlMessage& message) {
        const QByteArray payload = ControlMessageHelper::toPayload(message);
        try {
            const auto sent = sendUninterrupted(
                socket, zmq::const_buffer(payload.constData(), static_cast<size_t>(payload.size())),
                zmq::send_flags::none);
            return sent && *sent == static_cast<size_t>(payload.size());
        } catch (const zmq::error_t& e) {
            const std::string dropped = std::string("ZmqController::sendMessage() failed: ") + e.what();
            (void)dropped;
            return false;
        }
    }

    std::string getAddress() const { return address; }

private:
    void setupCreator() {
        try {
            creatorSocket =
                std::make_shared<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::pair);
            ZmqHelper::connectSocket(*creatorSocket, address);
        } catch (const std::exception& e) {
            throw SocketError(
                std::string("ZmqController::setupCreator() failed while connecting a socket: ") + e.what());
        }
    }

    // The thread's end: used only by the controlled thread, closed here after it was joined.
    std::shared_ptr<zmq::socket_t> threadSocket;
    std::string address;
    // The creator's end: used only by the thread that owns this controller.
    std::shared_ptr<zmq::socket_t> creatorSocket;
};

}  // namespace zal
