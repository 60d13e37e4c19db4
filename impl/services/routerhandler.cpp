#include "zal/services/routerhandler.h"

#include "zal/platform/errorhandler.h"

namespace zal {

void RouterHandler::handleMessage(RouterMessage& message, ZmqRouterSocket* opposite) {
    try {
        opposite->sendMessage(message);
    } catch (const std::exception&) {
        if (!ErrorHandler::isTracing()) {
            return;
        }
        // The most common cause from a foreign client is a destination written without the zero
        // byte that ends every identity; say so, since the client itself hears nothing.
        const QString hint = message.destination.endsWith('\0')
                                 ? QString()
                                 : QStringLiteral(" (the destination does not end with a zero byte)");
        _Q_Trace(QStringLiteral("Router: Failed to deliver message from '%1' to '%2'!%3")
                     .arg(printableIdentity(message.source), printableIdentity(message.destination), hint),
                 "router", __LINE__);
    }
}

// Identities chosen by ZeroMQ are binary; those the system's peers choose are text with a final
// zero byte. Either way the trace line stays one readable line.
QString RouterHandler::printableIdentity(const QByteArray& identity) {
    const QByteArray text = identity.endsWith('\0') ? identity.chopped(1) : identity;
    for (const char c : text) {
        if (c < 0x20 || c > 0x7e) {
            return QStringLiteral("0x") + QString::fromLatin1(identity.toHex());
        }
    }
    return QString::fromLatin1(text);
}

}  // namespace zal
