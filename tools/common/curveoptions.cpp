#include "zaltools/curveoptions.h"

namespace zaltools {

const QStringList& CurveOptions::names() {
    static const QStringList all = {"--curve-server-key", "--curve-server-key-file", "--curve-public-key",
                                    "--curve-secret-key", "--curve-secret-key-file"};
    return all;
}

void CurveOptions::keys(std::string& server, zal::CurveKeys::Pair& client) const {
    server = key(QStringLiteral("--curve-server-key"), QStringLiteral("--curve-server-key-file"),
                 "the server's public key");
    client.secretKey = key(QStringLiteral("--curve-secret-key"), QStringLiteral("--curve-secret-key-file"),
                           "this client's secret key");
    client.publicKey = zal::CurveKeys::publicKeyOf(client.secretKey);
    if (values.contains(QStringLiteral("--curve-public-key")) &&
        values[QStringLiteral("--curve-public-key")].trimmed().toStdString() != client.publicKey) {
        throw zal::CurveKeyError("--curve-public-key does not belong to the secret key given.");
    }
}

std::string CurveOptions::key(const QString& inlineOption, const QString& fileOption,
                              const char* what) const {
    if (values.contains(inlineOption) && values.contains(fileOption)) {
        throw zal::CurveKeyError(
            QStringLiteral("give %1 or %2, not both.").arg(inlineOption, fileOption).toStdString());
    }
    if (values.contains(fileOption)) {
        return zal::CurveKeys::readSingleKey(values[fileOption]);
    }
    if (!values.contains(inlineOption)) {
        throw zal::CurveKeyError(QStringLiteral("CURVE needs %1 (%2 or %3).")
                                     .arg(QLatin1String(what), inlineOption, fileOption)
                                     .toStdString());
    }
    const std::string key = values[inlineOption].trimmed().toStdString();
    if (!zal::CurveKeys::isKey(key)) {
        throw zal::CurveKeyError(
            QStringLiteral("%1 is not a CURVE key (40 Z85 characters).").arg(inlineOption).toStdString());
    }
    return key;
}

}  // namespace zaltools
