// Collects the records of one MCAP chunk and writes it out with its message and chunk indexes.
#pragma once

#include <QByteArray>
#include <utility>
#include <vector>

namespace demo {

// One chunk is built at a time and reused: its buffers keep their capacity from chunk to chunk,
// so adding a message allocates nothing once the first chunks have grown them. Uncompressed.
class McapChunk {
public:
    bool isEmpty() const { return messages == 0; }
    // Bytes of records held, the figure chunks are bounded by.
    qsizetype size() const { return records.size(); }
    quint64 startTime() const { return start; }

    // Whether the channel's record is in this chunk yet: a chunk carries the record of every
    // channel it holds messages of, so each chunk reads on its own.
    bool holdsChannel(quint16 channel) const;
    void addChannel(quint16 channel, const QByteArray& channelRecord);
    // Times are nanoseconds and must not decrease from one message to the next.
    void addMessage(quint16 channel, quint32 sequence, quint64 time, const QByteArray& data);

    // Encodes the chunk record's fields before its records into `head` and its message index
    // records into `tail` (both emptied first): the file gets head, content(), tail from
    // `fileOffset` on. Appends the chunk's index record to `chunkIndexes`.
    void finish(quint64 fileOffset, QByteArray& head, QByteArray& tail, QByteArray& chunkIndexes);
    const QByteArray& content() const { return records; }
    // Empties the chunk for the next one.
    void clear();

private:
    void encodeIndex(quint64 fileOffset, quint64 chunkLength, const QByteArray& tail,
                     QByteArray& chunkIndexes) const;

    QByteArray records;
    // Per channel id: (log time, offset of the message record in `records`) of each message.
    std::vector<std::vector<std::pair<quint64, quint64>>> entries;
    // The channels with messages in this chunk, in the order they came.
    std::vector<quint16> channels;
    std::vector<char> present;
    std::vector<quint64> indexOffsets;
    qint64 messages = 0;
    quint64 start = 0;
    quint64 end = 0;
};

}  // namespace demo
