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
    // zalctl against `frontend` with the given words; its output.
    static zaltest::Outcome zalctl(const QString& frontend, const QStringList& words) {
        return runProgram("zalctl", QStringList{"-e", frontend} + words);
    }
    QTemporaryDir dir;
};

// The frontend a started host announces, or a null string.
QString frontendOf(RunningProgram& host) {
    const QString line = host.awaitLine("frontend listening at ");
    return line.isNull() ? line : line.section(' ', -1);
}

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

}  // namespace

TEST_F(ZalHost, RunsAPipelineServesZalctlAndStopsCleanlyOnSigterm) {
    const QString config = write("host.ini", "EnvironmentAddress=tcp://127.0.0.1:*\n");
    const QString pipeline =
        write("flow.pipeline",
              "# a source feeding a sink, watched\n"
              "create-group g\n"
              "create g src testplugin.Source --stream data=tcp://127.0.0.1:*\n"
              "\n"
              "create g sink testplugin.Sink --stream sunk=inproc://sunk  # a comment\n"
              "connect g sink data\n"
              "create g echo \"testplugin.Echo\"\n"
              "set g echo text a\"b  c\"d#e\" say \\\"hi\\\" \\\\\"  # gone\n"
              "set g src interval 1\n"
              "watch g sink count\n");
    RunningProgram host("zal-host", {"--config", config, "--pipeline", pipeline});
    const QString frontend = frontendOf(host);
    ASSERT_TRUE(frontend.startsWith("tcp://127.0.0.1:")) << host.output().toStdString();
    EXPECT_EQ(zalctl(frontend, {"processors", "g"}).out, "Success\necho\nsink\nsrc\n");
    EXPECT_EQ(zalctl(frontend, {"get", "g", "echo", "text"}).out, "Success\nab  cd#e say \"hi\" \\\n");

    // Data flows: the watch line shows a count above zero before the signal arrives.
    EXPECT_FALSE(host.awaitLine("count=", 20000).isNull());
    EXPECT_EQ(host.terminate(), 0) << host.output().toStdString();
    EXPECT_TRUE(host.output().contains("summary g/sink: count=")) << host.output().toStdString();
    EXPECT_TRUE(host.output().contains("zal-host: stopped"));
}

TEST_F(ZalHost, ReportsEachOutcomeWithItsStatusAndReason) {
    ASSERT_EQ(runProgram("zalctl", {"keygen", "--secret-file", dir.filePath("key.secret")}).status, 0);
    write("nobody", "# nobody yet\n");
    const QString open = "EnvironmentAddress=tcp://0.0.0.0:*\n";
    const struct {
        QStringList arguments;
        int status;
        QString reason;  // in standard output or standard error
    } cases[] = {
        {{"--pipeline",
          write("a.pipeline",
                "create-group g\n# line 4 fails\n\ncreate g x NoSuchType\ncreate-group unreached\n")},
         2,
         "a.pipeline:4: Error: Processor of type 'NoSuchType' could not be created."},
        {{"--pipeline", write("b.pipeline", "create-group\n")}, 2, "b.pipeline:1: "},
        {{"--pipeline", write("c.pipeline", "\n  # indented\nset g p x \"open\n")},
         2,
         "c.pipeline:3: unterminated double quote"},
        {{"--pipeline", dir.filePath("absent.pipeline")}, 2, "absent.pipeline"},
        {{"--config", dir.filePath("missing.ini")}, 66, "missing.ini"},
        {{"--bogus"}, 64, "Unknown option 'bogus'."},
        {{"--duration", "-1"}, 64, "--duration"},
        {{"--help"}, 0, "Exit status"},
        {{"--config", write("bad.ini", "EnvironmentAddress=nonsense://x\n"), "--duration", "1"},
         1,
         "did not start"},
        // A parameter the bridge cannot give shows as "?" instead of stopping the host.
        {{"--pipeline", write("d.pipeline", "create-group g\ncreate g b QtBridge\nwatch g b nothing\n"),
          "--duration", "1.5"},
         0,
         "summary g/b: nothing=?"},
        {{"--config", write("open.ini", open.toUtf8()), "--duration", "0.2"},
         0,
         "zal-host: WARNING: the frontend tcp://0.0.0.0:"},
        {{"--config", write("loopback.ini", "EnvironmentAddress=tcp://127.0.0.1:*\n"), "--duration", "0.2"},
         0,
         ""},
        {{"--config",
          write("secured.ini",
                open.toUtf8() + "CurveSecretKeyFile=key.secret\nCurveAuthorizedKeysFile=nobody\n"),
          "--duration", "0.2"},
         0,
         ""},
        // Half a CURVE configuration is refused rather than run open; the trace says why.
        {{"--config", write("h1.ini", open.toUtf8() + "CurveSecretKeyFile=key.secret\n")},
         1,
         "a CURVE secret key is set without CurveAuthorizedKeysFile"},
        {{"--config", write("h2.ini", open.toUtf8() + "CurveAuthorizedKeysFile=nobody\n")},
         1,
         "neither CurveSecretKey nor CurveSecretKeyFile"},
        {{"--config",
          write("h3.ini", open.toUtf8() + "CurveSecretKey=tooshort\nCurveAuthorizedKeysFile=nobody\n")},
         1,
         "CurveSecretKey is not a CURVE key"},
        {{"--config",
          write("h4.ini", open.toUtf8() + "CurveSecretKeyFile=nobody\nCurveAuthorizedKeysFile=nobody\n")},
         1,
         "holds 0 keys where one is expected"},
    };
    QProcessEnvironment tracing = QProcessEnvironment::systemEnvironment();
    tracing.insert("ZAL_TRACE_MASK", "0x20");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(' ').toStdString());
        const auto outcome = runProgram("zal-host", c.arguments, tracing);
        EXPECT_EQ(outcome.status, c.status) << outcome.err.toStdString();
        EXPECT_TRUE((outcome.out + outcome.err).contains(c.reason))
            << (outcome.out + outcome.err).toStdString();
        EXPECT_EQ(outcome.err.contains("WARNING"), c.reason.contains("WARNING")) << outcome.err.toStdString();
        EXPECT_FALSE(outcome.out.contains("unreached")) << "a pipeline stops at its first failing line";
    }
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

// Malformed messages on a TCP frontend are dropped by default (the hostile suite shows that); a
// configuration that says otherwise wins, and the router ends at the first one.
TEST_F(ZalHost, AnExplicitRouterDropMalformedFalseWins) {
    RunningProgram host("zal-host", {"--config", write("strict.ini",
                                                       "EnvironmentAddress=tcp://127.0.0.1:*\n"
                                                       "RouterDropMalformed=false\n")});
    const QString frontend = frontendOf(host);
    ASSERT_TRUE(frontend.startsWith("tcp://")) << host.output().toStdString();
    EXPECT_EQ(zalctl(frontend, {"groups"}).status, 0);
    zaltest::FrontendClient client(frontend.toStdString());
    client.sendRaw({"", "inproc://zal"});
    EXPECT_EQ(runProgram("zalctl", {"--timeout", "1000", "-e", frontend, "groups"}).status, 3);
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
