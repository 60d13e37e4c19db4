// Strict request/reply measurement and the raw libzmq switchboard it is compared against, shared by
// the benchmark programs so that every comparison with raw libzmq uses the same road.
#pragma once

#include <QByteArray>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>
#include <zmq.hpp>

#include "quantile.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/context.h"
#include "zal/transport/zmqhelper.h"

namespace zalbench {

using Clock = std::chrono::steady_clock;

struct RoundTrips {
    double perSecond;
    double p50us;
    double p99us;
};

inline void sendAll(zmq::socket_t& socket, const std::vector<zmq::message_t>& frames) {
    for (size_t i = 0; i < frames.size(); ++i) {
        socket.send(zmq::const_buffer(frames[i].data(), frames[i].size()),
                    i + 1 < frames.size() ? zmq::send_flags::sndmore : zmq::send_flags::none);
    }
}

inline std::vector<zmq::message_t> receiveAll(zmq::socket_t& socket) {
    std::vector<zmq::message_t> frames;
    do {
        frames.emplace_back();
        (void)socket.recv(frames.back());
    } while (frames.back().more());
    return frames;
}

// Strict request/reply from a DEALER: send, wait for the reply, repeat; latencies per round trip.
inline RoundTrips measureRoundTrips(zmq::socket_t& client, const QByteArray& destination,
                                    const QByteArray& payload, int count) {
    const std::vector<QByteArray> request{"", destination, payload};
    std::vector<double> latencies;
    latencies.reserve(static_cast<size_t>(count));
    const auto begin = Clock::now();
    for (int i = 0; i < count; ++i) {
        const auto start = Clock::now();
        for (size_t f = 0; f < request.size(); ++f) {
            client.send(zmq::const_buffer(request[f].constData(), static_cast<size_t>(request[f].size())),
                        f + 1 < request.size() ? zmq::send_flags::sndmore : zmq::send_flags::none);
        }
        receiveAll(client);
        latencies.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    std::sort(latencies.begin(), latencies.end());
    return {count / seconds, quantile(latencies, 0.5), quantile(latencies, 0.99)};
}

// The raw switchboard: a frontend ROUTER and an internal ROUTER forwarding by identity, with a
// DEALER echo service behind it; no payload is parsed anywhere. It serves from construction to
// destruction, so that its measurements can alternate with zal's.
class RawSwitchboard {
public:
    explicit RawSwitchboard(const std::string& frontendAddress)
        : front(context(), zmq::socket_type::router),
          back(context(), zmq::socket_type::router),
          frontend(frontendAddress) {
        zal::ZmqHelper::bindSocket(front, frontend);
        std::string internal = "inproc://bench/raw-internal";
        zal::ZmqHelper::bindSocket(back, internal);
        board = std::thread([this] { forward(); });
        echo = std::thread([this, internal] { serve(internal); });
        zal::ZmqHelper::connectSocket(client, frontend);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));  // let the echo service attach
    }
    ~RawSwitchboard() {
        stop = true;
        board.join();
        echo.join();
    }
    RawSwitchboard(const RawSwitchboard&) = delete;
    RawSwitchboard& operator=(const RawSwitchboard&) = delete;

    RoundTrips measure(const QByteArray& payload, int count) {
        return measureRoundTrips(client, zal::ControlMessageHelper::makeIdentity("inproc://bench/echo"),
                                 payload, count);
    }

private:
    static zmq::context_t& context() { return *zal::Context::getZMQContext(); }

    void forward() {
        zmq_pollitem_t items[] = {{back.handle(), 0, ZMQ_POLLIN, 0}, {front.handle(), 0, ZMQ_POLLIN, 0}};
        while (!stop) {
            if (zmq_poll(items, 2, 50) <= 0) {
                continue;
            }
            for (int side = 0; side < 2; ++side) {
                if (items[side].revents == 0) {
                    continue;
                }
                zmq::socket_t& in = side == 0 ? back : front;
                zmq::socket_t& out = side == 0 ? front : back;
                auto frames = receiveAll(in);  // from, empty, to, data
                std::swap(frames[0], frames[2]);
                sendAll(out, frames);
            }
        }
    }

    void serve(const std::string& internal) {
        zmq::socket_t service(context(), zmq::socket_type::dealer);
        zal::ZmqHelper::connectSocket(service, internal, "inproc://bench/echo");
        zmq_pollitem_t item{service.handle(), 0, ZMQ_POLLIN, 0};
        while (!stop) {
            if (zmq_poll(&item, 1, 50) > 0) {
                sendAll(service, receiveAll(service));
            }
        }
    }

    std::atomic<bool> stop{false};
    zmq::socket_t front, back;
    std::string frontend;
    zmq::socket_t client{context(), zmq::socket_type::dealer};
    std::thread board, echo;
};

// One warm-up of a tenth, then count strict round trips through a fresh raw switchboard.
inline RoundTrips rawSwitchboard(const std::string& frontendAddress, const QByteArray& payload, int count) {
    RawSwitchboard board(frontendAddress);
    board.measure(payload, count / 10);
    return board.measure(payload, count);
}

}  // namespace zalbench
