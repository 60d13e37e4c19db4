// Prints what a running Qt bridge delivers: topic, size and first bytes, at most a few lines a second.
#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTextStream>

// Lives in the host's main thread; the bridge emits in its own thread, so Qt queues every message
// to onMessage() here. Lines beyond the limit per second are counted, not printed.
class BridgeTap : public QObject {
    Q_OBJECT
public:
    BridgeTap(const QString& name, QTextStream& out, int linesPerSecond = 2, QObject* parent = nullptr);

    // Connects to the bridge registered under `endpoint`; false when none is registered.
    bool attach(const QString& endpoint);
    qint64 received() const { return count; }

public slots:
    void onMessage(QByteArray type, QByteArray data);

private:
    QString name;
    QTextStream& out;
    int linesPerSecond;
    qint64 count = 0;
    int printedThisSecond = 0;
    qint64 suppressed = 0;
    QElapsedTimer second;
};
