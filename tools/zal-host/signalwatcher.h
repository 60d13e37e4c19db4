// Turns SIGINT and SIGTERM into a Qt signal on the main thread, so shutdown runs in the event loop.
#pragma once

#include <QObject>

class QSocketNotifier;

// The handler only writes a byte into a pipe (async-signal-safe); a socket notifier in the event
// loop reads it and emits terminationRequested(). One instance per process.
class SignalWatcher : public QObject {
    Q_OBJECT
public:
    explicit SignalWatcher(QObject* parent = nullptr);
    ~SignalWatcher() override;

signals:
    void terminationRequested(int signalNumber);

private:
    void readSignal();
    QSocketNotifier* notifier = nullptr;
};
