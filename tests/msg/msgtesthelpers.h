// Builders of sample data objects and of expected binary forms, shared by the data-object tests.
#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QDataStream>

#include <zal/msg/controlmessage.h>

namespace msgtest {

inline QByteArray Be32(quint32 value) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << value;
    return bytes;
}

// A QDataStream QByteArray: count, then the bytes.
inline QByteArray Utf8(const QByteArray& text) {
    return Be32(quint32(text.size())) + text;
}

// One element: tag, length of the content, content.
inline QByteArray Element(quint32 tag, const QByteArray& content) {
    return Be32(tag) + Be32(quint32(content.size())) + content;
}

// The text of the exception f throws, or a marker that fails any comparison with a real text.
template <class Exception, class F>
QString MessageOf(F&& f) {
    try {
        f();
    } catch (const Exception& e) {
        return e.GetMessage();
    }
    return QStringLiteral("<nothing thrown>");
}

inline QByteArray WriteBinary(const REPORTGENERATOR::IRGObject& object, int id, bool header) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    object.GetBinary(stream, id, header);
    return bytes;
}

inline zalmsg::DataSource MakeSource(qint32 protocol, const QString& address,
                                     const QVector<QString>& filters) {
    zalmsg::DataSource source;
    source.SetProtocol(protocol);
    source.SetAddress(address);
    for (const QString& filter : filters) {
        source.AppendFilter(filter);
    }
    return source;
}

inline zalmsg::DataStream MakeStream(const QString& name, const QVector<QString>& addresses, bool running) {
    zalmsg::DataStream stream;
    stream.SetName(name);
    stream.SetAddress(addresses);
    stream.SetRunning(running);
    return stream;
}

// A processor with two inputs and one output, as a "Create" request carries it.
inline zalmsg::Processor MakeProcessor() {
    zalmsg::Processor processor;
    processor.SetID(QStringLiteral("counter1"));
    processor.SetProcessorType(QStringLiteral("demo.Counter"));
    processor.AppendDataSource(MakeSource(zalmsg::DataSource::Protocol::SUB,
                                          QStringLiteral("inproc://zal/g/gen"),
                                          {QStringLiteral("A"), QStringLiteral("")}));
    zalmsg::DataSource tcp =
        MakeSource(zalmsg::DataSource::Protocol::TCP_CLIENT, QStringLiteral("tcp://10.0.0.1:7"), {});
    tcp.SetByteOrder(zalmsg::DataSource::ByteOrder::Network);
    processor.AppendDataSource(tcp);
    processor.AppendDataStream(MakeStream(QStringLiteral("counts"), {QStringLiteral("tcp://*:5601")}, true));
    return processor;
}

inline zalmsg::ControlMessage MakeCreateMessage() {
    zalmsg::ControlMessage message;
    message.SetMessageType(zalmsg::ControlMessage::MessageType::Create);
    message.SetProcessor(MakeProcessor());
    message.SetGroupName(QStringLiteral("g1"));
    message.SetProcessorName(QStringLiteral("counter1"));
    message.SetStreamAddresses({QStringLiteral("tcp://a:1"), QStringLiteral("tcp://b:2")});
    message.SetMessageText(QStringLiteral("grüße, ünïcode"));
    message.SetResultType(zalmsg::ControlMessage::ResultType::Warning);
    return message;
}

}  // namespace msgtest
