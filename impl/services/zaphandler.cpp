#include "zal/services/zaphandler.h"

#include <QByteArray>
#include <QString>
#include <cstdint>

#include "zal/platform/errorhandler.h"
#include "zal/transport/context.h"
#include "zal/transport/uninterrupted.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

const char* const ZapHandler::zapEndpoint = "inproc://zeromq.zap.01";
const char* const ZapHandler::domain = "zal";
const char* const ZapHandler::dataDomain = "zal.data";

namespace {

constexpr int replyTimeoutMs = 1000;
constexpr size_t binaryKeyLength = 32;

std::string binaryKey(const std::string& z85) {
    std::uint8_t key[binaryKeyLength];
    if (zmq_z85_decode(key, z85.c_str()) == nullptr) {
        throw zmq::error_t();
    }
    return std::string(reinterpret_cast<const char*>(key), binaryKeyLength);
}

std::string z85Key(const std::string& binary) {
    char text[binaryKeyLength * 5 / 4 + 1] = {};
    zmq_z85_encode(text, reinterpret_cast<const std::uint8_t*>(binary.data()), binary.size());
    return text;
}

}  // namespace

ZapHandler::ZapHandler(const std::vector<std::string>& authorizedKeys,
                       const std::vector<std::string>& dataAuthorizedKeys) {
    for (const std::string& key : authorizedKeys) {
        authorized.insert(binaryKey(key));
    }
    for (const std::string& key : dataAuthorizedKeys) {
        dataAuthorized.insert(binaryKey(key));
    }
}

const std::set<std::string>* ZapHandler::keysOf(const std::string& requestDomain) const {
    if (requestDomain == domain) {
        return &authorized;
    }
    return requestDomain == dataDomain ? &dataAuthorized : nullptr;
}

ZapHandler::~ZapHandler() {
    release();
}

bool ZapHandler::initialize() {
    addCreatorSocket();
    socket = std::make_unique<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::rep);
    // libzmq's side of the exchange never stops reading, but a stuck answer must not hang this
    // thread, nor its close the end of the context.
    socket->set(zmq::sockopt::sndtimeo, replyTimeoutMs);
    socket->set(zmq::sockopt::linger, 0);
    std::string address = zapEndpoint;
    ZmqHelper::bindSocket(*socket, address);
    socketIndex = reader.addSocket(*socket, ZMQ_POLLIN);
    return true;
}

void ZapHandler::process() {
    serveUntilStopped([this] {
        if (SocketReader::isReadable(reader.getEvents(socketIndex))) {
            answerRequest();
        }
    });
}

// A request: version, request id, domain, address, identity, mechanism, credentials (for CURVE the
// client's 32-byte public key). The answer: version, request id, status code and text, user id,
// metadata. A REP socket must answer every request before it can read the next one.
void ZapHandler::answerRequest() {
    std::vector<std::string> frames;
    zmq::message_t frame;
    do {
        if (!receiveUninterrupted(*socket, frame, zmq::recv_flags::dontwait)) {
            break;
        }
        frames.emplace_back(static_cast<const char*>(frame.data()), frame.size());
    } while (frame.more());
    if (frames.empty()) {
        return;
    }

    const bool wellFormed = frames.size() >= 6 && frames[0] == "1.0";
    const std::set<std::string>* keys = wellFormed ? keysOf(frames[2]) : nullptr;
    const bool admitted =
        keys != nullptr && frames[5] == "CURVE" && frames.size() == 7 && keys->count(frames[6]) != 0;
    const std::string requestId = frames.size() > 1 ? frames[1] : std::string();
    const std::string userId = admitted ? z85Key(frames[6]) : std::string();
    if (!admitted && ErrorHandler::isTracing()) {
        const QString key = wellFormed && frames.size() == 7 && frames[6].size() == binaryKeyLength
                                ? QString::fromStdString(z85Key(frames[6]))
                                : QStringLiteral("none");
        _Q_Trace(QStringLiteral("ZapHandler: refused client at '%1', mechanism '%2', key %3, domain '%4'")
                     .arg(QString::fromStdString(frames.size() > 3 ? frames[3] : std::string()),
                          QString::fromStdString(frames.size() > 5 ? frames[5] : std::string()), key,
                          QString::fromStdString(frames.size() > 2 ? frames[2] : std::string())),
                 "zaphandler", __LINE__);
    }
    const std::vector<std::string> reply = {
        "1.0", requestId, admitted ? "200" : "400", admitted ? "OK" : "Not authorised", userId, ""};
    for (size_t i = 0; i < reply.size(); ++i) {
        const auto flags = i + 1 < reply.size() ? zmq::send_flags::sndmore : zmq::send_flags::none;
        if (!sendUninterrupted(*socket, zmq::buffer(reply[i]), flags)) {
            return;
        }
    }
}

void ZapHandler::release() {
    socket.reset();
}

}  // namespace zal
