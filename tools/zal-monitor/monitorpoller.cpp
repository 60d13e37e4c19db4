#include "monitorpoller.h"

namespace zalmonitor {

MonitorPoller::MonitorPoller(const MonitorOptions& options, QObject* parent)
    : QObject(parent), worker(options) {
    connect(&timer, &QTimer::timeout, this, &MonitorPoller::deliver);
}

void MonitorPoller::start() {
    worker.start();
    timer.start(takeIntervalMs);
}

void MonitorPoller::deliver() {
    for (const WorkerReport& report : worker.take()) {
        switch (report.kind) {
            case WorkerReport::Kind::Swept:
                emit swept(report.snapshot);
                break;
            case WorkerReport::Kind::Lost:
                emit lost(report.text);
                break;
            case WorkerReport::Kind::Parameters:
                emit parameters(report.id, report.descriptions, report.values);
                break;
            case WorkerReport::Kind::Answered:
                emit answered(report.words, report.success, report.text);
                break;
        }
    }
}

}  // namespace zalmonitor
