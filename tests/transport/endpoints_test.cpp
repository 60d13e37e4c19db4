// The endpoint scheme and the library-wide constants.
#include <gtest/gtest.h>

#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

using namespace zal;

TEST(Endpoints, FormOneSchemeUnderThePrefix) {
    const std::string p = internalAddressPrefixDefault;
    EXPECT_EQ(p, "inproc://zal");
    EXPECT_EQ(Endpoints::getGroupManagerEndpoint(p), "inproc://zal");
    EXPECT_EQ(Endpoints::getInternalRouterEndpoint(p), "inproc://zal/__router__internal__");
    EXPECT_EQ(Endpoints::getGroupEndpoint("g", p), "inproc://zal/g");
    EXPECT_EQ(Endpoints::getGroupBroadcastEndpoint("g", p), "inproc://zal/g/broadcast");
    EXPECT_EQ(Endpoints::getNameServiceEndpoint("g", p), "inproc://zal/g/nameservice");
    EXPECT_EQ(Endpoints::getInternalNameServiceEndpoint("g", p), "inproc://zal/g/__nameservice__internal__");
    EXPECT_EQ(Endpoints::getProcessorEndpoint("g", "p", p), "inproc://zal/g/p");
    EXPECT_EQ(Endpoints::getInprocStreamEndpoint("g", "p", "s", p), "inproc://zal/g/p/s");

    EXPECT_EQ(Endpoints::getInprocStreamEndpoint("g", "p", "s", "inproc://x"), "inproc://x/g/p/s");
    EXPECT_EQ(Endpoints::getProcessorEndpoint("", "", "inproc://x"), "inproc://x//");
    EXPECT_EQ(routerFrontendAddressDefault, "inproc://zal/__router__external__");
    EXPECT_EQ(socketDefaultTimeout, 4000);
    EXPECT_EQ(socketInfiniteTimeout, -1);
}
