// Test helpers for raw sockets (made in the process context, whole messages read with a bound) and
// for waiting on a condition with a bound, and what a call throws.
#pragma once

#include <QByteArray>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>
#include <zmq.hpp>

#include "zal/transport/context.h"

namespace zaltest {

inline zmq::socket_t makeSocket(zmq::socket_type type) {
    return zmq::socket_t(*zal::Context::getZMQContext(), type);
}

// A fresh in-process address per call, so tests never meet each other's endpoints.
inline std::string uniqueInproc(const std::string& stem = "test") {
    static std::atomic<int> counter{0};
    return "inproc://zaltest/" + stem + "/" + std::to_string(++counter);
}

// Waits up to timeoutMs for the socket to become readable.
inline bool waitReadable(zmq::socket_t& socket, long timeoutMs = 5000) {
    zmq_pollitem_t item{socket.handle(), 0, ZMQ_POLLIN, 0};
    return zmq_poll(&item, 1, timeoutMs) == 1;
}

// Reads every frame of the next message; empty when nothing arrives in time.
inline std::vector<QByteArray> receiveFrames(zmq::socket_t& socket, long timeoutMs = 5000) {
    std::vector<QByteArray> frames;
    if (!waitReadable(socket, timeoutMs)) {
        return frames;
    }
    zmq::message_t part;
    do {
        (void)socket.recv(part, zmq::recv_flags::none);
        frames.emplace_back(static_cast<const char*>(part.data()), static_cast<qsizetype>(part.size()));
    } while (part.more());
    return frames;
}

inline void sendFrames(zmq::socket_t& socket, const std::vector<QByteArray>& frames) {
    for (size_t i = 0; i < frames.size(); ++i) {
        const auto flags = i + 1 < frames.size() ? zmq::send_flags::sndmore : zmq::send_flags::none;
        socket.send(zmq::const_buffer(frames[i].constData(), static_cast<size_t>(frames[i].size())), flags);
    }
}

// Calls `done` until it holds or `seconds` passed; whether it held.
template <class Done>
bool eventually(Done&& done, int seconds = 20) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    for (; !done(); std::this_thread::yield()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
    }
    return true;
}

// What the `Exception` that `f` throws says; empty when it throws nothing.
template <class Exception, class F>
std::string whatOf(F&& f) {
    try {
        f();
    } catch (const Exception& e) {
        return e.what();
    }
    return std::string();
}

// The number of the ZeroMQ error that `f` throws; 0 when it throws none.
template <class F>
int zmqErrorOf(F&& f) {
    try {
        f();
    } catch (const zmq::error_t& e) {
        return e.num();
    }
    return 0;
}

}  // namespace zaltest
