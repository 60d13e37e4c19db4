// Router messages on a ROUTER socket: four frames, the destination first on the way out.
#pragma once

#include <zmq.hpp>

#include "zal/transport/messages.h"
#include "zal/transport/sockettraits.h"
#include "zal/transport/zmqsocketbase.h"

namespace zal {

// Sent: destination, empty, source, data (ZeroMQ consumes the destination to pick the peer).
// Received: source (prepended by ZeroMQ), empty, destination, data; exactly four frames, or
// SocketError "Invalid message format" with the rest of the message left in the socket.
template <class Traits>
class ZmqRouterSocketTemplate : public SendSocket<RouterMessage>,
                                public ReceiveSocket<RouterMessage>,
                                public ZmqSocketBase<Traits> {
public:
    explicit ZmqRouterSocketTemplate(typename Traits::socket_type& socket);
    void sendMessage(const RouterMessage& message) override;
    void receiveMessage(RouterMessage& message) override;
};

extern template class ZmqRouterSocketTemplate<SocketTraits<zmq::socket_t>>;
using ZmqRouterSocket = ZmqRouterSocketTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
