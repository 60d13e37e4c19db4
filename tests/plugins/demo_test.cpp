// The demo plug-in's processors in a whole environment, driven as a user drives them: over the
// frontend. Splitting a recording and replaying it are zal-host's test (tests/tools).
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <chrono>

#include "recordingreader.h"
#include "support/frontendclient.h"
#include "support/qtprinters.h"
#include "zal/host/environment.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Helper = ControlMessageHelper;
using Result = zalmsg::ControlMessage::ResultType;

namespace {

const std::string manager = internalAddressPrefixDefault;

// Every message of a recording, read by the plug-in's reader after a look at the documented header.
QVector<demo::RecordedMessage> readRecording(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly) && file.read(8) == QByteArray("ZALREC\0\1", 8))
        << path.toStdString();
    QVector<demo::RecordedMessage> records;
    demo::RecordingReader reader;
    demo::RecordedMessage message;
    EXPECT_TRUE(reader.open(path));
    while (reader.next(message)) {
        records << message;
    }
    EXPECT_FALSE(reader.damaged()) << path.toStdString();
    return records;
}

class Demo : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(directory.isValid());
        client.succeed(manager, Helper::makeCreateProcessorGroupMessage("g"));
    }
    static std::string at(const std::string& processor) {
        return Endpoints::getProcessorEndpoint("g", processor, manager);
    }
    // Creates a processor of a demo type publishing on an inproc stream named after it.
    void create(const std::string& type, const std::string& name) {
        client.succeed(group,
                       Helper::makeCreateProcessorMessage(
                           "demo." + type, name, Helper::makeProcessorConfig(name, "inproc://demo/" + name)));
    }
    void connect(const std::string& to, const std::string& from) {
        client.succeed(at(to), Helper::makeConnectStreamMessage(from, "inproc://demo/" + from, ""));
    }
    void set(const std::string& processor, const std::string& name, const std::string& value) {
        client.succeed(at(processor), Helper::makeSetParameterMessage(name, value));
    }
    void run(const std::string& processor, bool start) {
        client.succeed(at(processor), start ? Helper::makeStartStreamMessage(processor)
                                            : Helper::makeStopStreamMessage(processor));
    }
    QString get(const std::string& processor, const std::string& name) {
        return client.succeed(at(processor), Helper::makeGetParameterMessage(name)).GetParameter();
    }
    qint64 number(const std::string& processor, const std::string& name) {
        return get(processor, name).toLongLong();
    }
    QString refusal(const std::string& processor, const zalmsg::ControlMessage& request) {
        return client.refusal(at(processor), request);
    }
    QString newRecording(const std::string& recorder, const std::string& requested = "") {
        return client.succeed(at(recorder), Helper::makeStartNewRecordingMessage(requested)).GetParameter();
    }
    // Polls until a numeric parameter reaches `wanted` (exactly, or at least), within a generous bound.
    bool await(const std::string& processor, const std::string& name, qint64 wanted, bool exactly = false) {
        return zaltest::eventually([&] {
            const qint64 value = number(processor, name);
            return exactly ? value == wanted : value >= wanted;
        });
    }

    QTemporaryDir directory;
    Environment environment{"tcp://127.0.0.1:*"};
    zaltest::FrontendClient client{environment.getRouterFrontendAddress()};
    const std::string group = Endpoints::getGroupEndpoint("g", manager);
};

}  // namespace

TEST_F(Demo, ParametersAreListedReadAndRefusedWithFailureTexts) {
    const std::pair<const char*, const char*> types[] = {{"Generator", "rate,sent,size,topic"},
                                                         {"Counter", "bytes,messages,rate,reset"},
                                                         {"Recorder", "directory,failed,file,recorded"},
                                                         {"Player", "done,file,played,speed"}};
    for (const auto& [type, parameters] : types) {
        create(type, type);
        EXPECT_EQ(client.succeed(at(type), Helper::makeGetParameterListMessage()).GetParameter(), parameters);
    }

    // Accepted values read back; refused values leave the previous one in place.
    set("Generator", "topic", "news");
    set("Generator", "size", "12");
    set("Generator", "rate", "2.5");
    QFile notRecording(directory.filePath("notes.txt"));
    ASSERT_TRUE(notRecording.open(QIODevice::WriteOnly) && notRecording.write("ZALREC but not really") > 0);
    notRecording.close();
    const std::tuple<const char*, const char*, std::string> refused[] = {
        {"Generator", "size", "-1"},
        {"Generator", "size", "big"},
        {"Generator", "size", "999999999"},
        {"Generator", "rate", "-3"},
        {"Generator", "rate", "inf"},
        {"Generator", "sent", "0"},
        {"Recorder", "directory", directory.filePath("missing").toStdString()},
        {"Recorder", "file", "x.zrec"},
        {"Player", "file", directory.filePath("missing.zrec").toStdString()},
        {"Player", "file", notRecording.fileName().toStdString()},
        {"Player", "speed", "slow"},
    };
    for (const auto& [processor, name, value] : refused) {
        EXPECT_EQ(refusal(processor, Helper::makeSetParameterMessage(name, value)),
                  QString("Cannot set parameter: %1").arg(name));
    }
    EXPECT_EQ(get("Generator", "topic") + get("Generator", "size") + get("Generator", "rate"), "news122.5");
    EXPECT_EQ(get("Recorder", "directory"), QDir::currentPath());
    EXPECT_EQ(get("Recorder", "file"), "");
    EXPECT_EQ(get("Player", "speed") + get("Player", "done"), "recordedfalse");
    EXPECT_EQ(refusal("Player", Helper::makeStartStreamMessage("Player")), "Cannot start stream: Player");

    // A recording is never written over an existing file, and the current one stays in use.
    set("Recorder", "directory", directory.path().toStdString());
    EXPECT_EQ(get("Recorder", "directory"), QFileInfo(directory.path()).absoluteFilePath());
    const QString first = newRecording("Recorder", "first.zrec");
    EXPECT_EQ(first, QDir(directory.path()).absoluteFilePath("first.zrec"));
    EXPECT_EQ(refusal("Recorder", Helper::makeStartNewRecordingMessage("notes.txt")),
              "Cannot start new recording: ");
    EXPECT_EQ(get("Recorder", "file"), first);
    set("Player", "file", first.toStdString());
    EXPECT_EQ(get("Player", "file"), first);
}

TEST_F(Demo, GeneratorFeedsCounterAtItsRateAndPausesWhenStopped) {
    create("Generator", "gen");
    run("gen", false);
    set("gen", "size", "10");
    set("gen", "rate", "200");
    create("Counter", "count");
    connect("count", "gen");
    const qint64 before = number("gen", "sent");

    const auto started = std::chrono::steady_clock::now();
    run("gen", true);
    ASSERT_TRUE(await("count", "messages", 300));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    // 300 messages at 200 per second: not a flood, and not a crawl.
    EXPECT_GT(seconds, 0.75);
    EXPECT_LT(seconds, 15.0);
    const double rate = get("count", "rate").toDouble();
    EXPECT_GT(rate, 50.0);
    EXPECT_LT(rate, 800.0);

    // Stopped, the generator sends nothing more and the counter ends up with every message sent.
    run("gen", false);
    const qint64 sent = number("gen", "sent") - before;
    EXPECT_TRUE(await("count", "messages", sent, true)) << number("count", "messages") << " of " << sent;
    EXPECT_EQ(number("count", "bytes"), 10 * sent);
    EXPECT_EQ(number("gen", "sent") - before, sent);
    set("count", "reset", "");
    EXPECT_EQ(number("count", "messages") + number("count", "bytes"), 0);
}

TEST_F(Demo, FileErrorsAreRefusedAndLoseNothing) {
    create("Generator", "gen");
    set("gen", "rate", "1000");
    create("Recorder", "rec");
    const QString gone = directory.filePath("gone");
    ASSERT_TRUE(QDir().mkpath(gone));
    set("rec", "directory", gone.toStdString());
    ASSERT_TRUE(QDir(gone).removeRecursively());

    // No file can be opened: messages are counted as failed, and a valid directory recovers.
    connect("rec", "gen");
    EXPECT_TRUE(await("rec", "failed", 1));
    EXPECT_EQ(get("rec", "file"), "");
    set("rec", "directory", directory.path().toStdString());
    EXPECT_TRUE(await("rec", "recorded", 50));
    const QString current = get("rec", "file");

    // A new file that cannot be created leaves the current one recording.
    EXPECT_EQ(refusal("rec", Helper::makeStartNewRecordingMessage("missing/next.zrec")),
              "Cannot start new recording: ");
    EXPECT_EQ(get("rec", "file"), current);
    EXPECT_TRUE(await("rec", "recorded", number("rec", "recorded") + 50));
    const qint64 failed = number("rec", "failed");
    run("gen", false);
    EXPECT_NE(newRecording("rec"), current);
    EXPECT_EQ(number("rec", "failed"), failed);

    // A recording cut in its last record plays every whole record before the cut, at its own pace.
    const auto whole = readRecording(current);
    ASSERT_GE(whole.size(), 100);
    QFile file(current);
    ASSERT_TRUE(file.resize(file.size() - 3));
    create("Player", "play");
    create("Counter", "count");
    connect("count", "play");
    set("play", "file", current.toStdString());
    const auto started = std::chrono::steady_clock::now();
    run("play", true);
    EXPECT_EQ(refusal("play", Helper::makeSetParameterMessage("file", current.toStdString())),
              "Cannot set parameter: file")
        << "no new file while playing";
    EXPECT_TRUE(await("count", "messages", whole.size() - 1, true));
    EXPECT_EQ(get("play", "done"), "true");
    EXPECT_EQ(number("play", "played"), whole.size() - 1);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    EXPECT_GT(seconds, 0.5 * double(whole[whole.size() - 2].time - whole.front().time) / 1e9);
}
