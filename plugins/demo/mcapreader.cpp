#include "mcapreader.h"

#include <zlib.h>
#include <QtEndian>

#include "mcapformat.h"

namespace demo {

namespace {

// Little-endian fields from a bounded run of bytes; a read past the end leaves `ok` false.
struct Fields {
    const char* at;
    const char* end;
    bool ok = true;

    template <typename T>
    T next() {
        if (end - at < qsizetype(sizeof(T))) {
            ok = false;
            return 0;
        }
        const T value = qFromLittleEndian<T>(at);
        at += sizeof(T);
        return value;
    }
    QByteArray string() {
        const auto length = next<quint32>();
        if (!ok || quint64(end - at) < length) {
            ok = false;
            return {};
        }
        at += length;
        return QByteArray(at - length, qsizetype(length));
    }
};

}  // namespace

bool McapReader::open(const QString& path) {
    close();
    broken = false;
    file.setFileName(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    if (file.read(mcap::magicSize) != QByteArray(mcap::magic, mcap::magicSize) || !readRecord() ||
        quint8(buffer[0]) != quint8(mcap::Opcode::Header)) {
        close();
        return false;
    }
    return true;
}

bool McapReader::readRecord() {
    buffer.resize(mcap::recordPrefixSize);
    const qint64 got = file.read(buffer.data(), mcap::recordPrefixSize);
    if (got != mcap::recordPrefixSize) {
        return false;
    }
    const auto length = qFromLittleEndian<quint64>(buffer.constData() + 1);
    // The length is checked against what is left before anything is allocated for it.
    if (length > quint64(file.size() - file.pos())) {
        return false;
    }
    buffer.resize(mcap::recordPrefixSize + qsizetype(length));
    return file.read(buffer.data() + mcap::recordPrefixSize, qint64(length)) == qint64(length);
}

bool McapReader::enterChunk() {
    Fields chunk{buffer.constData() + mcap::recordPrefixSize, buffer.constData() + buffer.size()};
    chunk.next<quint64>();  // first and last message time
    chunk.next<quint64>();
    const auto size = chunk.next<quint64>();
    const auto crc = chunk.next<quint32>();
    const QByteArray compression = chunk.string();
    const auto length = chunk.next<quint64>();
    if (!chunk.ok || !compression.isEmpty() || length != size || quint64(chunk.end - chunk.at) < length) {
        return false;
    }
    viewAt = chunk.at - buffer.constData();
    viewEnd = viewAt + qsizetype(length);
    // A CRC of 0 means the writer did not compute one.
    return crc == 0 || crc == quint32(crc32(0, reinterpret_cast<const Bytef*>(chunk.at), uInt(length)));
}

bool McapReader::next(RecordedMessage& message) {
    while (file.isOpen()) {
        if (nextInView(message)) {
            return true;
        }
        if (!readRecord()) {
            // Only a file that ends before its data section does is cut short.
            broken = true;
            break;
        }
        const auto opcode = mcap::Opcode(buffer[0]);
        if (opcode == mcap::Opcode::DataEnd || opcode == mcap::Opcode::Footer) {
            break;
        }
        if (opcode == mcap::Opcode::Chunk) {
            if (!enterChunk()) {
                broken = true;
                break;
            }
        } else {
            viewAt = 0;
            viewEnd = buffer.size();
        }
    }
    close();
    return false;
}

bool McapReader::nextInView(RecordedMessage& message) {
    while (viewEnd - viewAt >= mcap::recordPrefixSize) {
        const char* record = buffer.constData() + viewAt;
        const auto length = qFromLittleEndian<quint64>(record + 1);
        if (length > quint64(viewEnd - viewAt - mcap::recordPrefixSize)) {
            viewAt = viewEnd;
            broken = true;
            return false;
        }
        viewAt += mcap::recordPrefixSize + qsizetype(length);
        const auto opcode = mcap::Opcode(record[0]);
        if (opcode == mcap::Opcode::Channel) {
            addChannel(record + mcap::recordPrefixSize, length);
        } else if (opcode == mcap::Opcode::Message &&
                   readMessage(record + mcap::recordPrefixSize, length, message)) {
            return true;
        }
    }
    viewAt = viewEnd;
    return false;
}

void McapReader::addChannel(const char* content, quint64 length) {
    Fields channel{content, content + length};
    const auto id = channel.next<quint16>();
    channel.next<quint16>();  // schema
    const QByteArray topic = channel.string();
    if (channel.ok) {
        topics.insert(id, topic);
    }
}

// A message of a channel not seen yet has no topic to be sent under and is passed over.
bool McapReader::readMessage(const char* content, quint64 length, RecordedMessage& message) const {
    Fields fields{content, content + length};
    const auto channel = fields.next<quint16>();
    fields.next<quint32>();  // sequence
    const auto logTime = fields.next<quint64>();
    fields.next<quint64>();  // publish time
    const auto topic = topics.constFind(channel);
    if (!fields.ok || topic == topics.constEnd()) {
        return false;
    }
    message.time = qint64(logTime);
    message.topic = topic.value();
    message.data = QByteArray(fields.at, fields.end - fields.at);
    return true;
}

void McapReader::close() {
    if (file.isOpen()) {
        file.close();
    }
    topics.clear();
    viewAt = viewEnd = 0;
}

}  // namespace demo
