#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSettings>

#include "zal/platform/applicationdirectory.h"
#include "zal/platform/icfg.h"

namespace {

QMap<QString, QString>& hostDefaults() {
    static QMap<QString, QString> defaults;
    return defaults;
}

QMap<QString, QString>& hostOverrides() {
    static QMap<QString, QString> overrides;
    return overrides;
}

// QSettings skips what it cannot read without saying which line, and takes a "# note" line with an
// '=' in it for a key: both would pass unnoticed. (INI comments start with ';'.)
bool isWellFormed(const QString& line) {
    if (line.isEmpty() || line.startsWith(QLatin1Char(';'))) {
        return true;
    }
    if (line.startsWith(QLatin1Char('['))) {
        return line.endsWith(QLatin1Char(']')) && !line.mid(1, line.size() - 2).trimmed().isEmpty();
    }
    const qsizetype equals = line.indexOf(QLatin1Char('='));
    return equals > 0 && !line.startsWith(QLatin1Char('#')) && !line.left(equals).trimmed().isEmpty();
}

// Values of one INI file; keys outside any [section] are read as given.
class IniCfg : public ICfg {
public:
    explicit IniCfg(const QString& path) : path(path) {
        if (!path.isEmpty()) {
            settings = std::make_unique<QSettings>(path, QSettings::IniFormat);
        }
    }

    QString readString(const QString& key, const QString& defaultValue) const override {
        const QVariant value = find(key);
        return value.isValid() ? value.toString() : defaultValue;
    }
    int readInt(const QString& key, int defaultValue) const override {
        bool ok = false;
        const int value = find(key).toInt(&ok);
        return ok ? value : defaultValue;
    }
    bool readBool(const QString& key, bool defaultValue) const override {
        const QVariant value = find(key);
        if (!value.isValid()) {
            return defaultValue;
        }
        const QString text = value.toString().trimmed().toLower();
        return !(text == QLatin1String("0") || text == QLatin1String("false") ||
                 text == QLatin1String("no") || text == QLatin1String("off"));
    }
    QString source() const override { return path; }
    QStringList keys() const override { return settings ? settings->allKeys() : QStringList(); }
    bool isReadable() const { return !settings || settings->status() == QSettings::NoError; }

private:
    // The host's override, else the file's value, else the host's default, else an invalid variant.
    QVariant find(const QString& key) const {
        const auto forced = hostOverrides().constFind(key);
        if (forced != hostOverrides().constEnd()) {
            return *forced;
        }
        if (settings && settings->contains(key)) {
            return settings->value(key);
        }
        const auto host = hostDefaults().constFind(key);
        return host != hostDefaults().constEnd() ? QVariant(*host) : QVariant();
    }

    QString path;
    std::unique_ptr<QSettings> settings;
};

std::unique_ptr<ICfg> readable(const QString& path) {
    QString line;
    if (CfgCenter::FindMalformedLine(path, line) != 0) {
        return nullptr;
    }
    auto cfg = std::make_unique<IniCfg>(path);
    return cfg->isReadable() ? std::move(cfg) : nullptr;
}

}  // namespace

void CfgCenter::SetDefault(const QString& key, const QString& value) {
    hostDefaults().insert(key, value);
}

void CfgCenter::SetOverride(const QString& key, const QString& value) {
    hostOverrides().insert(key, value);
}

int CfgCenter::FindMalformedLine(const QString& path, QString& line) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return 0;
    }
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (qsizetype at = 0; at < lines.size(); ++at) {
        const int number = static_cast<int>(at) + 1;
        QString joined = lines[at].trimmed();
        while (joined.endsWith(QLatin1Char('\\')) && at + 1 < lines.size()) {
            joined = joined.chopped(1) + lines[++at].trimmed();
        }
        if (!isWellFormed(joined)) {
            line = lines[number - 1].trimmed();
            return number;
        }
    }
    return 0;
}

std::unique_ptr<ICfg> CfgCenter::CreateCfg(const QString& name, int /*view*/, const QString& /*extra*/) {
    const QByteArray explicitPath = qgetenv("ZAL_CONFIG");
    if (!explicitPath.isEmpty()) {
        const QFileInfo file(QString::fromLocal8Bit(explicitPath));
        if (!file.isFile() || !file.isReadable()) {
            return nullptr;
        }
        return readable(file.absoluteFilePath());
    }
    const QString beside = QDir(zal::applicationDirectory()).absoluteFilePath(name + QStringLiteral(".ini"));
    return QFileInfo(beside).isReadable() ? readable(beside) : std::make_unique<IniCfg>(QString());
}
