// Decides which CURVE clients the router's frontend lets in: ZeroMQ's authentication protocol (ZAP).
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>
#include <zmq.hpp>

#include "zal/threads/zmqcontrollable.h"

namespace zal {

// libzmq asks, for every CURVE handshake on a socket of the process context, over a REQ socket
// of its own to the in-process endpoint zapEndpoint; whoever binds that endpoint answers. There is
// one such endpoint per context, hence at most one handler per process. The handler runs in its
// own controlled thread and owns its REP socket; a handshake waits for its answer, so the handler
// must be started before the frontend accepts connections and stopped after it closed.
//
// Admitted: mechanism CURVE, domain `domain` with a client public key in the authorised set, or
// domain `dataDomain` (the host's tcp data streams) with one in the data set. Everything else,
// malformed requests included, is refused, and the client gets nothing.
class ZapHandler : public ZmqControllable {
public:
    static const char* const zapEndpoint;
    // The ZAP domain the router's frontend asks for.
    static const char* const domain;
    // The ZAP domain of data streams served over tcp.
    static const char* const dataDomain;

    // Keys in Z85; they must be valid (CurveKeys::isKey).
    explicit ZapHandler(const std::vector<std::string>& authorizedKeys,
                        const std::vector<std::string>& dataAuthorizedKeys = {});
    ~ZapHandler() override;

    bool initialize() override;
    void process() override;
    void release() override;

private:
    void answerRequest();
    // The keys admitted in a domain; null for a domain nobody is admitted in.
    const std::set<std::string>* keysOf(const std::string& requestDomain) const;

    std::set<std::string> authorized;  // 32-byte binary keys, as the requests carry them
    std::set<std::string> dataAuthorized;
    std::unique_ptr<zmq::socket_t> socket;
    int socketIndex = -1;
};

}  // namespace zal
