// Raw libzmq PUB or SUB across hosts: the baseline the cross-host benchmark sets zal's streams against.
//   zal_rawpeer pub ADDR SIZE      binds ADDR, publishes topic "demo" and SIZE bytes flat out until killed
//   zal_rawpeer sub ADDR SECONDS   connects to ADDR, prints "rate R msg/s" over SECONDS and ends
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>
#include <zmq.hpp>

namespace {

using Clock = std::chrono::steady_clock;

// The sender drops at its high-water mark as zal's streams do, so only what arrives is counted.
int publish(const char* address, size_t size) {
    zmq::context_t context;
    zmq::socket_t publisher(context, zmq::socket_type::pub);
    publisher.bind(address);
    const std::string topic = "demo";
    const std::vector<char> payload(size, 'a');
    for (;;) {
        publisher.send(zmq::const_buffer(topic.data(), topic.size()), zmq::send_flags::sndmore);
        publisher.send(zmq::const_buffer(payload.data(), payload.size()), zmq::send_flags::none);
    }
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// One message of any number of frames; false when none came within the receive timeout.
bool receiveOne(zmq::socket_t& subscriber, zmq::message_t& frame) {
    if (!subscriber.recv(frame)) {
        return false;
    }
    while (frame.more()) {
        (void)subscriber.recv(frame);
    }
    return true;
}

int subscribe(const char* address, double seconds) {
    zmq::context_t context;
    zmq::socket_t subscriber(context, zmq::socket_type::sub);
    // A publisher that is gone or never came ends the run instead of hanging it.
    subscriber.set(zmq::sockopt::rcvtimeo, 10000);
    subscriber.set(zmq::sockopt::subscribe, "");
    subscriber.connect(address);
    zmq::message_t frame;
    if (!receiveOne(subscriber, frame)) {
        std::fprintf(stderr, "zal_rawpeer: nothing arrived from %s\n", address);
        return 1;
    }
    // Counting starts past the start-up burst, as on zal's side; the clock is read every 256
    // messages only, so that reading it costs the baseline nothing it would not cost zal.
    const auto first = Clock::now();
    Clock::time_point begin;
    long long received = 0;
    long long atBegin = -1;
    for (;; ++received) {
        if (!receiveOne(subscriber, frame)) {
            std::fprintf(stderr, "zal_rawpeer: the stream stopped\n");
            return 1;
        }
        if (received % 256 != 0) {
            continue;
        }
        if (atBegin < 0 && secondsSince(first) >= 0.2) {
            atBegin = received;
            begin = Clock::now();
        } else if (atBegin >= 0 && secondsSince(begin) >= seconds) {
            break;
        }
    }
    std::printf("rate %.1f msg/s\n", double(received - atBegin) / secondsSince(begin));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc == 4 ? argv[1] : "";
    if (mode == "pub") {
        return publish(argv[2], std::strtoull(argv[3], nullptr, 10));
    }
    if (mode == "sub") {
        return subscribe(argv[2], std::strtod(argv[3], nullptr));
    }
    std::fprintf(stderr, "usage: zal_rawpeer pub ADDR SIZE | sub ADDR SECONDS\n");
    return 2;
}
