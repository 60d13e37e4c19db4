#include "zal/transport/zmqhelper.h"

#include <cerrno>
#include <chrono>
#include <thread>

#include "zal/platform/errorhandler.h"

namespace zal {

namespace {
constexpr std::chrono::milliseconds bindRetryPause{100};
constexpr size_t lastEndpointCapacity = 128;
}  // namespace

void ZmqHelper::bindSocket(zmq::socket_t& socket, std::string& address) {
    bindSocket(socket, address, &zmq_bind);
}

void ZmqHelper::bindSocket(zmq::socket_t& socket, std::string& address, BindFunction bind) {
    for (int attempt = 0;; ++attempt) {
        if (attempt == maxBindAttempts) {
            throw zmq::error_t();
        }
        if (bind(socket.handle(), address.c_str()) == 0) {
            break;
        }
        const zmq::error_t error;
        if (error.num() == EADDRINUSE && attempt != maxBindAttempts - 1) {
            std::this_thread::sleep_for(bindRetryPause);
            continue;
        }
        if (ErrorHandler::isTracing()) {
            _Q_Trace(QStringLiteral("bindSocket() for \"%1\" failed: %2")
                         .arg(QString::fromStdString(address), QString::fromUtf8(error.what())),
                     "zmqhelper", 40);
        }
        throw error;
    }

    char endpoint[lastEndpointCapacity] = {};
    size_t size = sizeof endpoint;
    if (zmq_getsockopt(socket.handle(), ZMQ_LAST_ENDPOINT, endpoint, &size) != 0) {
        throw zmq::error_t();
    }
    endpoint[lastEndpointCapacity - 1] = '\0';
    address = endpoint;
}

void ZmqHelper::bindSocket(zmq::socket_t& socket, QString& address) {
    std::string bound = address.toStdString();
    bindSocket(socket, bound);
    address = QString::fromStdString(bound);
}

void ZmqHelper::bindSocket(zmq::socket_t& socket) {
    std::string none;
    bindSocket(socket, none);
}

void ZmqHelper::connectSocket(zmq::socket_t& socket, const std::string& address) {
    if (zmq_connect(socket.handle(), address.c_str()) != 0) {
        throw zmq::error_t();
    }
}

void ZmqHelper::connectSocket(zmq::socket_t& socket, const std::string& address,
                              const std::string& identity) {
    if (zmq_setsockopt(socket.handle(), ZMQ_IDENTITY, identity.c_str(), identity.size() + 1) != 0) {
        throw zmq::error_t();
    }
    connectSocket(socket, address);
}

}  // namespace zal
