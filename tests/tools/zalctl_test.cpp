// The zalctl program as a user runs it, against a whole system with a TCP frontend in this process.
#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <chrono>
#include <csignal>
#include <future>

#include "support/program.h"
#include "support/qtprinters.h"
#include "support/sockets.h"
#include "zal/platform/applicationdirectory.h"
#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/curvekeys.h"
#include "zal/host/environment.h"
#include "zal/transport/zmqhelper.h"

using Message = zalmsg::ControlMessage;

namespace {

using zaltest::Outcome;

Outcome zalctl(const QStringList& arguments,
               const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    return zaltest::runProgram("zalctl", arguments, environment);
}

class Zalctl : public ::testing::Test {
protected:
    // One command against the system; the words are split on single blanks.
    Outcome run(const QString& line) {
        return zalctl(QStringList{"-e", frontend} + line.split(' ', Qt::SkipEmptyParts));
    }
    // Stdout of a command that must succeed.
    QString ok(const QString& line) {
        const Outcome r = run(line);
        EXPECT_EQ(r.status, 0) << line.toStdString() << "\n" << r.out.toStdString() << r.err.toStdString();
        EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
        return r.out;
    }
    // Stdout of a command that must get an error reply.
    QString refused(const QString& line) {
        const Outcome r = run(line);
        EXPECT_EQ(r.status, 2) << line.toStdString() << "\n" << r.out.toStdString() << r.err.toStdString();
        return r.out;
    }

    zal::Environment environment{"tcp://127.0.0.1:*"};
    QString frontend = QString::fromStdString(environment.getRouterFrontendAddress());
};

}  // namespace

TEST_F(Zalctl, ManagesGroupsAndRefusesDuplicates) {
    EXPECT_EQ(ok("groups"), "Success\n");
    EXPECT_EQ(ok("create-group g2"), "Success\n");
    EXPECT_EQ(ok("create-group g1"), "Success\n");
    EXPECT_EQ(refused("create-group g1"), "Error: A group with the name 'g1' already exists.\n");
    EXPECT_EQ(ok("groups"), "Success\ng1\ng2\n");
    EXPECT_EQ(ok("delete-group g2"), "Success\n");
    EXPECT_EQ(refused("delete-group g2"), "Error: A group with the name 'g2' does not exists.\n");
    EXPECT_EQ(ok("groups"), "Success\ng1\n");
}

TEST_F(Zalctl, CreatesQueriesAndDeletesProcessors) {
    ok("create-group g");
    EXPECT_EQ(ok("create g src streamplugin.Source --stream data=tcp://127.0.0.1:*"), "Success\n");
    EXPECT_EQ(refused("create g bad Nope"), "Error: Processor of type 'Nope' could not be created.\n");
    EXPECT_EQ(ok("processors g"), "Success\nsrc\n");

    const QStringList streams = ok("streams g src").split('\n');
    ASSERT_EQ(streams.size(), 3) << streams.join('|').toStdString();
    EXPECT_TRUE(streams[1].startsWith("data  tcp://127.0.0.1:")) << streams[1].toStdString();
    EXPECT_FALSE(streams[1].contains('*')) << "the wildcard port comes back resolved";
    EXPECT_TRUE(streams[1].endsWith("  stopped") || streams[1].endsWith("  running"))
        << streams[1].toStdString();
    EXPECT_EQ(ok("sources g src"), "Success\n");

    EXPECT_EQ(ok("list g src"), "Success\ninterval\npublish\nsent\n");
    EXPECT_EQ(ok("get g src sent"), "Success\n0\n");
    EXPECT_EQ(ok("set g src publish t:x"), "Success\n");
    EXPECT_EQ(ok("get g src sent"), "Success\n1\n");
    EXPECT_EQ(refused("get g src nope"), "Error: Cannot get parameter: nope\n");
    EXPECT_EQ(refused("set g src nope 1"), "Error: Cannot set parameter: nope\n");
    EXPECT_TRUE(refused("record g src").startsWith("Error: Cannot start new recording"));

    EXPECT_EQ(ok("delete g src"), "Success\n");
    EXPECT_EQ(refused("delete g src"), "Error: A processor with the name 'src' does not exists.\n");
    EXPECT_EQ(ok("processors g"), "Success\n");
}

TEST_F(Zalctl, ConnectsByStreamNameOrAddressAndDataFlows) {
    ok("create-group g");
    ok("create g src streamplugin.Source --stream data=tcp://127.0.0.1:*");
    ok("create g sink streamplugin.Sink --stream sunk=inproc://zalctl/sunk");
    ok("create g other streamplugin.Sink --stream other=inproc://zalctl/other");

    const QStringList resolved = ok("resolve g data").split('\n');
    ASSERT_EQ(resolved.size(), 4) << resolved.join('|').toStdString();
    EXPECT_EQ(resolved[1], "processor: src");
    ASSERT_TRUE(resolved[2].startsWith("address: tcp://127.0.0.1:"));
    const QString address = resolved[2].mid(QString("address: ").size());

    EXPECT_EQ(ok("connect g sink data --filter keep"), "Success\n");
    EXPECT_EQ(ok("sources g sink"), "Success\n" + address + "  filters: keep\n");
    EXPECT_EQ(ok("connect g other --stream-name data --address " + address), "Success\n");
    EXPECT_EQ(ok("sources g other"), "Success\n" + address + "  filters: (all)\n");
    EXPECT_EQ(refused("connect g sink nothing"),
              "Cannot resolve stream 'nothing': Error: 'nothing' does not exist\n");

    // A subscription reaches the publisher asynchronously: publish until the first message arrives.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (ok("get g sink count") == "Success\n0\n" && std::chrono::steady_clock::now() < deadline) {
        ok("set g src publish keep:probe");
    }
    // Cleared after the stop, so that a late probe is either forgotten or arrives while stopped.
    EXPECT_EQ(ok("stop g sink data"), "Success\n");
    ok("set g sink clear x");
    ok("set g src publish keep:while-stopped");
    const auto stoppedDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (ok("get g sink count") == "Success\n0\n" && std::chrono::steady_clock::now() < stoppedDeadline) {
    }
    EXPECT_EQ(ok("get g sink received"), "Success\n\n") << "a stopped stream keeps nothing";

    EXPECT_EQ(ok("start g sink data"), "Success\n");
    ok("set g sink clear x");
    ok("set g src publish drop:1");
    ok("set g src publish keep:2");
    const auto keptDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    QString received;
    while (!(received = ok("get g sink received")).endsWith("keep=2\n") &&
           std::chrono::steady_clock::now() < keptDeadline) {
    }
    EXPECT_TRUE(received.endsWith("keep=2\n")) << received.toStdString();
    EXPECT_FALSE(received.contains("drop")) << "the filter keeps other topics out";
}

TEST_F(Zalctl, RegistersResolvesAndDeregistersStreams) {
    ok("create-group g");
    EXPECT_EQ(ok("register g s p inproc://a tcp://127.0.0.1:9"), "Success\n");
    EXPECT_EQ(ok("resolve g s"), "Success\nprocessor: p\naddress: inproc://a\naddress: tcp://127.0.0.1:9\n");
    EXPECT_EQ(refused("register g s p inproc://b").left(6), "Error:");
    EXPECT_EQ(ok("deregister g s"), "Success\n");
    EXPECT_EQ(refused("resolve g s"), "Error: 's' does not exist\n");
    EXPECT_EQ(refused("deregister g s").left(6), "Error:");
}

TEST_F(Zalctl, PrintsTheRawReplyAsXml) {
    ok("create-group g1");
    for (const QStringList& words :
         {QStringList{"-e", frontend, "--xml", "groups"}, QStringList{"-e", frontend, "groups", "--xml"}}) {
        const Outcome r = zalctl(words);
        EXPECT_EQ(r.status, 0);
        const Message reply = zal::ControlMessageHelper::fromPayload(r.out.trimmed().toUtf8());
        EXPECT_EQ(reply.GetMessageType(), Message::MessageType::QueryGroups);
        EXPECT_EQ(reply.GetParameter(), "g1");
    }
    const Outcome error = zalctl({"-e", frontend, "--xml", "create-group", "g1"});
    EXPECT_EQ(error.status, 2);
    const Message reply = zal::ControlMessageHelper::fromPayload(error.out.trimmed().toUtf8());
    EXPECT_EQ(reply.GetResultType(), Message::ResultType::Error);
    EXPECT_EQ(reply.GetMessageText(), "A group with the name 'g1' already exists.");
}

TEST_F(Zalctl, TakesTheEndpointFromTheEnvironmentUnlessGivenAndTheOptionFormsAlike) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ZAL_ENDPOINT", frontend);
    EXPECT_EQ(zalctl({"create-group", "env"}, environment).status, 0);
    EXPECT_EQ(zalctl({"--endpoint=" + frontend, "--timeout=5000", "groups"}).out, "Success\nenv\n");
    EXPECT_EQ(zalctl({"--endpoint", frontend, "--timeout", "5000", "--", "groups"}).out, "Success\nenv\n");
    environment.insert("ZAL_ENDPOINT", "tcp://127.0.0.1:1");
    EXPECT_EQ(zalctl({"-e", frontend, "groups"}, environment).out, "Success\nenv\n");
}

TEST(ZalctlExit, UsageErrorsExit64WithTheReasonOnStandardError) {
    const struct {
        QStringList arguments;
        QString reason;
    } cases[] = {
        {{}, "zalctl: no command given."},
        {{"--frobnicate", "groups"}, "zalctl: unknown option '--frobnicate'."},
        {{"--timeout", "soon", "groups"},
         "zalctl: --timeout 'soon' is not a positive number of milliseconds."},
        {{"--timeout", "0", "groups"}, "zalctl: --timeout '0' is not a positive number of milliseconds."},
        {{"groups", "-e"}, "zalctl: groups: unexpected argument '-e'. Usage: groups"},
        {{"-e"}, "zalctl: option -e needs a value."},
        {{"-e", "", "groups"}, "zalctl: -e needs a non-empty endpoint."},
        {{"explode"}, "zalctl: Unknown command 'explode'."},
        {{"create-group"}, "zalctl: create-group: missing GROUP. Usage: create-group GROUP"},
        {{"create", "g", "p", "T", "--stream", "x"},
         "zalctl: create: --stream 'x' is not NAME=ADDR[,ADDR...]."},
        {{"-e", "nonsense", "groups"}, "zalctl: Cannot use endpoint 'nonsense': Invalid argument"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(' ').toStdString());
        const Outcome r = zalctl(c.arguments);
        EXPECT_EQ(r.status, 64);
        EXPECT_TRUE(r.out.isEmpty()) << r.out.toStdString();
        EXPECT_TRUE(r.err.startsWith(c.reason + "\nRun 'zalctl --help'")) << r.err.toStdString();
    }
}

TEST(ZalctlExit, HelpListsEveryCommandTheExitStatusesAndExamples) {
    const Outcome r = zalctl({"--help"});
    EXPECT_EQ(r.status, 0);
    for (const char* command : {"groups",
                                "create-group GROUP",
                                "delete-group GROUP",
                                "processors GROUP",
                                "create GROUP NAME TYPE",
                                "delete GROUP NAME",
                                "connect GROUP PROCESSOR",
                                "start GROUP",
                                "stop GROUP",
                                "set GROUP",
                                "get GROUP",
                                "list GROUP",
                                "record GROUP",
                                "sources GROUP",
                                "streams GROUP",
                                "register GROUP",
                                "deregister GROUP",
                                "resolve GROUP",
                                "--stream NAME=ADDR[,ADDR...]",
                                "--source ADDR[:FILTER...]",
                                "--timeout MS",
                                "--xml",
                                "ZAL_ENDPOINT",
                                "  64  usage",
                                "  3   time-out",
                                "  2   error",
                                "  1   warning",
                                "  0   success",
                                "zalctl -e tcp://127.0.0.1:5555 create-group g1"}) {
        EXPECT_TRUE(r.out.contains(command)) << command;
    }
}

TEST(ZalctlExit, SilenceIsATimeOutWithStatus3) {
    // A port that was just bound and released: nothing listens there.
    std::string vacant = "tcp://127.0.0.1:*";
    {
        zmq::socket_t socket = zaltest::makeSocket(zmq::socket_type::router);
        zal::ZmqHelper::bindSocket(socket, vacant);
        socket.set(zmq::sockopt::linger, 0);
    }
    const Outcome r = zalctl({"-e", QString::fromStdString(vacant), "--timeout", "300", "groups"});
    EXPECT_EQ(r.status, 3);
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_EQ(r.err, "zalctl: Time-out: Socket timeout 300ms: " + QString::fromStdString(vacant) +
                         " (no reply from inproc://zal; nothing listens at the endpoint)\n");

    // A processor asked on a silent host: the group manager, asked next, is silent as well.
    const Outcome missing =
        zalctl({"-e", QString::fromStdString(vacant), "--timeout", "300", "get", "nogroup", "p", "x"});
    EXPECT_EQ(missing.status, 3);
    EXPECT_TRUE(missing.err.contains(
        "no reply from inproc://zal/nogroup/p, nor from the group manager; nothing listens at the endpoint)"))
        << missing.err.toStdString();
}

// No service of the system answers with a warning, so a stand-in frontend does; it also gives the
// replies no test processor can: a new recording's name and a running stream.
TEST(ZalctlExit, WarningRepliesExit1AndRepliesNoTestProcessorGivesAreShown) {
    zmq::socket_t router = zaltest::makeSocket(zmq::socket_type::router);
    std::string endpoint = "tcp://127.0.0.1:*";
    zal::ZmqHelper::bindSocket(router, endpoint);
    const QString frontend = QString::fromStdString(endpoint);
    // Answers one request with answer(request) and hands the request back.
    const auto serveOne = [&router](std::function<void(Message&)> answer) {
        return std::async(std::launch::async, [&router, answer] {
            auto frames = zaltest::receiveFrames(router, 20000);
            if (frames.size() != 4) {
                return std::make_pair(QByteArray(), Message());
            }
            Message message = zal::ControlMessageHelper::fromPayload(frames[3]);
            const Message request = message;
            answer(message);
            zaltest::sendFrames(router,
                                {frames[0], "", frames[2], zal::ControlMessageHelper::toPayload(message)});
            return std::make_pair(frames[2], request);
        });
    };

    auto warned =
        serveOne([](Message& m) { zal::ConfigTool::setWarningMessage(m, "Stream is already running"); });
    const Outcome warning = zalctl({"-e", frontend, "start", "g", "p", "s"});
    EXPECT_EQ(warning.status, 1);
    EXPECT_EQ(warning.out, "Warning: Stream is already running\n");
    const auto [destination, request] = warned.get();
    EXPECT_EQ(destination, zal::ControlMessageHelper::makeIdentity("inproc://zal/g/p"));
    EXPECT_EQ(request.GetMessageType(), Message::MessageType::Start);
    EXPECT_EQ(request.GetStreamName(), "s");

    auto recorded = serveOne([](Message& m) { zal::ConfigTool::setResultSuccess(m, "rec-0002.zrec"); });
    const Outcome record = zalctl({"-e", frontend, "record", "g", "rec", "next"});
    EXPECT_EQ(record.status, 0);
    EXPECT_EQ(record.out, "Success\nrec-0002.zrec\n");
    EXPECT_EQ(recorded.get().second.GetParameter(), "next");

    auto streamed = serveOne([](Message& m) {
        zalmsg::DataStream stream;
        stream.SetName("out");
        stream.AppendAddress("tcp://127.0.0.1:7000");
        stream.AppendAddress("inproc://out");
        stream.SetRunning(true);
        m.AppendDataStream(stream);
        zal::ConfigTool::setResultSuccess(m);
    });
    const Outcome streams = zalctl({"-e", frontend, "streams", "g", "gen"});
    EXPECT_EQ(streams.status, 0);
    EXPECT_EQ(streams.out, "Success\nout  tcp://127.0.0.1:7000,inproc://out  running\n");
    EXPECT_EQ(streamed.get().second.GetMessageType(), Message::MessageType::QueryStreams);

    auto garbled = std::async(std::launch::async, [&router] {
        auto frames = zaltest::receiveFrames(router, 20000);
        if (frames.size() == 4) {
            zaltest::sendFrames(router, {frames[0], "", frames[2], "<<not a message"});
        }
        return frames.size();
    });
    const Outcome unreadable = zalctl({"-e", frontend, "groups"});
    EXPECT_EQ(garbled.get(), 4u);
    EXPECT_EQ(unreadable.status, 2);
    EXPECT_TRUE(unreadable.out.startsWith("Invalid reply: ")) << unreadable.out.toStdString();
}

TEST(ZalctlCurve, KeygenPrintsAPairAndWritesKeyFilesButNeverOverAnExistingOne) {
    const Outcome printed = zalctl({"keygen"});
    ASSERT_EQ(printed.status, 0) << printed.err.toStdString();
    const QStringList lines = printed.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2) << printed.out.toStdString();
    ASSERT_TRUE(lines[0].startsWith("public-key: ") && lines[1].startsWith("secret-key: "));
    const std::string publicKey = lines[0].mid(12).toStdString();
    const std::string secretKey = lines[1].mid(12).toStdString();
    EXPECT_TRUE(zal::CurveKeys::isKey(publicKey));
    EXPECT_EQ(zal::CurveKeys::publicKeyOf(secretKey), publicKey);

    QTemporaryDir dir;
    const QString pub = dir.filePath("k.pub");
    const QString secret = dir.filePath("k.secret");
    const Outcome written = zalctl({"keygen", "--public-file", pub, "--secret-file=" + secret});
    ASSERT_EQ(written.status, 0) << written.err.toStdString();
    const std::string writtenSecret = zal::CurveKeys::readSingleKey(secret);
    EXPECT_EQ(zal::CurveKeys::publicKeyOf(writtenSecret), zal::CurveKeys::readSingleKey(pub));
    EXPECT_TRUE(written.out.contains(QString::fromStdString(writtenSecret)));
    const QFileDevice::Permissions others =
        QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther | QFileDevice::WriteOther;
    EXPECT_FALSE(QFile::permissions(secret) & others) << "nobody but its owner reads a secret key";
    EXPECT_TRUE(QFile::permissions(secret) & QFileDevice::ReadOwner);
    EXPECT_TRUE(QFile::permissions(pub) & QFileDevice::ReadOther);

    const QString fresh = dir.filePath("fresh.pub");
    const Outcome again = zalctl({"keygen", "--public-file", fresh, "--secret-file", secret});
    EXPECT_EQ(again.status, 73);
    EXPECT_TRUE(again.err.contains("exists")) << again.err.toStdString();
    EXPECT_EQ(zal::CurveKeys::readSingleKey(secret), writtenSecret) << "the old key is untouched";
    EXPECT_FALSE(QFile::exists(fresh)) << "no half pair is left behind";
    EXPECT_EQ(zalctl({"keygen", "--public-file", fresh, "--secret-file", fresh}).status, 64);
    EXPECT_EQ(zalctl({"keygen", "--secret-file"}).status, 64);
    EXPECT_EQ(zalctl({"keygen", "extra"}).status, 64);
}

TEST(ZalctlCurve, TheOptionsNeedTheServersKeyAndAValidClientSecret) {
    QTemporaryDir dir;
    const zal::CurveKeys::Pair server = zal::CurveKeys::generate();
    const zal::CurveKeys::Pair client = zal::CurveKeys::generate();
    const QString serverKey = QString::fromStdString(server.publicKey);
    const QString secretKey = QString::fromStdString(client.secretKey);
    const QString badFile = dir.filePath("bad.key");
    QFile file(badFile);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("not a key\n");
    file.close();
    const struct {
        QStringList arguments;
        QString reason;
    } cases[] = {
        {{"--curve-server-key", serverKey}, "CURVE needs this client's secret key"},
        {{"--curve-secret-key", secretKey}, "CURVE needs the server's public key"},
        {{"--curve-server-key", "short", "--curve-secret-key", secretKey},
         "--curve-server-key is not a CURVE key"},
        {{"--curve-server-key", serverKey, "--curve-server-key-file", badFile, "--curve-secret-key",
          secretKey},
         "not both"},
        {{"--curve-server-key-file", badFile, "--curve-secret-key", secretKey},
         badFile + ":1: not a CURVE key"},
        {{"--curve-server-key", serverKey, "--curve-secret-key-file", dir.filePath("absent")},
         "cannot read key file"},
        {{"--curve-server-key", serverKey, "--curve-secret-key", secretKey, "--curve-public-key", serverKey},
         "--curve-public-key does not belong to the secret key given."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.join(' ').toStdString());
        const Outcome r = zalctl(c.arguments + QStringList{"-e", "tcp://127.0.0.1:1", "groups"});
        EXPECT_EQ(r.status, 64);
        EXPECT_TRUE(r.err.contains(c.reason)) << r.err.toStdString();
    }
    const Outcome timedOut = zalctl({"--curve-server-key", serverKey, "--curve-secret-key", secretKey,
                                     "--curve-public-key", QString::fromStdString(client.publicKey), "-e",
                                     "tcp://127.0.0.1:1", "--timeout", "200", "groups"});
    EXPECT_EQ(timedOut.status, 3);
    EXPECT_TRUE(timedOut.err.contains("or the server refused these CURVE keys"))
        << timedOut.err.toStdString();
}

// The router drops a request for a name nobody has; zalctl then asks the group manager and the
// group, and names the mistake instead of reporting a dead host.
TEST_F(Zalctl, ANameThatDoesNotExistIsNamedAndOnlySilenceIsATimeOut) {
    ok("create-group g1");
    ok("create g1 gen streamplugin.Source --stream data=inproc://zalctl/names");
    ok("create g1 counter faultplugin.Misbehaving --stream held=inproc://zalctl/held");
    const QString noProcessor =
        "zalctl: no processor 'nosuchproc' in group 'g1' (processors: counter, gen)\n";
    const QString noGroup = "zalctl: no group 'nosuchgroup' (groups: g1)\n";
    const std::pair<QString, QString> mistakes[] = {
        {"processors nosuchgroup", noGroup},
        {"resolve nosuchgroup data", noGroup},
        {"get g1 nosuchproc rate", noProcessor},
        {"connect g1 nosuchproc data", "zalctl: " + noProcessor.mid(8)},
    };
    for (const auto& [line, error] : mistakes) {
        const Outcome r = run("--timeout 500 " + line);
        EXPECT_EQ(r.status, 2) << line.toStdString();
        EXPECT_EQ(r.err, error) << line.toStdString();
        EXPECT_TRUE(r.out.isEmpty()) << r.out.toStdString();
    }

    // A processor that exists but is held up stays a time-out, and says so.
    auto held = std::async(std::launch::async, [this] {
        return run("--timeout 20000 set g1 counter block inproc://zalctl/release").status;
    });
    Outcome busy;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while ((busy = run("--timeout 500 get g1 counter count")).status == 0 &&
           std::chrono::steady_clock::now() < deadline) {
    }
    EXPECT_EQ(busy.status, 3);
    EXPECT_TRUE(
        busy.err.endsWith("(no reply from inproc://zal/g1/counter; processor 'counter' in group 'g1' "
                          "exists but did not answer in time: it is busy)\n"))
        << busy.err.toStdString();
    zmq::socket_t release = zaltest::makeSocket(zmq::socket_type::push);
    release.connect("inproc://zalctl/release");
    release.send(zmq::str_buffer("go"));
    EXPECT_EQ(held.get(), 0);
}

TEST_F(Zalctl, WatchPrintsARoundASecondUntilInterruptedAndRefusesAParameterThatDoesNotExist) {
    ok("create-group g");
    ok("create g src streamplugin.Source --stream data=inproc://zalctl/watched");
    ok("create g sink streamplugin.Sink --stream sunk=inproc://zalctl/watching");
    Outcome r = run("watch g sink count,received --count 2");
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, "g/sink: count=0 received=\ng/sink: count=0 received=\n");

    r = run("watch g src sent,nope");
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(r.out.startsWith("Error: Cannot get parameter: nope")) << r.out.toStdString();
    EXPECT_EQ(run("watch g src").status, 64);

    QProcess watch;
    watch.start(zal::applicationDirectory() + "/zalctl", {"-e", frontend, "watch", "g", "src", "sent"});
    ASSERT_TRUE(watch.waitForReadyRead(20000));
    ::kill(static_cast<pid_t>(watch.processId()), SIGINT);
    ASSERT_TRUE(watch.waitForFinished(20000));
    EXPECT_EQ(watch.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watch.exitCode(), 0);
    EXPECT_TRUE(watch.readAllStandardOutput().startsWith("g/src: sent=0\n"));
}
