// A processor that publishes messages of a chosen topic and size at a chosen rate.
#pragma once

#include <chrono>

#include "zal/processors/processorinfo.h"
#include "zal/processors/streamprocessor.h"

namespace demo {

// Parameters: "topic" (text), "size" (payload bytes, 0 to 1 MiB), "rate" (messages per second,
// 0 = as fast as it can), "sent" (read only). Publishes from creation on; Stop pauses, Start
// resumes without catching up on the pause. Message n (from 0) carries the payload makePayload(n, size).
class Generator : public zal::StreamProcessor {
public:
    explicit Generator(const zal::ProcessorInfo& info);

    bool initialize() override;
    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket* socket) override;

    // The decimal sequence number and a space, then 'a' to 'z' repeated, cut to size bytes.
    static QByteArray makePayload(qint64 sequence, int size);

protected:
    void checkDataEvents() override;
    void doIdleProcessing() override;
    bool start(const QString& streamName) override;
    bool stop(const QString& streamName) override;
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    // Restarts the schedule and the wake-up timer, so that a pause or a new rate is not caught up on.
    void restartSchedule();
    void publishDue();

    QByteArray topic = "demo";
    int size = 64;
    double rate = 100;
    qint64 sent = 0;
    std::chrono::steady_clock::time_point scheduleStart;
    qint64 sentInSchedule = 0;
};

}  // namespace demo
