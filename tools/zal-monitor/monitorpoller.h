// Runs a SweepWorker in a thread of its own and is the window's one way to it.
#pragma once

#include <QObject>
#include <QThread>
#include <atomic>

#include "monitoroptions.h"
#include "sweepworker.h"

namespace zalmonitor {

// Belongs to the GUI thread.
class MonitorPoller : public QObject {
    Q_OBJECT
public:
    explicit MonitorPoller(const MonitorOptions& options, QObject* parent = nullptr);
    // Stops the worker, waiting at most a time-out and a little longer.
    ~MonitorPoller() override;

    void start();
    void select(const QString& id);
    void run(const QStringList& words);
    // What to connect to for the sweeps and replies; its signals arrive queued in the caller's thread.
    const SweepWorker* reports() const { return worker; }

private:
    int timeoutMs;
    // Set once, by the GUI thread, to end the worker's sweep at its next request.
    std::atomic<bool> stopping{false};
    QThread thread;
    SweepWorker* worker;  // owned; deleted once its thread has ended
};

}  // namespace zalmonitor
