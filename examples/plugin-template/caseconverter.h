// A processor that republishes every message it receives with its payload in upper or lower case.
#pragma once

#include <zal/processors/processorinfo.h>
#include <zal/processors/streamprocessor.h>

namespace example {

// Its configuration names the stream it publishes on (zalctl create ... --stream name=address);
// a Connect request gives it its input. Parameters: "to" ("upper", the default, or "lower") and
// "converted" (read only: messages republished). Converts and republishes nothing while stopped.
class CaseConverter : public zal::StreamProcessor {
public:
    explicit CaseConverter(const zal::ProcessorInfo& info);

    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket* socket) override;

protected:
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    bool upper = true;
    qint64 converted = 0;
};

}  // namespace example
