// Control-path cases: strict round trips against raw libzmq, life cycles, and how many processors fit.
#include <QString>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <vector>

#include "cases.h"
#include "common.h"
#include "group.h"
#include "zal/host/descriptorlimit.h"
#include "zal/host/environment.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/context.h"

namespace zalbench {

using zal::ControlMessageHelper;
using Message = zalmsg::ControlMessage;

namespace {

void reportRoundTrips(const std::string& name, const RoundTrips& ours, const RoundTrips& raw) {
    for (const auto& [side, r] : {std::pair{"zal", ours}, std::pair{"raw", raw}}) {
        line(name + "_" + side + "_rate", r.perSecond, "roundtrips/s");
        line(name + "_" + side + "_p50", r.p50us, "us");
        line(name + "_" + side + "_p99", r.p99us, "us");
    }
    table.push_back({name + " rate", ours.perSecond, raw.perSecond, "roundtrips/s"});
    table.push_back({name + " p50", ours.p50us, raw.p50us, "us"});
    table.push_back({name + " p99", ours.p99us, raw.p99us, "us"});
}

// Sorts the samples, prints and tabulates their p50 and p99, and empties them for the next kind.
void reportLifeCycle(const std::string& name, std::vector<double>& create, std::vector<double>& remove) {
    for (auto* samples : {&create, &remove}) {
        std::sort(samples->begin(), samples->end());
    }
    const std::pair<const char*, std::vector<double>*> sides[] = {{"create", &create}, {"delete", &remove}};
    for (const auto& [verb, samples] : sides) {
        const double p50 = quantile(*samples, 0.5), p99 = quantile(*samples, 0.99);
        line(name + "_" + verb + "_p50", p50, "us");
        line(name + "_" + verb + "_p99", p99, "us");
        table.push_back({name + " " + verb + " p50", p50, 0, "us"});
        table.push_back({name + " " + verb + " p99", p99, 0, "us"});
    }
    create.clear();
    remove.clear();
}

// Every libzmq socket holds one eventfd for its mailbox, so the descriptors a processor adds bound
// from above the sockets it costs.
long long openFiles() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries));
}

// Creates demo.Counter processors until one is refused (true, with the reply's text in
// `refusal`) or `cap` exist (false), noting the time each accepted create took.
bool createUntilRefused(Client& client, Group& group, int cap, std::vector<double>& starts,
                        QString& refusal) {
    while (int(starts.size()) < cap) {
        const std::string name = "p" + std::to_string(starts.size());
        const auto start = Clock::now();
        const Message reply =
            client.request(group.endpoint(),
                           ControlMessageHelper::makeCreateProcessorMessage(
                               "demo.Counter", name,
                               ControlMessageHelper::makeProcessorConfig(name, group.streamAddress(name))));
        if (reply.GetResultType() != Message::ResultType::Success) {
            refusal = reply.GetMessageText();
            return true;
        }
        starts.push_back(microsecondsSince(start));
    }
    return false;
}

struct ScaleFigures {
    double count;
    double files;
    double rss;
    double deleteSeconds;
};

// Which limit a refused create met: libzmq reports both a full context and a process out of
// descriptors as EMFILE, "Too many open files".
std::string limitMet(const QString& refusal) {
    if (!refusal.contains(QStringLiteral("Too many open files"))) {
        return "";
    }
    const long long soft = zal::DescriptorLimit::soft();
    if (openFiles() + 16 >= soft) {
        return " (the process's descriptor limit of " + std::to_string(soft) + "; raise `ulimit -n`)";
    }
    return " (the ZeroMQ context's limit of " +
           std::to_string(zal::Context::getZMQContext()->get(zmq::ctxopt::max_sockets)) + " sockets)";
}

// The median create time from the `from`th processor up to the `to`th.
double createMedian(const std::vector<double>& starts, size_t from, size_t to) {
    if (starts.size() <= from) {
        return 0;
    }
    std::vector<double> part(starts.begin() + long(from), starts.begin() + long(std::min(to, starts.size())));
    std::sort(part.begin(), part.end());
    return quantile(part, 0.5);
}

void reportScale(const std::vector<double>& starts, bool refused, const QString& refusal,
                 const ScaleFigures& f) {
    std::printf("# scale: create number %zu %s%s\n", starts.size() + 1,
                refused ? ("refused: " + refusal).toUtf8().constData() : "was not refused within the cap",
                limitMet(refusal).c_str());
    std::vector<double> sorted = starts;
    std::sort(sorted.begin(), sorted.end());
    const struct {
        const char* name;
        double value;
        const char* unit;
    } rows[] = {{"scale_processors", f.count, "processors"},
                {"scale_create_p50", quantile(sorted, 0.5), "us"},
                {"scale_create_p99", quantile(sorted, 0.99), "us"},
                {"scale_create_p50_1_100", createMedian(starts, 0, 100), "us"},
                {"scale_create_p50_101_500", createMedian(starts, 100, 500), "us"},
                {"scale_create_p50_501_end", createMedian(starts, 500, starts.size()), "us"},
                {"scale_create_all", std::accumulate(starts.begin(), starts.end(), 0.0) / 1e6, "s"},
                {"scale_fds_per_processor", f.files / f.count, "fds"},
                {"scale_context_socket_limit",
                 double(zal::Context::getZMQContext()->get(zmq::ctxopt::max_sockets)), "sockets"},
                {"scale_rss_per_processor", f.rss / f.count, "KiB"},
                {"scale_group_delete", f.deleteSeconds, "s"}};
    for (const auto& row : rows) {
        line(row.name, row.value, row.unit);
        table.push_back({row.name, row.value, 0, row.unit});
    }
}

// Strict round trips to the group's first processor while `count` exist: the round with the best
// median of four, so that a round disturbed from outside does not stand for the curve.
void roundTripsAt(Client& client, Group& group, int count) {
    const QByteArray destination = ControlMessageHelper::makeIdentity(group.at("p0"));
    const QByteArray payload =
        ControlMessageHelper::toPayload(ControlMessageHelper::makeGetParameterMessage("messages"));
    measureRoundTrips(client.raw(), destination, payload, 200);
    RoundTrips best{0, 1e300, 0};
    for (int round = 0; round < 4; ++round) {
        const RoundTrips r = measureRoundTrips(client.raw(), destination, payload, 1000);
        best = r.p50us < best.p50us ? r : best;
    }
    const std::string name = "scale_roundtrip_at_" + std::to_string(count);
    line(name + "_p50", best.p50us, "us");
    line(name + "_p99", best.p99us, "us");
    table.push_back({name + " p50", best.p50us, 0, "us"});
    table.push_back({name + " p99", best.p99us, 0, "us"});
}

}  // namespace

// Strict GetParameter round trips to an idle processor, against the raw switchboard echoing a
// payload as large as zal's reply. Both serve throughout and take turns in rounds, so that load
// from elsewhere falls on both alike; the round with the best rate of each side is reported. On a
// virtual machine whose host takes a few percent of the time, short rounds are what leave some of
// them clean of that.
void control(const std::string& transport, const std::string& zalFrontend, const std::string& rawFrontend,
             int count) {
    constexpr int rounds = 8;
    zal::Environment environment(zalFrontend);
    Client client(environment.getRouterFrontendAddress());
    Group group(client, "control");
    group.create("demo.Counter", "idle");
    const Message request = ControlMessageHelper::makeGetParameterMessage("messages");
    client.succeed(group.at("idle"), request);
    const int replySize = client.lastReplySize;
    line("control_reply_size", replySize, "bytes");
    const QByteArray destination = ControlMessageHelper::makeIdentity(group.at("idle"));
    const QByteArray payload = ControlMessageHelper::toPayload(request);
    RawSwitchboard board(rawFrontend);
    const QByteArray echoed(replySize, 'x');
    measureRoundTrips(client.raw(), destination, payload, count / 10);
    board.measure(echoed, count / 10);

    RoundTrips ours{}, raw{};
    for (int round = 0; round < rounds; ++round) {
        const auto z = measureRoundTrips(client.raw(), destination, payload, count / rounds);
        const auto r = board.measure(echoed, count / rounds);
        ours = z.perSecond > ours.perSecond ? z : ours;
        raw = r.perSecond > raw.perSecond ? r : raw;
    }
    const std::string name = "control_" + transport;
    std::printf("# %s: %d rounds of %d strict round trips each side, reply %d bytes\n", name.c_str(), rounds,
                count / rounds, replySize);
    reportRoundTrips(name, ours, raw);
}

void lifeCycle(Client& client, int count) {
    std::vector<double> create, remove;
    {
        Group group(client, "life");
        for (int i = 0; i < count; ++i) {
            auto start = Clock::now();
            group.create("demo.Counter", "p");
            create.push_back(microsecondsSince(start));
            start = Clock::now();
            group.remove("p");
            remove.push_back(microsecondsSince(start));
        }
    }
    reportLifeCycle("lifecycle_processor", create, remove);
    for (int i = 0; i < count; ++i) {
        auto start = Clock::now();
        client.succeed(manager, ControlMessageHelper::makeCreateProcessorGroupMessage("lifegroup"));
        create.push_back(microsecondsSince(start));
        start = Clock::now();
        client.succeed(manager, ControlMessageHelper::makeDeleteProcessorGroupMessage("lifegroup"));
        remove.push_back(microsecondsSince(start));
    }
    reportLifeCycle("lifecycle_group", create, remove);
}

// The context's socket limit, not the machine, should end the count, with an error reply.
void scale(int cap) {
    zal::Environment environment("inproc://bench/frontend-scale");
    Client client(environment.getRouterFrontendAddress());
    auto group = std::make_unique<Group>(client, "scale");
    const long long filesBefore = openFiles(), rssBefore = procStatusKiB("VmRSS:");
    std::vector<double> starts;
    QString refusal;
    bool refused = false;
    for (const int count : {1, 100, 500}) {
        refused = createUntilRefused(client, *group, count, starts, refusal);
        if (refused) {
            break;
        }
        roundTripsAt(client, *group, count);
    }
    refused = refused || createUntilRefused(client, *group, cap, starts, refusal);
    ScaleFigures f{};
    f.count = double(starts.size());
    f.files = double(openFiles() - filesBefore);
    f.rss = double(procStatusKiB("VmRSS:") - rssBefore);
    // A full environment must still serve what exists.
    client.succeed(group->at("p0"), ControlMessageHelper::makeGetParameterMessage("messages"));
    const auto deleting = Clock::now();
    group.reset();
    f.deleteSeconds = secondsSince(deleting);
    reportScale(starts, refused, refusal, f);
    if (!refused) {
        throw std::runtime_error("no create was refused within " + std::to_string(cap) + " processors");
    }
}

}  // namespace zalbench
