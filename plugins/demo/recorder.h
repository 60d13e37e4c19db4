// A processor that writes every message of the streams it is connected to into recording files.
#pragma once

#include <QElapsedTimer>
#include <memory>

#include "recordingsink.h"
#include "zal/processors/processorinfo.h"
#include "zal/processors/streamprocessor.h"

namespace demo {

// Parameters: "directory" (where the next file goes; an existing writable directory, default the
// working directory), "file" (read only: the current file's path, empty before the first),
// "recorded" (read only: messages in the current file), "failed" (read only: messages that could
// not be written), "format" ("zal" or "mcap", both in docs/recording-format.md; taken by the next
// file opened). The first file is opened by the first message or by StartNewRecording, whose
// parameter may name the file: a plain file name inside "directory" (no '/', no ".."); empty, the
// name is made up. Files are never overwritten. Records nothing while stopped. Written records
// reach the disk within a fraction of a second (MCAP: within a second or a mebibyte, a chunk at a
// time), so a recorder killed mid-write leaves a file that reads up to its last whole record or
// chunk. Like the counter, it needs no data stream of its own.
class Recorder : public zal::StreamProcessor {
public:
    explicit Recorder(const zal::ProcessorInfo& info);
    ~Recorder() override;

    void release() override;
    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket* socket) override;

protected:
    // Flushes while the streams are quiet, so that a file being written can be read up to there.
    void doIdleProcessing() override;
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;
    bool startNewRecording(QString& parameter) override;
    // Keeps the stream's name and address for the formats that store where messages came from.
    bool connect(const QString& streamName, const QString& streamAddress,
                 const QVector<QString>& messageFilter) override;

private:
    // Opens the next file and only then closes the current one: a refused file loses nothing.
    bool openNext(const QString& requestedName);
    QString makeFileName();
    void describeSources();

    QString directory;
    bool mcap = false;
    QStringList sourceStreams;
    QStringList sourceAddresses;
    std::unique_ptr<RecordingSink> writer;
    int fileNumber = 0;
    QElapsedTimer sinceFlush;
    qint64 failed = 0;
    // After the first file could not be opened, messages are counted as failed instead of retrying
    // on each one, until the directory changes or a new recording is asked for.
    bool openRefused = false;
};

}  // namespace demo
