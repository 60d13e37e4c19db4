// Writes one recording as an MCAP file: chunks with message indexes, then a summary that indexes them.
#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QHash>
#include <vector>

#include "mcapchunk.h"
#include "recordingsink.h"

namespace demo {

// One channel per topic, numbered from 1 in the order topics first arrive; message times are the receive time
// in nanoseconds since the Unix epoch. A chunk is written when it holds a mebibyte of records
// or has been open for a second, so a writer that dies loses at most its open chunk; close()
// writes the summary and the footer that make the file seekable.
class McapWriter : public RecordingSink {
public:
    McapWriter() = default;
    McapWriter(const McapWriter&) = delete;
    McapWriter& operator=(const McapWriter&) = delete;
    ~McapWriter() override;

    bool open(const QString& path) override;
    // Refuses a message whose topic would be the 65536th channel: channel ids are 16 bits.
    bool write(const QByteArray& topic, const QByteArray& data) override;
    // Writes the open chunk first once it has been open for a second.
    bool flush() override;
    void close() override;
    // Taken by channels opened from now on.
    void describeSources(const QByteArray& streams, const QByteArray& addresses) override;

    QString fileName() const override { return file.fileName(); }
    qint64 written() const override { return count; }

private:
    struct Channel {
        quint32 sequence = 0;
        quint64 messages = 0;
        QByteArray record;
    };

    // The id of the topic's channel, made on its first message; 0 when ids have run out.
    quint16 channelFor(const QByteArray& topic);
    bool writeBytes(const QByteArray& bytes);
    bool writeChunk();
    bool writeEnd();
    void encodeSummary(QByteArray& summary, quint64 summaryStart) const;
    void encodeStatistics(QByteArray& summary) const;
    quint64 now() const;

    QFile file;
    QElapsedTimer clock;
    qint64 startedNs = 0;
    qint64 count = 0;
    bool failed = false;
    QByteArray sourceStreams;
    QByteArray sourceAddresses;
    QHash<QByteArray, quint16> ids;
    // Channel id n is at n - 1.
    std::vector<Channel> channels;
    McapChunk chunk;
    QByteArray chunkHead;
    QByteArray chunkTail;
    QByteArray chunkIndexes;
    quint32 chunks = 0;
    quint64 firstTime = 0;
    quint64 lastTime = 0;
    // Bytes written so far, which is where the next record lands.
    quint64 offset = 0;
    // Over every byte before the end of the data section.
    quint32 dataCrc = 0;
};

}  // namespace demo
