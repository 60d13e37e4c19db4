#include "zal/services/router.h"

#include <stdexcept>

#include "zal/platform/errorhandler.h"
#include "zal/services/zaphandler.h"
#include "zal/transport/constants.h"
#include "zal/transport/context.h"
#include "zal/transport/endpoints.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

namespace {

std::unique_ptr<zmq::socket_t> makeMandatoryRouter() {
    auto socket = std::make_unique<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::router);
    socket->set(zmq::sockopt::router_mandatory, 1);
    return socket;
}

// A failed bind says where, since it ends the start of the whole system: a port in use reads
// "tcp://127.0.0.1:5555: Address already in use".
void bindSaying(zmq::socket_t& socket, std::string& address) {
    const std::string asked = address;
    try {
        ZmqHelper::bindSocket(socket, address);
    } catch (const zmq::error_t& e) {
        throw std::runtime_error(asked + ": " + e.what());
    }
}

}  // namespace

Router::Router(const std::string& frontendAddress, RouterOptions options)
    : Router(std::make_shared<std::string>(frontendAddress), options) {}

Router::Router(std::shared_ptr<std::string> frontendAddress, RouterOptions options)
    : frontendAddress(std::move(frontendAddress)),
      options(options),
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
    // Replies still queued for clients when the router closes are given a second to leave; a
    // client that never reads would otherwise hold the end of the host's process for ever.
    externalSocket->set(zmq::sockopt::linger, 1000);
    externalSocket->set(zmq::sockopt::maxmsgsize, options.maxMessageSize > 0 ? options.maxMessageSize : -1);
    if (!options.curveSecretKey.empty()) {
        externalSocket->set(zmq::sockopt::curve_server, 1);
        externalSocket->set(zmq::sockopt::curve_secretkey, options.curveSecretKey);
        externalSocket->set(zmq::sockopt::zap_domain, ZapHandler::domain);
    }
    internalSocket = makeMandatoryRouter();
    // A group or processor deleted and created again under the same name connects with the same
    // identity while the old connection may still be closing; without the hand-over the router
    // would keep the old one and every request to the new service would be dropped.
    internalSocket->set(zmq::sockopt::router_handover, 1);
    externalRouterSocket = std::make_shared<ZmqRouterSocket>(*externalSocket);
    internalRouterSocket = std::make_shared<ZmqRouterSocket>(*internalSocket);
    externalHandler = std::make_unique<RouterHandler>();
    internalHandler = std::make_unique<RouterHandler>();
    using Client = ForwardingInputClient<ZmqRouterSocket, RouterMessage, RouterMessage>;
    Client::MalformedCallback onMalformed;
    if (options.dropMalformed) {
        onMalformed = [this](const RouterMessage& partial) { dropMalformed(partial); };
    }
    internalClient = std::make_unique<Client>(internalRouterSocket.get(), internalHandler.get(),
                                              externalRouterSocket.get(), onMalformed);
    externalClient = std::make_unique<Client>(externalRouterSocket.get(), externalHandler.get(),
                                              internalRouterSocket.get(), onMalformed);
    bindSaying(*internalSocket, internalAddress);
    bindSaying(*externalSocket, *frontendAddress);
    if (!options.curveSecretKey.empty() && *frontendAddress != routerFrontendAddressDefault) {
        std::string inProcess = routerFrontendAddressDefault;
        bindSaying(*externalSocket, inProcess);
    }
    internalIndex = reader.addSocket(*internalSocket, ZMQ_POLLIN);
    externalIndex = reader.addSocket(*externalSocket, ZMQ_POLLIN);
    return true;
}

void Router::process() {
    serveUntilStopped([this] {
        if (reader.getEvents(internalIndex) != 0) {
            internalClient->processInput();
        }
        if (reader.getEvents(externalIndex) != 0) {
            externalClient->processInput();
        }
    });
}

void Router::dropMalformed(const RouterMessage& partial) {
    if (ErrorHandler::isTracing()) {
        _Q_Trace(QStringLiteral("Router: Invalid message format from '%1', message dropped")
                     .arg(RouterHandler::printableIdentity(partial.source)),
                 "router", __LINE__);
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
