// One-way latency at a steady rate and fan-out to many consumers: zal against raw PUB->SUB.
#include <QByteArray>
#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>
#include <zmq.hpp>

#include "../quantile.h"
#include "cases.h"
#include "common.h"
#include "group.h"
#include "rawpublisher.h"
#include "zal/transport/context.h"

namespace zalbench {

namespace {

constexpr int steadyRate = 10'000;
constexpr auto warmUp = std::chrono::milliseconds(200);

struct Percentiles {
    double p50;
    double p99;
    double p999;
};

// An address on the loopback for a stream; ZeroMQ chooses the port, then lets it go for the
// caller to bind again at once.
std::string freeTcpAddress() {
    zmq::socket_t probe(*zal::Context::getZMQContext(), zmq::socket_type::pub);
    probe.bind("tcp://127.0.0.1:*");
    return probe.get(zmq::sockopt::last_endpoint);
}

Percentiles sortedPercentiles(std::vector<double>& samples) {
    std::sort(samples.begin(), samples.end());
    return {quantile(samples, 0.5), quantile(samples, 0.99), quantile(samples, 0.999)};
}

// Receives one two-frame message and appends its latency once the warm-up is over.
void receiveStamped(zmq::socket_t& subscriber, bool keep, std::vector<double>& samples) {
    zmq::message_t topic, data;
    (void)subscriber.recv(topic);
    (void)subscriber.recv(data);
    long long stamp = 0;
    std::memcpy(&stamp, data.data(), sizeof stamp);
    const long long arrived = RawPublisher::nowNanoseconds();
    if (keep) {
        samples.push_back(double(arrived - stamp) / 1000.0);
    }
}

Percentiles rawLatency(size_t payloadSize, bool tcp, double seconds) {
    static int counter = 0;
    auto& context = *zal::Context::getZMQContext();
    zmq::socket_t publisher(context, zmq::socket_type::pub), subscriber(context, zmq::socket_type::sub);
    publisher.bind(tcp ? "tcp://127.0.0.1:*" : "inproc://bench/raw-latency/" + std::to_string(++counter));
    subscriber.set(zmq::sockopt::subscribe, "");
    subscriber.connect(publisher.get(zmq::sockopt::last_endpoint));
    std::vector<double> samples;
    samples.reserve(size_t(steadyRate * (seconds + 1)));
    const RawPublisher sender(publisher, payloadSize, steadyRate);
    zmq_pollitem_t item{subscriber.handle(), 0, ZMQ_POLLIN, 0};
    if (zmq_poll(&item, 1, 5000) != 1) {
        throw std::runtime_error("raw latency: nothing arrived");
    }
    const auto begin = Clock::now();
    const auto end = begin + warmUp + std::chrono::duration<double>(seconds);
    while (Clock::now() < end) {
        if (zmq_poll(&item, 1, 100) == 1) {
            receiveStamped(subscriber, Clock::now() - begin > warmUp, samples);
        }
    }
    return sortedPercentiles(samples);
}

// A paced zalbench.Source into a zalbench.Latency in one group, its stream on inproc or tcp.
Percentiles zalLatency(Client& client, int payloadSize, bool tcp, double seconds) {
    Group group(client, std::string("latency") + (tcp ? "tcp" : "inproc") + std::to_string(payloadSize));
    group.create("zalbench.Latency", "lat");
    group.create("zalbench.Source", "gen", tcp ? freeTcpAddress() : group.streamAddress("gen"));
    group.set("gen", "size", std::to_string(payloadSize));
    group.set("gen", "rate", std::to_string(steadyRate));
    group.connect("lat", "gen");
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (group.number("lat", "samples") == 0) {
        if (Clock::now() > deadline) {
            throw std::runtime_error("zal latency: nothing arrived");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::this_thread::sleep_for(warmUp);
    group.set("lat", "reset", "1");
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    return {group.real("lat", "p50"), group.real("lat", "p99"), group.real("lat", "p999")};
}

void reportLatency(const std::string& name, const Percentiles& ours, const Percentiles& raw) {
    const std::pair<const char*, double Percentiles::*> fields[] = {
        {"p50", &Percentiles::p50}, {"p99", &Percentiles::p99}, {"p999", &Percentiles::p999}};
    for (const auto& [label, field] : fields) {
        line(name + "_zal_" + label, ours.*field, "us");
        line(name + "_raw_" + label, raw.*field, "us");
        table.push_back({name + " " + label, ours.*field, raw.*field, "us"});
    }
}

}  // namespace

void latency(Client& client, double seconds) {
    const struct {
        const char* label;
        int size;
    } sizes[] = {{"64B", 64}, {"64KiB", 64 * 1024}};
    for (const bool tcp : {false, true}) {
        for (const auto& s : sizes) {
            const Percentiles ours = zalLatency(client, s.size, tcp, seconds);
            const Percentiles raw = rawLatency(size_t(s.size), tcp, seconds);
            reportLatency(std::string("latency_") + (tcp ? "tcp_" : "inproc_") + s.label, ours, raw);
        }
    }
}

}  // namespace zalbench
