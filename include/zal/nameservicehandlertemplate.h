// Answers "RegisterStream", "DeregisterStream" and "ResolveStream" from the store it owns.
#pragma once

#include "zal/configtool.h"
#include "zal/controlmessagehelper.h"
#include "zal/messagehandler.h"
#include "zal/nameservicestore.h"

namespace zal {

// One handler serves both of the name service's sockets, so both see one table. Every request
// gets exactly one reply on the socket it came on, refusals included.
template <class Socket, class Store>
class NameServiceHandlerTemplate : public ControlMessageHandler {
public:
    void handleMessage(ControlMessage& envelope, Socket* socket) override {
        zalmsg::ControlMessage message;
        if (ControlMessageHelper::decodeRequest(envelope.data, message)) {
            dispatch(message);
        }
        envelope.data = ControlMessageHelper::toPayload(message);
        socket->sendMessage(envelope);
    }

    const Store& getStore() const { return store; }

private:
    using Type = zalmsg::ControlMessage::MessageType;

    void dispatch(zalmsg::ControlMessage& message) {
        const std::string name = message.GetStreamName().toStdString();
        try {
            switch (message.GetMessageType()) {
                case Type::RegisterStream:
                    store.insert(
                        name,
                        StreamEntry{
                            message.GetProcessorName(),
                            ControlMessageHelper::fromQStringVector(
                                static_cast<const zalmsg::ControlMessage&>(message).GetStreamAddresses())});
                    ConfigTool::setResultSuccess(message);
                    break;
                case Type::DeregisterStream:
                    store.erase(name);
                    ConfigTool::setResultSuccess(message);
                    break;
                case Type::ResolveStream: {
                    const StreamEntry entry = store.lookup(name);
                    if (!entry.processorName.isNull()) {
                        message.SetProcessorName(entry.processorName);
                    }
                    message.SetStreamAddresses(ControlMessageHelper::toQStringVector(entry.addresses));
                    ConfigTool::setResultSuccess(message);
                    break;
                }
                default:
                    ConfigTool::setErrorMessage(message, QStringLiteral("Unknown message type"));
            }
        } catch (const std::exception& e) {
            ConfigTool::setErrorMessage(message, QString::fromUtf8(e.what()));
        }
    }

    Store store;
};

}  // namespace zal
