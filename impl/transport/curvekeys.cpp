#include "zal/transport/curvekeys.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>
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

std::vector<std::string> CurveKeys::readKeyFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        throw CurveKeyError(
            QStringLiteral("cannot read key file '%1': %2").arg(path, file.errorString()).toStdString());
    }
    std::vector<std::string> keys;
    int number = 0;
    while (!file.atEnd()) {
        ++number;
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char('#'))) {
            continue;
        }
        // '#' is a Z85 character too (never a key's first one): a comment after a key is set apart
        // by white space.
        const QString first = line.section(QRegularExpression(QStringLiteral("\\s+")), 0, 0);
        const QString rest = line.mid(first.size()).trimmed();
        if (isKey(first.toStdString()) && (rest.isEmpty() || rest.startsWith(QLatin1Char('#')))) {
            keys.push_back(first.toStdString());
        } else {
            throw CurveKeyError(QStringLiteral("%1:%2: not a CURVE key (40 Z85 characters) or a comment")
                                    .arg(path)
                                    .arg(number)
                                    .toStdString());
        }
    }
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
