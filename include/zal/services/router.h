// Joins the outside to the inside: two ROUTER sockets that pass messages across by identity.
#pragma once

#include <memory>
#include <string>
#include <zmq.hpp>

#include "zal/transport/inputclient.h"
#include "zal/services/routerhandler.h"
#include "zal/services/routeroptions.h"
#include "zal/threads/zmqcontrollable.h"
#include "zal/transport/zmqroutersockettemplate.h"

namespace zal {

// Clients connect to the external frontend; the system's own services connect DEALER sockets to
// the internal endpoint with their endpoint names as identities. The router never reads payloads
// and keeps no table: it forwards by the destination identity each message names. All of its
// sockets live in its own thread.
class Router : public ZmqControllable {
public:
    explicit Router(const std::string& frontendAddress, RouterOptions options = {});
    explicit Router(std::shared_ptr<std::string> frontendAddress, RouterOptions options = {});
    ~Router() override;

    // Binds the internal endpoint, then the frontend (a wildcard frontend is written back
    // resolved into the shared address), and with CURVE also the in-process frontend address.
    // Failures are thrown.
    bool initialize() override;
    // Serves the internal side before the external one, one message per side per pass, until the
    // creator speaks. A malformed message ends the loop with SocketError, unless the options
    // say to drop it.
    void process() override;
    void release() override;

private:
    void dropMalformed(const RouterMessage& partial);

    std::shared_ptr<std::string> frontendAddress;
    RouterOptions options;
    std::unique_ptr<zmq::socket_t> externalSocket;
    std::shared_ptr<ZmqRouterSocket> externalRouterSocket;
    std::unique_ptr<ForwardingInputClient<ZmqRouterSocket, RouterMessage, RouterMessage>> externalClient;
    std::unique_ptr<RouterHandler> externalHandler;
    int externalIndex = -1;
    std::string internalAddress;
    std::unique_ptr<zmq::socket_t> internalSocket;
    std::shared_ptr<ZmqRouterSocket> internalRouterSocket;
    std::unique_ptr<ForwardingInputClient<ZmqRouterSocket, RouterMessage, RouterMessage>> internalClient;
    std::unique_ptr<RouterHandler> internalHandler;
    int internalIndex = -1;
};

}  // namespace zal
