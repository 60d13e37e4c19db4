// CURVE on tcp data streams between real zal-host processes over loopback: who receives a stream,
// who is refused, and how a refusal shows in the trace and in zalctl top.
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <memory>

#include "support/program.h"
#include "support/qtprinters.h"
#include "support/sockets.h"

using zaltest::RunningProgram;
using zaltest::runProgram;

namespace {

struct Host {
    std::unique_ptr<RunningProgram> process;
    QString frontend;
    QStringList keys;  // zalctl's CURVE options for this host's frontend; none for a plain host
};

class DataCurve : public ::testing::Test {
protected:
    void SetUp() override {
        for (const QString name : {"a", "b", "c", "client"}) {
            const auto made = runProgram("zalctl", {"keygen", "--public-file", path(name + ".pub"),
                                                    "--secret-file", path(name + ".secret")});
            ASSERT_EQ(made.status, 0) << made.err.toStdString();
        }
        write("control", "# zalctl may control every host\n" + publicKey("client") + "\n");
        write("data", "# only b may read a's tcp streams\n" + publicKey("b") + "\n");
        write("peers", "# servers of tcp streams\n127.0.0.1 " + publicKey("a") + "  # host a\n");
    }

    QString path(const QString& name) const { return dir.filePath(name); }
    QString write(const QString& name, const QByteArray& content) {
        return zaltest::writeFile(path(name), content);
    }
    QByteArray publicKey(const QString& name) {
        QFile file(path(name + ".pub"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        for (const QByteArray& line : file.readAll().split('\n')) {
            if (!line.isEmpty() && !line.startsWith('#')) {
                return line.trimmed();
            }
        }
        return QByteArray();
    }

    // A host whose key pair is `keys`'s (none: a plain host), with `more` configuration, running
    // `pipeline`, traced; returned once every line of the pipeline succeeded.
    Host start(const QString& name, const QString& keys, const QByteArray& more, const QByteArray& pipeline) {
        QProcessEnvironment tracing = QProcessEnvironment::systemEnvironment();
        tracing.insert("ZAL_TRACE_MASK", "0x20");
        QByteArray config = "EnvironmentAddress=tcp://127.0.0.1:*\n" + more;
        Host host;
        if (!keys.isEmpty()) {
            config += "CurveSecretKeyFile=" + keys.toUtf8() + ".secret\nCurveAuthorizedKeysFile=control\n";
            host.keys = QStringList{"--curve-server-key-file", path(keys + ".pub"), "--curve-secret-key-file",
                                    path("client.secret")};
        }
        host.process =
            std::make_unique<RunningProgram>("zal-host",
                                             QStringList{"--config", write(name + ".ini", config),
                                                         "--pipeline", write(name + ".pipeline", pipeline)},
                                             tracing);
        host.frontend = host.process->awaitLine("frontend listening at ").section(' ', -1);
        for (int line = 0; line < pipeline.count('\n'); ++line) {
            EXPECT_FALSE(host.process->awaitLine("Success").isNull()) << host.process->output().toStdString();
        }
        return host;
    }
    Host startConsumer(const QString& name, const QString& keys, const QByteArray& peers = "peers") {
        return start(name, keys, keys.isEmpty() ? QByteArray() : "CurvePeerKeysFile=" + peers + "\n",
                     "create-group g\ncreate g counter demo.Counter\n");
    }

    static zaltest::Outcome zalctl(const Host& host, const QStringList& words) {
        return runProgram("zalctl",
                          host.keys + QStringList{"--timeout", "3000", "-e", host.frontend} + words);
    }
    static qint64 counted(const Host& host, const QString& processor = "counter") {
        return zalctl(host, {"get", "g", processor, "messages"}).out.section('\n', 1, 1).toLongLong();
    }
    // The input of `processor` as top's JSON shows it.
    static QJsonObject topInput(const Host& host, const QString& processor = "counter") {
        const QJsonObject top =
            QJsonDocument::fromJson(zalctl(host, {"top", "--once", "--json"}).out.toUtf8()).object();
        for (const QJsonValue row : top["value"]["processors"].toArray()) {
            if (row["name"].toString() == processor) {
                return row["in"].toObject();
            }
        }
        return QJsonObject();
    }

    QTemporaryDir dir;
};

}  // namespace

TEST_F(DataCurve, ATcpStreamReachesAuthorisedConsumersAndInprocOnesOnly) {
    // a serves its stream over tcp to the keys of `data` and in-process to its own counter.
    Host a =
        start("a", "a", "CurveDataAuthorizedKeysFile=data\n",
              "create-group g\ncreate g gen demo.Generator --stream s=tcp://127.0.0.1:*,inproc://curve/s\n"
              "set g gen rate 1000\ncreate g local demo.Counter\n"
              "connect g local s --address inproc://curve/s\n");
    const QString resolved = zalctl(a, {"resolve", "g", "s"}).out;
    const QString address = resolved.section("address: ", 1, 1).section('\n', 0, 0);
    ASSERT_TRUE(address.startsWith("tcp://127.0.0.1:")) << resolved.toStdString();

    // b is authorised; c is not; w is, but takes b's key for a's; plain speaks no CURVE.
    write("wrongpeers", "127.0.0.1 " + publicKey("b") + "\n");
    Host plain = startConsumer("plain", QString());
    Host c = startConsumer("c", "c");
    Host w = startConsumer("w", "b", "wrongpeers");
    Host b = startConsumer("b", "b");
    const QStringList connect{"connect", "g", "counter", "s", "--address", address};
    for (const Host* consumer : {&plain, &c, &w, &b}) {
        EXPECT_EQ(zalctl(*consumer, connect).status, 0);
    }

    EXPECT_TRUE(zaltest::eventually([&] { return counted(b) > 500; })) << "b's key is authorised";
    EXPECT_TRUE(zaltest::eventually([&] { return counted(a, "local") > 500; }))
        << "inproc passes no handshake";
    const QString refusal = address + " (key not authorised by the server, status 400)";
    const QString traced =
        "handshake refused at '" + address + "' (key not authorised by the server, status 400)";
    EXPECT_FALSE(c.process->awaitLine(traced).isNull()) << c.process->output().toStdString();
    EXPECT_FALSE(a.process
                     ->awaitLine(QString("mechanism 'CURVE', key %1, domain 'zal.data'")
                                     .arg(QString::fromUtf8(publicKey("c"))))
                     .isNull())
        << a.process->output().toStdString();
    EXPECT_EQ(topInput(c)["refused"].toDouble(), 1) << "libzmq gives up a refused connection";
    EXPECT_EQ(topInput(c)["refusal"].toString(), refusal);
    EXPECT_TRUE(zalctl(c, {"top", "--once"}).out.contains("refused 1: " + refusal))
        << "the note of top's table";
    EXPECT_EQ(zalctl(c, connect).status, 0);
    EXPECT_FALSE(c.process->awaitLine(traced).isNull()) << "connected again, refused again";
    EXPECT_EQ(topInput(c)["refused"].toDouble(), 2);

    // A wrong server key fails without a reason, and libzmq retries it: traced once, counted each time.
    EXPECT_TRUE(zaltest::eventually([&] { return topInput(w)["refused"].toDouble() >= 3; }));
    EXPECT_EQ(topInput(w)["refusal"].toString(),
              address + " (handshake failed without a reason: a wrong server key?)");
    EXPECT_EQ(counted(c) + counted(w), 0) << "refused consumers get nothing";
    EXPECT_EQ(counted(plain), 0) << "a plain consumer gets nothing from a CURVE stream";
    EXPECT_EQ(topInput(b)["refused"].toDouble(), 0);

    // A server whose key is unknown: the connect is refused, saying which line to add where.
    const QString unknown = QString(address).replace("127.0.0.1", "localhost");
    const auto refused = zalctl(b, {"connect", "g", "counter", "s", "--address", unknown});
    EXPECT_NE(refused.status, 0);
    EXPECT_TRUE(
        refused.out.contains(QString("Cannot connect to: s, %1 (no CURVE server key for host 'localhost'; "
                                     "add the line 'localhost PUBLICKEY' to %2 (CurvePeerKeysFile))")
                                 .arg(unknown, path("peers"))))
        << refused.out.toStdString();
    EXPECT_EQ(zalctl(b, {"sources", "g", "counter"}).out.count("tcp://"), 1)
        << "the refused address is no source";
    for (Host* host : {&a, &b, &c, &w, &plain}) {
        EXPECT_EQ(host->process->terminate(), 0) << host->process->output().toStdString();
    }
    EXPECT_EQ(w.process->output().count("handshake refused at"), 1) << w.process->output().toStdString();
}
