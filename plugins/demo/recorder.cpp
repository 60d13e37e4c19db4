#include "recorder.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

namespace demo {

namespace {

constexpr int flushMilliseconds = 200;

}  // namespace

Recorder::Recorder(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix), directory(QDir::currentPath()) {
    enableIdleProcessing(flushMilliseconds);
}

Recorder::~Recorder() = default;

void Recorder::release() {
    writer.reset();
    StreamProcessor::release();
}

void Recorder::handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket*) {
    if (!active) {
        return;
    }
    if (!writer && (openRefused || !openNext(QString()))) {
        openRefused = true;
        ++failed;
        return;
    }
    if (!writer->write(message.topic, message.data)) {
        ++failed;
    }
}

void Recorder::doIdleProcessing() {
    if (writer) {
        writer->flush();
    }
}

QString Recorder::makeFileName() {
    return QStringLiteral("%1-%2-%3.zrec")
        .arg(QString::fromStdString(name), QDateTime::currentDateTimeUtc().toString("yyyyMMddTHHmmsszzz"))
        .arg(++fileNumber, 4, 10, QLatin1Char('0'));
}

bool Recorder::openNext(const QString& requestedName) {
    const QString fileName = requestedName.isEmpty() ? makeFileName() : requestedName;
    auto next = std::make_unique<RecordingWriter>();
    if (!next->open(QDir(directory).absoluteFilePath(fileName))) {
        return false;
    }
    writer = std::move(next);
    openRefused = false;
    return true;
}

bool Recorder::startNewRecording(QString& parameter) {
    if (!openNext(parameter)) {
        return false;
    }
    parameter = writer->fileName();
    return true;
}

bool Recorder::setParameter(const QString& name, const QString& value) {
    if (name != "directory") {
        return false;
    }
    const QFileInfo info(value);
    if (value.isEmpty() || !info.isDir() || !info.isWritable()) {
        return false;
    }
    directory = info.absoluteFilePath();
    openRefused = false;
    return true;
}

bool Recorder::getParameter(const QString& name, QString& value) {
    if (name == "directory") {
        value = directory;
    } else if (name == "file") {
        value = writer ? writer->fileName() : QString();
    } else if (name == "recorded") {
        value = QString::number(writer ? writer->written() : 0);
    } else if (name == "failed") {
        value = QString::number(failed);
    } else {
        return false;
    }
    return true;
}

bool Recorder::getParameterList(QStringList& names) {
    names = {"directory", "failed", "file", "recorded"};
    return true;
}

}  // namespace demo
