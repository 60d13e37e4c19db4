// Control-plane round trips: an outside DEALER client through the router to a name service and
// back, beside a raw libzmq switchboard of the same shape (DEALER -> ROUTER -> ROUTER -> DEALER,
// four frames, no parsing), measured in the same run. Prints "case value unit" lines and ratios.
#include <QByteArray>
#include <cstdio>
#include <cstdlib>
#include <zmq.hpp>

#include "roundtrip.h"
#include "zal/transport/constants.h"
#include "zal/transport/context.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/endpoints.h"
#include "zal/services/nameservice.h"
#include "zal/services/nameserviceclient.h"
#include "zal/services/router.h"
#include "zal/threads/zmqcontrollablethread.h"
#include "zal/transport/zmqhelper.h"

using namespace zal;

namespace {

using Result = zalbench::RoundTrips;
using zalbench::measureRoundTrips;
using zalbench::rawSwitchboard;

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
    measureRoundTrips(client, destination, payload, count / 10);
    return measureRoundTrips(client, destination, payload, count);
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
