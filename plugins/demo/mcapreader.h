// Reads the messages of an MCAP file in file order, one at a time, without its summary.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QHash>

#include "recordingsource.h"

namespace demo {

// Reads front to back, so a file cut short (a recorder killed mid-write) plays up to its last whole
// chunk and then reports itself damaged, as does a chunk that fails its CRC. Reads uncompressed
// chunks only; a compressed one ends the recording as damaged. Message times are log times.
class McapReader : public RecordingSource {
public:
    // Refuses a file that does not start with the magic and a header record.
    bool open(const QString& path) override;
    bool next(RecordedMessage& message) override;
    void close() override;
    bool damaged() const override { return broken; }

private:
    // The next record outside chunks, whole, into `buffer`; false at the end of the file.
    bool readRecord();
    // Points the view at the records of the chunk in `buffer`; false when it cannot be read.
    bool enterChunk();
    // The next message among the records in view, taking note of the channels on the way.
    bool nextInView(RecordedMessage& message);
    bool readMessage(const char* content, quint64 length, RecordedMessage& message) const;
    void addChannel(const char* content, quint64 length);

    QFile file;
    QHash<quint16, QByteArray> topics;
    QByteArray buffer;
    // The records still to read in `buffer`, from `viewAt` up to `viewEnd`.
    qsizetype viewAt = 0;
    qsizetype viewEnd = 0;
    bool broken = false;
};

}  // namespace demo
