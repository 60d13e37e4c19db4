#include "zal/services/nameservice.h"

#include "zal/transport/context.h"
#include "zal/transport/endpoints.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

NameService::NameService(const std::string& group, const std::string& prefix)
    : group(group), prefix(prefix) {}

NameService::~NameService() {
    release();
}

bool NameService::initialize() {
    addCreatorSocket();
    handler = std::make_unique<NameServiceHandler>();

    routerSocket = std::make_unique<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::router);
    routerSocket->set(zmq::sockopt::router_mandatory, 1);
    routerControl = std::make_unique<ZmqControlSocket>(*routerSocket, EnvelopeMode::RouterAnswer);
    routerClient = std::make_unique<InputClientBase<ZmqControlSocket, ControlMessage>>(routerControl.get(),
                                                                                       handler.get());

    dealerLine = std::make_unique<ControlLine>(Endpoints::getInternalRouterEndpoint(prefix),
                                               Endpoints::getNameServiceEndpoint(group, prefix), *handler);
    std::string direct = Endpoints::getInternalNameServiceEndpoint(group, prefix);
    ZmqHelper::bindSocket(*routerSocket, direct);

    dealerIndex = dealerLine->addTo(reader);
    routerIndex = reader.addSocket(*routerSocket, ZMQ_POLLIN);
    return true;
}

void NameService::process() {
    serveUntilStopped([this] {
        if (reader.getEvents(routerIndex) != 0) {
            routerClient->processInput();
        }
        if (reader.getEvents(dealerIndex) != 0) {
            dealerLine->processInput();
        }
    });
}

// reset() clears each owner before its object goes, so a second release() finds nothing to free.
void NameService::release() {
    routerClient.reset();
    routerControl.reset();
    routerSocket.reset();
    dealerLine.reset();
    handler.reset();
}

}  // namespace zal
