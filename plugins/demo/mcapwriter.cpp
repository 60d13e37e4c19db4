#include "mcapwriter.h"

#include <zlib.h>

#include <chrono>

#include "mcapencoder.h"

namespace demo {

namespace {

constexpr qsizetype maxChunkBytes = 1024 * 1024;
constexpr quint64 maxChunkAgeNs = 1'000'000'000;

quint32 crcOf(quint32 crc, const char* bytes, qsizetype size) {
    return quint32(crc32(crc, reinterpret_cast<const Bytef*>(bytes), uInt(size)));
}

}  // namespace

McapWriter::~McapWriter() {
    close();
}

bool McapWriter::open(const QString& path) {
    close();
    file.setFileName(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        return false;
    }
    offset = 0;
    dataCrc = 0;
    QByteArray start(mcap::magic, mcap::magicSize);
    McapEncoder header(start);
    const qsizetype record = header.beginRecord(mcap::Opcode::Header);
    header.string("");
    header.string("zal demo.Recorder");
    header.endRecord(record);
    if (!writeBytes(start) || !file.flush()) {
        file.close();
        file.remove();
        return false;
    }
    count = 0;
    chunks = 0;
    firstTime = lastTime = 0;
    ids.clear();
    channels.clear();
    chunk.clear();
    chunkIndexes.resize(0);
    startedNs = std::chrono::duration_cast<std::chrono::nanoseconds>(
                    std::chrono::system_clock::now().time_since_epoch())
                    .count();
    clock.start();
    return true;
}

quint64 McapWriter::now() const {
    return quint64(startedNs + clock.nsecsElapsed());
}

quint16 McapWriter::channelFor(const QByteArray& topic) {
    const auto found = ids.constFind(topic);
    if (found != ids.constEnd()) {
        return found.value();
    }
    if (channels.size() >= 0xffff) {
        return 0;
    }
    const auto id = quint16(channels.size() + 1);
    Channel channel;
    McapEncoder encoder(channel.record);
    const qsizetype record = encoder.beginRecord(mcap::Opcode::Channel);
    encoder.u16(id);
    encoder.u16(0);  // no schema: the payload is bytes nothing describes
    encoder.string(topic);
    encoder.string(mcap::messageEncoding);
    const qsizetype metadata = encoder.beginSized();
    encoder.string("stream");
    encoder.string(sourceStreams);
    encoder.string("address");
    encoder.string(sourceAddresses);
    encoder.endSized(metadata);
    encoder.endRecord(record);
    channels.push_back(std::move(channel));
    ids.insert(topic, id);
    return id;
}

bool McapWriter::write(const QByteArray& topic, const QByteArray& data) {
    const quint16 id = file.isOpen() ? channelFor(topic) : 0;
    if (id == 0) {
        return false;
    }
    const quint64 time = now();
    if (!chunk.isEmpty() && (chunk.size() >= maxChunkBytes || time - chunk.startTime() >= maxChunkAgeNs) &&
        !writeChunk()) {
        return false;
    }
    Channel& channel = channels[id - 1u];
    if (!chunk.holdsChannel(id)) {
        chunk.addChannel(id, channel.record);
    }
    chunk.addMessage(id, channel.sequence++, time, data);
    ++channel.messages;
    firstTime = count == 0 ? time : firstTime;
    lastTime = time;
    ++count;
    return true;
}

bool McapWriter::writeBytes(const QByteArray& bytes) {
    dataCrc = crcOf(dataCrc, bytes.constData(), bytes.size());
    offset += quint64(bytes.size());
    return file.write(bytes) == bytes.size();
}

bool McapWriter::writeChunk() {
    chunk.finish(offset, chunkHead, chunkTail, chunkIndexes);
    const bool whole = writeBytes(chunkHead) && writeBytes(chunk.content()) && writeBytes(chunkTail);
    ++chunks;
    chunk.clear();
    return whole;
}

bool McapWriter::flush() {
    if (!file.isOpen()) {
        return false;
    }
    const bool chunkWritten = chunk.isEmpty() || now() - chunk.startTime() < maxChunkAgeNs || writeChunk();
    return file.flush() && chunkWritten;
}

void McapWriter::close() {
    if (!file.isOpen()) {
        return;
    }
    if (!chunk.isEmpty()) {
        writeChunk();
    }
    writeEnd();
    file.close();
}

bool McapWriter::writeEnd() {
    QByteArray end;
    McapEncoder dataEnd(end);
    const qsizetype record = dataEnd.beginRecord(mcap::Opcode::DataEnd);
    dataEnd.u32(dataCrc);
    dataEnd.endRecord(record);
    const quint64 summaryStart = offset + quint64(end.size());
    encodeSummary(end, summaryStart);
    return writeBytes(end) && file.flush();
}

// Channels, statistics and chunk indexes, an offset record per group, then the footer, whose CRC
// covers the summary up to the footer's own CRC field, and the closing magic.
void McapWriter::encodeSummary(QByteArray& summary, quint64 summaryStart) const {
    const qsizetype base = summary.size();
    struct Group {
        mcap::Opcode opcode;
        qsizetype start;
        qsizetype end;
    };
    std::vector<Group> groups;
    qsizetype start = summary.size();
    for (const Channel& channel : channels) {
        summary.append(channel.record);
    }
    groups.push_back({mcap::Opcode::Channel, start, summary.size()});
    start = summary.size();
    encodeStatistics(summary);
    groups.push_back({mcap::Opcode::Statistics, start, summary.size()});
    start = summary.size();
    summary.append(chunkIndexes);
    groups.push_back({mcap::Opcode::ChunkIndex, start, summary.size()});

    McapEncoder encoder(summary);
    const quint64 offsetsStart = summaryStart + quint64(summary.size() - base);
    for (const Group& group : groups) {
        if (group.end == group.start) {
            continue;
        }
        const qsizetype record = encoder.beginRecord(mcap::Opcode::SummaryOffset);
        encoder.u8(quint8(group.opcode));
        encoder.u64(summaryStart + quint64(group.start - base));
        encoder.u64(quint64(group.end - group.start));
        encoder.endRecord(record);
    }
    // Written by hand: the CRC covers the footer's length, which must be in place before it.
    encoder.u8(quint8(mcap::Opcode::Footer));
    encoder.u64(8 + 8 + 4);
    encoder.u64(summaryStart);
    encoder.u64(offsetsStart);
    encoder.u32(crcOf(0, summary.constData() + base, summary.size() - base));
    summary.append(mcap::magic, mcap::magicSize);
}

void McapWriter::encodeStatistics(QByteArray& summary) const {
    McapEncoder encoder(summary);
    const qsizetype record = encoder.beginRecord(mcap::Opcode::Statistics);
    encoder.u64(quint64(count));
    encoder.u16(0);  // schemas
    encoder.u32(quint32(channels.size()));
    encoder.u32(0);  // attachments
    encoder.u32(0);  // metadata
    encoder.u32(chunks);
    encoder.u64(firstTime);
    encoder.u64(lastTime);
    const qsizetype counts = encoder.beginSized();
    for (size_t i = 0; i < channels.size(); ++i) {
        encoder.u16(quint16(i + 1));
        encoder.u64(channels[i].messages);
    }
    encoder.endSized(counts);
    encoder.endRecord(record);
}

void McapWriter::describeSources(const QByteArray& streams, const QByteArray& addresses) {
    sourceStreams = streams;
    sourceAddresses = addresses;
}

}  // namespace demo
