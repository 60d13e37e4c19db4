#include "zal/processors/processorcontrolmessagehandler.h"

#include "zal/msg/configtool.h"
#include "zal/services/controlrequesthandler.h"

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

// perform for an operation that hands back a value: on success `answer` puts it into the reply.
template <class Value, class Operation, class Answer, class Failure>
void performWithValue(Message& message, Operation&& operation, Answer&& answer, Failure&& failure) {
    perform(
        message,
        [&] {
            Value value{};
            const bool ok = operation(value);
            if (ok) {
                answer(value);
            }
            return ok;
        },
        failure);
}

void connect(ProcessorControlInterface& processor, Message& message) {
    const Message& request = message;
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
}

void querySources(ProcessorControlInterface& processor, Message& message) {
    performWithValue<QVector<zalmsg::DataSource>>(
        message, [&](auto& sources) { return processor.querySources(sources); },
        [&](const auto& sources) { message.SetDataSource(sources); },
        [] { return QStringLiteral("Cannot query sources"); });
}

void queryStreams(ProcessorControlInterface& processor, Message& message) {
    performWithValue<QVector<zalmsg::DataStream>>(
        message, [&](auto& streams) { return processor.queryStreams(streams); },
        [&](const auto& streams) { message.SetDataStream(streams); },
        [] { return QStringLiteral("Cannot query streams"); });
}

void startOrStop(ProcessorControlInterface& processor, Message& message, bool start) {
    const QString& stream = static_cast<const Message&>(message).GetStreamName();
    perform(
        message, [&] { return start ? processor.start(stream) : processor.stop(stream); },
        [&] {
            return (start ? QStringLiteral("Cannot start stream: %1")
                          : QStringLiteral("Cannot stop stream: %1"))
                .arg(stream);
        });
}

void setParameter(ProcessorControlInterface& processor, Message& message) {
    const Message& request = message;
    perform(
        message, [&] { return processor.setParameter(request.GetParameterName(), request.GetParameter()); },
        [&] { return QStringLiteral("Cannot set parameter: %1").arg(request.GetParameterName()); });
}

void getParameter(ProcessorControlInterface& processor, Message& message) {
    const Message& request = message;
    performWithValue<QString>(
        message, [&](QString& value) { return processor.getParameter(request.GetParameterName(), value); },
        [&](const QString& value) { ConfigTool::setResultSuccess(message, value); },
        [&] { return QStringLiteral("Cannot get parameter: %1").arg(request.GetParameterName()); });
}

void getParameterList(ProcessorControlInterface& processor, Message& message) {
    performWithValue<QStringList>(
        message, [&](QStringList& names) { return processor.getParameterList(names); },
        [&](const QStringList& names) {
            ConfigTool::setResultSuccess(message, names.join(QLatin1Char(',')));
        },
        [] { return QStringLiteral("Cannot get list of parameters"); });
}

// The failure text names ParameterName although the call takes Parameter: kept so.
void startNewRecording(ProcessorControlInterface& processor, Message& message) {
    const Message& request = message;
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
        [&] { return QStringLiteral("Cannot start new recording: %1").arg(request.GetParameterName()); });
}

void dispatch(ProcessorControlInterface& processor, Message& message) {
    switch (message.GetMessageType()) {
        case Type::Connect:
            return connect(processor, message);
        case Type::QuerySources:
            return querySources(processor, message);
        case Type::QueryStreams:
            return queryStreams(processor, message);
        case Type::Start:
            return startOrStop(processor, message, true);
        case Type::Stop:
            return startOrStop(processor, message, false);
        case Type::SetParameter:
            return setParameter(processor, message);
        case Type::GetParameter:
            return getParameter(processor, message);
        case Type::GetParameterList:
            return getParameterList(processor, message);
        case Type::StartNewRecording:
            return startNewRecording(processor, message);
        default:
            ConfigTool::setErrorMessage(message, QStringLiteral("Unknown message type"));
    }
}

}  // namespace

template <class Socket>
void ProcessorControlMessageHandler<Socket>::handleMessage(ControlMessage& envelope, Socket* replySocket) {
    answerControlRequest(envelope, replySocket, [this](Message& message) { dispatch(*processor, message); });
}

template class ProcessorControlMessageHandler<ZmqControlSocket>;

}  // namespace zal
