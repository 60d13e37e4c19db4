// What the recorder writes a recording through, whatever the file format.
#pragma once

#include <QByteArray>
#include <QString>

namespace demo {

// Not thread-safe: owned and used by one processor thread.
class RecordingSink {
public:
    virtual ~RecordingSink() = default;

    // Creates the file and writes its start. An existing file is refused rather than
    // overwritten, and a file whose start could not be written is removed again.
    virtual bool open(const QString& path) = 0;
    // False when the message could not be written whole.
    virtual bool write(const QByteArray& topic, const QByteArray& data) = 0;
    // Makes what was written so far readable from the file by others.
    virtual bool flush() = 0;
    virtual void close() = 0;
    // The streams the messages come from, names and addresses each joined by ", ": formats that
    // describe where a message came from keep them beside it.
    virtual void describeSources(const QByteArray& streams, const QByteArray& addresses) {
        (void)streams;
        (void)addresses;
    }

    virtual QString fileName() const = 0;
    virtual qint64 written() const = 0;
};

}  // namespace demo
