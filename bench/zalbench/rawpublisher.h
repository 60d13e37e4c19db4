// A raw libzmq publisher thread sending one payload, the raw side of every stream case.
#pragma once

#include <QByteArray>
#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <zmq.hpp>

namespace zalbench {

// Flat out (rate 0), the publisher drops at its high-water mark, as zal's does, so both sides
// count what arrives in a window rather than what was sent. Paced (rate > 0), it sleeps until each
// message's time and writes the steady clock's nanoseconds into the first eight bytes of the
// payload just before sending, as a paced zalbench.Source does.
class RawPublisher {
public:
    RawPublisher(zmq::socket_t& publisher, size_t payloadSize, int rate = 0)
        : sender([this, &publisher, payloadSize, rate] { run(publisher, payloadSize, rate); }) {}
    ~RawPublisher() {
        stop = true;
        sender.join();
    }
    RawPublisher(const RawPublisher&) = delete;
    RawPublisher& operator=(const RawPublisher&) = delete;

    static long long nowNanoseconds() {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(
                   std::chrono::steady_clock::now().time_since_epoch())
            .count();
    }

private:
    void run(zmq::socket_t& publisher, size_t payloadSize, int rate) {
        using Clock = std::chrono::steady_clock;
        const QByteArray topic = "demo";
        QByteArray payload(qsizetype(payloadSize), 'a');
        const auto interval = std::chrono::nanoseconds(rate > 0 ? 1'000'000'000 / rate : 0);
        auto due = Clock::now();
        while (!stop) {
            if (rate > 0) {
                due = Clock::now() - due > std::chrono::milliseconds(10) ? Clock::now() : due;
                std::this_thread::sleep_until(due);
                due += interval;
                const long long stamp = nowNanoseconds();
                std::memcpy(payload.data(), &stamp, sizeof stamp);
            }
            publisher.send(zmq::const_buffer(topic.constData(), size_t(topic.size())),
                           zmq::send_flags::sndmore);
            publisher.send(zmq::const_buffer(payload.constData(), payloadSize), zmq::send_flags::none);
        }
    }

    std::atomic<bool> stop{false};
    std::thread sender;
};

}  // namespace zalbench
