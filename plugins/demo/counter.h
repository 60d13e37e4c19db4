// A processor that counts the messages and payload bytes it receives and their recent rate.
#pragma once

#include <chrono>

#include "zal/processors/processorinfo.h"
#include "zal/processors/streamprocessor.h"

namespace demo {

// Parameters: "messages", "bytes" (payload bytes, topics not included) and "rate" (messages per
// second over the last window of at least one second) are read only; setting "reset" (any value)
// zeroes them. "costUs" (0 to 1000000, default 0) is busy work in microseconds per message counted:
// a counter slower than its producer loses what overflows its high-water mark, which is how a
// throttled consumer is shown. Counts nothing while stopped. Publishes nothing: a data stream in its
// configuration is bound and registered, but none is needed.
class Counter : public zal::StreamProcessor {
public:
    explicit Counter(const zal::ProcessorInfo& info);

    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket* socket) override;

protected:
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    using Clock = std::chrono::steady_clock;
    // Closes the current window once it is a second old, so that the rate follows the traffic.
    void rollWindow(Clock::time_point now);
    bool setCost(const QString& value);

    qint64 messages = 0;
    qint64 bytes = 0;
    Clock::time_point windowStart = Clock::now();
    qint64 windowMessages = 0;
    double rate = 0;
    int costUs = 0;
};

}  // namespace demo
