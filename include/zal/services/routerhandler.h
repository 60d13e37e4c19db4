// Forwards a router message to the opposite side, by identity only.
#pragma once

#include "zal/transport/messagehandler.h"
#include "zal/transport/zmqroutersockettemplate.h"

namespace zal {

// Stateless. A message that cannot be delivered (no peer with that identity, or a short write) is
// dropped without a reply: the requester notices through its own receive time-out, and the trace
// (bit 0x20) says which destination nobody had.
class RouterHandler : public MessageHandler<ZmqRouterSocket, RouterMessage> {
public:
    void handleMessage(RouterMessage& message, ZmqRouterSocket* opposite) override;

    // An identity as one readable trace word: text without its final zero byte, else hex.
    static QString printableIdentity(const QByteArray& identity);
};

}  // namespace zal
