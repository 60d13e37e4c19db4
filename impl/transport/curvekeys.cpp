#include "zal/transport/curvekeys.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>
#include <algorithm>
#include <cstdint>

namespace zal {

namespace {
constexpr size_t keyLength = 40;
constexpr size_t binaryLength = 32;
}  // namespace

CurveKeys::Pair CurveKeys::generate() {
    char publicKey[keyLength + 1] = {};
    char secretKey[keyLength + 1] = {};
    if (zmq_curve_keypair(publicKey, secretKey) != 0) {
        throw zmq::error_t();
    }
    return {publicKey, secretKey};
}

bool CurveKeys::isKey(const std::string& text) {
    std::uint8_t binary[binaryLength];
    return text.size() == keyLength && zmq_z85_decode(binary, text.c_str()) != nullptr;
}

std::string CurveKeys::publicKeyOf(const std::string& secretKey) {
    char publicKey[keyLength + 1] = {};
    if (!isKey(secretKey) || zmq_curve_public(publicKey, secretKey.c_str()) != 0) {
        throw CurveKeyError("not a CURVE secret key (40 Z85 characters)");
    }
    return publicKey;
}

namespace {

// Calls `take` with the words of every line that holds any: blank lines and comments (from a word
// that starts with '#') are skipped. '#' is a Z85 character too, but never a key's first one, so a
// comment after a key is set apart by white space. A line `take` refuses, or a file that cannot be
// read, throws CurveKeyError naming the file and line and what a line must be: `expected`.
template <class Take>
void readWords(const QString& path, const char* expected, Take&& take) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        throw CurveKeyError(
            QStringLiteral("cannot read key file '%1': %2").arg(path, file.errorString()).toStdString());
    }
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    int number = 0;
    while (!file.atEnd()) {
        ++number;
        QStringList words = QString::fromUtf8(file.readLine()).split(blanks, Qt::SkipEmptyParts);
        const auto comment = std::find_if(words.begin(), words.end(), [](const QString& word) {
            return word.startsWith(QLatin1Char('#'));
        });
        words.erase(comment, words.end());
        if (!words.isEmpty() && !take(words)) {
            throw CurveKeyError(QStringLiteral("%1:%2: not %3 or a comment")
                                    .arg(path)
                                    .arg(number)
                                    .arg(expected)
                                    .toStdString());
        }
    }
}

}  // namespace

std::vector<std::string> CurveKeys::readKeyFile(const QString& path) {
    std::vector<std::string> keys;
    readWords(path, "a CURVE key (40 Z85 characters)", [&](const QStringList& words) {
        if (words.size() != 1 || !isKey(words.front().toStdString())) {
            return false;
        }
        keys.push_back(words.front().toStdString());
        return true;
    });
    return keys;
}

std::map<std::string, std::string> CurveKeys::readPeerKeyFile(const QString& path) {
    std::map<std::string, std::string> keys;
    readWords(path, "a host and its CURVE public key (40 Z85 characters)", [&](const QStringList& words) {
        if (words.size() != 2 || !isKey(words.back().toStdString())) {
            return false;
        }
        keys[words.front().toStdString()] = words.back().toStdString();
        return true;
    });
    return keys;
}

std::string CurveKeys::readSingleKey(const QString& path) {
    const std::vector<std::string> keys = readKeyFile(path);
    if (keys.size() != 1) {
        throw CurveKeyError(QStringLiteral("%1: holds %2 keys where one is expected")
                                .arg(path)
                                .arg(keys.size())
                                .toStdString());
    }
    return keys.front();
}

void CurveKeys::applyClient(zmq::socket_t& socket, const std::string& serverPublicKey, const Pair& client) {
    socket.set(zmq::sockopt::curve_serverkey, serverPublicKey);
    socket.set(zmq::sockopt::curve_publickey, client.publicKey);
    socket.set(zmq::sockopt::curve_secretkey, client.secretKey);
}

}  // namespace zal
