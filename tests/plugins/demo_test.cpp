// The demo plug-in's processors in a whole environment, driven as a user drives them: over the frontend.
#include <gtest/gtest.h>

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <chrono>
#include <thread>

#include "support/frontendclient.h"
#include "support/qtprinters.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"
#include "zal/host/environment.h"

using namespace zal;
using Message = zalmsg::ControlMessage;
using Result = zalmsg::ControlMessage::ResultType;

namespace {

const std::string manager = internalAddressPrefixDefault;

struct Recorded {
    qint64 time = 0;
    QByteArray topic;
    QByteArray data;
};

// Reads a recording by the layout documented in docs/recording-format.md, independently of the
// plug-in's own reader; fails the test on a bad header or a record cut short.
QVector<Recorded> readRecording(const QString& path) {
    QVector<Recorded> records;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot open " << path.toStdString();
        return records;
    }
    QDataStream in(&file);
    char magic[6];
    quint16 version = 0;
    qint64 started = 0;
    in.readRawData(magic, 6);
    in >> version >> started;
    EXPECT_EQ(QByteArray(magic, 6), "ZALREC");
    EXPECT_EQ(version, 1);
    EXPECT_GT(started, 0);
    while (!in.atEnd()) {
        Recorded record;
        quint32 size = 0;
        in >> record.time >> size;
        record.topic.resize(size);
        in.readRawData(record.topic.data(), int(size));
        in >> size;
        record.data.resize(size);
        in.readRawData(record.data.data(), int(size));
        if (in.status() != QDataStream::Ok) {
            ADD_FAILURE() << "record cut short in " << path.toStdString();
            break;
        }
        records << record;
    }
    return records;
}

// The generator's documented payload: the sequence number and a space, then 'a' to 'z' repeated.
QByteArray expectedPayload(qint64 sequence, int size) {
    QByteArray payload = QByteArray::number(sequence) + ' ';
    while (payload.size() < size) {
        payload += "abcdefghijklmnopqrstuvwxyz";
    }
    return payload.left(size);
}

class Demo : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(directory.isValid());
        expectSuccess(manager, ControlMessageHelper::makeCreateProcessorGroupMessage("g"));
    }

    static std::string at(const std::string& processor) {
        return Endpoints::getProcessorEndpoint("g", processor, internalAddressPrefixDefault);
    }
    Message ask(const std::string& destination, const Message& request) {
        return client.request(destination, request, 10000);
    }
    void expectSuccess(const std::string& destination, const Message& request) {
        client.succeed(destination, request);
    }
    QString error(const std::string& destination, const Message& request) {
        return client.refusal(destination, request);
    }
    // Creates a processor of a demo type publishing on an inproc stream named after it.
    void create(const std::string& type, const std::string& name) {
        expectSuccess(group, ControlMessageHelper::makeCreateProcessorMessage(
                                 "demo." + type, name,
                                 ControlMessageHelper::makeProcessorConfig(name, "inproc://demo/" + name)));
    }
    void connect(const std::string& to, const std::string& from) {
        expectSuccess(at(to),
                      ControlMessageHelper::makeConnectStreamMessage(from, "inproc://demo/" + from, ""));
    }
    void set(const std::string& processor, const std::string& name, const std::string& value) {
        expectSuccess(at(processor), ControlMessageHelper::makeSetParameterMessage(name, value));
    }
    QString get(const std::string& processor, const std::string& name) {
        const Message reply = ask(at(processor), ControlMessageHelper::makeGetParameterMessage(name));
        EXPECT_EQ(reply.GetResultType(), Result::Success) << name;
        return reply.GetParameter();
    }
    qint64 number(const std::string& processor, const std::string& name) {
        return get(processor, name).toLongLong();
    }
    QString newRecording(const std::string& recorder, const std::string& requested = "") {
        const Message reply =
            ask(at(recorder), ControlMessageHelper::makeStartNewRecordingMessage(requested));
        EXPECT_EQ(reply.GetResultType(), Result::Success) << reply.GetMessageText().toStdString();
        return reply.GetParameter();
    }
    // Polls until the condition on a numeric parameter holds, within a generous bound.
    template <class Condition>
    bool await(const std::string& processor, const std::string& name, Condition condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            if (condition(number(processor, name))) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return false;
    }
    bool awaitValue(const std::string& processor, const std::string& name, qint64 wanted) {
        return await(processor, name, [wanted](qint64 value) { return value == wanted; });
    }
    bool awaitAtLeast(const std::string& processor, const std::string& name, qint64 wanted) {
        return await(processor, name, [wanted](qint64 value) { return value >= wanted; });
    }

    QTemporaryDir directory;
    Environment environment{"tcp://127.0.0.1:*"};
    zaltest::FrontendClient client{environment.getRouterFrontendAddress()};
    const std::string group = Endpoints::getGroupEndpoint("g", manager);
};

}  // namespace

TEST_F(Demo, ParametersAreListedReadAndRefusedWithFailureTexts) {
    create("Generator", "gen");
    create("Counter", "count");
    create("Recorder", "rec");
    create("Player", "play");
    EXPECT_EQ(error(group,
                    ControlMessageHelper::makeCreateProcessorMessage(
                        "demo.Nope", "n", ControlMessageHelper::makeProcessorConfig("n", "inproc://demo/n"))),
              "Processor of type 'demo.Nope' could not be created.");

    const auto list = [&](const std::string& processor) {
        return ask(at(processor), ControlMessageHelper::makeGetParameterListMessage()).GetParameter();
    };
    EXPECT_EQ(list("gen"), "rate,sent,size,topic");
    EXPECT_EQ(list("count"), "bytes,messages,rate,reset");
    EXPECT_EQ(list("rec"), "directory,failed,file,recorded");
    EXPECT_EQ(list("play"), "done,file,played,skipped,speed");

    for (const std::string processor : {"gen", "count", "rec", "play"}) {
        EXPECT_EQ(error(at(processor), ControlMessageHelper::makeGetParameterMessage("x")),
                  "Cannot get parameter: x");
        EXPECT_EQ(error(at(processor), ControlMessageHelper::makeSetParameterMessage("x", "1")),
                  "Cannot set parameter: x");
    }
    for (const std::string processor : {"gen", "count", "play"}) {
        EXPECT_EQ(ask(at(processor), ControlMessageHelper::makeStartNewRecordingMessage("")).GetResultType(),
                  Result::Error);
    }

    // Accepted values read back; refused values leave the previous one in place.
    set("gen", "topic", "news");
    set("gen", "size", "12");
    set("gen", "rate", "2.5");
    const std::pair<const char*, const char*> refused[] = {
        {"size", "-1"},   {"size", "big"}, {"size", "999999999"}, {"rate", "-3"},
        {"rate", "fast"}, {"rate", "inf"}, {"sent", "0"}};
    for (const auto& [name, value] : refused) {
        EXPECT_EQ(error(at("gen"), ControlMessageHelper::makeSetParameterMessage(name, value)),
                  QString("Cannot set parameter: %1").arg(name));
    }
    EXPECT_EQ(get("gen", "topic"), "news");
    EXPECT_EQ(get("gen", "size"), "12");
    EXPECT_EQ(get("gen", "rate"), "2.5");

    EXPECT_EQ(get("rec", "directory"), QDir::currentPath());
    EXPECT_EQ(get("rec", "file"), "");
    EXPECT_EQ(error(at("rec"), ControlMessageHelper::makeSetParameterMessage(
                                   "directory", directory.filePath("missing").toStdString())),
              "Cannot set parameter: directory");
    EXPECT_EQ(error(at("rec"), ControlMessageHelper::makeSetParameterMessage("file", "x.zrec")),
              "Cannot set parameter: file");
    set("rec", "directory", directory.path().toStdString());
    EXPECT_EQ(get("rec", "directory"), QFileInfo(directory.path()).absoluteFilePath());

    // A file that is missing or is not a recording is refused; so is a play without a file.
    QFile notRecording(directory.filePath("notes.txt"));
    ASSERT_TRUE(notRecording.open(QIODevice::WriteOnly));
    notRecording.write("ZALREC but not really a recording");
    notRecording.close();
    for (const QString& path : {directory.filePath("missing.zrec"), notRecording.fileName()}) {
        EXPECT_EQ(
            error(at("play"), ControlMessageHelper::makeSetParameterMessage("file", path.toStdString())),
            "Cannot set parameter: file");
    }
    EXPECT_EQ(error(at("play"), ControlMessageHelper::makeSetParameterMessage("speed", "slow")),
              "Cannot set parameter: speed");
    EXPECT_EQ(error(at("play"), ControlMessageHelper::makeStartStreamMessage("play")),
              "Cannot start stream: play");
    EXPECT_EQ(get("play", "speed"), "recorded");
    EXPECT_EQ(get("play", "done"), "false");

    // A recording is never written over an existing file, and the current one stays in use.
    const QString first = newRecording("rec", "first.zrec");
    EXPECT_EQ(first, QDir(directory.path()).absoluteFilePath("first.zrec"));
    EXPECT_EQ(ask(at("rec"), ControlMessageHelper::makeStartNewRecordingMessage("notes.txt")).GetResultType(),
              Result::Error);
    EXPECT_EQ(get("rec", "file"), first);
    set("play", "file", first.toStdString());
    EXPECT_EQ(get("play", "file"), first);
}

TEST_F(Demo, GeneratorFeedsCounterAtItsRatePausesWhenStoppedAndRunsFlatOut) {
    create("Generator", "gen");
    expectSuccess(at("gen"), ControlMessageHelper::makeStopStreamMessage("gen"));
    set("gen", "size", "10");
    set("gen", "rate", "200");
    create("Counter", "count");
    connect("count", "gen");
    const qint64 before = number("gen", "sent");

    const auto started = std::chrono::steady_clock::now();
    expectSuccess(at("gen"), ControlMessageHelper::makeStartStreamMessage("gen"));
    ASSERT_TRUE(awaitAtLeast("count", "messages", 300));
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    // 300 messages at 200 per second: not a flood, and not a crawl.
    EXPECT_GT(seconds, 0.75);
    EXPECT_LT(seconds, 15.0);
    const double rate = get("count", "rate").toDouble();
    EXPECT_GT(rate, 50.0);
    EXPECT_LT(rate, 800.0);

    // Stopped, the generator sends nothing more and the counter ends up with every message sent.
    expectSuccess(at("gen"), ControlMessageHelper::makeStopStreamMessage("gen"));
    const qint64 sent = number("gen", "sent") - before;
    EXPECT_TRUE(awaitValue("count", "messages", sent)) << number("count", "messages") << " of " << sent;
    EXPECT_EQ(number("count", "bytes"), 10 * sent);
    EXPECT_EQ(number("gen", "sent") - before, sent);

    set("count", "reset", "");
    EXPECT_EQ(number("count", "messages"), 0);
    EXPECT_EQ(number("count", "bytes"), 0);

    // Started again, it resumes where it paused.
    expectSuccess(at("gen"), ControlMessageHelper::makeStartStreamMessage("gen"));
    EXPECT_TRUE(awaitAtLeast("count", "messages", 5));
    expectSuccess(at("gen"), ControlMessageHelper::makeStopStreamMessage("gen"));

    // Rate 0 is as fast as it can: far beyond 200 per second, yet still answering control requests.
    set("gen", "rate", "0");
    const qint64 paced = number("gen", "sent");
    expectSuccess(at("gen"), ControlMessageHelper::makeStartStreamMessage("gen"));
    EXPECT_TRUE(awaitAtLeast("gen", "sent", paced + 20000));
    EXPECT_TRUE(awaitAtLeast("count", "messages", 5000));
    expectSuccess(at("gen"), ControlMessageHelper::makeStopStreamMessage("gen"));
    EXPECT_EQ(get("gen", "rate"), "0");
}

TEST_F(Demo, RecordingsSplitWithoutLossAndReplayToTheSameMessages) {
    create("Generator", "gen");
    expectSuccess(at("gen"), ControlMessageHelper::makeStopStreamMessage("gen"));
    set("gen", "topic", "seq");
    set("gen", "size", "40");
    set("gen", "rate", "500");
    create("Recorder", "rec");
    set("rec", "directory", directory.path().toStdString());
    connect("rec", "gen");
    const qint64 first = number("gen", "sent");

    expectSuccess(at("gen"), ControlMessageHelper::makeStartStreamMessage("gen"));
    ASSERT_TRUE(awaitAtLeast("rec", "recorded", 1));
    const QString file1 = get("rec", "file");
    EXPECT_TRUE(QFileInfo(file1).fileName().startsWith("rec-")) << file1.toStdString();

    // The next file takes over while messages flow.
    const QString file2 = newRecording("rec");
    EXPECT_NE(file2, file1);
    EXPECT_EQ(QFileInfo(file2).absolutePath(), QFileInfo(directory.path()).absoluteFilePath());
    EXPECT_EQ(get("rec", "file"), file2);
    ASSERT_TRUE(awaitAtLeast("rec", "recorded", 100));
    expectSuccess(at("gen"), ControlMessageHelper::makeStopStreamMessage("gen"));
    const qint64 end = number("gen", "sent");
    const QString file3 = newRecording("rec");

    const QVector<Recorded> part1 = readRecording(file1);
    const QVector<Recorded> part2 = readRecording(file2);
    ASSERT_FALSE(part1.isEmpty());
    ASSERT_GE(part2.size(), 100);
    // Messages still on their way at the switch belong in the third file.
    EXPECT_TRUE(awaitValue("rec", "recorded", end - first - part1.size() - part2.size()));
    expectSuccess(group, ControlMessageHelper::makeDeleteProcessorMessage("rec"));
    const QVector<Recorded> all = part1 + part2 + readRecording(file3);

    // Every message sent reached exactly one file, in order, with its topic and payload.
    ASSERT_EQ(all.size(), end - first);
    for (int i = 0; i < all.size(); ++i) {
        ASSERT_EQ(all[i].topic, "seq") << i;
        ASSERT_EQ(all[i].data, expectedPayload(first + i, 40)) << i;
    }
    for (const auto* part : {&part1, &part2}) {
        for (int i = 1; i < part->size(); ++i) {
            ASSERT_LE((*part)[i - 1].time, (*part)[i].time);
        }
    }

    // The second file replayed, at recorded speed and then at full speed, into a second recorder.
    create("Player", "play");
    create("Recorder", "again");
    set("again", "directory", directory.path().toStdString());
    connect("again", "play");
    set("play", "file", file2.toStdString());
    for (const std::string speed : {"recorded", "full"}) {
        SCOPED_TRACE(speed);
        set("play", "speed", speed);
        const QString replay = newRecording("again", speed + ".zrec");
        const auto started = std::chrono::steady_clock::now();
        expectSuccess(at("play"), ControlMessageHelper::makeStartStreamMessage("play"));
        if (speed == "recorded") {
            EXPECT_EQ(
                error(at("play"), ControlMessageHelper::makeSetParameterMessage("file", file1.toStdString())),
                "Cannot set parameter: file");
        }
        EXPECT_TRUE(awaitValue("again", "recorded", part2.size()));
        EXPECT_EQ(get("play", "done"), "true");
        EXPECT_EQ(number("play", "played"), part2.size());
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
        newRecording("again");

        const QVector<Recorded> replayed = readRecording(replay);
        ASSERT_EQ(replayed.size(), part2.size());
        for (int i = 0; i < replayed.size(); ++i) {
            ASSERT_EQ(replayed[i].topic, part2[i].topic) << i;
            ASSERT_EQ(replayed[i].data, part2[i].data) << i;
        }
        const double recordedSeconds = double(part2.back().time - part2.front().time) / 1e9;
        if (speed == "recorded") {
            EXPECT_GT(seconds, 0.5 * recordedSeconds);
        }
    }
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
    EXPECT_TRUE(awaitAtLeast("rec", "failed", 1));
    EXPECT_EQ(get("rec", "file"), "");
    set("rec", "directory", directory.path().toStdString());
    EXPECT_TRUE(awaitAtLeast("rec", "recorded", 50));
    const QString current = get("rec", "file");
    EXPECT_FALSE(current.isEmpty());

    // A new file that cannot be created leaves the current one recording.
    EXPECT_EQ(error(at("rec"), ControlMessageHelper::makeStartNewRecordingMessage("missing/next.zrec")),
              "Cannot start new recording: ");
    EXPECT_EQ(get("rec", "file"), current);
    const qint64 recorded = number("rec", "recorded");
    EXPECT_TRUE(awaitAtLeast("rec", "recorded", recorded + 50));
    const qint64 failed = number("rec", "failed");
    expectSuccess(at("gen"), ControlMessageHelper::makeStopStreamMessage("gen"));
    const QString closed = newRecording("rec");
    EXPECT_EQ(number("rec", "failed"), failed);

    // A recording cut in its last record plays every whole record before the cut.
    const QVector<Recorded> whole = readRecording(current);
    ASSERT_GE(whole.size(), 100);
    QFile file(current);
    ASSERT_TRUE(file.resize(file.size() - 3));
    create("Player", "play");
    create("Counter", "count");
    connect("count", "play");
    set("play", "file", current.toStdString());
    set("play", "speed", "full");
    expectSuccess(at("play"), ControlMessageHelper::makeStartStreamMessage("play"));
    EXPECT_TRUE(awaitValue("count", "messages", whole.size() - 1));
    EXPECT_EQ(get("play", "done"), "true");
    EXPECT_EQ(number("play", "played"), whole.size() - 1);
    EXPECT_NE(closed, current);
}

TEST_F(Demo, ConsumersNeedNoStreamOfTheirOwnWhileProducersDo) {
    const auto createBare = [&](const std::string& type, const std::string& name) {
        return ask(group, ControlMessageHelper::makeCreateProcessorMessage("demo." + type, name,
                                                                           zalmsg::Processor()));
    };
    for (const std::string type : {"Generator", "Player"}) {
        const Message refused = createBare(type, "bare");
        EXPECT_EQ(refused.GetResultType(), Result::Error);
        EXPECT_TRUE(refused.GetMessageText().contains("No data stream configuration available"))
            << refused.GetMessageText().toStdString();
    }
    ASSERT_EQ(createBare("Counter", "count").GetResultType(), Result::Success);
    ASSERT_EQ(createBare("Recorder", "rec").GetResultType(), Result::Success);
    EXPECT_TRUE(ask(at("count"), ControlMessageHelper::makeQueryStreamsMessage()).GetDataStream().isEmpty());

    create("Generator", "gen");
    connect("count", "gen");
    EXPECT_TRUE(awaitAtLeast("count", "messages", 1));
    EXPECT_EQ(error(at("count"), ControlMessageHelper::makeStopStreamMessage("nosuch")),
              "Cannot stop stream: nosuch (no stream 'nosuch' here; this processor publishes nothing and "
              "reads 'gen')");
    expectSuccess(at("count"), ControlMessageHelper::makeStopStreamMessage("gen"));
    expectSuccess(at("count"), ControlMessageHelper::makeStartStreamMessage(""));
    expectSuccess(group, ControlMessageHelper::makeDeleteProcessorMessage("count"));
    expectSuccess(group, ControlMessageHelper::makeDeleteProcessorMessage("rec"));
    const std::string names = Endpoints::getNameServiceEndpoint("g", manager);
    EXPECT_EQ(ask(names, ControlMessageHelper::makeResolveStreamMessage("gen")).GetProcessorName(), "gen")
        << "a consumer without a stream deregisters nothing when it goes";
}
