// The ZAP handler's answer to every request libzmq may send it. Who gets in through a CURVE frontend,
// with keys from files, is zal-host's test (tests/tools).
#include <gtest/gtest.h>

#include "support/sockets.h"
#include "support/tracecapture.h"
#include "zal/services/zaphandler.h"
#include "zal/threads/zmqcontrollablethread.h"
#include "zal/transport/curvekeys.h"

using namespace zal;

namespace {

std::string binaryKey(const std::string& z85) {
    std::uint8_t key[32];
    EXPECT_NE(zmq_z85_decode(key, z85.c_str()), nullptr);
    return std::string(reinterpret_cast<const char*>(key), sizeof key);
}

// One request straight to the handler, as libzmq would send it; the answer's frames.
std::vector<QByteArray> askZap(const std::vector<QByteArray>& request, long timeoutMs = 5000) {
    auto socket = zaltest::makeSocket(zmq::socket_type::req);
    socket.set(zmq::sockopt::linger, 0);
    ZmqHelper::connectSocket(socket, ZapHandler::zapEndpoint);
    zaltest::sendFrames(socket, request);
    return zaltest::receiveFrames(socket, timeoutMs);
}

std::vector<QByteArray> zapRequest(const QByteArray& mechanism, const std::string& key,
                                   const QByteArray& domain = ZapHandler::domain,
                                   const QByteArray& version = "1.0") {
    return {version, "17", domain, "192.0.2.1", "", mechanism, QByteArray::fromStdString(binaryKey(key))};
}

}  // namespace

TEST(ZapHandler, AdmitsOnlyCurveKeysAuthorisedInTheRequestsDomainAndAnswersEveryRequest) {
    const std::string known = CurveKeys::generate().publicKey;
    const std::string reader = CurveKeys::generate().publicKey;
    zaltest::TraceCapture trace;
    ZmqControllableThread<ZapHandler> handler(new ZapHandler({known}, {reader}));

    const auto admitted = askZap(zapRequest("CURVE", known));
    ASSERT_EQ(admitted.size(), 6u);
    EXPECT_EQ(admitted[1], "17") << "the request id comes back";
    EXPECT_EQ(admitted[2], "200");
    EXPECT_EQ(admitted[4], QByteArray::fromStdString(known)) << "the user id is the key";
    EXPECT_EQ(askZap(zapRequest("CURVE", reader, ZapHandler::dataDomain))[2], "200")
        << "each domain its list";
    std::vector<QByteArray> truncated = zapRequest("CURVE", known);
    truncated.back() = "short";
    const std::vector<std::vector<QByteArray>> refused = {
        zapRequest("CURVE", CurveKeys::generate().publicKey),
        zapRequest("CURVE", known, "other"),
        zapRequest("CURVE", known, ZapHandler::dataDomain),
        zapRequest("CURVE", reader),
        zapRequest("CURVE", known, ZapHandler::domain, "2.0"),
        truncated,
        {"1.0", "1", ZapHandler::domain, "192.0.2.1", "", "NULL"},
        {"1.0", "1", ZapHandler::domain, "192.0.2.1", "", "PLAIN", "user", "password"},
        {"1.0", "1", ZapHandler::domain, "192.0.2.1", "", "CURVE"},
        {"1.0"},
        {""},
    };
    for (const auto& request : refused) {
        const auto answer = askZap(request);
        EXPECT_TRUE(answer.size() == 6 && answer[2] == "400" && answer[4] == "") << request.size();
    }
    EXPECT_EQ(askZap(zapRequest("CURVE", known))[2], "200") << "still serving after all that";
    EXPECT_EQ(handler.getState(), Running);
    EXPECT_EQ(trace.lines().filter("ZapHandler: refused client at '192.0.2.1'").size(),
              static_cast<qsizetype>(refused.size()) - 2);
}
