#include "zal/services/controlline.h"

#include "zal/transport/context.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

ControlLine::ControlLine(const std::string& routerEndpoint, const std::string& identity,
                         MessageHandler<ZmqControlSocket, ControlMessage>& handler)
    : socket(std::make_unique<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::dealer)),
      control(std::make_unique<ZmqControlSocket>(*socket, EnvelopeMode::Dealer)),
      client(std::make_unique<InputClientBase<ZmqControlSocket, ControlMessage>>(control.get(), &handler)) {
    ZmqHelper::connectSocket(*socket, routerEndpoint, identity);
}

ControlLine::~ControlLine() = default;

int ControlLine::addTo(SocketReader& reader) {
    return reader.addSocket(*socket, ZMQ_POLLIN);
}

}  // namespace zal
