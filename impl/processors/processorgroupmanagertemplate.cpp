#include "zal/processors/processorgroupmanagertemplate.h"

#include "namedentries.h"
#include "zal/msg/configtool.h"
#include "zal/transport/endpoints.h"

namespace zal {

namespace {
using Message = zalmsg::ControlMessage;
using Type = zalmsg::ControlMessage::MessageType;
}  // namespace

template <class Traits>
void ProcessorGroupManagerHandlerTemplate<Traits>::dispatch(Message& message) {
    const QString name = message.GetGroupName();
    const std::string key = name.toStdString();
    switch (message.GetMessageType()) {
        case Type::QueryGroups:
            answerNames(manager.groups, message);
            break;
        case Type::CreateGroup:
            if (manager.groups.count(key) != 0) {
                ConfigTool::setErrorMessage(
                    message, QStringLiteral("A group with the name '%1' already exists.").arg(name));
                break;
            }
            try {
                manager.groups.emplace(
                    key, std::make_shared<typename ProcessorGroupManagerTemplate<Traits>::GroupThread>(
                             new ProcessorGroupTemplate<Traits>(manager.pluginManager, key, manager.endpoint,
                                                                manager.dataCurve)));
                ConfigTool::setResultSuccess(message);
            } catch (const std::exception& e) {
                ConfigTool::setErrorMessage(message, QString::fromUtf8(e.what()));
            }
            break;
        case Type::DeleteGroup:
            answerErase(manager.groups, name, "group", message);
            break;
        default:
            ConfigTool::setErrorMessage(message, QStringLiteral("Unknown message type"));
    }
}

template <class Traits>
ProcessorGroupManagerTemplate<Traits>::ProcessorGroupManagerTemplate(
    std::shared_ptr<PluginManager> pluginManager, const std::string& endpoint,
    std::shared_ptr<const DataCurve> dataCurve)
    : endpoint(endpoint), pluginManager(std::move(pluginManager)), dataCurve(std::move(dataCurve)) {}

template <class Traits>
ProcessorGroupManagerTemplate<Traits>::~ProcessorGroupManagerTemplate() {
    release();
}

template <class Traits>
bool ProcessorGroupManagerTemplate<Traits>::initialize() {
    handler = std::make_unique<ProcessorGroupManagerHandlerTemplate<Traits>>(*this);
    openLine(Endpoints::getInternalRouterEndpoint(endpoint), Endpoints::getGroupManagerEndpoint(endpoint),
             *handler);
    return true;
}

template <class Traits>
void ProcessorGroupManagerTemplate<Traits>::release() {
    groups.clear();
    closeLine();
    handler.reset();
}

template class ProcessorGroupManagerHandlerTemplate<SocketTraits<zmq::socket_t>>;
template class ProcessorGroupManagerTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
