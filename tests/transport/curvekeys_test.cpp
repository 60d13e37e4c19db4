// CURVE key files as users write them, and keys that are none. Generating a pair and deriving its
// public key are zalctl keygen's test.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "support/program.h"
#include "support/sockets.h"
#include "zal/processors/datacurve.h"
#include "zal/transport/curvekeys.h"

using zal::CurveKeyError;
using zal::CurveKeys;

namespace {

// A valid key with a '#' inside, which Z85 allows anywhere but first.
std::string keyWithHash() {
    for (;;) {
        const std::string key = CurveKeys::generate().publicKey;
        if (key.find('#') != std::string::npos) {
            return key;
        }
    }
}

}  // namespace

// Files as users write them; the refusals users meet (no file, no key) are zalctl's and zal-host's tests.
TEST(CurveKeys, KeyFilesHoldKeysCommentsAndBlankLinesAndNothingElse) {
    QTemporaryDir dir;
    const auto write = [&](const QString& name, const QByteArray& content) {
        return zaltest::writeFile(dir.filePath(name), content);
    };
    const QByteArray a = QByteArray::fromStdString(CurveKeys::generate().publicKey);
    const QByteArray b = QByteArray::fromStdString(CurveKeys::generate().publicKey);
    const QByteArray hash = QByteArray::fromStdString(keyWithHash());
    const QString good = write("authorized", "# operators\n\n  " + a + "  \n" + b +
                                                 "   # the build machine\n#" + b + "\n" + hash + " #home\n");
    EXPECT_EQ(CurveKeys::readKeyFile(good),
              (std::vector<std::string>{a.toStdString(), b.toStdString(), hash.toStdString()}));
    const QString bad = write("bad", "# fine\n" + a + "\nnot a key\n");
    EXPECT_EQ(zaltest::whatOf<CurveKeyError>([&] { CurveKeys::readKeyFile(bad); }),
              (bad + ":3: not a CURVE key (40 Z85 characters) or a comment").toStdString());
    const QString trailing = write("trailing", a + " laptop\n");
    EXPECT_NE(zaltest::whatOf<CurveKeyError>([&] { CurveKeys::readKeyFile(trailing); }).find(":1: "),
              std::string::npos);
    EXPECT_EQ(CurveKeys::readSingleKey(write("one", "# secret\n" + a)), a.toStdString());
    EXPECT_FALSE(zaltest::whatOf<CurveKeyError>([&] {
                     CurveKeys::readSingleKey(write("two", a + "\n" + b));
                 }).empty());
    for (const std::string& bad : {std::string(), a.toStdString().substr(1), std::string(40, ' ')}) {
        EXPECT_FALSE(CurveKeys::isKey(bad) ||
                     zaltest::whatOf<CurveKeyError>([&] { CurveKeys::publicKeyOf(bad); }).empty())
            << bad;
    }
}

// A peer keys file names servers by the host part of the tcp addresses consumers connect to.
TEST(CurveKeys, PeerKeyFilesNameServersByTheHostOfTheirAddresses) {
    QTemporaryDir dir;
    const QByteArray a = QByteArray::fromStdString(CurveKeys::generate().publicKey);
    const QByteArray b = QByteArray::fromStdString(keyWithHash());
    const QString good =
        zaltest::writeFile(dir.filePath("peers"), "# servers\n10.0.0.7 " + a + "\n\n[::1]\t" + b +
                                                      "  # six\n10.0.0.8 " + a + "\n10.0.0.8 " + b + "\n");
    EXPECT_EQ(CurveKeys::readPeerKeyFile(good),
              (std::map<std::string, std::string>{
                  {"10.0.0.7", a.toStdString()}, {"[::1]", b.toStdString()}, {"10.0.0.8", b.toStdString()}}));
    for (const QByteArray& line :
         QByteArrayList{a, "10.0.0.7 " + a + " extra", "10.0.0.7 notakey", "10.0.0.7"}) {
        const QString bad = zaltest::writeFile(dir.filePath("bad"), "# fine\n" + line + "\n");
        EXPECT_EQ(
            zaltest::whatOf<CurveKeyError>([&] { CurveKeys::readPeerKeyFile(bad); }),
            (bad + ":2: not a host and its CURVE public key (40 Z85 characters) or a comment").toStdString());
    }
    const std::pair<std::string, std::string> hosts[] = {{"tcp://10.0.0.7:6000", "10.0.0.7"},
                                                         {"tcp://[::1]:6000", "[::1]"},
                                                         {"tcp://eth0;10.0.0.7:6000", "10.0.0.7"},
                                                         {"inproc://gen/out", ""},
                                                         {"ipc:///tmp/s:1", ""}};
    for (const auto& [address, host] : hosts) {
        EXPECT_EQ(zal::DataCurve::hostOf(address), host) << address;
    }
}
