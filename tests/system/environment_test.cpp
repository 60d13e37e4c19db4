// The whole system in one process at scale: an environment holding twenty groups of ten processors
// with data flowing is destroyed, which must stop everything. What a single group or processor
// does over the frontend is tested where a user meets it, through zalctl (tests/tools).
#include <gtest/gtest.h>

#include "support/frontendclient.h"
#include "zal/host/environment.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

using namespace zal;
using Helper = ControlMessageHelper;

TEST(SystemScale, ShutsDownTwentyGroupsOfTenProcessorsWhileDataFlows) {
    const std::string manager = internalAddressPrefixDefault;
    auto environment = std::make_unique<Environment>("tcp://127.0.0.1:*");
    zaltest::FrontendClient client(environment->getRouterFrontendAddress());
    for (int g = 0; g < 20; ++g) {
        const std::string name = "g" + std::to_string(g);
        client.succeed(manager, Helper::makeCreateProcessorGroupMessage(name));
        for (int p = 0; p < 5; ++p) {
            const std::string source = "src" + std::to_string(p);
            const std::string sink = "sink" + std::to_string(p);
            const std::string address = "inproc://scale/" + name + "/" + source;
            const std::string group = Endpoints::getGroupEndpoint(name, manager);
            client.succeed(group, zaltest::createRequest("testplugin.Source", source, source, address));
            client.succeed(group, zaltest::createRequest("testplugin.Sink", sink, sink, address + "/sink"));
            client.succeed(Endpoints::getProcessorEndpoint(name, sink, manager),
                           Helper::makeConnectStreamMessage(source, address, ""));
            client.succeed(Endpoints::getProcessorEndpoint(name, source, manager),
                           Helper::makeSetParameterMessage("interval", "10"));
        }
    }
    // Data is flowing to the last sink before the shutdown starts.
    const std::string lastSink = Endpoints::getProcessorEndpoint("g19", "sink4", manager);
    EXPECT_TRUE(zaltest::eventually([&] {
        return client.succeed(lastSink, Helper::makeGetParameterMessage("count")).GetParameter().toInt() > 0;
    }));

    // Destroying the environment stops every thread and closes every socket, or it never returns.
    environment.reset();
}
