// NNG beside zal: pub/sub streaming and request/reply through a forwarding device, as a user of
// NNG would write them, each compared with zal's figure of the same shape from the same run.
#include <nng/nng.h>
#include <nng/protocol/pubsub0/pub.h>
#include <nng/protocol/pubsub0/sub.h>
#include <nng/protocol/reqrep0/rep.h>
#include <nng/protocol/reqrep0/req.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "../quantile.h"
#include "cases.h"
#include "common.h"
#include "zal/msg/controlmessagehelper.h"

namespace zalbench {

namespace {

void check(int result, const char* what) {
    if (result != 0) {
        throw std::runtime_error(std::string("nng: ") + what + ": " + nng_strerror(result));
    }
}

// Every socket is closed once, whatever ends the case.
class Socket {
public:
    Socket(int (*opener)(nng_socket*), const char* what) { check(opener(&handle), what); }
    ~Socket() { close(); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    void close() {
        if (open) {
            nng_close(handle);
            open = false;
        }
    }
    nng_socket handle{};

private:
    bool open = true;
};

// Listens at `url` ("tcp://127.0.0.1:0" takes a free port) and returns the address to dial.
std::string listenAt(Socket& socket, const std::string& url) {
    nng_listener listener{};
    check(nng_listen(socket.handle, url.c_str(), &listener, 0), "listen");
    if (url.rfind("tcp://", 0) != 0) {
        return url;
    }
    int port = 0;
    check(nng_listener_get_int(listener, NNG_OPT_TCP_BOUND_PORT, &port), "bound port");
    return "tcp://127.0.0.1:" + std::to_string(port);
}

// Messages received per second in the best window, from a flat-out publisher; the message is the
// topic "demo" followed by the payload, since NNG subscribes by prefix of one message.
double nngStream(size_t payloadSize, double seconds) {
    static int counter = 0;
    Socket publisher(nng_pub0_open, "pub"), subscriber(nng_sub0_open, "sub");
    const std::string url = listenAt(publisher, "inproc://nng-stream-" + std::to_string(++counter));
    check(nng_socket_set(subscriber.handle, NNG_OPT_SUB_SUBSCRIBE, "demo", 4), "subscribe");
    check(nng_socket_set_ms(subscriber.handle, NNG_OPT_RECVTIMEO, 100), "receive timeout");
    // As deep as ZeroMQ's default high-water mark of 1000 messages, which zal's streams keep.
    check(nng_socket_set_int(subscriber.handle, NNG_OPT_RECVBUF, 1000), "receive buffer");
    check(nng_dial(subscriber.handle, url.c_str(), nullptr, 0), "dial");
    std::atomic<bool> stop{false};
    std::thread sender([&] {
        std::vector<char> message(payloadSize + 4, 'a');
        std::copy_n("demo", 4, message.begin());
        while (!stop) {
            nng_send(publisher.handle, message.data(), message.size(), 0);
        }
    });
    double best = 0;
    for (int window = 0; window <= windows; ++window) {  // the first one is a warm-up
        long long received = 0;
        const auto begin = Clock::now();
        while (secondsSince(begin) < seconds) {
            nng_msg* message = nullptr;
            if (nng_recvmsg(subscriber.handle, &message, 0) == 0) {
                nng_msg_free(message);
                ++received;
            }
        }
        best = window == 0 ? 0 : std::max(best, double(received) / secondsSince(begin));
    }
    stop = true;
    sender.join();
    return best;
}

// A REP socket that answers every request with `replySize` bytes until its socket closes.
void echo(nng_socket service, size_t replySize) {
    std::vector<char> reply(replySize, 'x');
    for (;;) {
        nng_msg* request = nullptr;
        if (nng_recvmsg(service, &request, 0) != 0) {
            return;
        }
        nng_msg_free(request);
        nng_send(service, reply.data(), reply.size(), 0);
    }
}

// Client REQ -> raw REP frontend -> nng_device -> raw REQ backend -> REP echo service: the shape
// of a control round trip through zal's router to a processor.
class Forwarder {
public:
    Forwarder(const std::string& transport, size_t replySize)
        : front(nng_rep0_open_raw, "raw rep"),
          back(nng_req0_open_raw, "raw req"),
          service(nng_rep0_open, "rep"),
          client(nng_req0_open, "req") {
        const bool tcp = transport == "tcp";
        const std::string frontUrl = listenAt(front, tcp ? "tcp://127.0.0.1:0" : "inproc://nng-front");
        const std::string backUrl = listenAt(back, tcp ? "tcp://127.0.0.1:0" : "inproc://nng-back");
        device = std::thread([this] { nng_device(front.handle, back.handle); });
        check(nng_dial(service.handle, backUrl.c_str(), nullptr, 0), "dial backend");
        responder = std::thread([this, replySize] { echo(service.handle, replySize); });
        check(nng_dial(client.handle, frontUrl.c_str(), nullptr, 0), "dial frontend");
    }
    ~Forwarder() {
        client.close();
        front.close();
        back.close();
        device.join();
        service.close();
        responder.join();
    }
    Forwarder(const Forwarder&) = delete;
    Forwarder& operator=(const Forwarder&) = delete;

    RoundTrips measure(std::vector<char>& request, int count);

private:
    Socket front, back, service, client;
    std::thread device, responder;
};

RoundTrips Forwarder::measure(std::vector<char>& request, int count) {
    std::vector<double> latencies;
    latencies.reserve(size_t(count));
    const auto begin = Clock::now();
    for (int i = 0; i < count; ++i) {
        const auto start = Clock::now();
        check(nng_send(client.handle, request.data(), request.size(), 0), "send");
        nng_msg* reply = nullptr;
        check(nng_recvmsg(client.handle, &reply, 0), "receive");
        nng_msg_free(reply);
        latencies.push_back(microsecondsSince(start));
    }
    const double elapsed = secondsSince(begin);
    std::sort(latencies.begin(), latencies.end());
    return {count / elapsed, quantile(latencies, 0.5), quantile(latencies, 0.99)};
}

// Rounds of strict round trips, the best round's rate and percentiles, as zal's control case does.
RoundTrips nngRoundTrips(const std::string& transport, int count) {
    constexpr int rounds = 8;
    const QByteArray zalRequest =
        zal::ControlMessageHelper::toPayload(zal::ControlMessageHelper::makeGetParameterMessage("messages"));
    std::vector<char> request(zalRequest.begin(), zalRequest.end());
    const auto reply = figures.find("control_reply_size");
    Forwarder forwarder(transport, reply != figures.end() ? size_t(reply->second) : request.size());
    forwarder.measure(request, count / 10);
    RoundTrips best{};
    for (int round = 0; round < rounds; ++round) {
        const RoundTrips r = forwarder.measure(request, count / rounds);
        best = r.perSecond > best.perSecond ? r : best;
    }
    return best;
}

// A row of zal's figure (printed earlier in this run) against NNG's, when zal's case ran.
void compare(const std::string& row, const std::string& zalFigure, double nngValue, const char* unit) {
    const auto ours = figures.find(zalFigure);
    if (ours != figures.end()) {
        table.push_back({row, ours->second, nngValue, unit});
    }
}

}  // namespace

void nngPeer(double seconds, int roundTrips) {
    for (const auto& [label, size] : {std::pair{"64B", 64}, std::pair{"64KiB", 64 * 1024}}) {
        const double rate = nngStream(size_t(size), seconds);
        line(std::string("nng_stream_") + label, rate, "msg/s");
        compare(std::string("stream_") + label + " zal vs NNG", std::string("stream_") + label + "_zal", rate,
                "msg/s");
    }
    for (const std::string transport : {"inproc", "tcp"}) {
        const RoundTrips r = nngRoundTrips(transport, roundTrips);
        const std::string name = "nng_reqrep_" + transport;
        line(name + "_rate", r.perSecond, "roundtrips/s");
        line(name + "_p50", r.p50us, "us");
        line(name + "_p99", r.p99us, "us");
        compare("control_" + transport + " zal vs NNG rate", "control_" + transport + "_zal_rate",
                r.perSecond, "roundtrips/s");
        compare("control_" + transport + " zal vs NNG p50", "control_" + transport + "_zal_p50", r.p50us,
                "us");
    }
}

}  // namespace zalbench
