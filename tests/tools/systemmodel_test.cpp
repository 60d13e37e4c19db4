// The model behind zalctl top and graph, on snapshots written as processors answer zal.status:
// which source a stream feeds, which is dangling, and which consumer lost messages.
#include <gtest/gtest.h>

#include "support/qtprinters.h"
#include "zaltools/deliverycheck.h"
#include "zaltools/snapshotmerge.h"
#include "zaltools/streamgraph.h"

using namespace zaltools;

namespace {

// A processor's sample as a sweep takes it: its zal.status answer, read at `atMs`.
ProcessorSample sample(const QString& id, const QString& json, double atMs) {
    ProcessorSample taken{id.section('/', 0, 0), id.section('/', 1), std::nullopt, {}, atMs, 1};
    taken.status = ProcessorStatus::fromJson(json, taken.problem);
    EXPECT_TRUE(taken.status) << taken.problem.toStdString();
    return taken;
}

QString producer(const QString& address, qint64 published) {
    return QString(R"({"type":"demo.Generator","input":{"messages":0,"bytes":0,"idleMs":null},)"
                   R"("outputs":[{"stream":"out","messages":%1,"bytes":0,"idleMs":0}],"sources":[],)"
                   R"("streams":[{"name":"out","addresses":["inproc://other","%2"],"running":true}]})")
        .arg(published)
        .arg(address);
}

QString consumer(const QString& address, qint64 received, const QString& filters = "") {
    return QString(R"({"type":"demo.Counter","input":{"messages":%1,"bytes":0,"idleMs":0},"outputs":[],)"
                   R"("sources":[{"address":"%2","filters":[%3]}],"streams":[]})")
        .arg(received)
        .arg(address, filters);
}

SystemSnapshot snapshotOf(const QVector<ProcessorSample>& samples) {
    SystemSnapshot snapshot;
    snapshot.groups = {"g"};
    snapshot.processors = samples;
    return snapshot;
}

}  // namespace

TEST(SystemModel, AStreamFeedsTheSourcesThatReachOneOfItsAddresses) {
    const struct {
        QString bound;
        QString source;
        bool fed;
    } cases[] = {
        {"inproc://a", "inproc://a", true},
        {"inproc://a", "inproc://ab", false},
        {"tcp://0.0.0.0:7000", "tcp://192.168.1.5:7000", true},
        {"tcp://*:7000", "tcp://localhost:7000", true},
        {"tcp://[::]:7000", "tcp://[::1]:7000", true},
        {"tcp://127.0.0.1:7000", "tcp://127.0.0.1:7000", true},
        {"tcp://127.0.0.1:7000", "tcp://127.0.0.2:7000", false},
        {"tcp://0.0.0.0:7000", "tcp://127.0.0.1:7001", false},
        {"tcp://127.0.0.1:7000", "tcp://0.0.0.0:7000", false},
        {"ipc://0.0.0.0:7000", "ipc://x:7000", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE((c.bound + " <- " + c.source).toStdString());
        const SystemSnapshot snapshot =
            snapshotOf({sample("g/p", producer(c.bound, 0), 0), sample("g/c", consumer(c.source, 0), 1)});
        const StreamGraph graph(snapshot);
        EXPECT_EQ(graph.edges().size(), c.fed ? 1 : 0);
        EXPECT_EQ(graph.state(1, c.source), c.fed ? SourceState::Fed : SourceState::Dangling);
    }
    // A tcp source on a machine the sweep did not reach may be fed there; on one it reached, not.
    const QString far = "tcp://192.0.2.7:7000";
    SystemSnapshot remote =
        snapshotOf({sample("g/p", producer("inproc://a", 0), 0), sample("g/c", consumer(far, 0), 1)});
    EXPECT_EQ(StreamGraph(remote).state(1, far), SourceState::Elsewhere);
    EXPECT_EQ(DeliveryCheck(remote, StreamGraph(remote)).of(1).verdict, Delivery::Verdict::Unknown);
    remote.machines << "192.0.2.7";
    EXPECT_EQ(StreamGraph(remote).state(1, far), SourceState::Dangling);
}

// Hosts on one machine share loopback; a host elsewhere is reached at its frontend's address.
TEST(SystemModel, AHostsAddressesAreNamedAsAnotherHostReachesThem) {
    const HostEntry near{"a", "tcp://127.0.0.1:5555", {}};
    const HostEntry far{"b", "tcp://10.77.0.2:5555", {}};
    const HostEntry local{"c", "ipc:///tmp/zal", {}};
    const struct {
        const HostEntry& host;
        QString address;
        QString placed;
    } cases[] = {
        {near, "tcp://*:6000", "tcp://127.0.0.1:6000"},
        {near, "tcp://127.0.0.1:6000", "tcp://127.0.0.1:6000"},
        {far, "tcp://0.0.0.0:6000", "tcp://10.77.0.2:6000"},
        {far, "tcp://127.0.0.1:6000", "tcp://10.77.0.2:6000"},
        {far, "tcp://10.77.0.1:6000", "tcp://10.77.0.1:6000"},
        {far, "inproc://g/s", "@b:inproc://g/s"},
        {local, "tcp://*:6000", "tcp://*:6000"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(SnapshotMerge::placed(c.address, c.host), c.placed) << c.address.toStdString();
    }
}

// The producer is read before its consumers, up to a sweep apart: its count is carried to each
// consumer's own reading, so that only what a consumer really missed counts as lost.
TEST(SystemModel, AConsumerLosesWhatItsProducerPublishedAndItDidNotReceive) {
    const QString bound = "tcp://0.0.0.0:7000";
    const QString source = "tcp://127.0.0.1:7000";
    // 1000 messages a second, read at 0 and 1000 ms; the consumers between 900 and 1400 ms.
    const SystemSnapshot before =
        snapshotOf({sample("g/gen", producer(bound, 0), 0), sample("g/fast", consumer(source, 900), 900),
                    sample("g/slow", consumer(source, 900), 900),
                    sample("g/some", consumer(source, 900, R"("t1")"), 900),
                    sample("g/orphan", consumer("inproc://gone", 0), 900)});
    const SystemSnapshot now = snapshotOf({sample("g/gen", producer(bound, 1000), 1000),
                                           sample("g/fast", consumer(source, 1400), 1400),
                                           sample("g/slow", consumer(source, 1100), 1400),
                                           sample("g/some", consumer(source, 1000, R"("t1")"), 1400),
                                           sample("g/orphan", consumer("inproc://gone", 0), 1400)});
    const StreamGraph graph(now);
    const DeliveryCheck check(before, graph);
    using Verdict = Delivery::Verdict;
    EXPECT_EQ(check.of(0).verdict, Verdict::None);

    const Delivery fast = check.of(1);
    EXPECT_EQ(fast.verdict, Verdict::Delivered) << "500 published in its half second, 500 received";
    EXPECT_EQ(fast.producers, QStringList{"g/gen out"});
    const Delivery slow = check.of(2);
    EXPECT_EQ(slow.verdict, Verdict::Lost);
    EXPECT_EQ(slow.lost, 300);
    const Delivery some = check.of(3);
    EXPECT_EQ(some.verdict, Verdict::Filtered) << "a filter takes some topics only: no verdict";
    EXPECT_EQ(some.received, 100);
    const Delivery orphan = check.of(4);
    EXPECT_EQ(orphan.verdict, Verdict::Dangling);
    EXPECT_EQ(orphan.dangling, QStringList{"inproc://gone"});

    // Without the producer's status nobody can tell a source it binds from a dangling one.
    SystemSnapshot silent = now;
    silent.processors[0].status.reset();
    const StreamGraph unsure(silent);
    EXPECT_EQ(DeliveryCheck(before, unsure).of(4).verdict, Verdict::Unknown);
    EXPECT_EQ(unsure.state(1, source), SourceState::Unknown);
}

TEST(SystemModel, ASweepAsksProducersBeforeTheirConsumers) {
    const SystemSnapshot snapshot = snapshotOf({sample("g/last", consumer("inproc://middle", 0), 0),
                                                sample("g/middle", producer("inproc://middle", 0), 0),
                                                sample("g/first", producer("inproc://first", 0), 0)});
    SystemSnapshot chained = snapshot;
    // middle consumes first's stream as well.
    chained.processors[1].status->sources << SourceInfo{"inproc://first", {}};
    EXPECT_EQ(StreamGraph(chained).sweepOrder(), (QStringList{"g/first", "g/middle", "g/last"}));
}
