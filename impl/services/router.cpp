#include "zal/router.h"

#include "zal/constants.h"
#include "zal/context.h"
#include "zal/endpoints.h"
#include "zal/zmqhelper.h"

namespace zal {

namespace {

std::unique_ptr<zmq::socket_t> makeMandatoryRouter() {
    auto socket = std::make_unique<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::router);
    socket->set(zmq::sockopt::router_mandatory, 1);
    return socket;
}

}  // namespace

Router::Router(const std::string& frontendAddress) : Router(std::make_shared<std::string>(frontendAddress)) {}

Router::Router(std::shared_ptr<std::string> frontendAddress)
    : frontendAddress(std::move(frontendAddress)),
      internalAddress(Endpoints::getInternalRouterEndpoint(internalAddressPrefixDefault)) {}

Router::~Router() {
    release();
}

bool Router::initialize() {
    addCreatorSocket();
    externalSocket = makeMandatoryRouter();
    // A client that stops reading fills its connection; a blocking send would then stop the
    // router, and with it every other client and service. A reply that no longer fits is
    // dropped like one for a client that has gone.
    externalSocket->set(zmq::sockopt::sndtimeo, 0);
    internalSocket = makeMandatoryRouter();
    // A group or processor deleted and created again under the same name connects with the same
    // identity while the old connection may still be closing; without the hand-over the router
    // would keep the old one and every request to the new service would be dropped.
    internalSocket->set(zmq::sockopt::router_handover, 1);
    externalRouterSocket = std::make_shared<ZmqRouterSocket>(*externalSocket);
    internalRouterSocket = std::make_shared<ZmqRouterSocket>(*internalSocket);
    externalHandler = std::make_unique<RouterHandler>();
    internalHandler = std::make_unique<RouterHandler>();
    internalClient = std::make_unique<ForwardingInputClient<ZmqRouterSocket, RouterMessage, RouterMessage>>(
        internalRouterSocket.get(), internalHandler.get(), externalRouterSocket.get());
    externalClient = std::make_unique<ForwardingInputClient<ZmqRouterSocket, RouterMessage, RouterMessage>>(
        externalRouterSocket.get(), externalHandler.get(), internalRouterSocket.get());
    ZmqHelper::bindSocket(*internalSocket, internalAddress);
    ZmqHelper::bindSocket(*externalSocket, *frontendAddress);
    internalIndex = reader.addSocket(*internalSocket, ZMQ_POLLIN);
    externalIndex = reader.addSocket(*externalSocket, ZMQ_POLLIN);
    return true;
}

void Router::process() {
    while (reader.waitForSockets()) {
        if (!checkCreatorSocket()) {
            return;
        }
        if (reader.getEvents(internalIndex) != 0) {
            internalClient->processInput();
        }
        if (reader.getEvents(externalIndex) != 0) {
            externalClient->processInput();
        }
    }
}

// reset() clears each owner before its object goes, so a second release() finds nothing to free.
void Router::release() {
    externalClient.reset();
    externalHandler.reset();
    internalClient.reset();
    internalHandler.reset();
    internalRouterSocket.reset();
    externalRouterSocket.reset();
    internalSocket.reset();
    externalSocket.reset();
}

}  // namespace zal
