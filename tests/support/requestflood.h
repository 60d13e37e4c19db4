// Clients that keep asking until told to stop: load for tests of stopping while requests arrive.
#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "support/frontendclient.h"

namespace zaltest {

// Each client thread owns its socket, sends one request at a time to the destination that
// `destinationOf(client index)` names and waits a short while for its reply.
class RequestFlood {
public:
    RequestFlood(const std::string& frontend, int clients,
                 const std::function<std::string(int)>& destinationOf,
                 const zalmsg::ControlMessage& request) {
        const QByteArray payload = zal::ControlMessageHelper::toPayload(request);
        for (int i = 0; i < clients; ++i) {
            threads.emplace_back([this, frontend, payload, destination = destinationOf(i)] {
                FrontendClient client(frontend);
                while (!stopped) {
                    client.send(destination, payload);
                    if (!client.receive(200).empty()) {
                        ++answered;
                    }
                }
            });
        }
    }
    ~RequestFlood() { stop(); }

    // True once `count` replies have come back, false when they did not within 20 s.
    bool awaitAnswered(long count) const {
        return eventually([&] { return answered >= count; });
    }

    void stop() {
        stopped = true;
        for (auto& thread : threads) {
            if (thread.joinable()) {
                thread.join();
            }
        }
    }

private:
    std::atomic<bool> stopped{false};
    std::atomic<long> answered{0};
    std::vector<std::thread> threads;
};

}  // namespace zaltest
