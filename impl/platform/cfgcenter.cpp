#include <QDir>
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
    bool isReadable() const { return !settings || settings->status() == QSettings::NoError; }

private:
    // The file's value, else the host's default, else an invalid variant.
    QVariant find(const QString& key) const {
        if (settings && settings->contains(key)) {
            return settings->value(key);
        }
        const auto host = hostDefaults().constFind(key);
        return host != hostDefaults().constEnd() ? QVariant(*host) : QVariant();
    }

    QString path;
    std::unique_ptr<QSettings> settings;
};

}  // namespace

void CfgCenter::SetDefault(const QString& key, const QString& value) {
    hostDefaults().insert(key, value);
}

std::unique_ptr<ICfg> CfgCenter::CreateCfg(const QString& name, int /*view*/, const QString& /*extra*/) {
    const QByteArray explicitPath = qgetenv("ZAL_CONFIG");
    if (!explicitPath.isEmpty()) {
        const QFileInfo file(QString::fromLocal8Bit(explicitPath));
        if (!file.isFile() || !file.isReadable()) {
            return nullptr;
        }
        auto cfg = std::make_unique<IniCfg>(file.absoluteFilePath());
        return cfg->isReadable() ? std::move(cfg) : nullptr;
    }
    const QString beside = QDir(zal::applicationDirectory()).absoluteFilePath(name + QStringLiteral(".ini"));
    return std::make_unique<IniCfg>(QFileInfo(beside).isReadable() ? beside : QString());
}
