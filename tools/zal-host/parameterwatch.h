// A live progress line: chosen parameters of one processor, asked for once a second.
#pragma once

#include <QObject>
#include <QStringList>
#include <QTextStream>
#include <QTimer>
#include <memory>
#include <string>

#include "zal/services/requestclienttemplate.h"

// Runs in the host's main thread with a request client of its own; a processor that does not
// answer shows "?" for its values instead of stopping the host.
class ParameterWatch : public QObject {
    Q_OBJECT
public:
    ParameterWatch(const std::string& frontend, const std::string& processorEndpoint, const QString& label,
                   const QStringList& parameters, QTextStream& out, QObject* parent = nullptr);

    // Prints the values once more on a line of its own: the summary at the end of a run.
    void printSummary();

private:
    QString poll();
    void tick();

    zal::RequestClient client;
    QByteArray destination;
    QString label;
    QStringList parameters;
    QTextStream& out;
    QTimer timer;
};
