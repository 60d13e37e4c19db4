// Control-plane round trips: an outside DEALER client through the router to a name service and
// back, beside a raw libzmq switchboard of the same shape (DEALER -> ROUTER -> ROUTER -> DEALER,
// four frames, no parsing), measured in the same run. Prints "case value unit" lines and ratios.
#include <QByteArray>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>
#include <zmq.hpp>

#include "zal/constants.h"
#include "zal/context.h"
#include "zal/controlmessagehelper.h"
#include "zal/endpoints.h"
#include "zal/nameservice.h"
#include "zal/nameserviceclient.h"
#include "zal/router.h"
#include "zal/zmqcontrollablethread.h"
#include "zal/zmqhelper.h"

using namespace zal;
using Clock = std::chrono::steady_clock;

namespace {

struct Result {
    double perSecond;
    double p50us;
    double p99us;
};

void sendAll(zmq::socket_t& socket, const std::vector<zmq::message_t>& frames) {
    for (size_t i = 0; i < frames.size(); ++i) {
        socket.send(zmq::const_buffer(frames[i].data(), frames[i].size()),
                    i + 1 < frames.size() ? zmq::send_flags::sndmore : zmq::send_flags::none);
    }
}

std::vector<zmq::message_t> receiveAll(zmq::socket_t& socket) {
    std::vector<zmq::message_t> frames;
    do {
        frames.emplace_back();
        (void)socket.recv(frames.back());
    } while (frames.back().more());
    return frames;
}

// Strict request/reply from a DEALER: send, wait for the reply, repeat; latencies per round trip.
Result measure(zmq::socket_t& client, const QByteArray& destination, const QByteArray& payload, int count) {
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
    return {count / seconds, latencies[latencies.size() / 2], latencies[latencies.size() * 99 / 100]};
}

// The raw switchboard: a frontend ROUTER and an internal ROUTER forwarding by identity, with a
// DEALER echo service behind it; no payload is parsed anywhere.
Result rawSwitchboard(const std::string& frontendAddress, const QByteArray& payload, int count) {
    auto& context = *Context::getZMQContext();
    std::atomic<bool> stop{false};
    zmq::socket_t front(context, zmq::socket_type::router), back(context, zmq::socket_type::router);
    std::string frontend = frontendAddress;
    ZmqHelper::bindSocket(front, frontend);
    std::string internal = "inproc://bench/raw-internal";
    ZmqHelper::bindSocket(back, internal);

    std::thread board([&] {
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
    });
    std::thread echo([&] {
        zmq::socket_t service(context, zmq::socket_type::dealer);
        ZmqHelper::connectSocket(service, internal, "inproc://bench/echo");
        zmq_pollitem_t item{service.handle(), 0, ZMQ_POLLIN, 0};
        while (!stop) {
            if (zmq_poll(&item, 1, 50) > 0) {
                sendAll(service, receiveAll(service));
            }
        }
    });

    zmq::socket_t client(context, zmq::socket_type::dealer);
    ZmqHelper::connectSocket(client, frontend);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // let the echo service attach
    const QByteArray destination = ControlMessageHelper::makeIdentity("inproc://bench/echo");
    measure(client, destination, payload, count / 10);
    const Result result = measure(client, destination, payload, count);
    stop = true;
    board.join();
    echo.join();
    return result;
}

// The same road through zal: router thread, name service thread, a "ResolveStream" each way.
Result throughZal(const std::string& frontendAddress, int count) {
    auto frontend = std::make_shared<std::string>(frontendAddress);
    ZmqControllableThread<Router> router(new Router(frontend));
    ZmqControllableThread<NameService> nameService(new NameService("bench", internalAddressPrefixDefault));
    NameServiceClient direct(Endpoints::getInternalNameServiceEndpoint("bench", internalAddressPrefixDefault),
                             socketDefaultTimeout);
    direct.registerStream("stream", "producer",
                          {"tcp://127.0.0.1:5000", "inproc://zal/bench/producer/stream"});

    zmq::socket_t client(*Context::getZMQContext(), zmq::socket_type::dealer);
    ZmqHelper::connectSocket(client, *frontend);
    const QByteArray payload =
        ControlMessageHelper::toPayload(ControlMessageHelper::makeResolveStreamMessage("stream"));
    const QByteArray destination = ControlMessageHelper::makeIdentity(
        Endpoints::getNameServiceEndpoint("bench", internalAddressPrefixDefault));
    measure(client, destination, payload, count / 10);
    return measure(client, destination, payload, count);
}

void report(const char* name, const Result& r) {
    std::printf("%s_rate %.0f roundtrips/s\n%s_p50 %.1f us\n%s_p99 %.1f us\n", name, r.perSecond, name,
                r.p50us, name, r.p99us);
}

}  // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 20000;
    // A reply to "ResolveStream" with two addresses is about 300 bytes; the raw case echoes as many.
    const QByteArray payload(300, 'x');
    std::printf("# %d strict round trips per case after %d warm-up\n", count, count / 10);
    struct Case {
        const char* transport;
        const char* frontend;
    } cases[] = {{"inproc", "inproc://bench/frontend"}, {"tcp", "tcp://127.0.0.1:*"}};
    for (const Case& c : cases) {
        const Result raw = rawSwitchboard(c.frontend, payload, count);
        const Result ours = throughZal(c.frontend, count);
        const std::string rawName = std::string("control_raw_") + c.transport;
        const std::string zalName = std::string("control_zal_") + c.transport;
        report(rawName.c_str(), raw);
        report(zalName.c_str(), ours);
        std::printf("control_ratio_%s %.2f zal/raw\n", c.transport, ours.perSecond / raw.perSecond);
    }
    return 0;
}
