// A processor that replays a recording file on its output stream.
#pragma once

#include <QElapsedTimer>
#include <memory>

#include "recordingsource.h"
#include "zal/processors/processorinfo.h"
#include "zal/processors/streamprocessor.h"

namespace demo {

// Parameters: "file" (the recording to play, in the recorder's own format or MCAP, told apart by
// how the file starts; refused unless it opens as one), "speed" ("recorded"
// keeps the recorded spacing, "full" sends as fast as it can), "played" (read only: messages sent
// by the current play), "done" (read only: "true" once a play reached the end of its file),
// "skipped" (read only: 1 when the play ended at a record cut short or a file without its end,
// as a recorder killed mid-write leaves one, else 0). Start
// plays the file from its beginning, Stop ends the play; "file" and "speed" cannot change during a
// play. At full speed, subscribers slower than the player lose what overflows their high-water mark.
class Player : public zal::StreamProcessor {
public:
    explicit Player(const zal::ProcessorInfo& info);

    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket* socket) override;

protected:
    void checkDataEvents() override;
    void doIdleProcessing() override;
    bool start(const QString& streamName) override;
    bool stop(const QString& streamName) override;
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    // Sends what is due now, then sets the wake-up for the next message.
    void playDue();
    void finish();

    QString file;
    bool fullSpeed = false;
    bool playing = false;
    bool done = false;
    qint64 played = 0;
    int skipped = 0;
    // Open during a play only.
    std::unique_ptr<RecordingSource> recording;
    // The next message, read but not yet due.
    RecordedMessage pending;
    bool hasPending = false;
    qint64 firstTime = 0;
    QElapsedTimer clock;
};

}  // namespace demo
