#include "recordingreader.h"

#include "recordingformat.h"

namespace demo {

bool RecordingReader::open(const QString& path) {
    close();
    broken = false;
    file.setFileName(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    stream.setDevice(&file);
    char magic[recordingMagicSize];
    quint16 version = 0;
    const bool magicRead = stream.readRawData(magic, recordingMagicSize) == recordingMagicSize;
    stream >> version >> started;
    if (!magicRead || stream.status() != QDataStream::Ok ||
        QByteArray(magic, recordingMagicSize) != QByteArray(recordingMagic, recordingMagicSize) ||
        version != recordingVersion) {
        close();
        return false;
    }
    return true;
}

bool RecordingReader::next(RecordedMessage& message) {
    if (!file.isOpen() || stream.atEnd()) {
        return false;
    }
    stream >> message.time;
    if (stream.status() != QDataStream::Ok || !readBytes(message.topic) || !readBytes(message.data)) {
        broken = true;
        close();
        return false;
    }
    return true;
}

bool RecordingReader::readBytes(QByteArray& bytes) {
    quint32 size = 0;
    stream >> size;
    // The length is checked against what is left before anything is allocated for it.
    if (stream.status() != QDataStream::Ok || qint64(size) > file.size() - file.pos()) {
        return false;
    }
    bytes.resize(qsizetype(size));
    return stream.readRawData(bytes.data(), int(size)) == int(size);
}

void RecordingReader::close() {
    stream.setDevice(nullptr);
    if (file.isOpen()) {
        file.close();
    }
    stream.resetStatus();
}

}  // namespace demo
