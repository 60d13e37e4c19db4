// zal against raw libzmq, each case measured in the same run with sockets of the same shape.
//
// Command (from the repository root; under two minutes in all):
//   cmake -S . -B build-bench -G Ninja -DZAL_BUILD_TESTS=OFF &&
//   cmake --build build-bench -j2 --target zal_bench demo && build-bench/bin/zal_bench
//
// Optional arguments: seconds per throughput window, best of 3 (default 0.5), and strict round
// trips per control case (default 20000); or "soak [seconds]" (default 60) for memory over a long
// 64 B stream alone. Output: "case value unit" lines, then a table of zal/raw ratios.
// Absolute figures on a shared machine are noisy; only ratios from one run mean anything.
#include <QByteArray>
#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>
#include <zmq.hpp>

#include "roundtrip.h"
#include "zal/transport/constants.h"
#include "zal/transport/context.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/endpoints.h"
#include "zal/host/environment.h"
#include "zal/processors/qtbridge.h"
#include "zal/processors/qtrepository.h"
#include "zal/transport/zmqhelper.h"

using namespace zal;
using zalbench::Clock;
using Message = zalmsg::ControlMessage;

namespace {

const std::string manager = internalAddressPrefixDefault;
// Throughput is the best of a few windows: on a shared machine a window can lose its core to
// another process, and a slowed window says nothing about either side.
constexpr int windows = 3;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double microsecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

void line(const std::string& name, double value, const char* unit) {
    std::printf("%s %.1f %s\n", name.c_str(), value, unit);
    std::fflush(stdout);
}

// A row of the closing table; raw is zero where raw libzmq has nothing of the same shape.
struct Row {
    std::string name;
    double zal;
    double raw;
    std::string unit;
};
std::vector<Row> table;

// An outside client of the router's frontend; any refusal or silence ends the run, because a
// figure measured around a failure would mean nothing.
class Client {
public:
    explicit Client(const std::string& frontend) { ZmqHelper::connectSocket(socket, frontend); }

    Message request(const std::string& destination, const Message& message) {
        const QByteArray payload = ControlMessageHelper::toPayload(message);
        const QByteArray identity = ControlMessageHelper::makeIdentity(destination);
        socket.send(zmq::const_buffer("", 0), zmq::send_flags::sndmore);
        socket.send(zmq::const_buffer(identity.constData(), size_t(identity.size())),
                    zmq::send_flags::sndmore);
        socket.send(zmq::const_buffer(payload.constData(), size_t(payload.size())), zmq::send_flags::none);
        zmq_pollitem_t item{socket.handle(), 0, ZMQ_POLLIN, 0};
        if (zmq_poll(&item, 1, 10000) != 1) {
            throw std::runtime_error("no reply from " + destination);
        }
        const auto frames = zalbench::receiveAll(socket);
        if (frames.size() != 3) {
            throw std::runtime_error("malformed reply from " + destination);
        }
        lastReplySize = int(frames[2].size());
        return ControlMessageHelper::fromPayload(
            QByteArray(static_cast<const char*>(frames[2].data()), qsizetype(frames[2].size())));
    }

    Message succeed(const std::string& destination, const Message& message) {
        Message reply = request(destination, message);
        if (reply.GetResultType() != Message::ResultType::Success) {
            throw std::runtime_error(message.GetMessageTypeAsString().toStdString() + " at " + destination +
                                     " refused: " + reply.GetMessageText().toStdString());
        }
        return reply;
    }

    zmq::socket_t& raw() { return socket; }
    int lastReplySize = 0;

private:
    zmq::socket_t socket{*Context::getZMQContext(), zmq::socket_type::dealer};
};

// Processors in one group of a running environment, created and wired as a user would.
class Group {
public:
    Group(Client& client, std::string name) : client(client), name(std::move(name)) {
        client.succeed(manager, ControlMessageHelper::makeCreateProcessorGroupMessage(this->name));
    }
    ~Group() {
        try {
            client.succeed(manager, ControlMessageHelper::makeDeleteProcessorGroupMessage(name));
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s\n", e.what());
        }
    }
    std::string at(const std::string& processor) const {
        return Endpoints::getProcessorEndpoint(name, processor, manager);
    }
    std::string endpoint() const { return Endpoints::getGroupEndpoint(name, manager); }
    // Each stream publishes on an inproc address named after its processor, like raw's.
    std::string streamAddress(const std::string& processor) const {
        return "inproc://bench/" + name + "/" + processor;
    }
    void create(const std::string& type, const std::string& processor) {
        client.succeed(endpoint(),
                       ControlMessageHelper::makeCreateProcessorMessage(
                           type, processor,
                           ControlMessageHelper::makeProcessorConfig(processor, streamAddress(processor))));
    }
    void remove(const std::string& processor) {
        client.succeed(endpoint(), ControlMessageHelper::makeDeleteProcessorMessage(processor));
    }
    void connect(const std::string& to, const std::string& from) {
        client.succeed(at(to), ControlMessageHelper::makeConnectStreamMessage(from, streamAddress(from), ""));
    }
    void set(const std::string& processor, const std::string& parameter, const std::string& value) {
        client.succeed(at(processor), ControlMessageHelper::makeSetParameterMessage(parameter, value));
    }
    long long number(const std::string& processor, const std::string& parameter) {
        return client.succeed(at(processor), ControlMessageHelper::makeGetParameterMessage(parameter))
            .GetParameter()
            .toLongLong();
    }

private:
    Client& client;
    std::string name;
};

// Raw PUB->SUB in one process, two frames (topic, payload) as zal's byte streams send them. The
// publisher runs flat out and drops at its high-water mark, as zal's does, so both
// sides count what arrives in a window rather than what was sent.
double rawStream(size_t payloadSize, bool drain, double seconds) {
    static int counter = 0;
    auto& context = *Context::getZMQContext();
    const std::string address = "inproc://bench/raw-stream/" + std::to_string(++counter);
    zmq::socket_t publisher(context, zmq::socket_type::pub), subscriber(context, zmq::socket_type::sub);
    publisher.bind(address);
    subscriber.set(zmq::sockopt::subscribe, "");
    subscriber.connect(address);
    std::atomic<bool> stop{false};
    std::thread sender([&] {
        const QByteArray topic = "demo";
        const QByteArray payload(qsizetype(payloadSize), 'a');
        while (!stop) {
            publisher.send(zmq::const_buffer(topic.constData(), size_t(topic.size())),
                           zmq::send_flags::sndmore);
            publisher.send(zmq::const_buffer(payload.constData(), payloadSize), zmq::send_flags::none);
        }
    });

    zmq_pollitem_t item{subscriber.handle(), 0, ZMQ_POLLIN, 0};
    if (zmq_poll(&item, 1, 5000) != 1) {
        stop = true;
        sender.join();
        throw std::runtime_error("raw stream: nothing arrived");
    }
    zmq::message_t frame;
    const auto receiveOne = [&](zmq::recv_flags flags) {
        if (!subscriber.recv(frame, flags)) {
            return false;
        }
        while (frame.more()) {
            (void)subscriber.recv(frame);
        }
        return true;
    };
    double best = 0;
    for (int window = 0; window < windows; ++window) {
        long long received = 0;
        const auto begin = Clock::now();
        double elapsed = 0;
        while (elapsed < seconds) {
            if (zmq_poll(&item, 1, 100) == 1) {
                if (drain) {
                    while (receiveOne(zmq::recv_flags::dontwait)) {
                        ++received;
                    }
                } else {
                    receiveOne(zmq::recv_flags::none);
                    ++received;
                }
            }
            elapsed = secondsSince(begin);
        }
        best = std::max(best, double(received) / elapsed);
    }
    stop = true;
    sender.join();
    return best;
}

// The benchmark plug-in's Source flat out into a demo Counter, both in one group; the Counter's
// count is read over the frontend at both ends of the window.
double zalStream(Client& client, int payloadSize, double seconds) {
    Group group(client, "stream" + std::to_string(payloadSize));
    group.create("zalbench.Source", "gen");
    group.set("gen", "size", std::to_string(payloadSize));
    group.create("demo.Counter", "count");
    group.connect("count", "gen");
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (group.number("count", "messages") == 0) {
        if (Clock::now() > deadline) {
            throw std::runtime_error("zal stream: nothing arrived");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // past the start-up burst
    double best = 0;
    for (int window = 0; window < windows; ++window) {
        const long long before = group.number("count", "messages");
        const auto begin = Clock::now();
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        const long long after = group.number("count", "messages");
        best = std::max(best, double(after - before) / secondsSince(begin));
    }
    return best;
}

void streaming(Client& client, double seconds) {
    const struct {
        const char* label;
        int size;
    } sizes[] = {{"64B", 64}, {"64KiB", 64 * 1024}};
    for (const auto& s : sizes) {
        const std::string name = std::string("stream_") + s.label;
        const double ours = zalStream(client, s.size, seconds);
        const double poll = rawStream(size_t(s.size), false, seconds);
        const double drain = rawStream(size_t(s.size), true, seconds);
        line(name + "_zal", ours, "msg/s");
        line(name + "_raw_poll", poll, "msg/s");
        line(name + "_raw_drain", drain, "msg/s");
        table.push_back({name + " vs poll-per-message", ours, poll, "msg/s"});
        table.push_back({name + " vs drain-after-poll", ours, drain, "msg/s"});
    }
}

// Strict GetParameter round trips to an idle processor, against the raw switchboard echoing a
// payload as large as zal's reply. Both serve throughout and take turns in rounds, so that load
// from elsewhere falls on both alike; the round with the best rate of each side is reported. On a
// virtual machine whose host takes a few percent of the time, short rounds are what leave some of
// them clean of that.
void control(const std::string& transport, const std::string& zalFrontend, const std::string& rawFrontend,
             int count) {
    constexpr int rounds = 8;
    Environment environment(zalFrontend);
    Client client(environment.getRouterFrontendAddress());
    Group group(client, "control");
    group.create("demo.Counter", "idle");
    const Message request = ControlMessageHelper::makeGetParameterMessage("messages");
    client.succeed(group.at("idle"), request);
    const int replySize = client.lastReplySize;
    const QByteArray destination = ControlMessageHelper::makeIdentity(group.at("idle"));
    const QByteArray payload = ControlMessageHelper::toPayload(request);
    zalbench::RawSwitchboard board(rawFrontend);
    const QByteArray echoed(replySize, 'x');
    zalbench::measureRoundTrips(client.raw(), destination, payload, count / 10);
    board.measure(echoed, count / 10);

    zalbench::RoundTrips ours{}, raw{};
    for (int round = 0; round < rounds; ++round) {
        const auto z = zalbench::measureRoundTrips(client.raw(), destination, payload, count / rounds);
        const auto r = board.measure(echoed, count / rounds);
        ours = z.perSecond > ours.perSecond ? z : ours;
        raw = r.perSecond > raw.perSecond ? r : raw;
    }
    const std::string name = "control_" + transport;
    std::printf("# %s: %d rounds of %d strict round trips each side, reply %d bytes\n", name.c_str(), rounds,
                count / rounds, replySize);
    for (const auto& [side, r] : {std::pair{"zal", ours}, std::pair{"raw", raw}}) {
        line(name + "_" + side + "_rate", r.perSecond, "roundtrips/s");
        line(name + "_" + side + "_p50", r.p50us, "us");
        line(name + "_" + side + "_p99", r.p99us, "us");
    }
    table.push_back({name + " rate", ours.perSecond, raw.perSecond, "roundtrips/s"});
    table.push_back({name + " p50", ours.p50us, raw.p50us, "us"});
    table.push_back({name + " p99", ours.p99us, raw.p99us, "us"});
}

// Each create and each delete timed from request to reply.
void lifeCycle(Client& client, int count) {
    std::vector<double> create, remove;
    const auto report = [&](const std::string& name) {
        for (auto* samples : {&create, &remove}) {
            std::sort(samples->begin(), samples->end());
        }
        const std::pair<const char*, std::vector<double>*> sides[] = {{"create", &create},
                                                                      {"delete", &remove}};
        for (const auto& [verb, samples] : sides) {
            const double p50 = zalbench::quantile(*samples, 0.5), p99 = zalbench::quantile(*samples, 0.99);
            line(name + "_" + verb + "_p50", p50, "us");
            line(name + "_" + verb + "_p99", p99, "us");
            table.push_back({name + " " + verb + " p50", p50, 0, "us"});
            table.push_back({name + " " + verb + " p99", p99, 0, "us"});
        }
        create.clear();
        remove.clear();
    };
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
    report("lifecycle_processor");
    for (int i = 0; i < count; ++i) {
        auto start = Clock::now();
        client.succeed(manager, ControlMessageHelper::makeCreateProcessorGroupMessage("lifegroup"));
        create.push_back(microsecondsSince(start));
        start = Clock::now();
        client.succeed(manager, ControlMessageHelper::makeDeleteProcessorGroupMessage("lifegroup"));
        remove.push_back(microsecondsSince(start));
    }
    report("lifecycle_group");
}

long long procStatusKiB(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string key;
    long long value = 0;
    while (status >> key) {
        if (key == field) {
            status >> value;
            return value;
        }
        status.ignore(1 << 12, '\n');
    }
    return -1;
}

// Resets VmHWM so the peak read afterwards belongs to the bridge case alone.
void resetPeakMemory() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

// A flat-out 64 B Source into a QtBridge whose signal lands in a slot of this thread's event
// loop; what the slot has not consumed waits in the event queue, which the peak memory shows.
double qtBridge(QCoreApplication& app, Client& client, double seconds) {
    Group group(client, "bridge");
    group.create("zalbench.Source", "gen");
    client.succeed(group.endpoint(), ControlMessageHelper::makeCreateProcessorMessage("QtBridge", "bridge",
                                                                                      zalmsg::Processor()));
    auto* bridge =
        qobject_cast<QtBridge*>(QtRepository::getQObject(QString::fromStdString(group.at("bridge"))));
    if (bridge == nullptr) {
        throw std::runtime_error("the bridge is not in the Qt repository");
    }
    long long received = 0;
    QObject receiver;  // lives in the main thread, so the connection is queued into its event loop
    QObject::connect(bridge, &QtBridge::si_message, &receiver,
                     [&](const QByteArray&, const QByteArray&) { ++received; });
    group.connect("bridge", "gen");
    const long long rssBefore = procStatusKiB("VmRSS:");
    resetPeakMemory();

    // Best of three windows, as for every other rate, after the start-up burst.
    long long before = 0;
    int window = 0;
    Clock::time_point begin;
    double rate = 0;
    QTimer windowTimer;
    QObject::connect(&windowTimer, &QTimer::timeout, &receiver, [&] {
        if (window > 0) {
            rate = std::max(rate, double(received - before) / secondsSince(begin));
        }
        if (window++ == windows) {
            app.quit();
            return;
        }
        before = received;
        begin = Clock::now();
        windowTimer.start(int(seconds * 1000));
    });
    windowTimer.setSingleShot(true);
    windowTimer.start(200);
    app.exec();
    client.succeed(group.at("gen"), ControlMessageHelper::makeStopStreamMessage("gen"));
    const long long peak = procStatusKiB("VmHWM:");
    QObject::disconnect(bridge, nullptr, &receiver, nullptr);
    QCoreApplication::removePostedEvents(&receiver);

    line("qtbridge_rss_before", double(rssBefore), "KiB");
    line("qtbridge_peak_rss", double(peak), "KiB");
    return rate;
}

// Every libzmq socket holds one eventfd for its mailbox, so the descriptors a processor adds bound
// from above the sockets it costs.
long long openFiles() {
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries));
}

// demo.Counter processors are created in one group until the environment refuses one: the
// context's socket limit, not the machine, should end the count, with an error reply.
void scale(int cap) {
    Environment environment("inproc://bench/frontend-scale");
    Client client(environment.getRouterFrontendAddress());
    auto group = std::make_unique<Group>(client, "scale");
    const long long filesBefore = openFiles(), rssBefore = procStatusKiB("VmRSS:");
    std::vector<double> starts;
    QString refusal;
    const auto begin = Clock::now();
    while (int(starts.size()) < cap) {
        const std::string name = "p" + std::to_string(starts.size());
        const auto start = Clock::now();
        const Message reply =
            client.request(group->endpoint(),
                           ControlMessageHelper::makeCreateProcessorMessage(
                               "demo.Counter", name,
                               ControlMessageHelper::makeProcessorConfig(name, group->streamAddress(name))));
        if (reply.GetResultType() != Message::ResultType::Success) {
            refusal = reply.GetMessageText();
            break;
        }
        starts.push_back(microsecondsSince(start));
    }
    const double allSeconds = secondsSince(begin);
    const double count = double(starts.size());
    const double files = double(openFiles() - filesBefore);
    const double rss = double(procStatusKiB("VmRSS:") - rssBefore);
    // A full environment must still serve what exists.
    client.succeed(group->at("p0"), ControlMessageHelper::makeGetParameterMessage("messages"));
    const auto deleting = Clock::now();
    group.reset();
    const double deleteSeconds = secondsSince(deleting);

    std::sort(starts.begin(), starts.end());
    std::printf(
        "# scale: create number %zu %s\n", starts.size() + 1,
        refusal.isEmpty() ? "was not refused within the cap" : ("refused: " + refusal).toUtf8().constData());
    const struct {
        const char* name;
        double value;
        const char* unit;
    } figures[] = {{"scale_processors", count, "processors"},
                   {"scale_create_p50", zalbench::quantile(starts, 0.5), "us"},
                   {"scale_create_p99", zalbench::quantile(starts, 0.99), "us"},
                   {"scale_create_all", allSeconds, "s"},
                   {"scale_fds_per_processor", files / count, "fds"},
                   {"scale_context_socket_limit",
                    double(Context::getZMQContext()->get(zmq::ctxopt::max_sockets)), "sockets"},
                   {"scale_rss_per_processor", rss / count, "KiB"},
                   {"scale_group_delete", deleteSeconds, "s"}};
    for (const auto& f : figures) {
        line(f.name, f.value, f.unit);
        table.push_back({f.name, f.value, 0, f.unit});
    }
    if (refusal.isEmpty()) {
        throw std::runtime_error("no create was refused within " + std::to_string(cap) + " processors");
    }
}

// A long 64 B stream, resident memory sampled every second: what grows beyond the queues'
// high-water marks would be a leak on the data path.
void soak(double seconds) {
    Environment environment("inproc://bench/frontend-soak");
    Client client(environment.getRouterFrontendAddress());
    Group group(client, "soak");
    group.create("zalbench.Source", "gen");
    group.create("demo.Counter", "count");
    group.connect("count", "gen");
    const auto begin = Clock::now();
    long long first = -1, last = 0, peak = 0;
    while (secondsSince(begin) < seconds) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        last = procStatusKiB("VmRSS:");
        first = first < 0 ? last : first;
        peak = std::max(peak, last);
        std::printf("# soak %.0f s: %lld KiB, %lld messages\n", secondsSince(begin), last,
                    group.number("count", "messages"));
    }
    const double rate = double(group.number("count", "messages")) / secondsSince(begin);
    line("soak_64B_zal", rate, "msg/s");
    line("soak_rss_after_1s", double(first), "KiB");
    line("soak_rss_end", double(last), "KiB");
    line("soak_rss_peak", double(peak), "KiB");
}

// A glib event loop cannot be swapped for Qt's own within one process, so the figure under Qt's
// default loop comes from a child that runs the bridge case alone.
constexpr const char* glibCase = "qtbridge-glib";
constexpr const char* glibLine = "qtbridge_64B_zal_glib";

double qtBridgeUnderGlib(double seconds) {
    const std::string command = "\"" + QCoreApplication::applicationFilePath().toStdString() + "\" " +
                                std::to_string(seconds) + " 0 " + glibCase;
    FILE* child = popen(command.c_str(), "r");
    if (child == nullptr) {
        throw std::runtime_error("cannot start " + command);
    }
    double rate = -1;
    char text[512];
    while (std::fgets(text, sizeof text, child) != nullptr) {
        char name[64];
        double value = 0;
        if (std::sscanf(text, "%63s %lf", name, &value) == 2 && std::string(name) == glibLine) {
            rate = value;
        }
    }
    if (pclose(child) != 0 || rate < 0) {
        throw std::runtime_error("the bridge under glib's loop gave no figure");
    }
    line(glibLine, rate, "msg/s");
    return rate;
}

void printTable() {
    std::printf("\n%-40s %14s %14s %8s  %s\n", "case", "zal", "raw", "zal/raw", "unit");
    for (const Row& row : table) {
        if (row.raw > 0) {
            std::printf("%-40s %14.1f %14.1f %8.2f  %s\n", row.name.c_str(), row.zal, row.raw,
                        row.zal / row.raw, row.unit.c_str());
        } else {
            std::printf("%-40s %14.1f %14s %8s  %s\n", row.name.c_str(), row.zal, "-", "-", row.unit.c_str());
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    // "qtbridge-glib" measures the bridge under glib's event loop, Qt's default, in a child of a
    // full run; everything else runs under Qt's own loop, as zal-host does.
    const bool glibChild = argc > 3 && std::string(argv[3]) == glibCase;
    if (glibChild) {
        qunsetenv("QT_NO_GLIB");
    } else if (!qEnvironmentVariableIsSet("QT_NO_GLIB")) {
        qputenv("QT_NO_GLIB", "1");
    }
    QCoreApplication app(argc, argv);  // the plug-in manager looks beside the executable
    if (argc > 1 && std::string(argv[1]) == "soak") {
        try {
            soak(argc > 2 ? std::atof(argv[2]) : 60.0);
        } catch (const std::exception& e) {
            std::fprintf(stderr, "zal_bench: %s\n", e.what());
            return 1;
        }
        return 0;
    }
    const double seconds = argc > 1 ? std::atof(argv[1]) : 0.5;
    const int roundTrips = argc > 2 ? std::atoi(argv[2]) : 20000;
    // Naming cases after the two numbers runs only those, which keeps a profile to one path.
    std::set<std::string> only(argv + std::min(argc, 3), argv + argc);
    const auto wanted = [&](const char* name) { return only.empty() || only.count(name) != 0; };
    try {
        if (glibChild) {
            Environment environment("inproc://bench/frontend-glib");
            Client client(environment.getRouterFrontendAddress());
            line(glibLine, qtBridge(app, client, seconds), "msg/s");
            return 0;
        }
        double bridgeRate = 0;
        {
            Environment environment("inproc://bench/frontend-stream");
            Client client(environment.getRouterFrontendAddress());
            if (wanted("qtbridge")) {
                bridgeRate = qtBridge(app, client, seconds);
            }
            if (wanted("stream")) {
                streaming(client, seconds);
            }
            if (wanted("lifecycle")) {
                lifeCycle(client, 200);
            }
        }
        if (wanted("qtbridge")) {
            const double drain = rawStream(64, true, seconds);
            line("qtbridge_64B_zal", bridgeRate, "msg/s");
            line("qtbridge_64B_raw_drain", drain, "msg/s");
            table.push_back({"qtbridge_64B vs drain-after-poll", bridgeRate, drain, "msg/s"});
            const double glib = qtBridgeUnderGlib(seconds);
            table.push_back({"qtbridge_64B glib loop vs drain-after-poll", glib, drain, "msg/s"});
        }
        if (wanted("control")) {
            control("inproc", "inproc://bench/frontend", "inproc://bench/raw-frontend", roundTrips);
            control("tcp", "tcp://127.0.0.1:*", "tcp://127.0.0.1:*", roundTrips);
        }
        if (wanted("scale")) {
            scale(5000);
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "zal_bench: %s\n", e.what());
        return 1;
    }
    printTable();
    return 0;
}
