#include "zal/services/controlrequesthandler.h"

#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/socketerror.h"

namespace zal {

void ControlRequestHandler::handleMessage(ControlMessage& envelope, ZmqControlSocket* socket) {
    if (socket == nullptr) {
        throw SocketError("No reply socket available");
    }
    zalmsg::ControlMessage message;
    if (ControlMessageHelper::decodeRequest(envelope.data, message)) {
        dispatch(message);
    }
    envelope.data = ControlMessageHelper::toPayload(message);
    socket->sendMessage(envelope);
}

}  // namespace zal
