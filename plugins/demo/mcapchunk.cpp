#include "mcapchunk.h"

#include <zlib.h>

#include "mcapencoder.h"

namespace demo {

namespace {

// Opcode, channel id, sequence, log time and publish time before a message's data.
constexpr int messageHeadSize = mcap::recordPrefixSize + 2 + 4 + 8 + 8;

}  // namespace

bool McapChunk::holdsChannel(quint16 channel) const {
    return channel < present.size() && present[channel];
}

void McapChunk::addChannel(quint16 channel, const QByteArray& channelRecord) {
    if (channel >= present.size()) {
        present.resize(channel + 1u, 0);
        entries.resize(channel + 1u);
    }
    present[channel] = 1;
    channels.push_back(channel);
    records.append(channelRecord);
}

void McapChunk::addMessage(quint16 channel, quint32 sequence, quint64 time, const QByteArray& data) {
    if (messages == 0) {
        start = time;
    }
    end = time;
    ++messages;
    entries[channel].emplace_back(time, quint64(records.size()));
    // One append for the fixed fields: this runs for every message recorded.
    char head[messageHeadSize];
    head[0] = char(mcap::Opcode::Message);
    qToLittleEndian(quint64(messageHeadSize - mcap::recordPrefixSize + data.size()), head + 1);
    qToLittleEndian(channel, head + 9);
    qToLittleEndian(sequence, head + 11);
    qToLittleEndian(time, head + 15);
    qToLittleEndian(time, head + 23);
    records.append(head, messageHeadSize);
    records.append(data);
}

void McapChunk::finish(quint64 fileOffset, QByteArray& head, QByteArray& tail, QByteArray& chunkIndexes) {
    head.resize(0);
    tail.resize(0);
    const auto size = quint64(records.size());
    McapEncoder chunk(head);
    const qsizetype record = chunk.beginRecord(mcap::Opcode::Chunk);
    chunk.u64(start);
    chunk.u64(end);
    chunk.u64(size);
    chunk.u32(quint32(crc32(0, reinterpret_cast<const Bytef*>(records.constData()), uInt(size))));
    chunk.string("");
    chunk.u64(size);
    // The records follow the head in the file; the record's length counts them.
    qToLittleEndian(quint64(head.size() - record - mcap::recordPrefixSize) + size, head.data() + record + 1);

    const quint64 recordsEnd = fileOffset + quint64(head.size()) + size;
    McapEncoder index(tail);
    indexOffsets.clear();
    for (const quint16 channel : channels) {
        indexOffsets.push_back(recordsEnd + quint64(tail.size()));
        const qsizetype opened = index.beginRecord(mcap::Opcode::MessageIndex);
        index.u16(channel);
        const qsizetype array = index.beginSized();
        for (const auto& [time, offset] : entries[channel]) {
            index.u64(time);
            index.u64(offset);
        }
        index.endSized(array);
        index.endRecord(opened);
    }
    encodeIndex(fileOffset, quint64(head.size()) + size, tail, chunkIndexes);
}

void McapChunk::encodeIndex(quint64 fileOffset, quint64 chunkLength, const QByteArray& tail,
                            QByteArray& chunkIndexes) const {
    McapEncoder index(chunkIndexes);
    const qsizetype record = index.beginRecord(mcap::Opcode::ChunkIndex);
    index.u64(start);
    index.u64(end);
    index.u64(fileOffset);
    index.u64(chunkLength);
    const qsizetype map = index.beginSized();
    for (size_t i = 0; i < channels.size(); ++i) {
        index.u16(channels[i]);
        index.u64(indexOffsets[i]);
    }
    index.endSized(map);
    index.u64(quint64(tail.size()));
    index.string("");
    index.u64(quint64(records.size()));
    index.u64(quint64(records.size()));
    index.endRecord(record);
}

void McapChunk::clear() {
    // Shrinking to zero keeps the capacity, unlike QByteArray::clear().
    records.resize(0);
    for (const quint16 channel : channels) {
        entries[channel].clear();
        present[channel] = 0;
    }
    channels.clear();
    messages = 0;
    start = end = 0;
}

}  // namespace demo
