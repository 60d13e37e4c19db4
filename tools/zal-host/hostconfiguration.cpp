#include "hostconfiguration.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <memory>
#include <vector>

#include "zal/host/environmentdll.h"
#include "zal/platform/applicationdirectory.h"
#include "zal/platform/icfg.h"

namespace hostconfiguration {

namespace {

// The file the library will read, as CfgCenter looks for it; empty when it reads none.
QString effectiveFile() {
    const QString named = qEnvironmentVariable("ZAL_CONFIG");
    if (!named.isEmpty()) {
        return named;
    }
    const QString beside =
        QDir(zal::applicationDirectory()).absoluteFilePath(QString::fromWCharArray(instanceName) + ".ini");
    return QFileInfo::exists(beside) ? beside : QString();
}

// Edits that turn one into the other, letters compared without case.
int distance(const QString& a, const QString& b) {
    const QString x = a.toLower();
    const QString y = b.toLower();
    std::vector<int> row(static_cast<size_t>(y.size()) + 1);
    for (size_t j = 0; j < row.size(); ++j) {
        row[j] = static_cast<int>(j);
    }
    for (qsizetype i = 1; i <= x.size(); ++i) {
        int diagonal = row[0];
        row[0] = static_cast<int>(i);
        for (qsizetype j = 1; j <= y.size(); ++j) {
            const int above = row[static_cast<size_t>(j)];
            row[static_cast<size_t>(j)] = std::min(
                {above + 1, row[static_cast<size_t>(j - 1)] + 1, diagonal + (x[i - 1] == y[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row.back();
}

QString nearestKey(const QString& key) {
    const QStringList& known = zal::EnvironmentDll::configurationKeys();
    return *std::min_element(known.begin(), known.end(), [&](const QString& a, const QString& b) {
        return distance(key, a) < distance(key, b);
    });
}

// A misspelt key is ignored by the library, which then takes that key's default in silence.
void warnUnknownKeys(const ICfg& cfg, QTextStream& err) {
    for (const QString& key : cfg.keys()) {
        if (!zal::EnvironmentDll::configurationKeys().contains(key)) {
            err << "zal-host: warning: " << cfg.source() << ": unknown key '" << key
                << "' is ignored; did you mean '" << nearestKey(key) << "'?\n";
        }
    }
    err.flush();
}

}  // namespace

std::optional<int> use(const std::optional<QString>& path, QTextStream& err) {
    if (path) {
        qputenv("ZAL_CONFIG", QFileInfo(*path).absoluteFilePath().toLocal8Bit());
    }
    const QString file = effectiveFile();
    if (file.isEmpty()) {
        return std::nullopt;
    }
    if (!QFileInfo(file).isFile() || !QFileInfo(file).isReadable()) {
        err << "zal-host: cannot read configuration file '" << (path ? *path : file) << "'\n";
        return noConfiguration;
    }
    QString text;
    if (const int line = CfgCenter::FindMalformedLine(file, text); line != 0) {
        err << "zal-host: " << file << ':' << line
            << ": not key=value, a [section] header or a ';' comment: '" << text << "'\n";
        return noConfiguration;
    }
    if (const std::unique_ptr<ICfg> cfg =
            CfgCenter::CreateCfg(QString::fromWCharArray(instanceName), 2, QString())) {
        warnUnknownKeys(*cfg, err);
    }
    return std::nullopt;
}

void prepare(const std::optional<QString>& address) {
    if (address) {
        CfgCenter::SetOverride(QStringLiteral("EnvironmentAddress"), *address);
    }
    // Anything that reaches a TCP frontend will send a malformed message sooner or later, and by
    // the library's default that ends the router; the host keeps serving instead. The
    // configuration's own RouterDropMalformed still wins, read the same way the library reads it.
    const std::unique_ptr<ICfg> cfg =
        CfgCenter::CreateCfg(QString::fromWCharArray(instanceName), 2, QString());
    if (cfg && cfg->readString(QStringLiteral("EnvironmentAddress"), QString())
                   .startsWith(QLatin1String("tcp://"))) {
        CfgCenter::SetDefault(QStringLiteral("RouterDropMalformed"), QStringLiteral("true"));
    }
}

}  // namespace hostconfiguration
