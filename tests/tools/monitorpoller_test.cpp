// zal-monitor's poller against a real system in this process: how often it sweeps, what it reads of
// the selected processor, the reason of a refused set, and a host that goes away and comes back.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <functional>
#include <memory>

#include "monitorpoller.h"
#include "support/qtprinters.h"
#include "zal/host/environment.h"

using namespace zalmonitor;

namespace {

// Handles the queued signals until `done` holds; false when `ms` passed first.
bool waitFor(const std::function<bool()>& done, int ms) {
    QElapsedTimer waited;
    waited.start();
    while (!done()) {
        if (waited.elapsed() > ms) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
    return true;
}

struct Seen {
    QVector<zaltools::SystemSnapshot> sweeps;
    QStringList lost;
    QStringList answers;
    QVector<zaltools::ParameterDescription> descriptions;
    QStringList values;

    explicit Seen(const MonitorPoller& poller) {
        const MonitorPoller* worker = &poller;
        QObject::connect(worker, &MonitorPoller::swept, [this](const auto& s) { sweeps.append(s); });
        QObject::connect(worker, &MonitorPoller::lost,
                         [this](const QString& reason) { lost.append(reason); });
        QObject::connect(worker, &MonitorPoller::answered,
                         [this](const QStringList&, bool ok, const QString& text) {
                             answers.append((ok ? "ok: " : "refused: ") + text);
                         });
        QObject::connect(worker, &MonitorPoller::parameters,
                         [this](const QString&, const auto& d, const QStringList& v) {
                             descriptions = d;
                             values = v;
                         });
    }
};

constexpr int boundMs = 20000;

}  // namespace

TEST(MonitorPoller, SweepsAtMostOnceASecondAndReadsAndSetsTheSelectedProcessor) {
    zal::Environment system("tcp://127.0.0.1:*");
    MonitorOptions options;
    options.endpoint = system.getRouterFrontendAddress();
    MonitorPoller poller(options);
    Seen seen(poller);
    poller.start();
    poller.run({"create-group", "g"});
    poller.run({"create", "g", "counter", "demo.Counter"});
    poller.select("g/counter");
    ASSERT_TRUE(waitFor([&] { return seen.answers.size() == 2 && !seen.values.isEmpty(); }, boundMs))
        << seen.answers.join('\n').toStdString();
    EXPECT_EQ(seen.answers, (QStringList{"ok: Success", "ok: Success"}));
    const auto index = [&](const QString& name) {
        for (int i = 0; i < seen.descriptions.size(); ++i) {
            if (seen.descriptions[i].name == name) {
                return i;
            }
        }
        return -1;
    };
    ASSERT_GE(index("costUs"), 0);
    EXPECT_EQ(seen.descriptions[index("costUs")].access, "read-write");
    EXPECT_EQ(seen.values[index("messages")], "0");
    EXPECT_EQ(seen.values[index("reset")], "") << "a write-only parameter is not read";

    poller.run({"set", "g", "counter", "messages", "5"});
    poller.run({"set", "g", "counter", "costUs", "7"});
    ASSERT_TRUE(waitFor([&] { return seen.answers.size() == 4; }, boundMs));
    EXPECT_EQ(seen.answers[2], "refused: Error: Cannot set parameter: messages (read-only)");
    EXPECT_EQ(seen.answers[3], "ok: Success");
    ASSERT_TRUE(waitFor([&] { return seen.values.value(index("costUs")) == "7"; }, boundMs));

    const int before = static_cast<int>(seen.sweeps.size());
    QElapsedTimer watched;
    watched.start();
    ASSERT_TRUE(waitFor([&] { return seen.sweeps.size() >= before + 3; }, boundMs));
    EXPECT_GE(watched.elapsed(), 2 * SweepWorker::sweepIntervalMs - 100);
    EXPECT_EQ(seen.sweeps.last().groups, QStringList{"g"});
    EXPECT_TRUE(seen.lost.isEmpty()) << seen.lost.join('\n').toStdString();
}

TEST(MonitorPoller, SaysWhenTheHostIsGoneAndSweepsAgainWhenItIsBack) {
    auto system = std::make_unique<zal::Environment>("tcp://127.0.0.1:*");
    const std::string endpoint = system->getRouterFrontendAddress();
    MonitorOptions options;
    options.endpoint = endpoint;
    options.timeoutMs = 500;
    MonitorPoller poller(options);
    Seen seen(poller);
    poller.start();
    ASSERT_TRUE(waitFor([&] { return !seen.sweeps.isEmpty(); }, boundMs));
    system.reset();
    ASSERT_TRUE(waitFor([&] { return !seen.lost.isEmpty(); }, boundMs));
    EXPECT_FALSE(seen.lost.first().isEmpty());

    system = std::make_unique<zal::Environment>(endpoint);
    const int before = static_cast<int>(seen.sweeps.size());
    ASSERT_TRUE(waitFor([&] { return seen.sweeps.size() > before; }, boundMs))
        << seen.lost.last().toStdString();
}
