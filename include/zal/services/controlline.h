// A service's DEALER line to the router's internal side, known there by the service's endpoint.
#pragma once

#include <memory>
#include <string>
#include <zmq.hpp>

#include "zal/transport/inputclient.h"
#include "zal/transport/socketreader.h"

namespace zal {

// Owned and used by one service or processor thread. Requests arrive as (requester, payload) envelopes and
// the handler's replies travel back the same way.
class ControlLine {
public:
    ControlLine(const std::string& routerEndpoint, const std::string& identity,
                MessageHandler<ZmqControlSocket, ControlMessage>& handler);
    ~ControlLine();
    ControlLine(const ControlLine&) = delete;
    ControlLine& operator=(const ControlLine&) = delete;

    // Adds the socket to the reader for input and returns its index.
    int addTo(SocketReader& reader);
    void processInput() { client->processInput(); }

private:
    std::unique_ptr<zmq::socket_t> socket;
    std::unique_ptr<ZmqControlSocket> control;
    std::unique_ptr<InputClientBase<ZmqControlSocket, ControlMessage>> client;
};

}  // namespace zal
