// The model behind zal-monitor's window, without a display: health colours, rate history, loss that
// stays marked, and the layered layout of the graph, on sweeps written as processors answer zal.status.
#include <gtest/gtest.h>

#include <algorithm>

#include "graphlayout.h"
#include "monitormodel.h"
#include "support/qtprinters.h"

using namespace zalmonitor;
using zaltools::ProcessorSample;
using zaltools::SystemSnapshot;

namespace {

// One processor's zal.status: what it reads from (`source`, may be empty), what it binds
// (`stream`=`address`, may be empty), its counts and how long since it last moved a message.
struct Status {
    Status(QString source = {}, QString address = {}, qint64 in = 0, qint64 out = 0, QString idleMs = "0")
        : source(std::move(source)),
          address(std::move(address)),
          in(in),
          out(out),
          idleMs(std::move(idleMs)) {}

    QString source;
    QString address;
    qint64 in;
    qint64 out;
    QString idleMs;  // "null": never moved one

    QString json() const {
        const QString sources =
            source.isEmpty() ? QString() : QString(R"({"address":"%1","filters":[]})").arg(source);
        const QString outputs = address.isEmpty()
                                    ? QString()
                                    : QString(R"({"stream":"s","messages":%1,"bytes":%2,"idleMs":%3})")
                                          .arg(out)
                                          .arg(out * 100)
                                          .arg(idleMs);
        const QString streams =
            address.isEmpty() ? QString()
                              : QString(R"({"name":"s","addresses":["%1"],"running":true})").arg(address);
        return QString(R"({"type":"t","input":{"messages":%1,"bytes":%2,"idleMs":%3},"outputs":[%4],)"
                       R"("sources":[%5],"streams":[%6]})")
            .arg(in)
            .arg(in * 100)
            .arg(source.isEmpty() ? QStringLiteral("null") : idleMs, outputs, sources, streams);
    }
};

ProcessorSample taken(const QString& id, const Status& status, double atMs) {
    ProcessorSample sample{id.section('/', 0, 0), id.section('/', 1), std::nullopt, {}, atMs, 1};
    sample.status = zaltools::ProcessorStatus::fromJson(status.json(), sample.problem);
    EXPECT_TRUE(sample.status) << sample.problem.toStdString();
    return sample;
}

SystemSnapshot sweep(const QVector<ProcessorSample>& samples, double atMs) {
    SystemSnapshot snapshot;
    for (const ProcessorSample& sample : samples) {
        if (!snapshot.groups.contains(sample.group)) {
            snapshot.groups << sample.group;
        }
    }
    snapshot.processors = samples;
    snapshot.startedMs = atMs;
    snapshot.endedMs = atMs;
    return snapshot;
}

// A generator publishing 1000 messages a second to a fast and a slow counter, `second` seconds in;
// the slow one receives half of them.
SystemSnapshot pipeline(int second) {
    const double at = second * 1000.0;
    return sweep({taken("g/gen", {"", "inproc://s", 0, 1000 * second}, at),
                  taken("g/fast", {"inproc://s", "", 1000 * second}, at + 1),
                  taken("g/slow", {"inproc://s", "", 500 * second}, at + 2)},
                 at);
}

}  // namespace

TEST(Monitor, ColoursEachProcessorByWhatItsCountersSay) {
    MonitorModel model;
    const auto twoSweeps = [&](const QVector<ProcessorSample>& first,
                               const QVector<ProcessorSample>& second) {
        model.update(sweep(first, 0));
        model.update(sweep(second, 1000));
    };
    twoSweeps(
        {taken("g/gen", {"", "inproc://s", 0, 0}, 0), taken("g/quiet", {"", "inproc://q", 0, 5}, 0),
         taken("g/new", {"", "inproc://n", 0, 0, "null"}, 0), taken("g/orphan", {"inproc://gone"}, 0)},
        {taken("g/gen", {"", "inproc://s", 0, 100}, 1000),
         taken("g/quiet", {"", "inproc://q", 0, 5, "9000"}, 1000),
         taken("g/new", {"", "inproc://n", 0, 0, "null"}, 1000), taken("g/orphan", {"inproc://gone"}, 1000)});
    EXPECT_EQ(model.health("g/gen"), Health::Running);
    EXPECT_EQ(model.health("g/quiet"), Health::Idle);
    EXPECT_EQ(model.health("g/new"), Health::Idle);
    EXPECT_EQ(model.health("g/orphan"), Health::Dangling);
    EXPECT_EQ(model.health("g/absent"), Health::Unknown);

    // One processor that does not answer leaves every source it might bind unjudged.
    twoSweeps(
        {taken("g/orphan", {"inproc://gone"}, 0)},
        {taken("g/orphan", {"inproc://gone"}, 1000), {"g", "silent", std::nullopt, "no reply", 1000, 1}});
    EXPECT_EQ(model.health("g/silent"), Health::Unknown);
    EXPECT_EQ(model.health("g/orphan"), Health::Running);
}

// A loss is counted in one sweep; the consumer stays red for a few seconds so a person sees it.
TEST(Monitor, MarksAConsumerThatLosesAndKeepsItMarkedForAWhile) {
    MonitorModel model;
    model.update(pipeline(1));
    EXPECT_EQ(model.health("g/slow"), Health::Running) << "the first sweep has nothing to compare";
    model.update(pipeline(2));
    EXPECT_EQ(model.health("g/slow"), Health::Losing);
    EXPECT_EQ(model.health("g/fast"), Health::Running);
    EXPECT_EQ(model.health("g/gen"), Health::Running);

    // From now on it keeps up: 1000 a second more for everyone.
    const auto keepingUp = [](int second) {
        const double at = second * 1000.0;
        return sweep({taken("g/gen", {"", "inproc://s", 0, 1000 * second}, at),
                      taken("g/fast", {"inproc://s", "", 1000 * second}, at + 1),
                      taken("g/slow", {"inproc://s", "", 1000 * second - 1000}, at + 2)},
                     at);
    };
    model.update(keepingUp(3));
    model.update(keepingUp(3 + static_cast<int>(MonitorModel::lossHoldMs / 1000) - 1));
    EXPECT_EQ(model.health("g/slow"), Health::Losing);
    model.update(keepingUp(4 + static_cast<int>(MonitorModel::lossHoldMs / 1000)));
    EXPECT_EQ(model.health("g/slow"), Health::Running);

    EXPECT_EQ(model.describe(), (QStringList{"group g", "processor g/fast t running",
                                             "processor g/gen t running", "processor g/slow t running",
                                             "edge g/gen s -> g/fast", "edge g/gen s -> g/slow"}));
}

TEST(Monitor, KeepsRatesForTheLastMinutesAndStartsAfreshAfterTheHostWasLost) {
    MonitorModel model;
    const int sweeps = static_cast<int>(MonitorModel::historyMs / 1000) + 30;
    for (int second = 1; second <= sweeps; ++second) {
        model.update(pipeline(second));
    }
    QVector<RatePoint> points = model.history("g/slow");
    ASSERT_FALSE(points.isEmpty());
    EXPECT_LE(points.last().atMs - points.first().atMs, MonitorModel::historyMs);
    EXPECT_GE(points.last().atMs - points.first().atMs, MonitorModel::historyMs - 1000);
    EXPECT_NEAR(points.last().rates.inMessages, 500, 1);
    EXPECT_NEAR(model.history("g/gen").last().rates.outMessages, 1000, 1);
    EXPECT_NEAR(model.history("g/gen").last().rates.outBytes, 100000, 100);

    model.lose();
    model.update(pipeline(sweeps + 60));
    EXPECT_EQ(model.history("g/slow").size(), points.size()) << "no rate spans the time the host was away";
    EXPECT_EQ(model.health("g/slow"), Health::Running);
    model.update(pipeline(sweeps + 61));
    EXPECT_EQ(model.history("g/slow").last().atMs, (sweeps + 61) * 1000.0 + 2);
}

TEST(Monitor, LaysOutProducersLeftOfTheirConsumersTheSameWayWhateverTheSweepOrder) {
    // gen feeds a and b; c and d feed each other; e stands alone.
    QVector<ProcessorSample> samples = {taken("g/gen", {"", "inproc://gen"}, 0),
                                        taken("g/a", {"inproc://gen", "inproc://a"}, 0),
                                        taken("g/b", {"inproc://gen"}, 0),
                                        taken("h/c", {"inproc://d", "inproc://c"}, 0),
                                        taken("h/d", {"inproc://c", "inproc://d"}, 0),
                                        taken("h/e", {}, 0)};
    const SystemSnapshot asked = sweep(samples, 0);
    const zaltools::StreamGraph graph(asked);
    const GraphLayout layout(graph);
    QStringList placed;
    for (const LayoutNode& node : layout.nodes()) {
        placed << QString("%1 %2/%3").arg(node.id).arg(node.layer).arg(node.row);
    }
    // The cycle is cut where the walk, in id order, would come back to h/c.
    EXPECT_EQ(placed, (QStringList{"g/a 1/0", "g/b 1/1", "g/gen 0/0", "h/c 1/2", "h/d 0/1", "h/e 0/2"}));
    QStringList links;
    for (const LayoutEdge& edge : layout.edges()) {
        links << layout.nodes()[edge.from].id + " -> " + layout.nodes()[edge.to].id;
    }
    links.sort();
    EXPECT_EQ(links, (QStringList{"g/gen -> g/a", "g/gen -> g/b", "h/c -> h/d", "h/d -> h/c"}));
    EXPECT_GT(layout.nodes()[layout.indexOf("g/a")].position.x(),
              layout.nodes()[layout.indexOf("g/gen")].position.x());
    EXPECT_EQ(layout.indexOf("g/none"), -1);

    std::reverse(samples.begin(), samples.end());
    const SystemSnapshot reversed = sweep(samples, 0);
    const zaltools::StreamGraph other(reversed);
    const GraphLayout again(other);
    for (const LayoutNode& node : layout.nodes()) {
        EXPECT_EQ(again.nodes()[again.indexOf(node.id)].position, node.position) << node.id.toStdString();
    }
}
