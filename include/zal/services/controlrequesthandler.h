// The answer-every-request pattern of the services: decode, dispatch by type, reply in the same envelope.
#pragma once

#include "zal/transport/messagehandler.h"
#include "zal/msg/controlmessage.h"

namespace zal {

// Every request gets exactly one reply: the request itself, changed by dispatch(), sent back in
// the request's routing envelope on the socket it came on. A payload that is not a control
// message is answered with an error instead of being dispatched.
class ControlRequestHandler : public ControlMessageHandler {
public:
    // Throws SocketError "No reply socket available" when there is nowhere to answer.
    void handleMessage(ControlMessage& envelope, ZmqControlSocket* socket) override;

protected:
    // Sets the result (ConfigTool::setResultSuccess or setErrorMessage) and any value on the message.
    virtual void dispatch(zalmsg::ControlMessage& message) = 0;
};

}  // namespace zal
