#include "zal/services/routerhandler.h"

#include <string>

namespace zal {

void RouterHandler::handleMessage(RouterMessage& message, ZmqRouterSocket* opposite) {
    try {
        opposite->sendMessage(message);
    } catch (const std::exception&) {
        // Composed and dropped on purpose: undeliverable messages vanish silently.
        const std::string dropped = "Router: Failed to deliver message from '" +
                                    message.source.toStdString() + "' to '" +
                                    message.destination.toStdString() + "'!";
        (void)dropped;
    }
}

}  // namespace zal
