// The host framework's configuration service: named configurations read as key/value pairs.
#pragma once

#include <QString>
#include <QStringList>
#include <memory>

class ICfg {
public:
    virtual ~ICfg() = default;
    virtual QString readString(const QString& key, const QString& defaultValue) const = 0;
    virtual int readInt(const QString& key, int defaultValue) const = 0;
    virtual bool readBool(const QString& key, bool defaultValue) const = 0;
    // The file the values come from, empty when every key takes its default.
    virtual QString source() const = 0;
    // The keys the file sets, as the read operations take them (a key under [section] as
    // "section/key").
    virtual QStringList keys() const = 0;
};

class CfgCenter {
public:
    // Looks for the INI file named by ZAL_CONFIG, else <name>.ini in the application directory,
    // else returns an empty configuration. A ZAL_CONFIG file that is missing or unreadable, and a
    // file with a malformed line (FindMalformedLine), give null, so that a mistyped path or line
    // is never silently replaced by defaults.
    static std::unique_ptr<ICfg> CreateCfg(const QString& name, int view, const QString& extra);

    // The number (from 1) of the first line of an INI file that is neither blank, a ';' comment, a
    // [section] header nor key=value, with its text in `line`; 0 when there is none or the file
    // cannot be read. A line ending in '\' continues on the next, as the INI reader takes it.
    static int FindMalformedLine(const QString& path, QString& line);

    // A value that configurations give for `key` when their file has none, ahead of the reader's
    // own default: how a host program states its defaults while an explicit setting still wins.
    // Meant to be called before the library starts; not synchronised with readers.
    static void SetDefault(const QString& key, const QString& value);
    // A value that configurations give for `key` whatever their file says: how a host program's
    // command line overrides its configuration. Same rules as SetDefault.
    static void SetOverride(const QString& key, const QString& value);
};
