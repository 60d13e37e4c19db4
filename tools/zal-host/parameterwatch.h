// The live progress line: chosen parameters of one or more processors, asked for once a second.
#pragma once

#include <QObject>
#include <QTextStream>
#include <QTimer>
#include <string>
#include <vector>

#include "zaltools/commandrunner.h"
#include "zaltools/parameterpoll.h"

// Runs in the host's main thread with a command runner of its own. Every watch of a pipeline
// shares the one line, so that none overwrites another; a processor that does not answer shows
// "?" for its values instead of stopping the host.
class ParameterWatch : public QObject {
    Q_OBJECT
public:
    ParameterWatch(const std::string& frontend, QTextStream& out, QObject* parent = nullptr);

    void add(const zaltools::ParameterPoll& poll);
    // Prints every watch's values once more, each on a line of its own: the summary at the end.
    void printSummary();

private:
    QStringList poll();
    void tick();

    zaltools::CommandRunner runner;
    std::vector<zaltools::ParameterPoll> polls;
    QTextStream& out;
    QTimer timer;
};
