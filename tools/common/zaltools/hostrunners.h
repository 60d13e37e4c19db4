// Runs commands at named hosts, each through a runner of its own, and connects a consumer to a
// stream that another host's name service knows.
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <memory>

#include "zaltools/commandrunner.h"
#include "zaltools/hosttable.h"

namespace zaltools {

// Belongs to the thread that constructs it, as its runners do. A host's runner is made at its
// first command and kept, so that a pipeline file talks to each host over one connection.
class HostRunners {
public:
    // `local` is the host of commands that name none; `localLabel` is how texts call it.
    HostRunners(HostTable hosts, HostEntry local, QString localLabel, int timeoutMs, Form form = Form::Text);
    ~HostRunners();

    const HostTable& table() const { return hosts; }

    // At the host named `host` (without '@'; empty: the local one). Never throws: an unknown host,
    // here or in `connect --from`, is a usage error, found before anything is sent.
    CommandResult execute(const QString& host, const QStringList& words);

    // The runner for a known host (empty: the local one); null for an unknown name.
    CommandRunner* runner(const QString& host);

private:
    const HostEntry* entry(const QString& host) const;
    HostSide side(const QString& host) const;
    CommandResult refused(const Command& command, const QString& text) const;

    HostTable hosts;
    HostEntry local;
    QString localLabel;
    int timeoutMs;
    Form form;
    QMap<QString, std::shared_ptr<CommandRunner>> runners;  // by host name, "" for the local one
};

}  // namespace zaltools
