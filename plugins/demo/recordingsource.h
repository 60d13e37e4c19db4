// What the player reads a recording through, whatever the file format, and the choice of reader.
#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

namespace demo {

struct RecordedMessage {
    // Nanoseconds on the recording's clock; only the differences between messages mean anything.
    qint64 time = 0;
    QByteArray topic;
    QByteArray data;
};

// Not thread-safe: owned and used by one processor thread.
class RecordingSource {
public:
    virtual ~RecordingSource() = default;

    // Refuses a file that cannot be read or does not start as the format says.
    virtual bool open(const QString& path) = 0;
    // False at the end, in the order recorded. A file cut short (a recorder that died mid-write)
    // also ends the recording; damaged() then tells the two apart.
    virtual bool next(RecordedMessage& message) = 0;
    virtual void close() = 0;
    virtual bool damaged() const = 0;

    // The reader of the format the file starts with, opened; null when no format reads it.
    static std::unique_ptr<RecordingSource> openFile(const QString& path);
};

}  // namespace demo
