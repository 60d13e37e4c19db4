// Reads a recording file written in the format of docs/recording-format.md, one message at a time.
#pragma once

#include <QByteArray>
#include <QDataStream>
#include <QFile>
#include <QString>

#include "recordingsource.h"

namespace demo {

// Message times count from the start of the recording.
class RecordingReader : public RecordingSource {
public:
    // Refuses a file that does not start with a header of a known version.
    bool open(const QString& path) override;
    // A record cut short or a length beyond the file's end ends the recording as damaged.
    bool next(RecordedMessage& message) override;
    void close() override;

    bool damaged() const override { return broken; }
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
