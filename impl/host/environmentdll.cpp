#include "zal/host/environmentdll.h"

#include <QDir>
#include <QFileInfo>
#include <stdexcept>

#include "zal/host/environment.h"
#include "zal/platform/errorhandler.h"
#include "zal/platform/icfg.h"
#include "zal/processors/datacurve.h"
#include "zal/transport/constants.h"
#include "zal/transport/curvekeys.h"

namespace zal {

namespace {

constexpr int configurationView = 2;

// A relative key file is looked for beside the configuration file, so that the two can move together.
QString configuredPath(const ICfg& cfg, const QString& key) {
    const QString path = cfg.readString(key, QString()).trimmed();
    if (path.isEmpty() || QDir::isAbsolutePath(path) || cfg.source().isEmpty()) {
        return path;
    }
    return QFileInfo(cfg.source()).absoluteDir().filePath(path);
}

// The secret key and the list of authorised clients come together or not at all: half a CURVE
// configuration is refused rather than run with an open frontend, or with one nobody may use.
void readCurve(const ICfg& cfg, RouterOptions& options) {
    const QString secret = cfg.readString(QStringLiteral("CurveSecretKey"), QString()).trimmed();
    const QString secretFile = configuredPath(cfg, QStringLiteral("CurveSecretKeyFile"));
    const QString authorizedFile = configuredPath(cfg, QStringLiteral("CurveAuthorizedKeysFile"));
    if (secret.isEmpty() && secretFile.isEmpty() && authorizedFile.isEmpty()) {
        return;
    }
    if (!secret.isEmpty() && !secretFile.isEmpty()) {
        throw CurveKeyError("CurveSecretKey and CurveSecretKeyFile are both set; set one of them");
    }
    if (secret.isEmpty() && secretFile.isEmpty()) {
        throw CurveKeyError(
            "CurveAuthorizedKeysFile is set, but neither CurveSecretKey nor CurveSecretKeyFile");
    }
    if (authorizedFile.isEmpty()) {
        throw CurveKeyError("a CURVE secret key is set without CurveAuthorizedKeysFile");
    }
    options.curveSecretKey = secret.isEmpty() ? CurveKeys::readSingleKey(secretFile) : secret.toStdString();
    if (!CurveKeys::isKey(options.curveSecretKey)) {
        throw CurveKeyError("CurveSecretKey is not a CURVE key (40 Z85 characters)");
    }
    options.curveAuthorizedKeys = CurveKeys::readKeyFile(authorizedFile);
}

// The keys of tcp data streams: the frontend's secret key serves and connects them. Consumers are
// admitted from their own list when one is set, else from the frontend's; the servers' keys come
// from the peer keys file. Null when the host has no CURVE key.
std::shared_ptr<const DataCurve> readDataCurve(const ICfg& cfg, const RouterOptions& options) {
    const QString dataAuthorizedFile = configuredPath(cfg, QStringLiteral("CurveDataAuthorizedKeysFile"));
    const QString peerFile = configuredPath(cfg, QStringLiteral("CurvePeerKeysFile"));
    if (options.curveSecretKey.empty()) {
        if (!dataAuthorizedFile.isEmpty() || !peerFile.isEmpty()) {
            throw CurveKeyError(QStringLiteral("%1 is set, but neither CurveSecretKey nor CurveSecretKeyFile")
                                    .arg(peerFile.isEmpty() ? QStringLiteral("CurveDataAuthorizedKeysFile")
                                                            : QStringLiteral("CurvePeerKeysFile"))
                                    .toStdString());
        }
        return nullptr;
    }
    return std::make_shared<const DataCurve>(
        options.curveSecretKey,
        dataAuthorizedFile.isEmpty() ? options.curveAuthorizedKeys
                                     : CurveKeys::readKeyFile(dataAuthorizedFile),
        peerFile.isEmpty() ? std::map<std::string, std::string>() : CurveKeys::readPeerKeyFile(peerFile),
        peerFile);
}

std::int64_t readMaxMessageSize(const ICfg& cfg) {
    const QString text = cfg.readString(QStringLiteral("RouterMaxMessageSize"),
                                        QString::number(RouterOptions::defaultMaxMessageSize))
                             .trimmed();
    bool ok = false;
    const qint64 bytes = text.toLongLong(&ok);
    if (!ok) {
        throw std::invalid_argument("RouterMaxMessageSize is not a whole number of bytes: '" +
                                    text.toStdString() + "'");
    }
    return bytes;
}

}  // namespace

EnvironmentDll::EnvironmentDll(const QString& name) : name(name) {}

const QStringList& EnvironmentDll::configurationKeys() {
    static const QStringList keys = {
        QStringLiteral("EnvironmentAddress"),          QStringLiteral("RouterDropMalformed"),
        QStringLiteral("RouterMaxMessageSize"),        QStringLiteral("CurveSecretKey"),
        QStringLiteral("CurveSecretKeyFile"),          QStringLiteral("CurveAuthorizedKeysFile"),
        QStringLiteral("CurveDataAuthorizedKeysFile"), QStringLiteral("CurvePeerKeysFile")};
    return keys;
}

EnvironmentDll::~EnvironmentDll() = default;

bool EnvironmentDll::Execute(int, char**) {
    lastError.clear();
    try {
        std::unique_ptr<ICfg> cfg = CfgCenter::CreateCfg(name, configurationView, QString());
        if (!cfg) {
            lastError = QStringLiteral("Invalid configuration of EnvironmentDll");
            if (ErrorHandler::isTracing()) {
                _Q_Trace(QStringLiteral("Invalid configuration of EnvironmentDll"), "environmentdll", 31);
            }
            return false;
        }
        const std::string address = cfg->readString(QStringLiteral("EnvironmentAddress"),
                                                    QString::fromStdString(routerFrontendAddressDefault))
                                        .toStdString();
        RouterOptions routerOptions;
        routerOptions.dropMalformed = cfg->readBool(QStringLiteral("RouterDropMalformed"), false);
        routerOptions.maxMessageSize = readMaxMessageSize(*cfg);
        readCurve(*cfg, routerOptions);
        std::shared_ptr<const DataCurve> dataCurve = readDataCurve(*cfg, routerOptions);
        // The old environment holds the in-process endpoints the new one binds, so building the new
        // one first and then replacing the old could never succeed: the old goes first, completely.
        environment.reset();
        environment = std::make_unique<Environment>(address, routerOptions, std::move(dataCurve));
        return true;
    } catch (const std::exception& e) {
        lastError = QString::fromUtf8(e.what());
        if (ErrorHandler::isTracing()) {
            _Q_Trace(QStringLiteral("Caught unknown exception in EnvironmentDll::Execute\n%1").arg(e.what()),
                     "environmentdll", __LINE__);
        }
    } catch (...) {
        lastError = QStringLiteral("An unknown exception was thrown");
        if (ErrorHandler::isTracing()) {
            _Q_Trace(QStringLiteral("Caught unknown exception in EnvironmentDll::Execute"), "environmentdll",
                     __LINE__);
        }
    }
    return false;
}

void EnvironmentDll::Shutdown() {
    Terminate();
    environment.reset();
}

}  // namespace zal
