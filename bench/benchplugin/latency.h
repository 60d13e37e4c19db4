// The benchmark plug-in's consumer that measures how long each stamped message took to arrive.
#pragma once

#include <QByteArray>
#include <vector>

#include "zal/processors/processorinfo.h"
#include "zal/processors/streamprocessor.h"

namespace zalbench {

// Reads the send time a paced zalbench.Source wrote into each message and keeps the one-way
// latency in room reserved at creation, so that arriving costs no allocation; messages beyond that
// room are counted but not kept. Parameters: "samples" (kept), "p50", "p99", "p999" (microseconds)
// read only; setting "reset" (any value) forgets what was kept.
class Latency : public zal::StreamProcessor {
public:
    explicit Latency(const zal::ProcessorInfo& info);

    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket* socket) override;

protected:
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    std::vector<double> samples;
};

}  // namespace zalbench
