// CURVE keys: generated pairs, the public key of a secret one, and key files as users write them.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "zal/transport/curvekeys.h"

using zal::CurveKeyError;
using zal::CurveKeys;

namespace {

QString writeFile(const QTemporaryDir& dir, const QString& name, const QByteArray& content) {
    const QString path = dir.filePath(name);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    return path;
}

// The text of the CurveKeyError `read` throws; empty when it throws nothing.
template <class Read>
std::string errorOf(Read read) {
    try {
        read();
    } catch (const CurveKeyError& e) {
        return e.what();
    }
    return std::string();
}

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

TEST(CurveKeys, PairsAreValidAndThePublicKeyFollowsFromTheSecret) {
    const CurveKeys::Pair pair = CurveKeys::generate();
    EXPECT_TRUE(CurveKeys::isKey(pair.publicKey));
    EXPECT_TRUE(CurveKeys::isKey(pair.secretKey));
    EXPECT_NE(pair.publicKey, pair.secretKey);
    EXPECT_EQ(CurveKeys::publicKeyOf(pair.secretKey), pair.publicKey);
    EXPECT_NE(CurveKeys::generate().secretKey, pair.secretKey);

    for (const std::string& bad : {std::string(), pair.publicKey.substr(1), pair.publicKey + "0",
                                   std::string(40, ' '), std::string(40, '"')}) {
        EXPECT_FALSE(CurveKeys::isKey(bad)) << bad;
        EXPECT_FALSE(errorOf([&] { CurveKeys::publicKeyOf(bad); }).empty()) << bad;
    }
}

TEST(CurveKeys, KeyFilesHoldKeysCommentsAndBlankLinesAndNothingElse) {
    QTemporaryDir dir;
    const std::string a = CurveKeys::generate().publicKey;
    const std::string b = CurveKeys::generate().publicKey;
    const std::string hash = keyWithHash();
    const QString good = writeFile(dir, "authorized",
                                   "# operators\n\n  " + QByteArray::fromStdString(a) + "  \n" +
                                       QByteArray::fromStdString(b) + "   # the build machine\n" + "#" +
                                       QByteArray::fromStdString(b) + "\n" +  // commented out
                                       QByteArray::fromStdString(hash) + " #home\n");
    EXPECT_EQ(CurveKeys::readKeyFile(good), (std::vector<std::string>{a, b, hash}));
    EXPECT_TRUE(CurveKeys::readKeyFile(writeFile(dir, "empty", "# nobody yet\n")).empty());

    const QString bad = writeFile(dir, "bad", "# fine\n" + QByteArray::fromStdString(a) + "\nnot a key\n");
    EXPECT_EQ(errorOf([&] { CurveKeys::readKeyFile(bad); }),
              (bad + ":3: not a CURVE key (40 Z85 characters) or a comment").toStdString());
    const QString trailing = writeFile(dir, "trailing", QByteArray::fromStdString(a) + " laptop\n");
    EXPECT_NE(errorOf([&] { CurveKeys::readKeyFile(trailing); }).find(":1: "), std::string::npos);
    EXPECT_NE(errorOf([&] { CurveKeys::readKeyFile(dir.filePath("absent")); }).find("cannot read key file"),
              std::string::npos);
}

TEST(CurveKeys, ASingleKeyFileHoldsExactlyOne) {
    QTemporaryDir dir;
    const std::string key = CurveKeys::generate().secretKey;
    EXPECT_EQ(CurveKeys::readSingleKey(writeFile(dir, "one", "# secret\n" + QByteArray::fromStdString(key))),
              key);
    const QString none = writeFile(dir, "none", "# nothing\n");
    EXPECT_EQ(errorOf([&] { CurveKeys::readSingleKey(none); }),
              (none + ": holds 0 keys where one is expected").toStdString());
    const QString two = writeFile(dir, "two", QByteArray::fromStdString(key + "\n" + key + "\n"));
    EXPECT_FALSE(errorOf([&] { CurveKeys::readSingleKey(two); }).empty());
}
