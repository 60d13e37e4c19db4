// Round trips of control messages through their XML text and binary forms, beside a hand-written Qt XML
// round trip of the same bare message as the baseline.
#include <benchmark/benchmark.h>

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <zal/msg/configtool.h>
#include <zal/msg/controlmessagehelper.h>
#include <zal/msg/controlmessage.h>

namespace {

using zalmsg::ControlMessage;
using zalmsg::DataSource;
using zalmsg::DataStream;
using zalmsg::Processor;

ControlMessage Query() {
    ControlMessage message;
    message.SetMessageType(ControlMessage::MessageType::Query);
    return message;
}

DataSource Source(qint32 protocol, const QString& address) {
    DataSource source;
    source.SetProtocol(protocol);
    source.SetAddress(address);
    source.AppendFilter(QStringLiteral("topic"));
    return source;
}

// A "Create" request as a client sends it: a processor with two inputs and one output.
ControlMessage Create() {
    Processor processor;
    processor.SetID(QStringLiteral("counter1"));
    processor.SetProcessorType(QStringLiteral("demo.Counter"));
    processor.AppendDataSource(
        Source(DataSource::Protocol::SUB, QStringLiteral("inproc://zal/g1/generator")));
    processor.AppendDataSource(
        Source(DataSource::Protocol::TCP_CLIENT, QStringLiteral("tcp://127.0.0.1:5601")));
    DataStream stream;
    stream.SetName(QStringLiteral("counts"));
    stream.AppendAddress(QStringLiteral("tcp://*:5602"));
    stream.SetRunning(true);
    processor.AppendDataStream(stream);
    ControlMessage message;
    message.SetMessageType(ControlMessage::MessageType::Create);
    message.SetGroupName(QStringLiteral("g1"));
    message.SetProcessorName(QStringLiteral("counter1"));
    message.SetProcessor(processor);
    return message;
}

void XmlRoundTrip(benchmark::State& state, const ControlMessage& message) {
    qint64 bytes = 0;
    for (auto _ : state) {
        const QByteArray payload = message.GetXmlString().toUtf8();
        ControlMessage received;
        received.SetXmlString(QString::fromUtf8(payload), false);
        benchmark::DoNotOptimize(received.GetMessageType());
        bytes += payload.size();
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(bytes);
}

void BinaryRoundTrip(benchmark::State& state, const ControlMessage& message) {
    qint64 bytes = 0;
    for (auto _ : state) {
        const QByteArray payload = message.GetBinaryRepresentation();
        ControlMessage received;
        received.SetBinaryRepresentation(payload);
        benchmark::DoNotOptimize(received.GetMessageType());
        bytes += payload.size();
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(bytes);
}

void BM_XmlRoundTrip_Query(benchmark::State& state) {
    XmlRoundTrip(state, Query());
}
void BM_XmlRoundTrip_Create(benchmark::State& state) {
    XmlRoundTrip(state, Create());
}
void BM_BinaryRoundTrip_Query(benchmark::State& state) {
    BinaryRoundTrip(state, Query());
}
void BM_BinaryRoundTrip_Create(benchmark::State& state) {
    BinaryRoundTrip(state, Create());
}

// The least any XML round trip of the bare message costs with Qt: write the two elements, read the text back.
void BM_RawQtXmlRoundTrip_Query(benchmark::State& state) {
    for (auto _ : state) {
        QString xml;
        QXmlStreamWriter writer(&xml);
        writer.writeStartElement(QStringLiteral("ControlMessage"));
        writer.writeTextElement(QStringLiteral("MessageType"), QStringLiteral("Query"));
        writer.writeEndElement();
        const QByteArray payload = xml.toUtf8();
        QXmlStreamReader reader(QString::fromUtf8(payload));
        reader.readNextStartElement();
        reader.readNextStartElement();
        benchmark::DoNotOptimize(reader.readElementText());
    }
    state.SetItemsProcessed(state.iterations());
}

// What a processor does with one "GetParameter" between receiving and sending: decode the wire
// payload, answer in the request itself, encode the reply.
void BM_ProcessorAnswer_GetParameter(benchmark::State& state) {
    const QByteArray payload =
        zal::ControlMessageHelper::toPayload(zal::ControlMessageHelper::makeGetParameterMessage("messages"));
    for (auto _ : state) {
        ControlMessage request;
        zal::ControlMessageHelper::decodeRequest(payload, request);
        zal::ConfigTool::setResultSuccess(request, QStringLiteral("1234567"));
        benchmark::DoNotOptimize(zal::ControlMessageHelper::toPayload(request));
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(BM_ProcessorAnswer_GetParameter);
BENCHMARK(BM_RawQtXmlRoundTrip_Query);
BENCHMARK(BM_XmlRoundTrip_Query);
BENCHMARK(BM_XmlRoundTrip_Create);
BENCHMARK(BM_BinaryRoundTrip_Query);
BENCHMARK(BM_BinaryRoundTrip_Create);

BENCHMARK_MAIN();
