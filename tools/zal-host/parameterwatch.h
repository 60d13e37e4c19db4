// The live progress line: chosen parameters of one or more processors, asked for once a second.
#pragma once

#include <QMap>
#include <QObject>
#include <QTextStream>
#include <QTimer>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zaltools/commandrunner.h"
#include "zaltools/hosttable.h"
#include "zaltools/parameterpoll.h"

// Runs in the host's main thread with command runners of its own, one a host. Every watch of a pipeline
// shares the one line, so that none overwrites another; a processor that does not answer shows
// "?" for its values instead of stopping the host.
class ParameterWatch : public QObject {
    Q_OBJECT
public:
    ParameterWatch(const std::string& frontend, const zaltools::HostTable& hosts, QTextStream& out,
                   QObject* parent = nullptr);

    // At the host named `host` (a known name, without '@'); empty: this host.
    void add(const zaltools::ParameterPoll& poll, const QString& host);
    // Prints every watch's values once more, each on a line of its own: the summary at the end.
    void printSummary();

private:
    QStringList poll();
    void tick();

    const zaltools::HostTable& hosts;
    QMap<QString, std::shared_ptr<zaltools::CommandRunner>> runners;  // by host name, "" for this one
    std::vector<std::pair<zaltools::ParameterPoll, zaltools::CommandRunner*>> polls;
    QTextStream& out;
    QTimer timer;
};
