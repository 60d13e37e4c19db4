// Sweeps a running system about once a second and runs the window's requests, in a thread of its
// own so that a slow or absent host never freezes the window.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVector>
#include <atomic>
#include <memory>

#include "monitoroptions.h"
#include "zaltools/commandrunner.h"
#include "zaltools/parameterdescription.h"
#include "zaltools/requestpacer.h"
#include "zaltools/systemsnapshot.h"

namespace zalmonitor {

// Lives in the worker thread once moved there; its runner (and so its socket) is made, used and
// destroyed in that thread only. Every request waits at most the time-out, and all of them, the
// sweep's and the window's, share one pacer.
class SweepWorker : public QObject {
    Q_OBJECT
public:
    // As `zalctl top`: a host of hundreds of processors is read in seconds without being slowed.
    static constexpr int requestsPerSecond = 200;
    static constexpr int sweepIntervalMs = 1000;

    // `stopping`, set by the thread that stops the worker, ends a sweep at its next request.
    SweepWorker(const MonitorOptions& options, const std::atomic<bool>& stopping);
    ~SweepWorker() override;

public slots:
    void begin();
    // The processor whose parameters are read after each sweep; empty: none.
    void select(const QString& id);
    void run(const QStringList& words);
    // Drops the connection and ends the worker thread's event loop.
    void finish();

signals:
    void swept(const zaltools::SystemSnapshot& snapshot);
    void lost(const QString& reason);
    void parameters(const QString& id, const QVector<zaltools::ParameterDescription>& descriptions,
                    const QStringList& values);
    void answered(const QStringList& words, bool success, const QString& text);

private:
    void sweep();
    void readParameters();
    // The value of a `get ... --json`; false when there is none.
    bool get(const QString& parameter, QString& value);
    zaltools::CommandRunner& connection();

    MonitorOptions options;
    zaltools::RequestPacer pacer;
    std::unique_ptr<zaltools::CommandRunner> runner;
    QTimer timer;
    QStringList order;  // producers first, as the last sweep found them
    QString selected;
    QString described;  // whose descriptions `descriptions` holds
    QVector<zaltools::ParameterDescription> descriptions;
};

}  // namespace zalmonitor

Q_DECLARE_METATYPE(zaltools::SystemSnapshot)
Q_DECLARE_METATYPE(QVector<zaltools::ParameterDescription>)
