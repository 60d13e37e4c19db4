// A processor that counts what it receives and keeps the start of the last payload.
#pragma once

#include <zal/processors/processorinfo.h>
#include <zal/processors/streamprocessor.h>
#include <QByteArray>

namespace example {

// A sink: it publishes nothing and needs no stream of its own; a Connect request gives it its
// input. Parameters, all read only: "messages", "bytes" (payload bytes) and "last" (the first 32
// bytes of the last payload, as text). Counts nothing while stopped.
class Tally : public zal::StreamProcessor {
public:
    explicit Tally(const zal::ProcessorInfo& info);

    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket* socket) override;

protected:
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    qint64 messages = 0;
    qint64 bytes = 0;
    QByteArray last;
};

}  // namespace example
