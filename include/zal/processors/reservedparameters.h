// The parameter names zal reserves on every processor ("zal.status", "zal.parameters") and their answers.
#pragma once

#include <QJsonArray>
#include <QString>

namespace zal {

class ProcessorControlInterface;
class TrafficMeter;

// Answered by the processor's control handler before the plug-in sees the request, so that every
// processor reports the same way without any code of its own; GetParameterList does not name them,
// and SetParameter refuses them. Used in the processor's thread only, except describeType(), which
// the group calls before that thread starts.
class ReservedParameters {
public:
    ReservedParameters(ProcessorControlInterface& processor, const TrafficMeter& traffic)
        : processor(processor), traffic(traffic) {}

    static bool isReserved(const QString& name);
    // Why SetParameter refuses every reserved name, and GetParameter one that zal does not answer.
    static QString refusalToSet();
    static QString refusalToGet(const QString& name);

    // The type as the create request named it, and the parameter descriptions of its plug-in's
    // metadata.
    void describeType(const QString& type, const QJsonArray& parameters);
    // False for a reserved name zal does not answer.
    bool get(const QString& name, QString& value) const;

private:
    QString status() const;

    ProcessorControlInterface& processor;
    const TrafficMeter& traffic;
    QString type;
    QJsonArray parameters;
};

}  // namespace zal
