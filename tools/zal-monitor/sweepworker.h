// Sweeps a running system about once a second and runs the window's requests, in a thread of its
// own so that a slow or absent host never freezes the window.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "monitoroptions.h"
#include "zaltools/commandrunner.h"
#include "zaltools/parameterdescription.h"
#include "zaltools/requestpacer.h"
#include "zaltools/systemsnapshot.h"

namespace zalmonitor {

// What the worker learnt: a sweep, a lost host, the selected processor's parameters, or a reply.
struct WorkerReport {
    enum class Kind { Swept, Lost, Parameters, Answered };
    Kind kind = Kind::Swept;
    zaltools::SystemSnapshot snapshot;  // Swept
    QString text;                       // Lost: why; Answered: the reply
    QString id;                         // Parameters: of which processor
    QVector<zaltools::ParameterDescription> descriptions;
    QStringList values;  // Parameters: by description; empty when not read
    QStringList words;   // Answered: the request
    bool success = false;
};

// Its thread owns the runner (and so its socket). Every request waits at most the time-out, and all
// of them, the sweep's and the window's, share one pacer. The other threads hand over requests and
// take reports through one mutex, which ThreadSanitizer sees, rather than through Qt's event queue.
class SweepWorker {
public:
    // As `zalctl top`: a host of hundreds of processors is read in seconds without being slowed.
    static constexpr int requestsPerSecond = 200;
    static constexpr int sweepIntervalMs = 1000;

    explicit SweepWorker(const MonitorOptions& options);
    // Stops the thread: the sweep under way ends at its next request, so this waits at most one
    // request's time-out.
    ~SweepWorker();
    SweepWorker(const SweepWorker&) = delete;
    SweepWorker& operator=(const SweepWorker&) = delete;

    void start();
    // The processor whose parameters are read after each sweep; empty: none.
    void select(const QString& id);
    void run(const QStringList& words);
    // The reports since the last call, oldest first.
    std::vector<WorkerReport> take();

private:
    void loop();
    void sweep();
    void readParameters(const QString& id);
    // The value of a `get ... --json`; false when there is none.
    bool get(const QString& id, const QString& parameter, QString& value);
    void answer(const QStringList& words);
    void report(WorkerReport report);
    zaltools::CommandRunner& connection();

    const MonitorOptions options;
    std::atomic<bool> stopping{false};
    // Used by the worker's thread only.
    zaltools::RequestPacer pacer;
    std::unique_ptr<zaltools::CommandRunner> runner;
    QStringList order;  // producers first, as the last sweep found them
    QString described;  // whose descriptions `descriptions` holds
    QVector<zaltools::ParameterDescription> descriptions;

    std::mutex mutex;  // guards what follows
    std::condition_variable wake;
    std::deque<QStringList> requests;
    QString selected;
    std::vector<WorkerReport> reports;
    std::thread thread;
};

}  // namespace zalmonitor
