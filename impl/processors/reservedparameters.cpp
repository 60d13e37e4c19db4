#include "zal/processors/reservedparameters.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QVector>

#include "zal/processors/processorcontrolinterface.h"
#include "zal/processors/trafficmeter.h"

namespace zal {

namespace {

const QString statusName = QStringLiteral("zal.status");
const QString parametersName = QStringLiteral("zal.parameters");

QJsonArray strings(const QVector<QString>& list) {
    QJsonArray array;
    for (const QString& each : list) {
        array.append(each);
    }
    return array;
}

// What a query of the processor answers, each item as `describe` makes it; null when the
// processor does not answer the query.
template <class Item, class Query, class Describe>
QJsonValue listed(Query&& query, Describe&& describe) {
    QVector<Item> list;
    if (!query(list)) {
        return QJsonValue::Null;
    }
    QJsonArray array;
    for (const Item& item : list) {
        array.append(describe(item));
    }
    return array;
}

QJsonValue sources(ProcessorControlInterface& processor) {
    return listed<zalmsg::DataSource>([&](auto& list) { return processor.querySources(list); },
                                      [](const zalmsg::DataSource& source) {
                                          return QJsonObject{
                                              {QStringLiteral("address"), source.GetAddress()},
                                              {QStringLiteral("filters"), strings(source.GetFilter())}};
                                      });
}

// "running" is null for a stream whose processor does not say.
QJsonValue streams(ProcessorControlInterface& processor) {
    return listed<zalmsg::DataStream>(
        [&](auto& list) { return processor.queryStreams(list); },
        [](const zalmsg::DataStream& stream) {
            return QJsonObject{{QStringLiteral("name"), stream.GetName()},
                               {QStringLiteral("addresses"), strings(stream.GetAddress())},
                               {QStringLiteral("running"),
                                stream.IsRunningSet() ? QJsonValue(stream.GetRunning()) : QJsonValue()}};
        });
}

QString compact(const QJsonDocument& document) {
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}

}  // namespace

bool ReservedParameters::isReserved(const QString& name) {
    return name.startsWith(QLatin1String("zal."));
}

QString ReservedParameters::refusalToSet() {
    return QStringLiteral("reserved for zal");
}

QString ReservedParameters::refusalToGet(const QString& name) {
    return QStringLiteral("no parameter '%1'; zal answers %2 and %3").arg(name, parametersName, statusName);
}

void ReservedParameters::describeType(const QString& newType, const QJsonArray& newParameters) {
    type = newType;
    parameters = newParameters;
}

bool ReservedParameters::get(const QString& name, QString& value) const {
    if (name == statusName) {
        value = status();
        return true;
    }
    if (name == parametersName) {
        value = compact(QJsonDocument(parameters));
        return true;
    }
    return false;
}

QString ReservedParameters::status() const {
    QJsonArray outputs;
    if (traffic.hasOutput()) {
        outputs.append(traffic.outputEntry());
    }
    return compact(QJsonDocument(QJsonObject{{QStringLiteral("type"), type},
                                             {QStringLiteral("input"), traffic.input()},
                                             {QStringLiteral("outputs"), outputs},
                                             {QStringLiteral("sources"), sources(processor)},
                                             {QStringLiteral("streams"), streams(processor)}}));
}

}  // namespace zal
