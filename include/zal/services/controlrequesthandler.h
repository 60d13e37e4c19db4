// The answer-every-request pattern of the services: decode, dispatch by type, reply in the same envelope.
#pragma once

#include "zal/msg/controlmessage.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/messagehandler.h"

namespace zal {

// Decodes the request in `envelope` and hands it to dispatch(zalmsg::ControlMessage&), which sets
// its result; a payload that is not a control message is answered with an error instead of being
// dispatched. The request, so changed, goes back in its own routing envelope on `replySocket`;
// a null socket leaves it unanswered. The one road of every request a service or processor gets.
template <class Socket, class Dispatch>
void answerControlRequest(ControlMessage& envelope, Socket* replySocket, Dispatch&& dispatch) {
    zalmsg::ControlMessage message;
    if (ControlMessageHelper::decodeRequest(envelope.data, message)) {
        dispatch(message);
    }
    if (replySocket != nullptr) {
        envelope.data = ControlMessageHelper::toPayload(message);
        replySocket->sendMessage(envelope);
    }
}

// Every request gets exactly one reply, on the socket it came on.
class ControlRequestHandler : public ControlMessageHandler {
public:
    // Throws SocketError "No reply socket available" when there is nowhere to answer.
    void handleMessage(ControlMessage& envelope, ZmqControlSocket* socket) override;

protected:
    // Sets the result (ConfigTool::setResultSuccess or setErrorMessage) and any value on the message.
    virtual void dispatch(zalmsg::ControlMessage& message) = 0;
};

}  // namespace zal
