// Writes the seed corpus of every fuzz target from the library's own writers, plus a few edge cases.
//   zal_fuzz_seeds <corpus directory>   (normally fuzz/corpus; the files are committed, not regenerated)
#include <zal/msg/controlmessagehelper.h>
#include <zal/msg/controlmessage.h>
#include <zal/msg/datasource.h>
#include <zal/msg/datastream.h>
#include <zal/msg/processor.h>

#include <QDir>
#include <QFile>
#include <cstdio>
#include <vector>

using zal::ControlMessageHelper;
using zalmsg::ControlMessage;

namespace {

QString root;

void write(const QString& target, const QString& name, const QByteArray& bytes) {
    QDir().mkpath(root + QLatin1Char('/') + target);
    QFile file(root + QLatin1Char('/') + target + QLatin1Char('/') + name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(file.fileName()));
        std::exit(1);
    }
}

zalmsg::DataSource makeSource() {
    zalmsg::DataSource source;
    source.SetProtocol(zalmsg::DataSource::Protocol::TCP);
    source.SetAddress(QStringLiteral("tcp://127.0.0.1:5601"));
    source.SetByteOrder(zalmsg::DataSource::ByteOrder::Network);
    source.AppendFilter(QStringLiteral("numbers"));
    source.AppendFilter(QLatin1String(""));
    return source;
}

zalmsg::DataStream makeStream() {
    zalmsg::DataStream stream;
    stream.SetName(QStringLiteral("out"));
    stream.AppendAddress(QStringLiteral("inproc://zal/g/p/out"));
    stream.AppendAddress(QStringLiteral("tcp://127.0.0.1:*"));
    stream.SetRunning(true);
    return stream;
}

zalmsg::Processor makeProcessor() {
    zalmsg::Processor processor = ControlMessageHelper::makeProcessorConfig("out", "tcp://127.0.0.1:*");
    processor.SetID(QStringLiteral("p1"));
    processor.SetProcessorType(QStringLiteral("demo.Generator"));
    processor.AppendDataSource(makeSource());
    processor.AppendDataStream(makeStream());
    return processor;
}

ControlMessage makeErrorReply() {
    ControlMessage reply = ControlMessageHelper::makeDeleteProcessorMessage("gen");
    reply.SetResultType(ControlMessage::ResultType::Error);
    reply.SetMessageText(QStringLiteral("No processor \"gen\" <in> group & such"));
    return reply;
}

void xmlSeeds() {
    const QString t = QStringLiteral("controlmessage_xml_fuzzer");
    write(t, QStringLiteral("create"),
          ControlMessageHelper::toPayload(
              ControlMessageHelper::makeCreateProcessorMessage("demo.Generator", "gen", makeProcessor())));
    write(t, QStringLiteral("connect"),
          ControlMessageHelper::toPayload(ControlMessageHelper::makeConnectStreamMessage(
              "out", "tcp://127.0.0.1:5601", std::vector<std::string>{"a", "", "numbers"})));
    write(t, QStringLiteral("register"),
          ControlMessageHelper::toPayload(ControlMessageHelper::makeRegisterStreamMessage(
              "out", "gen", std::vector<std::string>{"inproc://zal/g/gen/out", "tcp://127.0.0.1:5601"})));
    write(t, QStringLiteral("set-parameter"),
          ControlMessageHelper::toPayload(ControlMessageHelper::makeSetParameterMessage("rate", "2000")));
    write(t, QStringLiteral("create-group"),
          ControlMessageHelper::toPayload(ControlMessageHelper::makeCreateProcessorGroupMessage("g1")));
    write(t, QStringLiteral("error-reply"), ControlMessageHelper::toPayload(makeErrorReply()));
    // Edge cases the writers never produce: a declaration and an unknown nested element, a zero byte
    // that ends the payload early, and a boolean of a nested stream spelled as a number.
    write(t, QStringLiteral("edge-declaration-unknown"),
          "<?xml version=\"1.0\"?><ControlMessage><MessageType>Query</MessageType>"
          "<Unknown><x a=\"1\">t</x></Unknown></ControlMessage>");
    write(t, QStringLiteral("edge-zero-byte"),
          QByteArray("<ControlMessage><MessageType>Stop</MessageType></ControlMessage>\0<junk", 71));
    write(t, QStringLiteral("edge-nested-bool"),
          "<ControlMessage><MessageType>Create</MessageType><Processor><DataStream><Name>s</Name>"
          "<Running>1</Running><Address>a</Address></DataStream></Processor></ControlMessage>");
}

void binarySeeds() {
    const QString t = QStringLiteral("dataobject_binary_fuzzer");
    // The selector byte: class in bits 0-1, compressed in bit 2, validation in bit 3.
    struct Seed {
        const char* name;
        char kind;
        const REPORTGENERATOR::IRGObject* object;
    };
    const ControlMessage create =
        ControlMessageHelper::makeCreateProcessorMessage("demo.Generator", "gen", makeProcessor());
    const ControlMessage reply = makeErrorReply();
    const zalmsg::Processor processor = makeProcessor();
    const zalmsg::DataSource source = makeSource();
    const zalmsg::DataStream stream = makeStream();
    const Seed seeds[] = {{"controlmessage-create", 0, &create},
                          {"controlmessage-error-reply", 0, &reply},
                          {"processor", 1, &processor},
                          {"datasource", 2, &source},
                          {"datastream", 3, &stream}};
    for (const Seed& seed : seeds) {
        const QString name = QLatin1String(seed.name);
        write(t, name, QByteArray(1, char(seed.kind | 8)) + seed.object->GetBinaryRepresentation());
        write(t, name + QStringLiteral("-compressed"),
              QByteArray(1, char(seed.kind | 4 | 8)) + seed.object->GetCompressedBinaryRepresentation());
    }
    write(t, QStringLiteral("edge-empty-object"), QByteArray("\x08\xAA\xB7\x4D\xB6\0\0\0\0", 9));
    write(t, QStringLiteral("edge-unknown-tag"),
          QByteArray("\x00\xAA\xB7\x4D\xB6\0\0\0\x0D\x12\x34\x56\x78\0\0\0\x05hello", 22));
}

// Frames: receiver byte, frame count - 1, then each frame but the last as length byte and bytes.
QByteArray frames(char receiver, const std::vector<QByteArray>& parts) {
    QByteArray out(1, receiver);
    out += char(parts.size() - 1);
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        out += char(parts[i].size());
        out += parts[i];
    }
    return out + parts.back();
}

void frameSeeds() {
    const QString t = QStringLiteral("socket_frames_fuzzer");
    const QByteArray identity = ControlMessageHelper::makeIdentity("inproc://zal/g1");
    const QByteArray payload =
        ControlMessageHelper::toPayload(ControlMessageHelper::makeCreateProcessorGroupMessage("g1"));
    write(t, QStringLiteral("mode0-router-answer"), frames(0, {identity, QByteArray(), payload}));
    write(t, QStringLiteral("mode1-dealer"), frames(1, {QByteArray(), identity, payload}));
    write(t, QStringLiteral("mode2"), frames(2, {QByteArray(), payload}));
    write(t, QStringLiteral("mode3"), frames(3, {identity, payload}));
    write(t, QStringLiteral("mode-other"), frames(4, {payload}));
    write(t, QStringLiteral("router"), frames(5, {QByteArray(), identity, payload}));
    write(t, QStringLiteral("bytestream"), frames(6, {"numbers", QByteArray(64, 'x')}));
    write(t, QStringLiteral("edge-mode1-short"), frames(1, {QByteArray(), identity}));
    write(t, QStringLiteral("edge-router-surplus"), frames(5, {QByteArray(), identity, payload, "extra"}));
    write(t, QStringLiteral("edge-bytestream-one-frame"), frames(6, {"topic-only"}));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s <corpus directory>\n", argv[0]);
        return 64;
    }
    root = QString::fromLocal8Bit(argv[1]);
    xmlSeeds();
    binarySeeds();
    frameSeeds();
    return 0;
}
