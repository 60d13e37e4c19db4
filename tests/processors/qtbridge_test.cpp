// A Qt bridge in its own thread, fed by real publishers and observed from the main thread's event loop.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <functional>
#include <thread>

#include "support/frontendclient.h"
#include "support/runningrouter.h"
#include "support/sockets.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"
#include "zal/processors/qtbridge.h"
#include "zal/processors/qtrepository.h"

using namespace zal;
using Message = zalmsg::ControlMessage;

// Readable failure output for the lists of received messages.
void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace {

// Lives in the test's main thread and records each signal as "topic:data", with the thread that ran it.
class Receiver : public QObject {
    Q_OBJECT
public:
    QStringList received;
    QList<QThread*> threads;

    // Runs the main thread's event loop until done() holds, or `ms` passed.
    bool waitUntil(const std::function<bool()>& done, int ms = 5000) {
        if (!done()) {
            QEventLoop loop;
            QTimer::singleShot(ms, &loop, &QEventLoop::quit);
            check = [&] {
                if (done()) {
                    loop.quit();
                }
            };
            loop.exec();
            check = nullptr;
        }
        return done();
    }
    bool waitFor(qsizetype count, int ms = 5000) {
        return waitUntil([&] { return received.size() >= count; }, ms);
    }

    // What arrived apart from the probes that were sent while a subscription was on its way.
    QStringList withoutProbes() const {
        QStringList result;
        for (const QString& entry : received) {
            if (!entry.endsWith(":probe")) {
                result << entry;
            }
        }
        return result;
    }

public slots:
    void onMessage(QByteArray type, QByteArray data) {
        received << QString::fromLatin1(type + ':' + data);
        threads << QThread::currentThread();
        if (check) {
            check();
        }
    }

private:
    std::function<void()> check;
};

void publish(zmq::socket_t& publisher, const QByteArray& topic, const QByteArray& data) {
    zaltest::sendFrames(publisher, {topic, data});
}

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
        bridge = qobject_cast<QtBridge*>(QtRepository::getQObject(QString::fromStdString(endpoint)).data());
        ASSERT_EQ(bridge, created) << "a running bridge is registered under its endpoint string";
    }

    Message ask(const Message& request) {
        const Message reply = client.request(endpoint, request);
        EXPECT_EQ(reply.GetResultType(), Message::ResultType::Success)
            << reply.GetMessageText().toStdString();
        return reply;
    }

    // A publisher that reports every subscription and cancellation it receives, duplicates included.
    zmq::socket_t bindObservedPublisher() {
        zmq::socket_t publisher = zaltest::makeSocket(zmq::socket_type::xpub);
        publisher.set(zmq::sockopt::xpub_verbose, 1);
        publisher.set(zmq::sockopt::xpub_verboser, 1);
        ZmqHelper::bindSocket(publisher, address);
        return publisher;
    }

    // The next subscription traffic as "+topic" or "-topic"; "none" when nothing came in time.
    static QString nextSubscription(zmq::socket_t& publisher, long ms = 5000) {
        const auto frames = zaltest::receiveFrames(publisher, ms);
        if (frames.size() != 1 || frames[0].isEmpty()) {
            return QStringLiteral("none");
        }
        return QLatin1Char(frames[0][0] == 1 ? '+' : '-') + QString::fromUtf8(frames[0].mid(1));
    }

    // Our requests reach the bridge over in-process sockets, so a subscription it made before
    // replying is already queued at the publisher: a short look suffices to see there is no other.
    static QStringList subscriptionsUntilQuiet(zmq::socket_t& publisher) {
        QStringList seen;
        for (QString next = nextSubscription(publisher, 100); next != "none";
             next = nextSubscription(publisher, 100)) {
            seen << next;
        }
        return seen;
    }

    zaltest::RunningRouter router;
    zaltest::FrontendClient client{*router.frontend};
    std::string endpoint = Endpoints::getProcessorEndpoint("g", "bridge", internalAddressPrefixDefault);
    std::string address = zaltest::uniqueInproc("bridge");
    Receiver receiver;
    std::unique_ptr<ZmqControllableThread<ProcessorBase>> thread;
    QtBridge* bridge = nullptr;
};

}  // namespace

TEST_F(QtBridgeTest, DeliversEachTwoPartMessageAsOneSignalInTheReceiversThread) {
    zmq::socket_t publisher = zaltest::makeSocket(zmq::socket_type::pub);
    std::string tcp = "tcp://127.0.0.1:*";
    ZmqHelper::bindSocket(publisher, tcp);
    ask(ControlMessageHelper::makeConnectStreamMessage("s", tcp, "a"));
    // Nothing new: a second connection would deliver every message twice.
    ask(ControlMessageHelper::makeConnectStreamMessage("s", tcp, "a"));

    // The subscription travels to the publisher asynchronously: probe until it is there.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (receiver.received.isEmpty() && std::chrono::steady_clock::now() < deadline) {
        publish(publisher, "a", "probe");
        receiver.waitFor(1, 20);
    }
    ASSERT_FALSE(receiver.received.isEmpty());

    publish(publisher, "a", "1");
    publish(publisher, "b", "filtered");
    publish(publisher, "a", QByteArray("\0binary\xff", 8));
    publish(publisher, "a", "");
    zaltest::sendFrames(publisher, {"a"});
    publish(publisher, "a", "end");
    const QStringList expected{"a:1", QString::fromLatin1(QByteArray("a:\0binary\xff", 10)),
                               "a:", "a:", "a:end"};
    // One connection delivers in order, so whatever came before the last one has arrived with it.
    ASSERT_TRUE(receiver.waitUntil([&] { return receiver.received.contains("a:end"); }));
    EXPECT_EQ(receiver.withoutProbes(), expected);
    for (QThread* slotThread : receiver.threads) {
        EXPECT_EQ(slotThread, QCoreApplication::instance()->thread());
    }
}

TEST_F(QtBridgeTest, StartAndStopSubscribeEachTopicOnceAndPauseAsAWhole) {
    zmq::socket_t publisher = bindObservedPublisher();
    ask(ControlMessageHelper::makeConnectStreamMessage("s", address, "t"));
    EXPECT_EQ(subscriptionsUntilQuiet(publisher), QStringList{"+t"});

    ask(ControlMessageHelper::makeStartStreamMessage("t"));
    ask(ControlMessageHelper::makeStartStreamMessage("u"));
    EXPECT_EQ(subscriptionsUntilQuiet(publisher), QStringList{"+u"}) << "t was subscribed already";

    ask(ControlMessageHelper::makeStopStreamMessage("t"));
    EXPECT_EQ(subscriptionsUntilQuiet(publisher), QStringList{"-t"});
    publish(publisher, "t", "stopped");
    publish(publisher, "u", "u1");
    ASSERT_TRUE(receiver.waitFor(1));

    // t is no longer subscribed, so neither a second stop of it nor the pause cancels it again.
    ask(ControlMessageHelper::makeStopStreamMessage("t"));
    ask(ControlMessageHelper::makeStopStreamMessage(""));
    EXPECT_EQ(subscriptionsUntilQuiet(publisher), QStringList{"-u"});
    publish(publisher, "t", "paused");
    publish(publisher, "u", "paused");

    // Resuming brings back every topic ever requested, t included, in the order requested.
    ask(ControlMessageHelper::makeStartStreamMessage(""));
    EXPECT_EQ(subscriptionsUntilQuiet(publisher), (QStringList{"+t", "+u"}));
    publish(publisher, "t", "r1");
    publish(publisher, "u", "r2");
    ASSERT_TRUE(receiver.waitFor(3));
    EXPECT_EQ(receiver.received, (QStringList{"u:u1", "t:r1", "u:r2"}));
}

TEST_F(QtBridgeTest, AnEmptyFilterListSubscribesToEverythingBeyondAPause) {
    zmq::socket_t publisher = bindObservedPublisher();
    ask(ControlMessageHelper::makeConnectStreamMessage("s", address, std::vector<std::string>{}));
    ask(ControlMessageHelper::makeStartStreamMessage("x"));
    ask(ControlMessageHelper::makeStopStreamMessage(""));
    EXPECT_EQ(subscriptionsUntilQuiet(publisher), (QStringList{"+", "+x", "-x"}));

    publish(publisher, "anything", "still");
    ASSERT_TRUE(receiver.waitFor(1));
    EXPECT_EQ(receiver.received, QStringList{"anything:still"});

    const Message sources = ask(ControlMessageHelper::makeQuerySourcesMessage());
    ASSERT_EQ(sources.GetDataSource().size(), 1);
    EXPECT_EQ(sources.GetDataSource()[0].GetAddress(), QString::fromStdString(address));
    EXPECT_TRUE(sources.GetDataSource()[0].GetFilter().isEmpty());
}

TEST_F(QtBridgeTest, RefusesParametersAndRecordings) {
    const struct {
        Message request;
        const char* failure;
    } rows[] = {
        {ControlMessageHelper::makeGetParameterListMessage(), "Cannot get list of parameters"},
        {ControlMessageHelper::makeSetParameterMessage("p", "1"), "Cannot set parameter: p"},
        {ControlMessageHelper::makeGetParameterMessage("p"), "Cannot get parameter: p"},
        {ControlMessageHelper::makeStartNewRecordingMessage("r"), "Cannot start new recording: "},
    };
    for (const auto& row : rows) {
        const Message reply = client.request(endpoint, row.request);
        EXPECT_EQ(reply.GetResultType(), Message::ResultType::Error);
        EXPECT_EQ(reply.GetMessageText(), row.failure);
    }
}

TEST_F(QtBridgeTest, LeavesTheRepositoryWhenItsThreadEnds) {
    const QString id = QString::fromStdString(endpoint);
    QPointer<QObject> held = QtRepository::getQObject(id);
    ASSERT_EQ(held.data(), bridge);
    thread.reset();
    EXPECT_TRUE(QtRepository::getQObject(id).isNull());
    EXPECT_TRUE(held.isNull()) << "a pointer kept by the host reads null once the bridge is gone";
}

TEST(QtBridge, IsRegisteredFromInitializeUntilRelease) {
    QtBridge bridge(zalmsg::Processor(), "direct", "g", "inproc://elsewhere");
    ProcessorBase& processor = bridge;
    const QString id = QStringLiteral("inproc://elsewhere/g/direct");
    EXPECT_TRUE(QtRepository::getQObject(id).isNull()) << "construction registers nothing";
    ASSERT_TRUE(processor.initialize());
    EXPECT_EQ(QtRepository::getQObject(id).data(), &bridge);
    processor.release();
    EXPECT_TRUE(QtRepository::getQObject(id).isNull()) << "gone from the repository while still alive";
    processor.release();
    EXPECT_EQ(QtBridge::getProcessorType(), "QtBridge");
}

TEST(QtRepository, ReplacesRemovesAndForgetsDestroyedObjects) {
    QObject first;
    QObject second;
    QtRepository::setQObject("name", &first);
    QtRepository::setQObject("name", &second);
    EXPECT_EQ(QtRepository::getQObject("name").data(), &second);
    QtRepository::removeQObject("name");
    QtRepository::removeQObject("name");
    EXPECT_TRUE(QtRepository::getQObject("name").isNull());
    EXPECT_TRUE(QtRepository::getQObject("never registered").isNull());

    auto* doomed = new QObject;
    QtRepository::setQObject("doomed", doomed);
    delete doomed;
    EXPECT_TRUE(QtRepository::getQObject("doomed").isNull());
    QtRepository::removeQObject("doomed");
}

TEST(QtRepository, ServesWritersAndReadersInManyThreads) {
    std::vector<std::thread> writers;
    for (int w = 0; w < 4; ++w) {
        writers.emplace_back([w] {
            QObject own;
            const QString name = QStringLiteral("writer-%1").arg(w);
            for (int i = 0; i < 200; ++i) {
                QtRepository::setQObject(name, &own);
                EXPECT_EQ(QtRepository::getQObject(name).data(), &own);
                QtRepository::removeQObject(name);
            }
        });
    }
    for (auto& writer : writers) {
        writer.join();
    }
    EXPECT_TRUE(QtRepository::getQObject("writer-0").isNull());
}

#include "qtbridge_test.moc"
