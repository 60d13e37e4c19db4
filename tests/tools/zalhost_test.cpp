// zal-host as a user runs it: a temporary configuration, a pipeline, zalctl against it, signals.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "recordingreader.h"
#include "support/frontendclient.h"
#include "support/program.h"
#include "support/qtprinters.h"
#include "zal/transport/constants.h"

using zaltest::RunningProgram;
using zaltest::runProgram;

namespace {

class ZalHost : public ::testing::Test {
protected:
    QString write(const QString& name, const QByteArray& content) {
        const QString path = dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return path;
    }
    QTemporaryDir dir;
};

// Topic and data of every message of a recording, in order.
QList<QPair<QByteArray, QByteArray>> messagesOf(const QString& path) {
    QList<QPair<QByteArray, QByteArray>> messages;
    demo::RecordingReader reader;
    EXPECT_TRUE(reader.open(path)) << path.toStdString();
    demo::RecordedMessage message;
    while (reader.next(message)) {
        messages.append({message.topic, message.data});
    }
    EXPECT_FALSE(reader.damaged()) << path.toStdString();
    return messages;
}

// The frontend a started host announces, or a null string.
QString frontendOf(RunningProgram& host) {
    const QString line = host.awaitLine("frontend listening at ");
    return line.isNull() ? line : line.section(' ', -1);
}

// Whether the host still answers on a connection after a message there that the router cannot
// read (two frames). One connection keeps its order, so the request is read after it.
bool answersAfterMalformed(const QString& frontend, long timeoutMs) {
    zaltest::FrontendClient client(frontend.toStdString());
    client.sendRaw({"", "inproc://zal"});
    client.send(
        zal::internalAddressPrefixDefault,
        zal::ControlMessageHelper::toPayload(zal::ControlMessageHelper::makeQueryProcessorGroupsMessage()));
    return client.receive(timeoutMs).size() == 3;
}

}  // namespace

TEST_F(ZalHost, RunsAPipelineServesZalctlAndStopsCleanlyOnSigterm) {
    const QString config = write("host.ini", "EnvironmentAddress=tcp://127.0.0.1:*\n");
    const QString pipeline = write("flow.pipeline",
                                   "# a source feeding a sink, watched\n"
                                   "create-group g\n"
                                   "create g src streamplugin.Source --stream data=tcp://127.0.0.1:*\n"
                                   "\n"
                                   "create g sink streamplugin.Sink --stream sunk=inproc://sunk\n"
                                   "connect g sink data\n"
                                   "set g src interval 1\n"
                                   "watch g sink count\n");
    RunningProgram host("zal-host", {"--config", config, "--pipeline", pipeline});
    const QString frontend = frontendOf(host);
    ASSERT_TRUE(frontend.startsWith("tcp://127.0.0.1:")) << host.output().toStdString();

    const auto groups = runProgram("zalctl", {"-e", frontend, "groups"});
    EXPECT_EQ(groups.status, 0) << groups.err.toStdString();
    EXPECT_TRUE(groups.out.contains("g")) << groups.out.toStdString();
    const auto processors = runProgram("zalctl", {"-e", frontend, "processors", "g"});
    EXPECT_TRUE(processors.out.contains("sink") && processors.out.contains("src"))
        << processors.out.toStdString();

    // Data flows: the watch line shows a count above zero before the signal arrives.
    EXPECT_FALSE(host.awaitLine("count=", 20000).isNull());
    EXPECT_EQ(host.terminate(), 0) << host.output().toStdString();
    EXPECT_TRUE(host.output().contains("summary g/sink: count=")) << host.output().toStdString();
    EXPECT_TRUE(host.output().contains("zal-host: stopped"));
}

TEST_F(ZalHost, ReportsBadStartsWithTheirPlaceAndStatus) {
    const QString pipeline = write("broken.pipeline",
                                   "create-group g\n"
                                   "# the next line is line 4\n"
                                   "\n"
                                   "create g x NoSuchType\n"
                                   "create-group never-reached\n");
    auto outcome = runProgram("zal-host", {"--pipeline", pipeline});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(outcome.err.contains(pipeline + ":4: ")) << outcome.err.toStdString();
    EXPECT_TRUE(outcome.err.contains("Processor of type 'NoSuchType' could not be created."))
        << outcome.err.toStdString();
    EXPECT_FALSE(outcome.out.contains("never-reached"));

    outcome = runProgram("zal-host", {"--pipeline", write("usage.pipeline", "create-group\n")});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(outcome.err.contains(":1: ")) << outcome.err.toStdString();

    outcome = runProgram("zal-host", {"--config", dir.filePath("missing.ini")});
    EXPECT_EQ(outcome.status, 66);
    EXPECT_TRUE(outcome.err.contains("missing.ini")) << outcome.err.toStdString();

    EXPECT_EQ(runProgram("zal-host", {"--bogus"}).status, 64);
    EXPECT_EQ(runProgram("zal-host", {"--duration", "-1"}).status, 64);
    EXPECT_EQ(runProgram("zal-host", {"--pipeline", dir.filePath("absent.pipeline")}).status, 66);

    outcome = runProgram("zal-host", {"--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.out.contains("--pipeline") && outcome.out.contains("Exit status"))
        << outcome.out.toStdString();

    // A configuration whose frontend cannot be bound: the start fails and says so.
    const QString bad = write("bad.ini", "EnvironmentAddress=nonsense://x\n");
    outcome = runProgram("zal-host", {"--config", bad, "--duration", "1"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.err.contains("did not start")) << outcome.err.toStdString();
}

TEST_F(ZalHost, DurationEndsTheRunWithASummary) {
    const QString pipeline =
        write("short.pipeline",
              "create-group g\ncreate g b streamplugin.Source --stream s=inproc://s\nwatch g b sent\n");
    const auto outcome = runProgram("zal-host", {"--pipeline", pipeline, "--duration", "1.5"});
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_TRUE(outcome.out.contains("summary g/b: sent=0")) << outcome.out.toStdString();
}

TEST_F(ZalHost, ReplaysARecordingAsItWasGenerated) {
    const QByteArray directory = dir.path().toUtf8();
    const QString record = write("record.pipeline",
                                 "create-group g\n"
                                 "create g gen demo.Generator --stream numbers=inproc://numbers\n"
                                 "create g rec demo.Recorder --stream recorded=inproc://recorded\n"
                                 "set g rec directory \"" +
                                     directory +
                                     "\"\n"
                                     "connect g rec numbers\n"
                                     "set g gen topic t\n"
                                     "set g gen size 40\n"
                                     "set g gen rate 200\n"
                                     "record g rec first.zrec\n");
    auto outcome = runProgram("zal-host", {"--pipeline", record, "--duration", "2"});
    ASSERT_EQ(outcome.status, 0) << outcome.err.toStdString();
    const auto generated = messagesOf(dir.filePath("first.zrec"));
    ASSERT_GT(generated.size(), 50);

    const QString replay = write("replay.pipeline",
                                 "create-group g\n"
                                 "create g player demo.Player --stream replayed=inproc://replayed\n"
                                 "create g rec demo.Recorder --stream recorded=inproc://recorded\n"
                                 "set g rec directory \"" +
                                     directory +
                                     "\"\n"
                                     "set g player file \"" +
                                     dir.filePath("first.zrec").toUtf8() +
                                     "\"\n"
                                     "set g player speed full\n"
                                     "connect g rec replayed\n"
                                     "record g rec second.zrec\n"
                                     "start g player replayed\n"
                                     "watch g player done\n");
    outcome = runProgram("zal-host", {"--pipeline", replay, "--duration", "2"});
    ASSERT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_TRUE(outcome.out.contains("summary g/player: done=true")) << outcome.out.toStdString();
    EXPECT_EQ(messagesOf(dir.filePath("second.zrec")), generated);
}

TEST_F(ZalHost, ATcpFrontendOutlivesMalformedMessagesUnlessConfiguredNotTo) {
    qputenv("ZAL_TRACE_MASK", "0x20");
    {
        RunningProgram host("zal-host",
                            {"--config", write("tcp.ini", "EnvironmentAddress=tcp://127.0.0.1:*\n")});
        const QString frontend = frontendOf(host);
        ASSERT_TRUE(frontend.startsWith("tcp://")) << host.output().toStdString();
        EXPECT_TRUE(answersAfterMalformed(frontend, 10000));
        EXPECT_FALSE(host.awaitLine("Invalid message format from '0x").isNull())
            << host.output().toStdString();
        EXPECT_EQ(runProgram("zalctl", {"-e", frontend, "groups"}).status, 0);
        EXPECT_EQ(host.terminate(), 0);
    }
    {
        RunningProgram host("zal-host", {"--config", write("strict.ini",
                                                           "EnvironmentAddress=tcp://127.0.0.1:*\n"
                                                           "RouterDropMalformed=false\n")});
        const QString frontend = frontendOf(host);
        ASSERT_TRUE(frontend.startsWith("tcp://")) << host.output().toStdString();
        EXPECT_FALSE(answersAfterMalformed(frontend, 2000)) << "the explicit setting wins: the router ended";
        EXPECT_EQ(runProgram("zalctl", {"--timeout", "1000", "-e", frontend, "groups"}).status, 3);
    }
    qunsetenv("ZAL_TRACE_MASK");
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
                                 "EnvironmentAddress=tcp://127.0.0.1:*\n"
                                 "CurveSecretKeyFile=server.secret\n"
                                 "CurveAuthorizedKeysFile=authorized\n");
    RunningProgram host("zal-host",
                        {"--config", config, "--pipeline", write("own.pipeline", "create-group piped\n")});
    const QString frontend = frontendOf(host);
    ASSERT_TRUE(frontend.startsWith("tcp://127.0.0.1:")) << host.output().toStdString();

    const QStringList authorised = {"--curve-server-key-file",
                                    dir.filePath("server.pub"),
                                    "--curve-secret-key-file",
                                    dir.filePath("client.secret"),
                                    "-e",
                                    frontend};
    auto outcome = runProgram("zalctl", authorised + QStringList{"groups"});
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_EQ(outcome.out, "Success\npiped\n")
        << "the host's own pipeline went through its in-process frontend";

    const QStringList refused[] = {
        {"--curve-server-key-file", dir.filePath("server.pub"), "--curve-secret-key-file",
         dir.filePath("stranger.secret")},
        {},
    };
    for (const QStringList& keys : refused) {
        outcome = runProgram("zalctl", keys + QStringList{"--timeout", "1500", "-e", frontend, "groups"});
        EXPECT_EQ(outcome.status, 3) << keys.join(' ').toStdString();
        EXPECT_TRUE(outcome.out.isEmpty()) << outcome.out.toStdString();
    }
    outcome = runProgram("zalctl", authorised + QStringList{"create-group", "after"});
    EXPECT_EQ(outcome.status, 0) << "the host kept serving: " << outcome.err.toStdString();
    EXPECT_FALSE(host.output().contains("WARNING")) << host.output().toStdString();
    EXPECT_EQ(host.terminate(), 0) << host.output().toStdString();
}

TEST_F(ZalHost, WarnsOfAFrontendOpenToTheNetworkWithoutCurve) {
    const auto run = [&](const QString& name, const QByteArray& content) {
        return runProgram("zal-host", {"--config", write(name, content), "--duration", "0.2"});
    };
    auto outcome = run("open.ini", "EnvironmentAddress=tcp://0.0.0.0:*\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_TRUE(outcome.err.contains("zal-host: WARNING: the frontend tcp://0.0.0.0:"))
        << outcome.err.toStdString();
    EXPECT_TRUE(outcome.err.contains("without authentication or encryption"));

    outcome = run("loopback.ini", "EnvironmentAddress=tcp://127.0.0.1:*\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_FALSE(outcome.err.contains("WARNING")) << outcome.err.toStdString();

    ASSERT_EQ(runProgram("zalctl", {"keygen", "--secret-file", dir.filePath("server.secret")}).status, 0);
    write("nobody", "# nobody yet\n");
    outcome = run("secured.ini",
                  "EnvironmentAddress=tcp://"
                  "0.0.0.0:*\nCurveSecretKeyFile=server.secret\nCurveAuthorizedKeysFile=nobody\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_FALSE(outcome.err.contains("WARNING")) << outcome.err.toStdString();

    // Half a CURVE configuration is refused rather than run open; the trace says why.
    QProcessEnvironment tracing = QProcessEnvironment::systemEnvironment();
    tracing.insert("ZAL_TRACE_MASK", "0x20");
    const struct {
        QByteArray config;
        QString reason;
    } halves[] = {
        {"CurveSecretKeyFile=server.secret\n", "a CURVE secret key is set without CurveAuthorizedKeysFile"},
        {"CurveAuthorizedKeysFile=nobody\n", "neither CurveSecretKey nor CurveSecretKeyFile"},
        {"CurveSecretKey=tooshort\nCurveAuthorizedKeysFile=nobody\n", "CurveSecretKey is not a CURVE key"},
        {"CurveSecretKeyFile=nobody\nCurveAuthorizedKeysFile=nobody\n", "holds 0 keys where one is expected"},
    };
    for (const auto& half : halves) {
        outcome =
            runProgram("zal-host",
                       {"--config", write("half.ini", "EnvironmentAddress=tcp://0.0.0.0:*\n" + half.config),
                        "--duration", "0.2"},
                       tracing);
        EXPECT_EQ(outcome.status, 1) << half.config.toStdString();
        EXPECT_TRUE(outcome.err.contains(half.reason)) << outcome.err.toStdString();
    }
}

TEST_F(ZalHost, APipelineLineNamesAGroupOrProcessorThatDoesNotExist) {
    const QString pipeline = write("typo.pipeline", "create-group g\nget g nosuch rate\n");
    const auto outcome = runProgram("zal-host", {"--pipeline", pipeline});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(outcome.err.contains(pipeline + ":2: no processor 'nosuch' in group 'g' (processors: none)"))
        << outcome.err.toStdString();
}

TEST_F(ZalHost, ConfigurationAndPipelineMistakesAreNamedBeforeAnythingStarts) {
    // A misspelt key is named with the nearest key the library reads; the host runs on.
    auto outcome = runProgram(
        "zal-host",
        {"--config", write("typo.ini", "EnvironmentAdress=tcp://127.0.0.1:*\n"), "--duration", "0.2"});
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_TRUE(
        outcome.err.contains("typo.ini: unknown key 'EnvironmentAdress' is ignored; did you mean "
                             "'EnvironmentAddress'?"))
        << outcome.err.toStdString();

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
    outcome = runProgram("zal-host", {"--pipeline", dir.filePath("absent.pipeline")});
    EXPECT_EQ(outcome.status, 66);
    EXPECT_TRUE(outcome.err.contains("absent.pipeline: cannot read pipeline")) << outcome.err.toStdString();
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

TEST_F(ZalHost, ListenSetsTheFrontendOverTheConfigurationAndBothProgramsTellTheirVersion) {
    RunningProgram host("zal-host",
                        {"--config", write("inproc.ini", "EnvironmentAddress=inproc://zal/elsewhere\n"),
                         "--listen", "tcp://127.0.0.1:*"});
    const QString frontend = frontendOf(host);
    ASSERT_TRUE(frontend.startsWith("tcp://127.0.0.1:")) << host.output().toStdString();
    EXPECT_TRUE(answersAfterMalformed(frontend, 10000)) << "a tcp:// frontend drops malformed messages";
    EXPECT_EQ(host.terminate(), 0) << host.output().toStdString();

    for (const QString program : {"zal-host", "zalctl"}) {
        const auto version = runProgram(program, {"--version"});
        EXPECT_EQ(version.status, 0);
        EXPECT_EQ(version.out, program + " " ZAL_VERSION "\n");
    }
}

TEST_F(ZalHost, PipelineOutputNamesEachCommandAndKeepsEveryWatch) {
    const QString pipeline = write(
        "watched.pipeline",
        "create-group g\ncreate g src streamplugin.Source --stream \"data=inproc://w\"\n"
        "create g sink streamplugin.Sink --stream sunk=inproc://ws\nwatch g src sent\nwatch g sink count\n");
    auto outcome = runProgram("zal-host", {"--pipeline", pipeline, "--duration", "1.5"});
    EXPECT_EQ(outcome.status, 0) << outcome.err.toStdString();
    EXPECT_TRUE(
        outcome.out.contains("Success  create-group g\nSuccess  create g src streamplugin.Source "
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
