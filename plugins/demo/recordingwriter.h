// Writes one recording file in the format of docs/recording-format.md.
#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QString>

namespace demo {

// Not thread-safe: owned and used by one processor thread. Timestamps count from open().
class RecordingWriter {
public:
    RecordingWriter() = default;
    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;
    ~RecordingWriter();

    // Creates the file and writes its header. An existing file is refused rather than overwritten,
    // and a file whose header could not be written is removed again.
    bool open(const QString& path);
    // False when the record could not be written whole; the file may then end in a partial record,
    // which readers treat as the end of the recording.
    bool write(const QByteArray& topic, const QByteArray& data);
    bool flush();
    void close();

    bool isOpen() const { return file.isOpen(); }
    QString fileName() const { return file.fileName(); }
    qint64 written() const { return count; }

private:
    QFile file;
    QElapsedTimer clock;
    qint64 count = 0;
};

}  // namespace demo
