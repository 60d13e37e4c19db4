// Runs a SweepWorker and hands its reports to the GUI thread as signals.
#pragma once

#include <QObject>
#include <QTimer>

#include "monitoroptions.h"
#include "sweepworker.h"

namespace zalmonitor {

// Belongs to the GUI thread, whose event loop takes the worker's reports a few times a second.
class MonitorPoller : public QObject {
    Q_OBJECT
public:
    static constexpr int takeIntervalMs = 100;

    explicit MonitorPoller(const MonitorOptions& options, QObject* parent = nullptr);

    void start();
    void select(const QString& id) { worker.select(id); }
    void run(const QStringList& words) { worker.run(words); }

signals:
    void swept(const zaltools::SystemSnapshot& snapshot);
    void lost(const QString& reason);
    void parameters(const QString& id, const QVector<zaltools::ParameterDescription>& descriptions,
                    const QStringList& values);
    void answered(const QStringList& words, bool success, const QString& text);

private:
    void deliver();

    SweepWorker worker;
    QTimer timer;
};

}  // namespace zalmonitor
