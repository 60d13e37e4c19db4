#include "zal/processors/handshakewatch.h"

#include <atomic>
#include <cstring>

#include "zal/transport/context.h"
#include "zal/transport/uninterrupted.h"

namespace zal {

namespace {

constexpr int watchedEvents = ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_HANDSHAKE_FAILED_NO_DETAIL |
                              ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL | ZMQ_EVENT_HANDSHAKE_FAILED_AUTH;

std::string uniqueEndpoint() {
    static std::atomic<unsigned> made{0};
    return "inproc://zal.handshakes." + std::to_string(made++);
}

}  // namespace

HandshakeWatch::HandshakeWatch(zmq::socket_t& watched)
    : pair(*Context::getZMQContext(), zmq::socket_type::pair) {
    const std::string endpoint = uniqueEndpoint();
    if (zmq_socket_monitor(watched.handle(), endpoint.c_str(), watchedEvents) != 0) {
        throw zmq::error_t();
    }
    pair.set(zmq::sockopt::linger, 0);
    pair.connect(endpoint);
}

QString HandshakeWatch::reasonOf(int event, std::uint32_t value) {
    switch (event) {
        case ZMQ_EVENT_HANDSHAKE_FAILED_AUTH:
            return QStringLiteral("key not authorised by the server, status %1").arg(value);
        case ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL:
            if (value == ZMQ_PROTOCOL_ERROR_ZMTP_MECHANISM_MISMATCH) {
                return QStringLiteral("the server does not speak CURVE");
            }
            if (value == ZMQ_PROTOCOL_ERROR_ZMTP_CRYPTOGRAPHIC) {
                return QStringLiteral("cryptographic error: a wrong server key");
            }
            return QStringLiteral("handshake protocol error 0x%1").arg(value, 0, 16);
        default:
            return QStringLiteral("handshake failed without a reason: a wrong server key?");
    }
}

// A report is two frames: 16 bits of event and 32 of value, then the address.
void HandshakeWatch::readReports(
    const std::function<void(const QString& address, const QString& reason, bool first)>& refused) {
    zmq::message_t head;
    zmq::message_t address;
    while (receiveUninterrupted(pair, head, zmq::recv_flags::dontwait)) {
        if (!head.more() || !receiveUninterrupted(pair, address, zmq::recv_flags::dontwait) ||
            head.size() != 6) {
            continue;
        }
        std::uint16_t event = 0;
        std::uint32_t value = 0;
        std::memcpy(&event, head.data(), sizeof event);
        std::memcpy(&value, static_cast<const char*>(head.data()) + sizeof event, sizeof value);
        std::string where = address.to_string();
        if (event == ZMQ_EVENT_HANDSHAKE_SUCCEEDED) {
            failing.erase(where);
            continue;
        }
        const bool first = failing.insert(where).second;
        refused(QString::fromStdString(where), reasonOf(event, value), first);
    }
}

}  // namespace zal
