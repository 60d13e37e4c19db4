// The process-wide context: one instance, its limits, and its irreversible reset.
// Runs as a binary of its own, since a reset context cannot come back.
#include <gtest/gtest.h>

#include <future>
#include <zmq.hpp>

#include "zal/transport/context.h"

using zal::Context;

TEST(Context, IsOneInstanceWithRoomForManySocketsUntilReset) {
    auto fromOtherThread = std::async(std::launch::async, [] { return &Context::Instance(); });
    EXPECT_EQ(fromOtherThread.get(), &Context::Instance());

    auto context = Context::getZMQContext();
    ASSERT_TRUE(context);
    EXPECT_EQ(context, Context::getZMQContext());
    EXPECT_EQ(zmq_ctx_get(context->handle(), ZMQ_MAX_SOCKETS), 4095);
    EXPECT_EQ(zmq_ctx_get(context->handle(), ZMQ_IO_THREADS), 1);

    // More sockets than ZeroMQ's default limit of 1023 fit.
    std::vector<zmq::socket_t> sockets;
    for (int i = 0; i < 1100; ++i) {
        sockets.emplace_back(*context, zmq::socket_type::pair);
    }
    sockets.clear();

    // A reference taken before the reset keeps the context alive for its holder.
    Context::reset();
    EXPECT_FALSE(Context::getZMQContext());
    zmq::socket_t stillPossible(*context, zmq::socket_type::pair);
    stillPossible.close();
    Context::reset();
    Context::Instance().aboutToTerminate();
    EXPECT_FALSE(Context::getZMQContext());
}
