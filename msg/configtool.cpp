#include "zal/msg/configtool.h"

#include <QXmlStreamReader>

namespace zal {

using zalmsg::ControlMessage;
using zalmsg::DataSource;
using zalmsg::DataStream;
using zalmsg::Processor;

Processor ConfigTool::unsharedCopy(const Processor& processor) {
    Processor copy;
    const QByteArray binary = processor.GetBinaryRepresentation();
    if (!binary.isEmpty()) {
        copy.SetBinaryRepresentation(binary);
    }
    return copy;
}

// The lookups read through a const reference: the non-const list getters count as setting the
// list, and a query must not mark the configuration as changed.
int ConfigTool::indexOfDataSource(const Processor& processor, const QString& address) {
    const QVector<DataSource>& sources = processor.GetDataSource();
    for (qsizetype i = 0; i < sources.size(); ++i) {
        if (sources[i].GetAddress() == address) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

bool ConfigTool::addDataSource(Processor& processor, const QString& address) {
    if (indexOfDataSource(processor, address) >= 0) {
        return false;
    }
    DataSource source;
    source.SetAddress(address);
    processor.AppendDataSource(source);
    return true;
}

bool ConfigTool::addDataFilter(Processor& processor, const QString& address,
                               const QVector<QString>& filters) {
    const int index = indexOfDataSource(processor, address);
    if (index < 0) {
        return false;
    }
    DataSource& source = processor.GetDataSource()[index];
    if (filters.isEmpty()) {
        source.ResetFilter();
        return true;
    }
    bool appended = false;
    for (const QString& filter : filters) {
        if (!static_cast<const DataSource&>(source).GetFilter().contains(filter)) {
            source.AppendFilter(filter);
            appended = true;
        }
    }
    return appended;
}

QVector<QString> ConfigTool::getDataFilter(Processor& processor, const QString& address) {
    const DataSource* source = getDataSource(processor, address);
    return source != nullptr ? source->GetFilter() : QVector<QString>{};
}

const DataSource* ConfigTool::getDataSource(const Processor& processor, const QString& address) {
    const int index = indexOfDataSource(processor, address);
    return index < 0 ? nullptr : &processor.GetDataSource()[index];
}

const DataStream* ConfigTool::getDataStream(const Processor& processor, const QString& name) {
    for (const DataStream& stream : processor.GetDataStream()) {
        if (stream.GetName() == name) {
            return &stream;
        }
    }
    return nullptr;
}

QStringList ConfigTool::getDataStreams(const Processor& processor) {
    QStringList names;
    for (const DataStream& stream : processor.GetDataStream()) {
        names << stream.GetName();
    }
    return names;
}

bool ConfigTool::setStreamRunning(Processor& processor, const QString& name, bool running) {
    for (DataStream& stream : processor.GetDataStream()) {
        if (stream.GetName() == name) {
            stream.SetRunning(running);
            return true;
        }
    }
    return false;
}

QString ConfigTool::getAddressList(const QVector<QString>& addresses, const QString& separator) {
    return QStringList(addresses.begin(), addresses.end()).join(separator);
}

QString ConfigTool::getRootElement(const QString& xml) {
    QXmlStreamReader reader(xml);
    return reader.readNextStartElement() ? reader.name().toString() : QString();
}

void ConfigTool::setResultSuccess(ControlMessage& message) {
    message.SetResultType(ControlMessage::ResultType::Success);
}

void ConfigTool::setResultSuccess(ControlMessage& message, const QString& value) {
    message.SetResultType(ControlMessage::ResultType::Success);
    message.SetParameter(value.isNull() ? QStringLiteral("") : value);
}

void ConfigTool::setWarningMessage(ControlMessage& message, const QString& text) {
    message.SetResultType(ControlMessage::ResultType::Warning);
    message.SetMessageText(text);
}

void ConfigTool::setErrorMessage(ControlMessage& message, const QString& text) {
    message.SetResultType(ControlMessage::ResultType::Error);
    message.SetMessageText(text);
}

}  // namespace zal
