// CURVE key files as users write them, and keys that are none. Generating a pair and deriving its
// public key are zalctl keygen's test.
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "support/program.h"
#include "support/sockets.h"
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
