// Builders of sample data objects and of expected binary forms, shared by the data-object tests.
#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QDataStream>

#include <zal/msg/controlmessage.h>

namespace msgtest {

inline QByteArray Be32(quint32 value) {
    return QByteArray(1, char(value >> 24)) + char(value >> 16) + char(value >> 8) + char(value);
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

inline QByteArray WriteBinary(const REPORTGENERATOR::IRGObject& object) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    object.GetBinary(stream, 0, false);
    return bytes;
}

inline zalmsg::ControlMessage MakeQuery() {
    zalmsg::ControlMessage message;
    message.SetMessageType(zalmsg::ControlMessage::MessageType::Query);
    return message;
}

inline zalmsg::DataStream MakeStream(const QString& name, const QVector<QString>& addresses, bool running) {
    zalmsg::DataStream stream;
    stream.SetName(name);
    stream.SetAddress(addresses);
    stream.SetRunning(running);
    return stream;
}

// A "Create" request with a processor of two inputs and one output, and every kind of property set.
inline zalmsg::ControlMessage MakeCreateMessage() {
    zalmsg::Processor processor;
    processor.SetID(QStringLiteral("counter1"));
    processor.SetProcessorType(QStringLiteral("demo.Counter"));
    zalmsg::DataSource sub;
    sub.SetProtocol(zalmsg::DataSource::Protocol::SUB);
    sub.SetAddress(QStringLiteral("inproc://zal/g/gen"));
    sub.SetFilter({QStringLiteral("A"), QStringLiteral("")});
    processor.AppendDataSource(sub);
    zalmsg::DataSource tcp;
    tcp.SetProtocol(zalmsg::DataSource::Protocol::TCP_CLIENT);
    tcp.SetAddress(QStringLiteral("tcp://10.0.0.1:7"));
    tcp.SetByteOrder(zalmsg::DataSource::ByteOrder::Network);
    processor.AppendDataSource(tcp);
    processor.AppendDataStream(MakeStream(QStringLiteral("counts"), {QStringLiteral("tcp://*:5601")}, true));
    zalmsg::ControlMessage message;
    message.SetMessageType(zalmsg::ControlMessage::MessageType::Create);
    message.SetProcessor(processor);
    message.SetGroupName(QStringLiteral("g1"));
    message.SetProcessorName(QStringLiteral("counter1"));
    message.SetStreamAddresses({QStringLiteral("tcp://a:1"), QStringLiteral("tcp://b:2")});
    message.SetMessageText(QStringLiteral("grüße, ünïcode"));
    message.SetResultType(zalmsg::ControlMessage::ResultType::Warning);
    return message;
}

}  // namespace msgtest
