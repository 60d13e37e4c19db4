// A processor's line to its group's name service: register, deregister and resolve streams.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "zal/services/requestclienttemplate.h"

namespace zal {

// Belongs to one thread; copies share the request client and so must stay in that thread.
// Requests return true exactly when a reply arrived with result "Success"; time-outs and refusals
// are results, not exceptions, and getLastMessageText() tells which.
class NameServiceClient {
public:
    // Requests travel as the bare payload on a REQ socket (the socket adds its own delimiter).
    NameServiceClient(const std::string& endpoint, int timeoutMs);
    NameServiceClient(const std::string& endpoint, std::shared_ptr<RequestClient> client);

    bool registerStream(const std::string& name, const std::string& processorName,
                        const std::vector<std::string>& addresses);
    bool deregisterStream(const std::string& name);
    // On success fills both outputs; on failure leaves them as they were.
    bool resolveStream(const std::string& name, std::string& processorName,
                       std::vector<std::string>& addresses);

    std::string getLastMessageText() const;

private:
    std::string endpoint;
    std::shared_ptr<RequestClient> client;
};

}  // namespace zal
