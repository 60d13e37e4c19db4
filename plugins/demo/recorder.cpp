#include "recorder.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include "mcapwriter.h"
#include "recordingwriter.h"

namespace demo {

namespace {

constexpr int flushMilliseconds = 200;

}  // namespace

Recorder::Recorder(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix, Output::Optional),
      directory(QDir::currentPath()) {
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
    // Under steady traffic the quiet-time flush never comes; a host killed then keeps at least
    // what was written up to a fraction of a second before.
    if ((writer->written() & 0xff) == 0 && sinceFlush.hasExpired(flushMilliseconds)) {
        writer->flush();
        sinceFlush.start();
    }
}

void Recorder::doIdleProcessing() {
    if (writer) {
        writer->flush();
        sinceFlush.start();
    }
}

QString Recorder::makeFileName() {
    return QStringLiteral("%1-%2-%3.%4")
        .arg(QString::fromStdString(name), QDateTime::currentDateTimeUtc().toString("yyyyMMddTHHmmsszzz"))
        .arg(++fileNumber, 4, 10, QLatin1Char('0'))
        .arg(mcap ? "mcap" : "zrec");
}

bool Recorder::openNext(const QString& requestedName) {
    const QString fileName = requestedName.isEmpty() ? makeFileName() : requestedName;
    std::unique_ptr<RecordingSink> next;
    if (mcap) {
        next = std::make_unique<McapWriter>();
    } else {
        next = std::make_unique<RecordingWriter>();
    }
    if (!next->open(QDir(directory).absoluteFilePath(fileName))) {
        return false;
    }
    writer = std::move(next);
    describeSources();
    sinceFlush.start();
    openRefused = false;
    return true;
}

bool Recorder::startNewRecording(QString& parameter) {
    // A name is one file name inside the directory: a client may choose what the file is called,
    // never where on the host's disk it goes.
    if (parameter.contains(QLatin1Char('/')) || parameter == QLatin1String("..") ||
        parameter == QLatin1String(".")) {
        return refuse(QStringLiteral("a recording name is a file name inside the directory '%1', without "
                                     "'/'; got '%2'")
                          .arg(directory, parameter));
    }
    const QString path = QDir(directory).absoluteFilePath(parameter);
    if (!parameter.isEmpty() && QFileInfo::exists(path)) {
        return refuse(QStringLiteral("'%1' exists; recordings are never overwritten").arg(path));
    }
    if (!openNext(parameter)) {
        return refuse(QStringLiteral("'%1' cannot be created in '%2'").arg(parameter, directory));
    }
    parameter = writer->fileName();
    return true;
}

bool Recorder::connect(const QString& streamName, const QString& streamAddress,
                       const QVector<QString>& messageFilter) {
    if (!StreamProcessor::connect(streamName, streamAddress, messageFilter)) {
        return false;
    }
    if (!sourceAddresses.contains(streamAddress)) {
        sourceStreams.append(streamName);
        sourceAddresses.append(streamAddress);
        describeSources();
    }
    return true;
}

void Recorder::describeSources() {
    if (writer) {
        writer->describeSources(sourceStreams.join(", ").toUtf8(), sourceAddresses.join(", ").toUtf8());
    }
}

bool Recorder::setParameter(const QString& name, const QString& value) {
    if (name == "file" || name == "recorded" || name == "failed") {
        return refuse(QStringLiteral("read-only"));
    }
    if (name == "format") {
        if (value != "zal" && value != "mcap") {
            return refuse(QStringLiteral("expects 'zal' or 'mcap'; got '%1'").arg(value));
        }
        mcap = value == "mcap";
        return true;
    }
    if (name != "directory") {
        return false;
    }
    const QFileInfo info(value);
    if (value.isEmpty() || !info.isDir() || !info.isWritable()) {
        return refuse(
            QStringLiteral("expects an existing directory this host may write to; got '%1'").arg(value));
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
    } else if (name == "format") {
        value = mcap ? "mcap" : "zal";
    } else {
        return false;
    }
    return true;
}

bool Recorder::getParameterList(QStringList& names) {
    names = {"directory", "failed", "file", "format", "recorded"};
    return true;
}

}  // namespace demo
