// The zalctl program as a user runs it: against a whole system in this process, against a stand-in
// frontend for replies no test processor gives, and with words it must refuse.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <csignal>
#include <future>

#include "msg/msgtesthelpers.h"
#include "support/program.h"
#include "support/qtprinters.h"
#include "support/sockets.h"
#include "zal/host/environment.h"
#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/curvekeys.h"
#include "zal/transport/zmqhelper.h"

using Message = zalmsg::ControlMessage;
using zaltest::Outcome;

namespace {

// Words split on blanks; '' stands for an empty word.
QStringList wordsOf(const QString& line) {
    QStringList words = line.split(' ', Qt::SkipEmptyParts);
    words.replaceInStrings(QRegularExpression("^''$"), QString());
    return words;
}

Outcome zalctl(const QString& line,
               const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    return zaltest::runProgram("zalctl", wordsOf(line), environment);
}

// A step of a session: the command, its exit status and its output; an output ending in "..." is a
// prefix.
using Step = std::tuple<QString, int, QString>;

class Zalctl : public ::testing::Test {
protected:
    Outcome run(const QString& line) { return zalctl("-e " + frontend + " " + line); }
    void expectSteps(std::initializer_list<Step> steps) {
        for (const auto& [line, status, out] : steps) {
            SCOPED_TRACE(line.toStdString());
            const Outcome r = run(line);
            EXPECT_EQ(r.status, status) << r.err.toStdString();
            if (out.endsWith("...")) {
                EXPECT_TRUE(r.out.startsWith(out.chopped(3))) << r.out.toStdString();
            } else {
                EXPECT_EQ(r.out, out);
            }
        }
    }
    // The output of a command that must succeed.
    QString ok(const QString& line) {
        const Outcome r = run(line);
        EXPECT_EQ(r.status, 0) << line.toStdString() << "\n" << r.out.toStdString() << r.err.toStdString();
        EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
        return r.out;
    }

    zal::Environment environment{"tcp://127.0.0.1:*"};
    QString frontend = QString::fromStdString(environment.getRouterFrontendAddress());
};

}  // namespace

TEST_F(Zalctl, ManagesGroupsProcessorsParametersAndNames) {
    // The endpoint comes from the option in either form, else from ZAL_ENDPOINT.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ZAL_ENDPOINT", frontend);
    EXPECT_EQ(zalctl("create-group env", environment).status, 0);
    environment.insert("ZAL_ENDPOINT", "tcp://127.0.0.1:1");
    EXPECT_EQ(zalctl("--endpoint=" + frontend + " --timeout=5000 -- groups", environment).out,
              "Success\nenv\n");
    EXPECT_EQ(zalctl("--endpoint " + frontend + " --timeout 5000 delete-group env", environment).status, 0);
    expectSteps(
        {{"groups", 0, "Success\n"},
         {"create-group g2", 0, "Success\n"},
         {"create-group g", 0, "Success\n"},
         {"create-group g", 2, "Error: A group with the name 'g' already exists.\n"},
         {"groups", 0, "Success\ng\ng2\n"},
         {"create g src testplugin.Source --stream data=tcp://127.0.0.1:*", 0, "Success\n"},
         {"create g sink testplugin.Sink --stream=sunk=inproc://ctl/a,inproc://ctl/b "
          "--source inproc://ctl/in:t1:t2 --source=tcp://[::1]:7000",
          0, "Success\n"},
         {"create g bridge QtBridge", 0, "Success\n"},
         {"create g bridge QtBridge", 2,
          "Error: A processor with the name 'bridge' already exists in group 'g'.\n"},
         {"create g a,b QtBridge", 2, "Error: Processor name 'a,b' is not allowed.\n"},
         {"create g n Nope", 2,
          "Error: Processor of type 'Nope' could not be created. (no plug-in offers it; searched ..."},
         {"create g n missing.Nope", 2,
          "Error: Processor of type 'missing.Nope' could not be created. (no plug-in library 'missing.so' in "
          "..."},
         {"create g n testplugin.Sink --stream a=inproc://ctl/c --stream b=inproc://ctl/d", 2,
          "Error: Processor of type 'testplugin.Sink' could not be created: 'Multiple data streams are "
          "not supported'.\n"},
         {"create g n testplugin.Sink --stream data=inproc://ctl/e", 2,
          "Error: Processor of type 'testplugin.Sink' could not be created: 'Thread failed: "
          "ControllableThread::run() failed: inproc://zal/g/n: Stream 'data'could not be registered at "
          "nameservice (Error: 'data' already exists)'.\n"},
         {"processors g", 0, "Success\nbridge\nsink\nsrc\n"},
         {"delete g bridge", 0, "Success\n"},
         {"delete g bridge", 2, "Error: A processor with the name 'bridge' does not exists.\n"},
         {"streams g sink", 0, "Success\nsunk  inproc://ctl/a,inproc://ctl/b  running\n"},
         {"sources g sink", 0,
          "Success\ninproc://ctl/in  filters: t1,t2\ntcp://[::1]:7000  filters: (all)\n"},
         {"list g src", 0, "Success\ninterval\npublish\nsent\n"},
         {"set g src publish -- --t:x", 0, "Success\n"},
         {"get g src sent", 0, "Success\n1\n"},
         {"get g src nope", 2,
          "Error: Cannot get parameter: nope (no parameter 'nope'; parameters: interval, publish, sent)\n"},
         {"set g src nope 1", 2,
          "Error: Cannot set parameter: nope (no parameter 'nope'; parameters: interval, publish, sent)\n"},
         {"record g src", 2, "Error: Cannot start new recording..."},
         {"register g s p inproc://a tcp://127.0.0.1:9", 0, "Success\n"},
         {"resolve g s", 0, "Success\nprocessor: p\naddress: inproc://a\naddress: tcp://127.0.0.1:9\n"},
         {"register g s p inproc://b", 2, "Error: 's' already exists\n"},
         {"resolve g2 s", 2, "Error: 's' does not exist\n"},
         {"deregister g s", 0, "Success\n"},
         {"deregister g s", 2, "Error: 's' does not exist\n"},
         {"delete g src", 0, "Success\n"},
         {"resolve g data", 2, "Error: 'data' does not exist\n"},
         {"delete-group g2", 0, "Success\n"},
         {"delete-group g2", 2, "Error: A group with the name 'g2' does not exists.\n"},
         {"--xml create-group g", 2, "<ControlMessage><MessageType>CreateGroup</MessageType>..."}});
}

TEST_F(Zalctl, ConnectsByStreamNameOrAddressAndDataFlows) {
    ok("create-group g");
    ok("create g src testplugin.Source --stream data=tcp://127.0.0.1:*");
    ok("create g sink testplugin.Sink --stream sunk=inproc://zalctl/sunk");
    ok("create g other testplugin.Sink --stream other=inproc://zalctl/other");
    const QStringList resolved = ok("resolve g data").split('\n');
    ASSERT_EQ(resolved.size(), 4) << resolved.join('|').toStdString();
    const QString address = resolved[2].mid(QString("address: ").size());
    EXPECT_FALSE(address.endsWith('*')) << "the wildcard port comes back resolved";
    expectSteps({{"streams g src", 0, "Success\ndata  " + address + "  running\n"},
                 {"connect g sink data --filter keep", 0, "Success\n"},
                 {"sources g sink", 0, "Success\n" + address + "  filters: keep\n"},
                 {"connect g other --stream-name data --address " + address, 0, "Success\n"},
                 {"sources g other", 0, "Success\n" + address + "  filters: (all)\n"},
                 {"connect g sink nothing", 2,
                  "Cannot resolve stream 'nothing': Error: 'nothing' does not exist\n"}});

    // A subscription reaches the publisher asynchronously: publish until the first message arrives.
    EXPECT_TRUE(zaltest::eventually([&] {
        ok("set g src publish keep:probe");
        return ok("get g sink count") != "Success\n0\n";
    }));
    // Cleared after the stop, so that a late probe is either forgotten or arrives while stopped.
    EXPECT_EQ(ok("stop g sink data"), "Success\n");
    ok("set g sink clear x");
    ok("set g src publish keep:while-stopped");
    EXPECT_TRUE(zaltest::eventually([&] { return ok("get g sink count") != "Success\n0\n"; }));
    EXPECT_EQ(ok("get g sink received"), "Success\n\n") << "a stopped stream keeps nothing";

    EXPECT_EQ(ok("start g sink data"), "Success\n");
    ok("set g sink clear x");
    for (const char* message : {"drop:1", "keep:2", "keeper:3"}) {
        ok(QString("set g src publish ") + message);
    }
    zaltest::eventually([&] { return ok("get g sink received") == "Success\nkeep=2;keeper=3\n"; });
    EXPECT_EQ(ok("get g sink received"), "Success\nkeep=2;keeper=3\n")
        << "a filter is a prefix of the topics it lets through";
}

TEST(ZalctlExit, UsageErrorsExit64WithTheReasonOnStandardError) {
    QTemporaryDir dir;
    const QString bad = zaltest::writeFile(dir.filePath("bad.key"), "not a key\n");
    const QString serverKey = QString::fromStdString(zal::CurveKeys::generate().publicKey);
    const QString server = "--curve-server-key " + serverKey;
    const QString secret =
        "--curve-secret-key " + QString::fromStdString(zal::CurveKeys::generate().secretKey);
    const std::pair<QString, QString> cases[] = {
        {"", "no command given."},
        {"--frobnicate groups", "unknown option '--frobnicate'."},
        {"-e", "option -e needs a value."},
        {"--timeout soon groups", "--timeout 'soon' is not a positive number of milliseconds."},
        {"groups --all", "groups: unknown option '--all'."},
        {"create g1 p T --source 6000", "create: --source '6000' is not ADDR[:FILTER...]"},
        {"-e nonsense groups", "Cannot use endpoint 'nonsense': Invalid argument"},
        {"explode g1", "Unknown command 'explode'."},
        {"create-group", "create-group: missing GROUP. Usage: create-group GROUP"},
        {"delete g1 p extra", "delete: unexpected argument 'extra'. Usage: delete GROUP NAME"},
        {"processors ''", "processors: GROUP must not be empty."},
        {"create g1 p T --stream out", "create: --stream 'out' is not NAME=ADDR[,ADDR...]."},
        {"create g1 p T --stream out=inproc://a,", "'out=inproc://a,' has an empty address."},
        {"create g1 p T --stream out=inproc://a --stream out=inproc://b", "--stream out is given twice."},
        {"create g1 p T --source tcp://h:1:a --source tcp://h:1:b", "--source tcp://h:1 is given twice."},
        {"connect g1 p", "connect: give the stream name either as STREAM or as --stream-name, once."},
        {"connect g1 p s --address a --address b", "connect: option --address may be given only once."},
        {"register g1 s p", "register: missing ADDR. Usage: register GROUP STREAM PROCESSOR ADDR [ADDR...]"},
        {"keygen extra", "keygen: unexpected 'extra'."},
        {"keygen --public-file k --secret-file k", "keygen: the public and the secret key need files of"},
        {server + " groups", "CURVE needs this client's secret key"},
        {secret + " groups", "CURVE needs the server's public key"},
        {"--curve-server-key short " + secret + " groups", "--curve-server-key is not a CURVE key"},
        {server + " --curve-server-key-file " + bad + " " + secret + " groups",
         "give --curve-server-key or --curve-server-key-file, not both."},
        {"--curve-server-key-file " + bad + " " + secret + " groups", bad + ":1: not a CURVE key"},
        {server + " --curve-secret-key-file " + bad + ".absent groups", "cannot read key file"},
        {server + " " + secret + " --curve-public-key " + serverKey + " groups",
         "does not belong to the secret key"},
    };
    for (const auto& [line, reason] : cases) {
        SCOPED_TRACE(line.toStdString());
        const Outcome r = zalctl(line);
        EXPECT_EQ(r.status, 64);
        EXPECT_TRUE(r.out.isEmpty()) << r.out.toStdString();
        EXPECT_TRUE(r.err.startsWith("zalctl: ") && r.err.contains(reason)) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains("\nRun 'zalctl --help'")) << r.err.toStdString();
    }
}

// A stand-in frontend: silent first, then with the replies no service of the system gives (a
// warning, a running stream) and with garbage.
TEST(ZalctlExit, SilenceWarningsAndUnreadableRepliesHaveStatusesOfTheirOwn) {
    zmq::socket_t router = zaltest::makeSocket(zmq::socket_type::router);
    std::string endpoint = "tcp://127.0.0.1:*";
    zal::ZmqHelper::bindSocket(router, endpoint);
    const QString e = "-e " + QString::fromStdString(endpoint) + " ";
    const Outcome silent = zalctl(e + "--timeout 300 groups");
    EXPECT_EQ(silent.status, 3);
    EXPECT_TRUE(silent.out.isEmpty());
    EXPECT_EQ(silent.err, "zalctl: Time-out: Socket timeout 300ms: " + QString::fromStdString(endpoint) +
                              " (no reply from inproc://zal; nothing listens at the endpoint)\n");
    const zal::CurveKeys::Pair client = zal::CurveKeys::generate();
    const Outcome curve =
        zalctl(e + "--timeout 300 --curve-server-key " + QString::fromStdString(client.publicKey) +
               " --curve-secret-key " + QString::fromStdString(client.secretKey) + " groups");
    EXPECT_EQ(curve.status, 3);
    EXPECT_TRUE(curve.err.contains("or the server refused these CURVE keys")) << curve.err.toStdString();
    while (!zaltest::receiveFrames(router, 100).empty()) {
    }
    // Runs zalctl with `words` and answers its one request with `reply`.
    const auto serve = [&](const QString& words, const QByteArray& reply) {
        auto served = std::async(std::launch::async, [&] {
            const auto frames = zaltest::receiveFrames(router, 20000);
            if (frames.size() == 4) {
                zaltest::sendFrames(router, {frames[0], "", frames[2], reply});
            }
            return frames.size() == 4 ? frames[2] : QByteArray();
        });
        const Outcome outcome = zalctl(e + words);
        EXPECT_EQ(served.get(), zal::ControlMessageHelper::makeIdentity("inproc://zal/g/p"));
        return outcome;
    };
    Message reply = zal::ControlMessageHelper::makeQueryStreamsMessage();
    reply.AppendDataStream(msgtest::MakeStream("out", {"tcp://127.0.0.1:7000", "inproc://out"}, true));
    zal::ConfigTool::setWarningMessage(reply, "careful");
    Outcome r = serve("streams g p", zal::ControlMessageHelper::toPayload(reply));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "Warning: careful\nout  tcp://127.0.0.1:7000,inproc://out  running\n");

    r = serve("list g p", "<<not a message");
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(r.out.startsWith("Invalid reply: ")) << r.out.toStdString();
}

// A key pair is printed or written, the secret for its owner's eyes only, never over an existing file.
TEST(ZalctlCurve, KeygenPrintsAPairAndWritesKeyFilesButNeverOverAnExistingOne) {
    const QStringList printed = zalctl("keygen").out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(printed.size(), 2);
    ASSERT_TRUE(printed[0].startsWith("public-key: ") && printed[1].startsWith("secret-key: "));
    EXPECT_EQ(zal::CurveKeys::publicKeyOf(printed[1].mid(12).toStdString()),
              printed[0].mid(12).toStdString());

    QTemporaryDir dir;
    const QString pub = dir.filePath("k.pub");
    const QString secret = dir.filePath("k.secret");
    const Outcome written = zalctl("keygen --public-file " + pub + " --secret-file=" + secret);
    ASSERT_EQ(written.status, 0) << written.err.toStdString();
    const std::string writtenSecret = zal::CurveKeys::readSingleKey(secret);
    EXPECT_EQ(zal::CurveKeys::publicKeyOf(writtenSecret), zal::CurveKeys::readSingleKey(pub));
    EXPECT_FALSE(QFile::permissions(secret) & (QFileDevice::ReadGroup | QFileDevice::ReadOther));
    EXPECT_TRUE(QFile::permissions(pub) & QFileDevice::ReadOther);

    const QString fresh = dir.filePath("fresh.pub");
    const Outcome again = zalctl("keygen --public-file " + fresh + " --secret-file " + secret);
    EXPECT_EQ(again.status, 73);
    EXPECT_TRUE(again.err.contains("exists")) << again.err.toStdString();
    EXPECT_EQ(zal::CurveKeys::readSingleKey(secret), writtenSecret) << "the old key is untouched";
    EXPECT_FALSE(QFile::exists(fresh)) << "no half pair is left behind";
}

// The router drops a request for a name nobody has; zalctl then asks the group manager and the
// group, and names the mistake instead of reporting a dead host.
TEST_F(Zalctl, ANameThatDoesNotExistIsNamedAndOnlySilenceIsATimeOut) {
    ok("create-group g1");
    ok("create g1 gen testplugin.Source --stream data=inproc://zalctl/names");
    ok("create g1 counter testplugin.Sink --stream held=inproc://zalctl/held");
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
    zaltest::eventually([&] { return (busy = run("--timeout 500 get g1 counter count")).status != 0; });
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
    ok("create g src testplugin.Source --stream data=inproc://zalctl/watched");
    ok("create g sink testplugin.Sink --stream sunk=inproc://zalctl/watching");
    Outcome r = run("watch g sink count,received --count 2");
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, "g/sink: count=0 received=\ng/sink: count=0 received=\n");

    r = run("watch g src sent,nope");
    EXPECT_EQ(r.status, 2);
    EXPECT_TRUE(r.out.startsWith("Error: Cannot get parameter: nope")) << r.out.toStdString();
    EXPECT_EQ(run("watch g src").status, 64);

    zaltest::RunningProgram watch("zalctl", {"-e", frontend, "watch", "g", "src", "sent"});
    ASSERT_FALSE(watch.awaitLine("g/src: ").isNull());
    EXPECT_EQ(watch.terminate(SIGINT), 0);
    EXPECT_TRUE(watch.output().startsWith("g/src: sent=0\n")) << watch.output().toStdString();
}
