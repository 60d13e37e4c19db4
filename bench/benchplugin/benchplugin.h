// The benchmark's own plug-in "zalbench": a source whose only cost per message is zal's, so that
// the streaming figures compare zal with raw libzmq and not payload making with a preset buffer.
#pragma once

#include <chrono>

#include "zal/processors/plugin.h"
#include "zal/processors/processorinfo.h"
#include "zal/processors/streamprocessor.h"

namespace zalbench {

// Publishes one preset payload of "size" bytes (topic "demo") as fast as it can from creation on,
// in bounded batches so that control requests are still served between them. A "rate" above zero
// paces it to that many messages per second instead, each stamped with the send time (steady
// clock, nanoseconds, in its first eight bytes) for a zalbench.Latency to read.
class Source : public zal::StreamProcessor {
public:
    explicit Source(const zal::ProcessorInfo& info);

    bool initialize() override;
    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket* socket) override;

protected:
    void checkDataEvents() override;
    void doIdleProcessing() override;
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    using Clock = std::chrono::steady_clock;
    void publishBatch();
    void publishDue();
    bool setRate(const QString& value);

    QByteArray topic = "demo";
    QByteArray payload = QByteArray(64, 'a');
    qint64 sent = 0;
    int rate = 0;
    Clock::time_point nextDue;
};

class BenchPlugin : public zal::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZalPlugin_iid FILE "zalbench.json")
    Q_INTERFACES(zal::Plugin)
public:
    QString getName() const override;
    QStringList getProcessorTypes() const override;
    zal::ProcessorBase* createProcessor(const zal::ProcessorInfo& info) override;
};

}  // namespace zalbench
