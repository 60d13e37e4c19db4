// zal-host as a user runs it: a temporary configuration, a pipeline, zalctl against it, signals.
#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <csignal>

#include "recordingreader.h"
#include "support/frontendclient.h"
#include "support/program.h"
#include "support/qtprinters.h"
#include "zal/transport/constants.h"

using zaltest::frontendOf;
using zaltest::RunningProgram;
using zaltest::runProgram;

namespace {

// Topic and data of every message of a recording; one cut short may end in a torn record only where
// that is allowed.
QList<QPair<QByteArray, QByteArray>> messagesOf(const QString& path, bool mayBeTorn = false) {
    QList<QPair<QByteArray, QByteArray>> messages;
    demo::RecordingReader reader;
    EXPECT_TRUE(reader.open(path)) << path.toStdString();
    demo::RecordedMessage message;
    while (reader.next(message)) {
        messages.append({message.topic, message.data});
    }
    EXPECT_TRUE(mayBeTorn || !reader.damaged()) << path.toStdString();
    return messages;
}

// The sequence number that starts a generated payload.
qint64 sequenceOf(const QPair<QByteArray, QByteArray>& message) {
    return message.second.left(message.second.indexOf(' ')).toLongLong();
}

// What demo.Generator publishes as its message `sequence`.
QByteArray generatedPayload(qint64 sequence, int size) {
    QByteArray payload = QByteArray::number(sequence) + ' ';
    while (payload.size() < size) {
        payload += "abcdefghijklmnopqrstuvwxyz";
    }
    return payload.left(size);
}

struct McapRead {
    int status = -1;
    QByteArray output;
    QJsonObject file;
};

// What @mcap/core, the MCAP project's own reader, finds in `path`: "indexed" seeks through the
// summary, "stream" reads front to back. Without node or @mcap/core it fails, saying so.
McapRead readWithMcapCore(const QString& path, const QString& mode) {
    QProcess node;
    node.start("node", {QStringLiteral(ZAL_SOURCE_DIR "/tests/mcap/read_mcap.mjs"), path, mode});
    McapRead read;
    if (!node.waitForFinished(60000)) {
        ADD_FAILURE() << "node did not run read_mcap.mjs (install nodejs): "
                      << node.errorString().toStdString();
        node.kill();
        node.waitForFinished(5000);
        return read;
    }
    read.status = node.exitStatus() == QProcess::NormalExit ? node.exitCode() : -1;
    read.output = node.readAllStandardOutput() + node.readAllStandardError();
    read.file = QJsonDocument::fromJson(read.output).object();
    return read;
}

// Topic and data of the messages @mcap/core read, in file order, after checking what every
// message must hold: its channel's next sequence number, a log time that never goes back, the
// same publish time, and a generated payload of `size` bytes following on from the channel's first.
QList<QPair<QByteArray, QByteArray>> checkedMcapMessages(const QJsonObject& file, int size) {
    QHash<int, QByteArray> topics;
    for (const auto value : file["channels"].toArray()) {
        const QJsonObject channel = value.toObject();
        topics.insert(channel["id"].toInt(), channel["topic"].toString().toUtf8());
    }
    QHash<int, QList<QByteArray>> byChannel;
    QList<QPair<QByteArray, QByteArray>> messages;
    qulonglong lastTime = 0;
    for (const auto value : file["messages"].toArray()) {
        const QJsonObject message = value.toObject();
        const QByteArray data = QByteArray::fromBase64(message["data"].toString().toLatin1());
        auto& earlier = byChannel[message["channelId"].toInt()];
        const qint64 first = earlier.isEmpty() ? sequenceOf({{}, data}) : sequenceOf({{}, earlier.front()});
        EXPECT_EQ(message["sequence"].toInt(), earlier.size());
        EXPECT_EQ(data, generatedPayload(first + earlier.size(), size));
        const qulonglong time = message["logTime"].toString().toULongLong();
        EXPECT_GE(time, lastTime);
        EXPECT_EQ(message["publishTime"].toString(), message["logTime"].toString());
        lastTime = time;
        earlier.append(data);
        messages.append({topics.value(message["channelId"].toInt()), data});
    }
    return messages;
}

class ZalHost : public ::testing::Test {
protected:
    QString write(const QString& name, const QByteArray& content) {
        return zaltest::writeFile(dir.filePath(name), content);
    }
    // zalctl against `frontend` with the given words; its output.
    static zaltest::Outcome zalctl(const QString& frontend, const QStringList& words) {
        return runProgram("zalctl", QStringList{"-e", frontend} + words);
    }
    // A host on `pipeline` ("%1" in it is the test's directory), which ends watching the recorder
    // "rec"; returned once the watch started, with `frontend` set to the host's.
    std::unique_ptr<RunningProgram> startRecording(const QString& name, const QString& pipeline) {
        auto host = std::make_unique<RunningProgram>(
            "zal-host", QStringList{"--listen", "tcp://127.0.0.1:*", "--pipeline",
                                    write(name, pipeline.arg(dir.path()).toUtf8())});
        frontend = frontendOf(*host);
        EXPECT_FALSE(host->awaitLine("recorded=").isNull()) << host->output().toStdString();
        return host;
    }
    // Until the recorder's current file holds more than `count` messages.
    void awaitRecorded(int count) {
        EXPECT_TRUE(zaltest::eventually([&] {
            return zalctl(frontend, {"get", "g", "rec", "recorded"}).out.section('\n', 1, 1).toInt() > count;
        }));
    }
    // Replays `from` at full speed into a new recording `to` in the recorder's own format; what
    // that holds and the host's output.
    std::pair<QList<QPair<QByteArray, QByteArray>>, QString> replay(const QString& from, const QString& to) {
        const QString pipeline = QString(
            "create-group g\ncreate g player demo.Player --stream replayed=inproc://replayed\n"
            "create g rec demo.Recorder --stream recorded=inproc://recorded\nset g rec directory \"%1\"\n"
            "set g player file \"%1/%2\"\nset g player speed full\nconnect g rec replayed\n"
            "record g rec %3\nstart g player replayed\nwatch g player done,skipped\n");
        const auto outcome = runProgram(
            "zal-host", {"--pipeline", write(to + ".pipeline", pipeline.arg(dir.path(), from, to).toUtf8()),
                         "--duration", "2"});
        return std::make_pair(messagesOf(dir.filePath(to)), outcome.out);
    }
    QTemporaryDir dir;
    QString frontend;
};

}  // namespace

TEST_F(ZalHost, RunsAPipelineServesZalctlAndStopsCleanlyOnSigterm) {
    const QString config = write("host.ini", "EnvironmentAddress=tcp://127.0.0.1:*\n");
    const QString pipeline = write(
        "flow.pipeline",
        "# a source feeding a sink, watched\ncreate-group g\n"
        "create g src testplugin.Source --stream data=tcp://127.0.0.1:*\n\n"
        "create g sink testplugin.Sink --stream sunk=inproc://sunk  # a comment\nconnect g sink data\n"
        "create g echo \"testplugin.Echo\"\nset g echo text a\"b  c\"d#e\" say \\\"hi\\\" \\\\\"  # gone\n"
        "set g src interval 1\nwatch g sink count\n");
    RunningProgram host("zal-host", {"--config", config, "--pipeline", pipeline});
    const QString frontend = frontendOf(host);
    ASSERT_TRUE(frontend.startsWith("tcp://127.0.0.1:")) << host.output().toStdString();
    // The watch starts once every line before it has run, and shows data flowing.
    EXPECT_FALSE(host.awaitLine("count=", 20000).isNull());
    EXPECT_EQ(zalctl(frontend, {"processors", "g"}).out, "Success\necho\nsink\nsrc\n");
    EXPECT_EQ(zalctl(frontend, {"get", "g", "echo", "text"}).out, "Success\nab  cd#e say \"hi\" \\\n");
    EXPECT_EQ(host.terminate(), 0) << host.output().toStdString();
    EXPECT_TRUE(host.output().contains("summary g/sink: count=")) << host.output().toStdString();
    EXPECT_TRUE(host.output().contains("zal-host: stopped"));
}

TEST_F(ZalHost, ReportsEachOutcomeWithItsStatusAndReason) {
    ASSERT_EQ(runProgram("zalctl", {"keygen", "--secret-file", dir.filePath("key.secret")}).status, 0);
    write("nobody", "# nobody yet\n");
    write("peers", "# servers of tcp streams\n127.0.0.1\n");
    int files = 0;
    const auto pipeline = [&](const QByteArray& text) {
        return QStringList{"--pipeline", write(QString::number(++files) + ".pipeline", text)};
    };
    const auto config = [&](const QByteArray& text) {
        return QStringList{"--config", write(QString::number(++files) + ".ini", text), "--duration", "0.2"};
    };
    const QByteArray open = "EnvironmentAddress=tcp://0.0.0.0:*\n";
    // Exit status, the reason on standard error, the arguments.
    const std::tuple<int, QString, QStringList> cases[] = {
        {2, ".pipeline:4: Error: Processor of type 'NoSuchType' could not be created. (no plug-in offers it",
         pipeline("create-group g\n# line 4 fails\n\ncreate g x NoSuchType\ncreate-group unreached\n")},
        {2, ".pipeline:1: ", pipeline("create-group\n")},
        {2, ".pipeline:3: unterminated double quote", pipeline("\n  # indented\nset g p x \"open\n")},
        {2, ".pipeline:2: no processor 'nosuch' in group 'g' (processors: none)",
         pipeline("create-group g\nget g nosuch rate\n")},
        {66, "absent.pipeline: cannot read pipeline", {"--pipeline", dir.filePath("absent.pipeline")}},
        {66, "missing.ini", {"--config", dir.filePath("missing.ini")}},
        {64, "Unknown option 'bogus'.", {"--bogus"}},
        {64, "--duration", {"--duration", "-1"}},
        // A misspelt key is named with the nearest key the library reads; the host runs on.
        {0, ".ini: unknown key 'EnvironmentAdress' is ignored; did you mean 'EnvironmentAddress'?",
         config("EnvironmentAdress=tcp://127.0.0.1:*\n")},
        {1, "did not start", config("EnvironmentAddress=nonsense://x\n")},
        {0, "zal-host: WARNING: the frontend tcp://0.0.0.0:", config(open)},
        {0, "", config("EnvironmentAddress=tcp://127.0.0.1:*\n")},
        {0, "", config(open + "CurveSecretKeyFile=key.secret\nCurveAuthorizedKeysFile=nobody\n")},
        // Half a CURVE configuration is refused rather than run open; the trace says why.
        {1, "a CURVE secret key is set without CurveAuthorizedKeysFile",
         config(open + "CurveSecretKeyFile=key.secret\n")},
        {1, "neither CurveSecretKey nor CurveSecretKeyFile",
         config(open + "CurveAuthorizedKeysFile=nobody\n")},
        {1, "CurveSecretKey is not a CURVE key",
         config(open + "CurveSecretKey=tooshort\nCurveAuthorizedKeysFile=nobody\n")},
        {1, "holds 0 keys where one is expected",
         config(open + "CurveSecretKeyFile=nobody\nCurveAuthorizedKeysFile=nobody\n")},
        {1, "CurvePeerKeysFile is set, but neither CurveSecretKey nor CurveSecretKeyFile",
         config(open + "CurvePeerKeysFile=peers\n")},
        {1, "peers:2: not a host and its CURVE public key (40 Z85 characters) or a comment",
         config(open +
                "CurveSecretKeyFile=key.secret\nCurveAuthorizedKeysFile=nobody\nCurvePeerKeysFile=peers\n")},
    };
    QProcessEnvironment tracing = QProcessEnvironment::systemEnvironment();
    tracing.insert("ZAL_TRACE_MASK", "0x20");
    for (const auto& [status, reason, arguments] : cases) {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const auto outcome = runProgram("zal-host", arguments, tracing);
        EXPECT_EQ(outcome.status, status) << (outcome.out + outcome.err).toStdString();
        EXPECT_TRUE(outcome.err.contains(reason)) << outcome.err.toStdString();
        EXPECT_EQ(outcome.err.contains("WARNING"), reason.contains("WARNING")) << outcome.err.toStdString();
        EXPECT_FALSE(outcome.out.contains("unreached")) << "a pipeline stops at its first failing line";
    }
}

// The demo plug-in as a user drives it. A recording split while messages flow loses none: the
// sequence numbers that start the generator's payloads run on from the first file into the second.
// The second, replayed, is recorded again.
TEST_F(ZalHost, RecordsSplitsWithoutLossAndReplaysAsGenerated) {
    const QString pipeline = QString(
        "create-group g\ncreate g gen demo.Generator --stream numbers=inproc://numbers\n"
        "create g rec demo.Recorder --stream recorded=inproc://recorded\nset g rec directory \"%1\"\n"
        "set g gen topic t\nset g gen size 40\nset g gen rate 500\nconnect g rec numbers\n"
        "record g rec first.zrec\nwatch g rec recorded\n");
    const auto host = startRecording("record.pipeline", pipeline);
    awaitRecorded(0);
    // Values outside a parameter's range are refused with what is accepted and leave the old one;
    // so are read-only parameters, a recording over an existing file, and one outside the directory.
    const std::pair<QString, QString> refusals[] = {
        {"set g gen rate fast",
         "Error: Cannot set parameter: rate (expects messages a second from 0 (as fast as it can) to "
         "10000000; got 'fast')"},
        {"set g gen size -1",
         "Error: Cannot set parameter: size (expects a payload size in bytes from 0 to "
         "1048576; got '-1')"},
        {"set g gen sent 0", "Error: Cannot set parameter: sent (read-only)"},
        {"set g rec format json",
         "Error: Cannot set parameter: format (expects 'zal' or 'mcap'; got 'json')"},
        {"set g rec directory /nonexistent/dir",
         "Error: Cannot set parameter: directory (expects an existing directory this host may write to; "
         "got '/nonexistent/dir')"},
        {"record g rec first.zrec", "Error: Cannot start new recording:  ('" + dir.filePath("first.zrec") +
                                        "' exists; recordings are never overwritten)"},
        {"record g rec ../escape.zrec",
         "Error: Cannot start new recording:  (a recording name is a file name inside the directory '" +
             dir.path() + "', without '/'; got '../escape.zrec')"},
    };
    for (const auto& [command, text] : refusals) {
        const auto outcome = zalctl(frontend, command.split(' '));
        EXPECT_EQ(outcome.status, 2) << command.toStdString();
        EXPECT_EQ(outcome.out, text + "\n");
    }
    EXPECT_EQ(zalctl(frontend, {"get", "g", "gen", "rate"}).out, "Success\n500\n");
    EXPECT_EQ(zalctl(frontend, {"record", "g", "rec", "second.zrec"}).status, 0);
    awaitRecorded(50);
    EXPECT_EQ(zalctl(frontend, {"stop", "g", "gen", "numbers"}).status, 0);
    EXPECT_EQ(host->terminate(), 0) << host->output().toStdString();
    const auto first = messagesOf(dir.filePath("first.zrec"));
    const auto second = messagesOf(dir.filePath("second.zrec"));
    ASSERT_FALSE(first.isEmpty());
    ASSERT_GT(second.size(), 50);
    const auto all = first + second;
    for (int i = 0; i < all.size(); ++i) {
        ASSERT_EQ(all[i], qMakePair(QByteArray("t"), generatedPayload(sequenceOf(all.front()) + i, 40))) << i;
    }

    const auto [third, played] = replay("second.zrec", "third.zrec");
    EXPECT_EQ(third, second);
    EXPECT_TRUE(played.contains("summary g/player: done=true skipped=0")) << played.toStdString();
    // A recording cut in its last record plays every whole record before the cut, and says so.
    QFile cut(dir.filePath("second.zrec"));
    ASSERT_TRUE(cut.resize(cut.size() - 3));
    const auto [fourth, torn] = replay("second.zrec", "fourth.zrec");
    EXPECT_EQ(fourth, second.mid(0, second.size() - 1));
    EXPECT_TRUE(torn.contains("summary g/player: done=true skipped=1")) << torn.toStdString();
}

// MCAP as other tools meet it: @mcap/core finds one channel per topic, described as the recorder
// says, every message in the order and with the bytes published, and a summary that agrees with
// them, through the index and front to back alike. The player plays the file as @mcap/core read it.
TEST_F(ZalHost, RecordsMcapThatTheMcapReaderReadsAsPublishedAndThePlayerReplays) {
    const QString pipeline = QString(
        "create-group g\ncreate g ga demo.Generator --stream na=inproc://na\n"
        "create g gb demo.Generator --stream nb=inproc://nb\nset g ga topic a\nset g gb topic b\n"
        "set g ga size 40\nset g gb size 40\nset g ga rate 500\nset g gb rate 500\n"
        "create g rec demo.Recorder\nset g rec directory \"%1\"\nset g rec format mcap\n"
        "connect g rec na\nconnect g rec nb\nrecord g rec r.mcap\nwatch g rec recorded\n");
    const auto host = startRecording("mcap.pipeline", pipeline);
    awaitRecorded(600);
    EXPECT_EQ(zalctl(frontend, {"get", "g", "rec", "format"}).out, "Success\nmcap\n");
    EXPECT_EQ(zalctl(frontend, {"stop", "g", "ga", "na"}).status, 0);
    EXPECT_EQ(zalctl(frontend, {"stop", "g", "gb", "nb"}).status, 0);
    EXPECT_EQ(host->terminate(), 0) << host->output().toStdString();

    const McapRead indexed = readWithMcapCore(dir.filePath("r.mcap"), "indexed");
    ASSERT_EQ(indexed.status, 0) << indexed.output.toStdString();
    QStringList topics;
    for (const auto value : indexed.file["channels"].toArray()) {
        const QJsonObject channel = value.toObject();
        topics.append(channel["topic"].toString());
        EXPECT_EQ(channel["schemaId"].toInt(), 0);
        EXPECT_EQ(channel["messageEncoding"].toString(), "application/octet-stream");
        EXPECT_EQ(channel["metadata"].toObject(),
                  QJsonObject({{"stream", "na, nb"}, {"address", "inproc://na, inproc://nb"}}));
    }
    topics.sort();
    EXPECT_EQ(topics, QStringList({"a", "b"}));
    const auto messages = checkedMcapMessages(indexed.file, 40);
    ASSERT_GT(messages.size(), 600);
    const QJsonObject statistics = indexed.file["statistics"].toObject();
    EXPECT_EQ(statistics["messageCount"].toString().toInt(), messages.size());
    EXPECT_EQ(statistics["channelCount"].toInt(), 2);
    EXPECT_EQ(statistics["chunkCount"].toInt(), indexed.file["chunkIndexes"].toInt());
    const QJsonObject perChannel = statistics["channelMessageCounts"].toObject();
    EXPECT_EQ(perChannel["1"].toString().toInt() + perChannel["2"].toString().toInt(), messages.size());

    const McapRead streamed = readWithMcapCore(dir.filePath("r.mcap"), "stream");
    ASSERT_EQ(streamed.status, 0) << streamed.output.toStdString();
    EXPECT_TRUE(streamed.file["done"].toBool());
    EXPECT_EQ(checkedMcapMessages(streamed.file, 40), messages);

    const auto [replayed, played] = replay("r.mcap", "replayed.zrec");
    EXPECT_EQ(replayed, messages);
    EXPECT_TRUE(played.contains("summary g/player: done=true skipped=0")) << played.toStdString();
}

// Killed mid-recording, a file in the recorder's own format reads up to its last whole record and
// an MCAP file up to its last whole chunk, to readers that go front to back (the player among them,
// which says the file was cut); an MCAP reader that needs the summary refuses it.
TEST_F(ZalHost, ARecordingOfAKilledHostReadsUpToItsLastWholeRecordOrChunk) {
    const auto recordAndKill = [&](const QString& format, const QString& name, qint64 bytes) {
        const QString pipeline = write(
            name + ".pipeline",
            QString("create-group g\ncreate g gen demo.Generator --stream n=inproc://n\n"
                    "set g gen size 100\nset g gen rate 20000\ncreate g rec demo.Recorder\n"
                    "set g rec directory \"%1\"\nset g rec format %2\nconnect g rec n\nrecord g rec %3\n")
                .arg(dir.path(), format, name)
                .toUtf8());
        RunningProgram host("zal-host", {"--pipeline", pipeline});
        EXPECT_FALSE(host.awaitLine(name).isNull()) << host.output().toStdString();
        // Well past the first flush or chunk, while messages keep coming.
        QFile file(dir.filePath(name));
        EXPECT_TRUE(zaltest::eventually([&] { return file.size() > bytes; }, 60));
        ::kill(static_cast<pid_t>(host.processId()), SIGKILL);
        return file.fileName();
    };
    const auto survived = messagesOf(recordAndKill("zal", "killed.zrec", 200 * 1000), true);
    ASSERT_GT(survived.size(), 1000);
    for (int i = 0; i < survived.size(); ++i) {
        ASSERT_EQ(survived[i],
                  qMakePair(QByteArray("demo"), generatedPayload(sequenceOf(survived.front()) + i, 100)))
            << i;
    }

    const QString torn = recordAndKill("mcap", "killed.mcap", 3 * 1024 * 1024);
    const McapRead streamed = readWithMcapCore(torn, "stream");
    ASSERT_EQ(streamed.status, 0) << streamed.output.toStdString();
    EXPECT_FALSE(streamed.file["done"].toBool());
    EXPECT_GT(checkedMcapMessages(streamed.file, 100).size(), 10000);
    EXPECT_NE(readWithMcapCore(torn, "indexed").status, 0);
    const QString played = replay("killed.mcap", "killed-replayed.zrec").second;
    EXPECT_TRUE(played.contains("summary g/player: done=true skipped=1")) << played.toStdString();
}

TEST_F(ZalHost, ACurveFrontendServesAuthorisedClientsOnlyAndItsOwnPipeline) {
    // Keys as a user makes them: zalctl keygen, the client's public key file as the authorised list.
    for (const QString name : {"server", "client", "stranger"}) {
        const auto made = runProgram("zalctl", {"keygen", "--public-file", dir.filePath(name + ".pub"),
                                                "--secret-file", dir.filePath(name + ".secret")});
        ASSERT_EQ(made.status, 0) << made.err.toStdString();
    }
    QFile clientPublic(dir.filePath("client.pub"));
    ASSERT_TRUE(clientPublic.open(QIODevice::ReadOnly));
    write("authorized", "# who may control this host\n" + clientPublic.readAll());
    // Relative key files are found beside the configuration.
    const QString config = write("curve.ini",
                                 "EnvironmentAddress=tcp://127.0.0.1:*\nCurveSecretKeyFile=server.secret\n"
                                 "CurveAuthorizedKeysFile=authorized\n");
    RunningProgram host("zal-host",
                        {"--config", config, "--pipeline", write("own.pipeline", "create-group piped\n")});
    const QString frontend = frontendOf(host);
    ASSERT_TRUE(frontend.startsWith("tcp://127.0.0.1:")) << host.output().toStdString();
    ASSERT_FALSE(host.awaitLine("Success").isNull()) << "the pipeline runs after the frontend is announced";

    const auto withKeys = [&](const QString& secret, const QStringList& words) {
        return zalctl(frontend,
                      QStringList{"--curve-server-key-file", dir.filePath("server.pub"),
                                  "--curve-secret-key-file", dir.filePath(secret), "--timeout", "1500"} +
                          words);
    };
    EXPECT_EQ(withKeys("client.secret", {"groups"}).out, "Success\npiped\n")
        << "the host's own pipeline went through its in-process frontend";
    EXPECT_EQ(withKeys("stranger.secret", {"groups"}).status, 3);
    EXPECT_EQ(runProgram("zalctl", {"--timeout", "1500", "-e", frontend, "groups"}).status, 3);
    EXPECT_EQ(withKeys("client.secret", {"create-group", "after"}).status, 0) << "the host kept serving";
    EXPECT_EQ(host.terminate(), 0) << host.output().toStdString();
}

TEST_F(ZalHost, ConfigurationAndPipelineMistakesAreNamedBeforeAnythingStarts) {
    zaltest::Outcome outcome;
    const std::pair<QByteArray, int> malformed[] = {
        {"EnvironmentAddress=tcp://127.0.0.1:*\n[\n", 2}, {"; fine\nno equals sign\n", 2}, {"# note=x\n", 1}};
    for (const auto& [content, line] : malformed) {
        const QString file = write("bad.ini", content);
        outcome = runProgram("zal-host", {"--config", file});
        EXPECT_EQ(outcome.status, 66) << content.toStdString();
        EXPECT_TRUE(outcome.err.startsWith(QString("zal-host: %1:%2: ").arg(file).arg(line)))
            << outcome.err.toStdString();
    }

    // A pipeline is read whole before the environment starts: nothing of it runs when a line is bad.
    const QString late = write("late.pipeline", "create-group g\n\nwatch g p\n");
    outcome = runProgram("zal-host", {"--pipeline", late});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(outcome.err.contains(late + ":3: usage: watch GROUP PROCESSOR")) << outcome.err.toStdString();
    EXPECT_FALSE(outcome.out.contains("frontend listening")) << outcome.out.toStdString();

    // A frontend that cannot be bound: the reason, without any trace mask.
    zmq::socket_t occupying = zaltest::makeSocket(zmq::socket_type::router);
    std::string taken = "tcp://127.0.0.1:*";
    zal::ZmqHelper::bindSocket(occupying, taken);
    outcome = runProgram("zal-host", {"--listen", QString::fromStdString(taken)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "zal-host: the environment did not start: " + QString::fromStdString(taken) +
                               ": Address already in use\n");
}

TEST_F(ZalHost, ListenSetsTheFrontendOverTheConfigurationAndTheProgramsTellTheirVersionAndUsage) {
    RunningProgram host("zal-host",
                        {"--config", write("inproc.ini", "EnvironmentAddress=inproc://zal/elsewhere\n"),
                         "--listen", "tcp://127.0.0.1:*"});
    const QString frontend = frontendOf(host);
    ASSERT_TRUE(frontend.startsWith("tcp://127.0.0.1:")) << host.output().toStdString();
    // A tcp:// frontend drops a message it cannot read (two frames) and answers the next on the
    // same connection, which keeps its order.
    zaltest::FrontendClient client(frontend.toStdString());
    client.sendRaw({"", "inproc://zal"});
    client.succeed(zal::internalAddressPrefixDefault,
                   zal::ControlMessageHelper::makeQueryProcessorGroupsMessage());
    EXPECT_EQ(host.terminate(), 0) << host.output().toStdString();

    const auto help = runProgram("zal-host", {"--help"});
    EXPECT_TRUE(help.status == 0 && help.out.contains("Exit status")) << help.out.toStdString();
    for (const QString program : {"zal-host", "zalctl"}) {
        const auto version = runProgram(program, {"--version"});
        EXPECT_EQ(version.status, 0);
        EXPECT_EQ(version.out, program + " " ZAL_VERSION "\n");
    }
}

TEST_F(ZalHost, PipelineOutputNamesEachCommandAndKeepsEveryWatch) {
    const QString pipeline = write(
        "watched.pipeline",
        "create-group g\ncreate g src testplugin.Source --stream \"data=inproc://w\"\n"
        "create g sink testplugin.Sink --stream sunk=inproc://ws\nwatch g src sent\nwatch g sink count\n");
    auto outcome = runProgram("zal-host", {"--pipeline", pipeline, "--duration", "1.5"});
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_TRUE(
        outcome.out.contains("Success  create-group g\nSuccess  create g src testplugin.Source "
                             "--stream data=inproc://w\n"))
        << outcome.out.toStdString();
    EXPECT_TRUE(outcome.out.contains("\rg/src: sent=0   g/sink: count=0   "))
        << "both watches share one line";
    EXPECT_TRUE(outcome.out.contains("summary g/src: sent=0\nsummary g/sink: count=0\n"))
        << outcome.out.toStdString();

    // A watched parameter that does not exist stops the pipeline at its line.
    const QString wrong = write("wrong.pipeline", "create-group g\ncreate g b QtBridge\nwatch g b nothing\n");
    outcome = runProgram("zal-host", {"--pipeline", wrong, "--duration", "5"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(outcome.err.contains(wrong + ":3: Error: Cannot get parameter: nothing"))
        << outcome.err.toStdString();
}

// The types come from the plug-ins' metadata, each with the file it is in; a folder of
// ZAL_PLUGIN_PATH is searched too, and a plug-in that describes nothing is still named.
TEST_F(ZalHost, ListsTheTypesItCanCreateAndNamesThemWhenACreateIsDeclined) {
    const QString bin = zal::applicationDirectory();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ZAL_PLUGIN_PATH", bin + "/extra-plugins");
    const auto listed = runProgram("zal-host", {"--list-types"}, environment);
    EXPECT_EQ(listed.status, 0);
    for (const QString& expected : QStringList{
             "\nQtBridge (built into libzal)\n", "\ndemo.Generator (" + bin + "/demo.so)\n",
             "\n    costUs    number, read-write, default '0', us: microseconds of busy work per message",
             "\n    reset     text, write-only, default '': setting it",
             "\nextraplugin.* (" + bin + "/extra-plugins/extraplugin.so)\n    describes no types"}) {
        EXPECT_TRUE(listed.out.contains(expected)) << expected.toStdString() << " in:\n"
                                                   << listed.out.toStdString();
    }

    const QString pipeline = write("nope.pipeline", "create-group g\ncreate g x demo.Nope\n");
    const auto refused = runProgram("zal-host", {"--pipeline", pipeline}, environment);
    EXPECT_EQ(refused.status, 2);
    EXPECT_TRUE(refused.err.contains(
        "Error: Processor of type 'demo.Nope' could not be created. (plug-in 'demo' (" + bin +
        "/demo.so) offers demo.Counter, demo.Generator, demo.Player, "
        "demo.Recorder)\n"))
        << refused.err.toStdString();
}

// A generator feeding a counter that keeps up and one made too slow for it (its queues overflow and
// drop), and a counter whose source nothing binds: what top, graph and --json show of it.
TEST_F(ZalHost, TopShowsTheLossGraphTheEdgesAndEveryJsonAnswerParses) {
    const QString pipeline =
        write("observed.pipeline",
              "create-group g\ncreate g gen demo.Generator --stream numbers=tcp://127.0.0.1:*\n"
              "set g gen rate 2000\ncreate g fast demo.Counter\nconnect g fast numbers\n"
              "create g slow demo.Counter\nset g slow costUs 2000\nconnect g slow numbers\n"
              "create g orphan demo.Counter --source inproc://nobody/binds\n");
    RunningProgram host("zal-host", {"--listen", "tcp://127.0.0.1:*", "--pipeline", pipeline});
    const QString frontend = frontendOf(host);
    ASSERT_FALSE(host.awaitLine("create g orphan").isNull()) << host.output().toStdString();

    const QString top = zalctl(frontend, {"top", "--once"}).out;
    const auto row = [&](const QString& name) {
        return QRegularExpression("\n" + name + " .*\n").match(top).captured().simplified();
    };
    EXPECT_TRUE(
        row("g/slow").contains(QRegularExpression(" [1-9]\\d* lost \\d+ of \\d+ from g/gen numbers$")))
        << top.toStdString();
    EXPECT_TRUE(row("g/fast").endsWith(" 0 from g/gen numbers")) << top.toStdString();
    EXPECT_TRUE(row("g/orphan").endsWith("dangling: inproc://nobody/binds (no live stream)"))
        << top.toStdString();

    // Without --once a table follows the one before (here no terminal) until Ctrl-C.
    RunningProgram live("zalctl", {"-e", frontend, "top"});
    EXPECT_FALSE(live.awaitLine("TOTAL").isNull())
        << "the second sweep has rates: " << live.output().toStdString();
    EXPECT_EQ(live.terminate(SIGINT), 0) << live.output().toStdString();

    const QString dot = zalctl(frontend, {"graph", "--format", "dot"}).out;
    for (const QString edge :
         {R"("g/gen numbers" -> "g/fast")", R"("g/gen numbers" -> "g/slow")", R"(-> "g/orphan")"}) {
        EXPECT_TRUE(dot.contains(edge)) << edge.toStdString() << "\n" << dot.toStdString();
    }

    QMap<QString, QJsonObject> answers;
    for (const QString line : {"groups", "processors g", "streams g gen", "sources g slow", "list g slow",
                               "get g slow costUs", "resolve g numbers", "get g fast nope", "graph",
                               "top g --once", "watch g fast messages --count 2", "create", "keygen"}) {
        const QStringList objects =
            zalctl(frontend, QStringList{"--json"} + line.split(' ')).out.split('\n', Qt::SkipEmptyParts);
        EXPECT_EQ(objects.size(), line.startsWith("watch") ? 2 : 1) << line.toStdString();
        for (const QString& object : objects) {
            QJsonParseError error;
            answers[line] = QJsonDocument::fromJson(object.toUtf8(), &error).object();
            EXPECT_EQ(error.error, QJsonParseError::NoError) << object.toStdString();
            EXPECT_EQ(answers[line].keys(), (QStringList{"result", "text", "value"})) << object.toStdString();
        }
    }
    EXPECT_EQ(answers["groups"]["value"], QJsonArray{"g"});
    EXPECT_EQ(answers["processors g"]["value"], (QJsonArray{"fast", "gen", "orphan", "slow"}));
    EXPECT_EQ(answers["sources g slow"]["value"][0]["address"],
              answers["streams g gen"]["value"][0]["addresses"][0]);
    EXPECT_EQ(answers["get g slow costUs"]["value"], "2000");
    EXPECT_EQ(answers["get g fast nope"]["result"], "Error");
    EXPECT_EQ(answers["create"]["result"], "Usage");
    EXPECT_EQ(answers["top g --once"]["value"].toObject()["processors"].toArray().size(), 4);
    EXPECT_EQ(host.terminate(), 0) << host.output().toStdString();
}
