#include "zal/processors/processorgrouptemplate.h"

#include "namedentries.h"
#include "zal/msg/configtool.h"
#include "zal/processors/pluginmanager.h"
#include "zal/processors/processorinfo.h"
#include "zal/transport/context.h"
#include "zal/transport/endpoints.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

namespace {

using Message = zalmsg::ControlMessage;
using Type = zalmsg::ControlMessage::MessageType;

// Names become parts of endpoints and of comma-joined lists, so blanks and commas are refused.
bool isAllowedName(const QString& name) {
    for (const QChar c : name) {
        if (c.isSpace() || c == QLatin1Char(',')) {
            return false;
        }
    }
    return true;
}

}  // namespace

template <class Traits>
void ProcessorGroupHandlerTemplate<Traits>::dispatch(Message& message) {
    switch (message.GetMessageType()) {
        case Type::QueryProcessors:
            answerNames(group.processors, message);
            break;
        case Type::Create:
            create(message);
            break;
        case Type::Delete:
            answerErase(group.processors, message.GetProcessorName(), "processor", message);
            break;
        case Type::SetParameter:
            // Accepted for every group; groups keep no parameters of their own yet.
            (void)message.GetParameterName();
            ConfigTool::setResultSuccess(message);
            break;
        default:
            ConfigTool::setErrorMessage(message, QStringLiteral("Unknown message type"));
    }
}

template <class Traits>
void ProcessorGroupHandlerTemplate<Traits>::create(Message& message) {
    const QString name = message.GetProcessorName();
    const QString type = message.GetProcessorType();
    if (!isAllowedName(name)) {
        ConfigTool::setErrorMessage(message, QStringLiteral("Processor name '%1' is not allowed.").arg(name));
        return;
    }
    const std::string key = name.toStdString();
    if (group.processors.count(key) != 0) {
        ConfigTool::setErrorMessage(
            message, QStringLiteral("A processor with the name '%1' already exists in group '%2'.")
                         .arg(name, QString::fromStdString(group.name)));
        return;
    }
    try {
        const ProcessorInfo info(
            ConfigTool::unsharedCopy(static_cast<const Message&>(message).GetProcessor()), type.toStdString(),
            key, group.name, group.prefix);
        QString reason;
        ProcessorBase* processor = group.pluginManager->createProcessor(info, reason);
        if (processor == nullptr) {
            ConfigTool::setErrorMessage(
                message,
                QStringLiteral("Processor of type '%1' could not be created. (%2)").arg(type, reason));
            return;
        }
        processor->describeType(type, group.pluginManager->describeParameters(type));
        processor->useDataCurve(group.dataCurve);
        group.processors.emplace(
            key, std::make_shared<typename ProcessorGroupTemplate<Traits>::ProcessorThread>(processor));
        ConfigTool::setResultSuccess(message);
    } catch (const std::exception& e) {
        ConfigTool::setErrorMessage(message,
                                    QStringLiteral("Processor of type '%1' could not be created: '%2'.")
                                        .arg(type, QString::fromUtf8(e.what())));
    } catch (...) {
        // A plug-in's createProcessor runs in the group's thread: whatever it throws must not end
        // the group, which would take every processor of the group with it.
        ConfigTool::setErrorMessage(
            message,
            QStringLiteral("Processor of type '%1' could not be created: 'An unknown exception was thrown'.")
                .arg(type));
    }
}

template <class Traits>
ProcessorGroupTemplate<Traits>::ProcessorGroupTemplate(std::shared_ptr<PluginManager> pluginManager,
                                                       const std::string& name, const std::string& prefix,
                                                       std::shared_ptr<const DataCurve> dataCurve)
    : name(name), prefix(prefix), pluginManager(std::move(pluginManager)), dataCurve(std::move(dataCurve)) {}

template <class Traits>
ProcessorGroupTemplate<Traits>::~ProcessorGroupTemplate() {
    release();
}

template <class Traits>
bool ProcessorGroupTemplate<Traits>::initialize() {
    broadcastSocket = std::make_unique<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::pub);
    std::string broadcast = Endpoints::getGroupBroadcastEndpoint(name, prefix);
    ZmqHelper::bindSocket(*broadcastSocket, broadcast);
    nameService = std::make_unique<ZmqControllableThread<NameService>>(new NameService(name, prefix));
    handler = std::make_unique<ProcessorGroupHandlerTemplate<Traits>>(*this);
    openLine(Endpoints::getInternalRouterEndpoint(prefix), Endpoints::getGroupEndpoint(name, prefix),
             *handler);
    return true;
}

// Processors go first, while the name service still answers their deregistrations.
template <class Traits>
void ProcessorGroupTemplate<Traits>::release() {
    processors.clear();
    nameService.reset();
    broadcastSocket.reset();
    closeLine();
    handler.reset();
}

template class ProcessorGroupHandlerTemplate<SocketTraits<zmq::socket_t>>;
template class ProcessorGroupTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
