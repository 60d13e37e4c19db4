// The named hosts of a hosts file or of a pipeline file's head: each name bound to a frontend
// endpoint and the CURVE options that reach it.
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <memory>
#include <string>

#include "zaltools/command.h"
#include "zaltools/curveoptions.h"

namespace zaltools {

class CommandRunner;

struct HostEntry {
    QString name;
    std::string endpoint;
    CurveOptions curve;
};

// A line reads `host NAME ENDPOINT [CURVE OPTION VALUE]...`; ENDPOINT is tcp://HOST:PORT or
// ipc://PATH, since only those reach another process. Everything a line names, key files included,
// is checked when the line is added, so that a mistake stops the caller before anything is sent.
class HostTable {
public:
    static bool isHostLine(const QStringList& words);

    // Reads a file of host lines, `#` comments and blank lines. Throws UsageError reading
    // "FILE:LINE: reason", or "FILE: reason" when the file cannot be read.
    static HostTable readFile(const QString& path);

    // Throws UsageError with the reason when the line cannot be used or its name is taken. Relative
    // key file names are taken from `folder`, the folder of the file that holds the line.
    void add(const QStringList& words, const QString& folder);

    // Null for a name not in the table; `name` is given without its '@'.
    const HostEntry* find(const QString& name) const;
    // The UsageError text for a name not in the table, listing those that are.
    QString unknown(const QString& name) const;
    bool isEmpty() const { return hosts.isEmpty(); }
    // Every host, by name.
    QList<HostEntry> entries() const { return hosts.values(); }

    // A runner for that host's frontend with its CURVE keys.
    static std::unique_ptr<CommandRunner> runnerFor(const HostEntry& host, int timeoutMs,
                                                    Form form = Form::Text);

private:
    QMap<QString, HostEntry> hosts;
};

}  // namespace zaltools
