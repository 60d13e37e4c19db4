// Answers "RegisterStream", "DeregisterStream" and "ResolveStream" from the store it owns.
#pragma once

#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/services/controlrequesthandler.h"
#include "zal/services/nameservicestore.h"

namespace zal {

// One handler serves both of the name service's sockets, so both see one table; refusals are
// answered with their texts like everything else.
template <class Socket, class Store>
class NameServiceHandlerTemplate : public ControlRequestHandler {
public:
    const Store& getStore() const { return store; }

protected:
    void dispatch(zalmsg::ControlMessage& message) override {
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
                    // A registration without a processor name resolves to a null one, set as it
                    // was stored; the setter's null check would otherwise refuse what was accepted.
                    const bool validate = message.GetValidate();
                    message.SetValidate(false);
                    message.SetProcessorName(entry.processorName);
                    message.SetValidate(validate);
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

private:
    using Type = zalmsg::ControlMessage::MessageType;

    Store store;
};

}  // namespace zal
