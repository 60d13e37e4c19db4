// The stream name service of one group: which processor provides a stream, and at which addresses.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <zmq.hpp>

#include "zal/services/controlline.h"
#include "zal/transport/inputclient.h"
#include "zal/services/nameservicehandlertemplate.h"
#include "zal/services/nameservicestore.h"
#include "zal/threads/zmqcontrollable.h"

namespace zal {

using NameServiceHandler =
    NameServiceHandlerTemplate<ZmqControlSocket, NameServiceStore<std::map<std::string, StreamEntry>>>;

// Reachable two ways: through the router under the identity prefix/group/nameservice, and
// directly at prefix/group/__nameservice__internal__ for request clients. Requests are served
// one at a time, the direct socket first in each pass; the table lives as long as the thread.
class NameService : public ZmqControllable {
public:
    NameService(const std::string& group, const std::string& prefix);
    ~NameService() override;

    bool initialize() override;
    void process() override;
    void release() override;

private:
    std::string group;
    std::string prefix;
    std::unique_ptr<NameServiceHandler> handler;
    std::unique_ptr<ControlLine> dealerLine;
    int dealerIndex = -1;
    std::unique_ptr<zmq::socket_t> routerSocket;
    std::unique_ptr<ZmqControlSocket> routerControl;
    std::unique_ptr<InputClientBase<ZmqControlSocket, ControlMessage>> routerClient;
    int routerIndex = -1;
};

}  // namespace zal
