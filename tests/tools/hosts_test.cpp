// Several hosts named in hosts files and pipeline files: real zal-host processes on loopback ports,
// a stream of one feeding a consumer of another, and the mistakes a user makes naming them.
#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include "support/program.h"
#include "support/qtprinters.h"
#include "support/sockets.h"

using zaltest::frontendOf;
using zaltest::RunningProgram;
using zaltest::runProgram;

namespace {

QString readSource(const QString& relativePath) {
    QFile file(QStringLiteral(ZAL_SOURCE_DIR "/") + relativePath);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << relativePath.toStdString();
    return QString::fromUtf8(file.readAll());
}

class Hosts : public ::testing::Test {
protected:
    void SetUp() override {
        a = std::make_unique<RunningProgram>("zal-host", QStringList{"--listen", "tcp://127.0.0.1:*"});
        frontendA = frontendOf(*a);
        ASSERT_FALSE(frontendA.isNull()) << a->output().toStdString();
    }
    QString write(const QString& name, const QString& content) {
        return zaltest::writeFile(dir.filePath(name), content.toUtf8());
    }
    // zalctl with the hosts file `hosts`; standard output and error together, and the status.
    static zaltest::Outcome zalctl(const QString& hosts, const QStringList& words) {
        zaltest::Outcome outcome = runProgram("zalctl", QStringList{"--hosts", hosts} + words);
        outcome.out += outcome.err;
        return outcome;
    }

    QTemporaryDir dir;
    std::unique_ptr<RunningProgram> a;
    QString frontendA;
};

}  // namespace

// The example of docs/zalctl.md, as written there, with host a on a free port.
TEST_F(Hosts, APipelineFileFeedsACounterFromAStreamOfAnotherHost) {
    const QString pipeline = readSource("examples/two-hosts.pipeline");
    EXPECT_TRUE(readSource("docs/zalctl.md").contains(pipeline));
    QString run = pipeline;
    run.replace("tcp://127.0.0.1:5561", frontendA);
    RunningProgram b("zal-host", {"--listen", "tcp://127.0.0.1:*", "--pipeline", write("two.pipeline", run)});
    const QString frontendB = frontendOf(b);
    // Both watches, this host's and host a's, share the live line.
    ASSERT_FALSE(b.awaitLine("g/gen: sent=").isNull()) << b.output().toStdString();
    EXPECT_TRUE(b.output().contains("Success  @a create g gen demo.Generator")) << b.output().toStdString();
    EXPECT_TRUE(zaltest::eventually([&] {
        return runProgram("zalctl", {"-e", frontendB, "get", "g", "counter", "messages"})
                   .out.section('\n', 1, 1)
                   .toInt() > 0;
    }));
    // The wildcard bind was reached at host a's own address.
    const QString sources = runProgram("zalctl", {"-e", frontendB, "sources", "g", "counter"}).out;
    EXPECT_TRUE(sources.contains("tcp://127.0.0.1:")) << sources.toStdString();
    EXPECT_EQ(runProgram("zalctl", {"-e", frontendA, "processors", "g"}).out, "Success\ngen\n");
}

TEST_F(Hosts, AConnectAcrossHostsSaysWhyAStreamCannotBeReached) {
    // far is never asked anything: every refusal comes before the connect would go to it.
    const QString hosts = write("hosts", "host a " + frontendA + "\nhost far tcp://192.0.2.1:5555\n");
    for (const QStringList& words :
         {QStringList{"create-group", "g"},
          {"create", "g", "gen", "demo.Generator", "--stream", "out=tcp://*:*"},
          {"create", "g", "inner", "demo.Generator", "--stream", "s=inproc://only/s"},
          {"create", "g", "counter", "demo.Counter"}}) {
        ASSERT_EQ(zalctl(hosts, QStringList{"-e", "@a"} + words).status, 0) << words.join(' ').toStdString();
    }
    const struct {
        QStringList words;
        int status;
        QString shown;
    } cases[] = {
        {{"-e", "@c", "groups"}, 64, "zalctl: no host '@c' (hosts: a, far)"},
        {{"-e", "@a", "connect", "g", "counter", "out", "--from", "@c"}, 64, "connect: --from: no host '@c'"},
        {{"-e", "@far", "connect", "g", "counter", "s", "--from", "@a"},
         2,
         "Cannot resolve stream 's': it has no address to connect to (inproc://only/s serves only its own "
         "machine; give the stream a tcp:// address, e.g. --stream s=tcp://*:6000)"},
        {{"-e", "@far", "connect", "g", "counter", "out", "--from", "@a/g"},
         2,
         "a loopback address, which @far at tcp://192.0.2.1:5555 cannot reach from another machine; "
         "reach @a by an address @far can reach"},
        {{"--timeout", "1000", "-e", "@a", "connect", "g", "counter", "out", "--from", "@a/nosuch"},
         2,
         "Cannot resolve stream 'out': no group 'nosuch' (groups: g)"},
        {{"-e", "@a", "connect", "g", "counter", "s", "--from", "@a"}, 0, "Success"},
    };
    for (const auto& c : cases) {
        const zaltest::Outcome outcome = zalctl(hosts, c.words);
        EXPECT_EQ(outcome.status, c.status) << c.words.join(' ').toStdString() << outcome.out.toStdString();
        EXPECT_TRUE(outcome.out.contains(c.shown))
            << c.words.join(' ').toStdString() << outcome.out.toStdString();
    }
}

// The keys of a host line reach a host whose frontend requires CURVE, for its own commands and for
// resolving a stream of it for a consumer at another host.
TEST_F(Hosts, AHostLineCarriesTheCurveKeysOfItsHost) {
    for (const QString name : {"server", "client"}) {
        ASSERT_EQ(runProgram("zalctl", {"keygen", "--public-file", dir.filePath(name + ".pub"),
                                        "--secret-file", dir.filePath(name + ".secret")})
                      .status,
                  0);
    }
    QFile clientPublic(dir.filePath("client.pub"));
    ASSERT_TRUE(clientPublic.open(QIODevice::ReadOnly));
    write("authorized", QString::fromUtf8(clientPublic.readAll()));
    const QString config = write("curve.ini",
                                 "EnvironmentAddress=tcp://127.0.0.1:*\nCurveSecretKeyFile=server.secret\n"
                                 "CurveAuthorizedKeysFile=authorized\n");
    RunningProgram c("zal-host", {"--config", config});
    const QString frontendC = frontendOf(c);
    ASSERT_FALSE(frontendC.isNull()) << c.output().toStdString();
    const QString hosts = write("hosts", QString("host a %1\nhost c %2 --curve-server-key-file server.pub "
                                                 "--curve-secret-key-file client.secret\n")
                                             .arg(frontendA, frontendC));
    // Relative key files are found beside the hosts file.
    const auto at = [&](const QStringList& words) { return zalctl(hosts, words).out; };
    EXPECT_EQ(at({"-e", "@c", "create-group", "g"}), "Success\n");
    EXPECT_EQ(at({"-e", "@c", "create", "g", "gen", "demo.Generator", "--stream", "out=tcp://*:*"}),
              "Success\n");
    EXPECT_EQ(at({"-e", "@a", "create-group", "g"}), "Success\n");
    EXPECT_EQ(at({"-e", "@a", "create", "g", "counter", "demo.Counter"}), "Success\n");
    EXPECT_EQ(at({"-e", "@a", "connect", "g", "counter", "out", "--from", "@c"}), "Success\n");
    EXPECT_TRUE(at({"-e", "@a", "sources", "g", "counter"}).contains("tcp://127.0.0.1:"));
}

// Each mistake is reported with its file and line before anything is sent: the group of the
// pipeline's first command is never made.
TEST_F(Hosts, MistakesInHostLinesStopEverythingWithTheirLine) {
    const QString hostA = "host a " + frontendA + "\n";
    const struct {
        QString content;
        QString shown;
    } files[] = {
        {hostA + hostA, ":2: host a is named twice"},
        {"# far\nhost b tcp://*:5555\n", ":2: host b: 'tcp://*:5555' is not an endpoint to connect to"},
        {"host c inproc://zal\n", ":1: host c: 'inproc://zal' is not an endpoint to connect to"},
        {hostA + "host k tcp://127.0.0.1:1 --curve-server-key-file none.pub --curve-secret-key-file none\n",
         ":2: host k: "},
    };
    for (const auto& file : files) {
        const QString path = write("hosts", file.content);
        const zaltest::Outcome outcome = zalctl(path, {"-e", "@a", "groups"});
        EXPECT_EQ(outcome.status, 64) << outcome.out.toStdString();
        EXPECT_TRUE(outcome.out.contains(path + file.shown)) << outcome.out.toStdString();
    }
    const QString early = hostA + "@a create-group early\n";
    const struct {
        QString content;
        QString shown;
    } pipelines[] = {
        {early + "@b create-group late\n", ":3: no host '@b' (hosts: a)"},
        {early + "create g c demo.Counter\nconnect g c out --from @b/g\n",
         ":4: connect: --from: no host '@b'"},
        {early + "host b tcp://127.0.0.1:1\n", ":3: host lines belong at the top"},
        {early + "@a tap g bridge\n", ":3: tap takes no @HOST"},
    };
    for (const auto& pipeline : pipelines) {
        const QString path = write("bad.pipeline", pipeline.content);
        const zaltest::Outcome outcome = runProgram("zal-host", {"--pipeline", path, "--duration", "1"});
        EXPECT_EQ(outcome.status, 2) << outcome.err.toStdString();
        EXPECT_TRUE(outcome.err.contains(path + pipeline.shown)) << outcome.err.toStdString();
    }
    EXPECT_EQ(runProgram("zalctl", {"-e", frontendA, "groups"}).out, "Success\n");
}

// top --all-hosts judges a stream of one host against a consumer of another: a slow consumer's
// deficit is loss, not silence, and a host that does not answer is a line of its own.
TEST_F(Hosts, TopOfEveryHostJudgesAStreamThatCrossesHosts) {
    RunningProgram b("zal-host", {"--listen", "tcp://127.0.0.1:*"});
    const QString frontendB = frontendOf(b);
    ASSERT_FALSE(frontendB.isNull()) << b.output().toStdString();
    const QString both = QString("host a %1\nhost b %2\n").arg(frontendA, frontendB);
    const QString hosts = write("hosts", both);
    for (const QStringList& words :
         {QStringList{"@a", "create-group", "ga"},
          {"@a", "create", "ga", "gen", "demo.Generator", "--stream", "s=tcp://*:*,inproc://ga/s"},
          {"@a", "set", "ga", "gen", "rate", "2000"},
          {"@b", "create-group", "gb"},
          {"@b", "create", "gb", "fast", "demo.Counter"},
          {"@b", "create", "gb", "slow", "demo.Counter"},
          {"@b", "connect", "gb", "fast", "s", "--from", "@a/ga"},
          {"@b", "connect", "gb", "slow", "s", "--from", "@a/ga"},
          // It takes some 1600 of the 2000 messages a second.
          {"@b", "set", "gb", "slow", "costUs", "600"},
          // An inproc name of b equal to one of a's is b's own: it feeds nothing of a.
          {"@b", "create", "gb", "orphan", "demo.Counter", "--source", "inproc://ga/s"}}) {
        ASSERT_EQ(zalctl(hosts, QStringList{"-e"} + words).status, 0) << words.join(' ').toStdString();
    }
    const zaltest::Outcome top =
        zalctl(hosts, {"top", "--all-hosts", "--once", "--json", "--interval", "1000"});
    ASSERT_EQ(top.status, 0) << top.out.toStdString();
    QMap<QString, QJsonObject> delivery;
    const QJsonObject value = QJsonDocument::fromJson(top.out.toUtf8()).object()["value"].toObject();
    for (const QJsonValue row : value["processors"].toArray()) {
        delivery[row["group"].toString() + "/" + row["name"].toString()] = row["delivery"].toObject();
    }
    EXPECT_EQ(delivery.keys(), QStringList({"@a/ga/gen", "@b/gb/fast", "@b/gb/orphan", "@b/gb/slow"}));
    EXPECT_EQ(delivery["@b/gb/fast"]["verdict"], "delivered") << top.out.toStdString();
    EXPECT_EQ(delivery["@b/gb/fast"]["from"], QJsonArray{"@a/ga/gen s"});
    EXPECT_EQ(delivery["@b/gb/slow"]["verdict"], "lost") << top.out.toStdString();
    EXPECT_GT(delivery["@b/gb/slow"]["lost"].toDouble(), 0);
    EXPECT_EQ(delivery["@b/gb/orphan"]["dangling"], QJsonArray{"@b:inproc://ga/s"}) << top.out.toStdString();

    const QString three = write("three", both + "host gone tcp://127.0.0.1:1\n");
    const zaltest::Outcome partly =
        zalctl(three, {"--timeout", "1000", "top", "--all-hosts", "--once", "--interval", "100"});
    EXPECT_EQ(partly.status, 0) << partly.out.toStdString();
    EXPECT_TRUE(partly.out.contains("\nhost @gone at tcp://127.0.0.1:1 left out: Time-out"))
        << partly.out.toStdString();
}
