// Fan-out: one flat-out 64 B stream to many consumers, zal's group against raw PUB with many SUBs.
#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>
#include <zmq.hpp>

#include "cases.h"
#include "common.h"
#include "group.h"
#include "rawpublisher.h"
#include "zal/transport/context.h"

namespace zalbench {

namespace {

// A SUB in its own thread, draining after each poll as zal's inputs do, counting what arrives.
class CountingSubscriber {
public:
    explicit CountingSubscriber(const std::string& address)
        : socket(*zal::Context::getZMQContext(), zmq::socket_type::sub) {
        socket.set(zmq::sockopt::subscribe, "");
        socket.connect(address);
        receiver = std::thread([this] { run(); });
    }
    ~CountingSubscriber() {
        stop = true;
        receiver.join();
    }
    CountingSubscriber(const CountingSubscriber&) = delete;
    CountingSubscriber& operator=(const CountingSubscriber&) = delete;

    long long count() const { return received.load(std::memory_order_relaxed); }

private:
    void run() {
        zmq_pollitem_t item{socket.handle(), 0, ZMQ_POLLIN, 0};
        zmq::message_t frame;
        while (!stop) {
            if (zmq_poll(&item, 1, 50) != 1) {
                continue;
            }
            while (socket.recv(frame, zmq::recv_flags::dontwait)) {
                if (!frame.more()) {
                    received.fetch_add(1, std::memory_order_relaxed);
                }
            }
        }
    }

    zmq::socket_t socket;
    std::atomic<bool> stop{false};
    std::atomic<long long> received{0};
    std::thread receiver;
};

// Messages per second summed over all consumers, best of the windows; `total` reads the sum.
template <typename Total>
double bestSummedRate(Total total, double seconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // past the start-up burst
    double best = 0;
    for (int window = 0; window < windows; ++window) {
        const long long before = total();
        const auto begin = Clock::now();
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        best = std::max(best, double(total() - before) / secondsSince(begin));
    }
    return best;
}

template <typename Ready>
void awaitAll(Ready ready, const char* side) {
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (!ready()) {
        if (Clock::now() > deadline) {
            throw std::runtime_error(std::string(side) + " fan-out: a consumer received nothing");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

double rawFanOut(int width, double seconds) {
    static int counter = 0;
    zmq::socket_t publisher(*zal::Context::getZMQContext(), zmq::socket_type::pub);
    const std::string address = "inproc://bench/raw-fanout/" + std::to_string(++counter);
    publisher.bind(address);
    std::vector<std::unique_ptr<CountingSubscriber>> subscribers;
    for (int i = 0; i < width; ++i) {
        subscribers.push_back(std::make_unique<CountingSubscriber>(address));
    }
    const auto total = [&] {
        long long sum = 0;
        for (const auto& s : subscribers) {
            sum += s->count();
        }
        return sum;
    };
    const RawPublisher sender(publisher, 64);
    awaitAll(
        [&] {
            return std::all_of(subscribers.begin(), subscribers.end(),
                               [](auto& s) { return s->count() > 0; });
        },
        "raw");
    return bestSummedRate(total, seconds);
}

double zalFanOut(Client& client, int width, double seconds) {
    Group group(client, "fanout" + std::to_string(width));
    group.create("zalbench.Source", "gen");
    std::vector<std::string> consumers;
    for (int i = 0; i < width; ++i) {
        consumers.push_back("count" + std::to_string(i));
        group.create("demo.Counter", consumers.back());
        group.connect(consumers.back(), "gen");
    }
    const auto total = [&] {
        long long sum = 0;
        for (const auto& c : consumers) {
            sum += group.number(c, "messages");
        }
        return sum;
    };
    awaitAll(
        [&] {
            return std::all_of(consumers.begin(), consumers.end(),
                               [&](const std::string& c) { return group.number(c, "messages") > 0; });
        },
        "zal");
    return bestSummedRate(total, seconds);
}

}  // namespace

void fanOut(Client& client, double seconds) {
    for (const int width : {1, 4, 16}) {
        const std::string name = "fanout_" + std::to_string(width);
        const double ours = zalFanOut(client, width, seconds);
        const double raw = rawFanOut(width, seconds);
        line(name + "_zal", ours, "msg/s");
        line(name + "_raw", raw, "msg/s");
        table.push_back({name + " summed over consumers", ours, raw, "msg/s"});
    }
}

}  // namespace zalbench
