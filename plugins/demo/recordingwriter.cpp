#include "recordingwriter.h"

#include <QDataStream>
#include <QDateTime>

#include "recordingformat.h"

namespace demo {

RecordingWriter::~RecordingWriter() {
    close();
}

bool RecordingWriter::open(const QString& path) {
    close();
    file.setFileName(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        return false;
    }
    QByteArray header;
    QDataStream stream(&header, QIODevice::WriteOnly);
    stream.writeRawData(recordingMagic, recordingMagicSize);
    stream << recordingVersion << qint64(QDateTime::currentMSecsSinceEpoch());
    if (file.write(header) != header.size() || !file.flush()) {
        file.close();
        file.remove();
        return false;
    }
    count = 0;
    clock.start();
    return true;
}

bool RecordingWriter::write(const QByteArray& topic, const QByteArray& data) {
    if (!file.isOpen()) {
        return false;
    }
    QByteArray record;
    record.reserve(int(sizeof(qint64) + 2 * sizeof(quint32)) + topic.size() + data.size());
    QDataStream stream(&record, QIODevice::WriteOnly);
    stream << qint64(clock.nsecsElapsed()) << quint32(topic.size());
    stream.writeRawData(topic.constData(), int(topic.size()));
    stream << quint32(data.size());
    stream.writeRawData(data.constData(), int(data.size()));
    if (file.write(record) != record.size()) {
        return false;
    }
    ++count;
    return true;
}

bool RecordingWriter::flush() {
    return file.isOpen() && file.flush();
}

void RecordingWriter::close() {
    if (file.isOpen()) {
        file.close();
    }
}

}  // namespace demo
