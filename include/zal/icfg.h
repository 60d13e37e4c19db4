// The host framework's configuration service: named configurations read as key/value pairs.
#pragma once

#include <QString>
#include <memory>

class ICfg {
public:
    virtual ~ICfg() = default;
    virtual QString readString(const QString& key, const QString& defaultValue) const = 0;
    virtual int readInt(const QString& key, int defaultValue) const = 0;
    virtual bool readBool(const QString& key, bool defaultValue) const = 0;
    // The file the values come from, empty when every key takes its default.
    virtual QString source() const = 0;
};

class CfgCenter {
public:
    // Looks for the INI file named by ZAL_CONFIG, else <name>.ini in the application directory,
    // else returns an empty configuration. A ZAL_CONFIG file that is missing or unreadable gives
    // null, so that a mistyped path is never silently replaced by defaults.
    static std::unique_ptr<ICfg> CreateCfg(const QString& name, int view, const QString& extra);
};
