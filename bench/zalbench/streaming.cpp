// Streaming cases: zal's byte streams against raw PUB->SUB, and a long soak of one stream.
#include <QByteArray>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <thread>
#include <zmq.hpp>

#include "cases.h"
#include "common.h"
#include "group.h"
#include "rawpublisher.h"
#include "zal/host/environment.h"
#include "zal/transport/context.h"

namespace zalbench {

namespace {

// Messages received per second in the best of the windows, one message per poll or all that
// are queued after each poll.
double bestRawRate(zmq::socket_t& subscriber, bool drain, double seconds) {
    zmq_pollitem_t item{subscriber.handle(), 0, ZMQ_POLLIN, 0};
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
    return best;
}

// What `consumer` of `group` takes of a flat-out stream, from its `parameter` count read over the
// frontend at both ends of each window: messages/s in the best window.
double consumerRate(Group& group, const std::string& consumer, const std::string& parameter, double seconds) {
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (group.number(consumer, parameter) == 0) {
        if (Clock::now() > deadline) {
            throw std::runtime_error("zal stream: nothing arrived at " + consumer);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // past the start-up burst
    double best = 0;
    for (int window = 0; window < windows; ++window) {
        const long long before = group.number(consumer, parameter);
        const auto begin = Clock::now();
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        const long long after = group.number(consumer, parameter);
        best = std::max(best, double(after - before) / secondsSince(begin));
    }
    return best;
}

// The benchmark plug-in's Source flat out into a demo Counter, both in one group.
double zalStream(Client& client, int payloadSize, double seconds) {
    Group group(client, "stream" + std::to_string(payloadSize));
    group.create("zalbench.Source", "gen");
    group.set("gen", "size", std::to_string(payloadSize));
    group.create("demo.Counter", "count");
    group.connect("count", "gen");
    return consumerRate(group, "count", "messages", seconds);
}

}  // namespace

// Raw PUB->SUB in one process, two frames (topic, payload) as zal's byte streams send them.
double rawStream(size_t payloadSize, bool drain, double seconds) {
    static int counter = 0;
    auto& context = *zal::Context::getZMQContext();
    const std::string address = "inproc://bench/raw-stream/" + std::to_string(++counter);
    zmq::socket_t publisher(context, zmq::socket_type::pub), subscriber(context, zmq::socket_type::sub);
    publisher.bind(address);
    subscriber.set(zmq::sockopt::subscribe, "");
    subscriber.connect(address);
    const RawPublisher sender(publisher, payloadSize);
    zmq_pollitem_t item{subscriber.handle(), 0, ZMQ_POLLIN, 0};
    if (zmq_poll(&item, 1, 5000) != 1) {
        throw std::runtime_error("raw stream: nothing arrived");
    }
    return bestRawRate(subscriber, drain, seconds);
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

// A Recorder per format against the Counter, each alone with a flat-out 64 B Source: what
// recording costs a consumer. The files go to a temporary directory removed at the end.
void recording(Client& client, double seconds) {
    const QTemporaryDir directory;
    if (!directory.isValid()) {
        throw std::runtime_error("recording: no temporary directory");
    }
    const double counter = zalStream(client, 64, seconds);
    line("record_64B_counter", counter, "msg/s");
    for (const std::string format : {"zal", "mcap"}) {
        Group group(client, "record" + format);
        group.create("zalbench.Source", "gen");
        group.set("gen", "size", "64");
        group.create("demo.Recorder", "rec");
        group.set("rec", "directory", directory.path().toStdString());
        group.set("rec", "format", format);
        group.connect("rec", "gen");
        const double rate = consumerRate(group, "rec", "recorded", seconds);
        line("record_64B_" + format, rate, "msg/s");
        table.push_back({"record_64B " + format + " vs counter", rate, counter, "msg/s"});
    }
}

// What grows beyond the queues' high-water marks would be a leak on the data path.
void soak(double seconds) {
    zal::Environment environment("inproc://bench/frontend-soak");
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

}  // namespace zalbench
