#include "zal/processors/processorcontrolmessagehandler.h"

#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"

namespace zal {

namespace {

using Message = zalmsg::ControlMessage;
using Type = zalmsg::ControlMessage::MessageType;

// Runs one operation; on failure (false or an exception) the request gets the text `failure`
// makes, which is composed only then: most requests succeed, and formatting costs as much as
// a small request's whole answer.
template <class Operation, class Failure>
void perform(Message& message, Operation&& operation, Failure&& failure) {
    try {
        if (operation()) {
            ConfigTool::setResultSuccess(message);
            return;
        }
        ConfigTool::setErrorMessage(message, failure());
    } catch (const std::exception& e) {
        ConfigTool::setErrorMessage(message,
                                    failure() + QStringLiteral(" (") + QString::fromUtf8(e.what()) + ')');
    } catch (...) {
        // Plug-in code may throw anything; escaping here it would end the processor's thread
        // silently, and every later request to it would only time out.
        ConfigTool::setErrorMessage(message,
                                    failure() + QStringLiteral(" (An unknown exception was thrown)"));
    }
}

void dispatch(ProcessorControlInterface& processor, Message& message) {
    const Message& request = message;
    switch (message.GetMessageType()) {
        case Type::Connect:
            perform(
                message,
                [&] {
                    return processor.connect(request.GetStreamName(), request.GetStreamAddress(),
                                             request.GetMessageFilter());
                },
                [&] {
                    return QStringLiteral("Cannot connect to: %1, %2")
                        .arg(request.GetStreamName(), request.GetStreamAddress());
                });
            break;
        case Type::QuerySources:
            perform(
                message,
                [&] {
                    QVector<zalmsg::DataSource> sources;
                    const bool ok = processor.querySources(sources);
                    if (ok) {
                        message.SetDataSource(sources);
                    }
                    return ok;
                },
                [&] { return QStringLiteral("Cannot query sources"); });
            break;
        case Type::QueryStreams:
            perform(
                message,
                [&] {
                    QVector<zalmsg::DataStream> streams;
                    const bool ok = processor.queryStreams(streams);
                    if (ok) {
                        message.SetDataStream(streams);
                    }
                    return ok;
                },
                [&] { return QStringLiteral("Cannot query streams"); });
            break;
        case Type::Start:
            perform(
                message, [&] { return processor.start(request.GetStreamName()); },
                [&] { return QStringLiteral("Cannot start stream: %1").arg(request.GetStreamName()); });
            break;
        case Type::Stop:
            perform(
                message, [&] { return processor.stop(request.GetStreamName()); },
                [&] { return QStringLiteral("Cannot stop stream: %1").arg(request.GetStreamName()); });
            break;
        case Type::SetParameter:
            perform(
                message,
                [&] { return processor.setParameter(request.GetParameterName(), request.GetParameter()); },
                [&] { return QStringLiteral("Cannot set parameter: %1").arg(request.GetParameterName()); });
            break;
        case Type::GetParameter:
            perform(
                message,
                [&] {
                    QString value;
                    const bool ok = processor.getParameter(request.GetParameterName(), value);
                    if (ok) {
                        ConfigTool::setResultSuccess(message, value);
                    }
                    return ok;
                },
                [&] { return QStringLiteral("Cannot get parameter: %1").arg(request.GetParameterName()); });
            break;
        case Type::GetParameterList:
            perform(
                message,
                [&] {
                    QStringList names;
                    const bool ok = processor.getParameterList(names);
                    if (ok) {
                        ConfigTool::setResultSuccess(message, names.join(QLatin1Char(',')));
                    }
                    return ok;
                },
                [&] { return QStringLiteral("Cannot get list of parameters"); });
            break;
        case Type::StartNewRecording:
            // The failure text names ParameterName although the call takes Parameter: kept so.
            perform(
                message,
                [&] {
                    QString parameter = request.GetParameter();
                    const bool ok = processor.startNewRecording(parameter);
                    if (ok) {
                        ConfigTool::setResultSuccess(message, parameter);
                    }
                    return ok;
                },
                [&] {
                    return QStringLiteral("Cannot start new recording: %1").arg(request.GetParameterName());
                });
            break;
        default:
            ConfigTool::setErrorMessage(message, QStringLiteral("Unknown message type"));
    }
}

}  // namespace

template <class Socket>
void ProcessorControlMessageHandler<Socket>::handleMessage(ControlMessage& envelope, Socket* replySocket) {
    Message message;
    if (ControlMessageHelper::decodeRequest(envelope.data, message)) {
        dispatch(*processor, message);
    }
    if (replySocket != nullptr) {
        envelope.data = ControlMessageHelper::toPayload(message);
        replySocket->sendMessage(envelope);
    }
}

template class ProcessorControlMessageHandler<ZmqControlSocket>;

}  // namespace zal
