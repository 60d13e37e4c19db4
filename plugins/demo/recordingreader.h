// Reads a recording file written in the format of docs/recording-format.md, one message at a time.
#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QFile>
#include <QString>

namespace demo {

struct RecordedMessage {
    // Nanoseconds from the start of the recording.
    qint64 time = 0;
    QByteArray topic;
    QByteArray data;
};

// Not thread-safe: owned and used by one processor thread.
class RecordingReader {
public:
    // Refuses a file that cannot be read or does not start with a header of a known version.
    bool open(const QString& path);
    // False at the end. A record cut short (a recorder that died mid-write) or a length beyond the
    // file's end also ends the recording; damaged() then tells the two apart.
    bool next(RecordedMessage& message);
    void close();

    bool damaged() const { return broken; }
    // Milliseconds since the Unix epoch at which the recording started.
    qint64 startedAt() const { return started; }

private:
    bool readBytes(QByteArray& bytes);

    QFile file;
    QDataStream stream;
    qint64 started = 0;
    bool broken = false;
};

}  // namespace demo
