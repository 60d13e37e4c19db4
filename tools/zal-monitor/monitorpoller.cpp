#include "monitorpoller.h"

#include <QMetaObject>
#include <cstdio>

namespace zalmonitor {

MonitorPoller::MonitorPoller(const MonitorOptions& options, QObject* parent)
    : QObject(parent), timeoutMs(options.timeoutMs), worker(new SweepWorker(options, stopping)) {
    qRegisterMetaType<zaltools::SystemSnapshot>();
    qRegisterMetaType<QVector<zaltools::ParameterDescription>>();
    worker->moveToThread(&thread);
}

MonitorPoller::~MonitorPoller() {
    stopping = true;
    if (thread.isRunning()) {
        QMetaObject::invokeMethod(worker, &SweepWorker::finish, Qt::QueuedConnection);
        // A request under way ends within its time-out; the pacer's wait ends at once.
        if (!thread.wait(timeoutMs + 2000)) {
            std::fprintf(stderr, "zal-monitor: the polling thread did not end in time\n");
            return;  // the worker is left to the ending process rather than deleted under its thread
        }
    }
    delete worker;
}

void MonitorPoller::start() {
    thread.start();
    QMetaObject::invokeMethod(worker, &SweepWorker::begin, Qt::QueuedConnection);
}

void MonitorPoller::select(const QString& id) {
    QMetaObject::invokeMethod(
        worker, [this, id] { worker->select(id); }, Qt::QueuedConnection);
}

void MonitorPoller::run(const QStringList& words) {
    QMetaObject::invokeMethod(
        worker, [this, words] { worker->run(words); }, Qt::QueuedConnection);
}

}  // namespace zalmonitor
