// Writes one recording file in the format of docs/recording-format.md.
#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QString>

#include "recordingsink.h"

namespace demo {

// Not thread-safe: owned and used by one processor thread. Timestamps count from open().
class RecordingWriter : public RecordingSink {
public:
    RecordingWriter() = default;
    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;
    ~RecordingWriter() override;

    bool open(const QString& path) override;
    // A failed write may leave the file ending in a partial record, which readers treat as the
    // end of the recording.
    bool write(const QByteArray& topic, const QByteArray& data) override;
    bool flush() override;
    void close() override;

    QString fileName() const override { return file.fileName(); }
    qint64 written() const override { return count; }

private:
    QFile file;
    QElapsedTimer clock;
    qint64 count = 0;
};

}  // namespace demo
