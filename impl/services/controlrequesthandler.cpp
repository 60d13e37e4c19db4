#include "zal/services/controlrequesthandler.h"

#include "zal/transport/socketerror.h"

namespace zal {

void ControlRequestHandler::handleMessage(ControlMessage& envelope, ZmqControlSocket* socket) {
    if (socket == nullptr) {
        throw SocketError("No reply socket available");
    }
    answerControlRequest(envelope, socket, [this](zalmsg::ControlMessage& message) { dispatch(message); });
}

}  // namespace zal
