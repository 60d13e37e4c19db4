// A Qt bridge in its own thread, fed by real publishers and observed from the main thread's event loop.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QThread>
#include <QTimer>

#include "support/frontendclient.h"
#include "support/qtprinters.h"
#include "support/runningrouter.h"
#include "zal/processors/qtbridge.h"
#include "zal/processors/qtrepository.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Helper = ControlMessageHelper;

namespace {

// Lives in the test's main thread and records each signal as "topic:data", apart from the probes
// sent while a subscription was on its way.
class Receiver : public QObject {
    Q_OBJECT
public:
    QStringList received;
    int probes = 0;
    bool otherThread = false;

    // Runs the main thread's event loop until `count` messages arrived, or `ms` passed.
    bool waitFor(qsizetype count, int ms = 5000) {
        const QDeadlineTimer deadline(ms);
        QTimer::singleShot(ms, [] {});  // so that the wait below ends by the deadline
        while (received.size() < count && !deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return received.size() >= count;
    }

public slots:
    void onMessage(QByteArray type, QByteArray data) {
        otherThread |= QThread::currentThread() != QCoreApplication::instance()->thread();
        if (data == "probe") {
            ++probes;
        } else {
            received << QString::fromLatin1(type + ':' + data);
        }
    }
};

class QtBridgeTest : public ::testing::Test {
protected:
    void SetUp() override {
        // By signature, as host code written against the meta-object does. Connected before the
        // thread starts: Qt guards its connection lists with locks that ThreadSanitizer cannot
        // see, so a connection made later looks like a race to it.
        auto* created = new QtBridge(zalmsg::Processor(), "bridge", "g", internalAddressPrefixDefault);
        ASSERT_TRUE(QObject::connect(created, SIGNAL(si_message(QByteArray, QByteArray)), &receiver,
                                     SLOT(onMessage(QByteArray, QByteArray))));
        thread = std::make_unique<ZmqControllableThread<ProcessorBase>>(created);
        bridge = QtRepository::getQObject(QString::fromStdString(endpoint)).data();
        ASSERT_EQ(bridge, created) << "a running bridge is registered under its endpoint string";
    }

    void ask(const zalmsg::ControlMessage& request) { client.succeed(endpoint, request); }
    void publish(const QByteArray& topic, const QByteArray& data) {
        zaltest::sendFrames(publisher, {topic, data});
    }

    // The subscription traffic at the observed publisher until it is quiet, as "+topic" or
    // "-topic". Requests reach the bridge in-process, so a subscription it made before replying is
    // already queued there: a short look suffices to see there is no other.
    QStringList subscriptions() {
        QStringList seen;
        for (auto frames = zaltest::receiveFrames(publisher, 100); frames.size() == 1 && !frames[0].isEmpty();
             frames = zaltest::receiveFrames(publisher, 100)) {
            seen << QLatin1Char(frames[0][0] == 1 ? '+' : '-') + QString::fromUtf8(frames[0].mid(1));
        }
        return seen;
    }

    zaltest::RunningRouter router;
    zaltest::FrontendClient client{*router.frontend};
    std::string endpoint = Endpoints::getProcessorEndpoint("g", "bridge", internalAddressPrefixDefault);
    std::string address = zaltest::uniqueInproc("bridge");
    zmq::socket_t publisher = zaltest::makeSocket(zmq::socket_type::xpub);
    Receiver receiver;
    std::unique_ptr<ZmqControllableThread<ProcessorBase>> thread;
    QObject* bridge = nullptr;
};

}  // namespace

TEST_F(QtBridgeTest, DeliversEachTwoPartMessageAsOneSignalInTheReceiversThread) {
    std::string tcp = "tcp://127.0.0.1:*";
    ZmqHelper::bindSocket(publisher, tcp);
    ask(Helper::makeConnectStreamMessage("s", tcp, "a"));
    // Nothing new: a second connection would deliver every message twice.
    ask(Helper::makeConnectStreamMessage("s", tcp, "a"));
    // The subscription travels to the publisher asynchronously: probe until it is there.
    ASSERT_TRUE(zaltest::eventually([&] {
        publish("a", "probe");
        receiver.waitFor(1, 20);
        return receiver.probes > 0;
    }));
    publish("a", "1");
    publish("b", "filtered");
    publish("a", QByteArray("\0binary\xff", 8));
    publish("a", "");
    zaltest::sendFrames(publisher, {"a"});
    publish("a", "end");
    // One connection delivers in order, so whatever came before the last one has arrived with it.
    ASSERT_TRUE(receiver.waitFor(5));
    EXPECT_EQ(receiver.received, (QStringList{"a:1", QString::fromLatin1(QByteArray("a:\0binary\xff", 10)),
                                              "a:", "a:", "a:end"}));
    EXPECT_FALSE(receiver.otherThread);
    // Counted on the bridge's own receive path: every message handed to Qt, probes included.
    const QString status =
        client.succeed(endpoint, Helper::makeGetParameterMessage("zal.status")).GetParameter();
    const QJsonObject input = QJsonDocument::fromJson(status.toUtf8())["input"].toObject();
    EXPECT_EQ(input["messages"].toInteger(), receiver.probes + 5) << status.toStdString();
    EXPECT_EQ(input["bytes"].toInteger(), 5 * receiver.probes + 12) << status.toStdString();
    EXPECT_GE(input["idleMs"].toInteger(-1), 0) << status.toStdString();
}

TEST_F(QtBridgeTest, SubscribesEachTopicOnceAndPausesAsAWhole) {
    // A publisher that reports every subscription and cancellation, duplicates included.
    publisher.set(zmq::sockopt::xpub_verbose, 1);
    publisher.set(zmq::sockopt::xpub_verboser, 1);
    ZmqHelper::bindSocket(publisher, address);
    const std::pair<zalmsg::ControlMessage, QStringList> steps[] = {
        {Helper::makeConnectStreamMessage("s", address, "t"), {"+t"}},
        {Helper::makeStartStreamMessage("t"), {}},  // t is subscribed already
        {Helper::makeStartStreamMessage("u"), {"+u"}},
        {Helper::makeStopStreamMessage("t"), {"-t"}},
        {Helper::makeStopStreamMessage("t"), {}},
        {Helper::makeStopStreamMessage(""), {"-u"}},         // the pause cancels what is subscribed
        {Helper::makeStartStreamMessage(""), {"+t", "+u"}},  // every topic requested, in order
    };
    for (const auto& [request, subscribed] : steps) {
        ask(request);
        EXPECT_EQ(subscriptions(), subscribed) << request.GetMessageTypeAsString().toStdString();
    }
    publish("t", "r1");
    ASSERT_TRUE(receiver.waitFor(1));
    EXPECT_EQ(receiver.received, QStringList{"t:r1"});
}

TEST_F(QtBridgeTest, AnEmptyFilterListSubscribesToEverythingBeyondAPauseAndParametersAreRefused) {
    publisher.set(zmq::sockopt::xpub_verbose, 1);
    ZmqHelper::bindSocket(publisher, address);
    ask(Helper::makeConnectStreamMessage("s", address, std::vector<std::string>{}));
    ask(Helper::makeStartStreamMessage("x"));
    ask(Helper::makeStopStreamMessage(""));
    EXPECT_EQ(subscriptions(), (QStringList{"+", "+x", "-x"}));
    publish("anything", "still");
    ASSERT_TRUE(receiver.waitFor(1));
    EXPECT_EQ(receiver.received, QStringList{"anything:still"});
    const auto sources = client.succeed(endpoint, Helper::makeQuerySourcesMessage()).GetDataSource();
    ASSERT_EQ(sources.size(), 1);
    EXPECT_EQ(sources[0].GetAddress(), QString::fromStdString(address));
    EXPECT_TRUE(sources[0].GetFilter().isEmpty());

    EXPECT_EQ(client.refusal(endpoint, Helper::makeGetParameterListMessage()),
              "Cannot get list of parameters");
    EXPECT_EQ(client.refusal(endpoint, Helper::makeSetParameterMessage("p", "1")),
              "Cannot set parameter: p (this processor has no parameters)");
}

TEST_F(QtBridgeTest, LeavesTheRepositoryWhenItsThreadEnds) {
    const QString id = QString::fromStdString(endpoint);
    QPointer<QObject> held = QtRepository::getQObject(id);
    thread.reset();
    EXPECT_TRUE(QtRepository::getQObject(id).isNull());
    EXPECT_TRUE(held.isNull()) << "a pointer kept by the host reads null once the bridge is gone";
}

#include "qtbridge_test.moc"
