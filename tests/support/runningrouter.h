// A router thread with a TCP frontend, as the environment starts it, for tests of what lies behind it.
#pragma once

#include <memory>
#include <string>

#include "zal/services/router.h"
#include "zal/threads/zmqcontrollablethread.h"

namespace zaltest {

struct RunningRouter {
    explicit RunningRouter(zal::RouterOptions options = {})
        : thread(
              std::make_unique<zal::ZmqControllableThread<zal::Router>>(new zal::Router(frontend, options))) {
    }

    std::shared_ptr<std::string> frontend = std::make_shared<std::string>("tcp://127.0.0.1:*");
    std::unique_ptr<zal::ZmqControllableThread<zal::Router>> thread;
};

}  // namespace zaltest
