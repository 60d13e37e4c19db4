#include "zal/processors/processorcontrolmessagehandler.h"

#include <functional>
#include <utility>

#include "zal/msg/configtool.h"
#include "zal/services/controlrequesthandler.h"

namespace zal {

namespace {

using Message = zalmsg::ControlMessage;
using Type = zalmsg::ControlMessage::MessageType;

// One request being handled: the processor asked, the message that becomes the reply, and where
// the processor leaves the reason of a refusal.
struct Call {
    ProcessorControlInterface& processor;
    Message& message;
    QString* refusal;
    const ReservedParameters* reserved;

    QString takeRefusal() const {
        return refusal != nullptr ? std::exchange(*refusal, QString()) : QString();
    }
};

QString withReason(const QString& failure, const QString& reason) {
    return reason.isEmpty() ? failure : failure + QStringLiteral(" (") + reason + QLatin1Char(')');
}

// Runs one operation; on failure (false or an exception) the request gets the text `failure`
// makes, with the reason: the processor's own, else what `explain` finds, else the exception's
// text. Texts are composed only on failure: most requests succeed, and formatting costs as much
// as a small request's whole answer.
template <class Operation, class Failure>
void perform(const Call& call, Operation&& operation, Failure&& failure,
             const std::function<QString()>& explain = {}) {
    call.takeRefusal();
    try {
        if (operation()) {
            ConfigTool::setResultSuccess(call.message);
            return;
        }
        QString reason = call.takeRefusal();
        if (reason.isEmpty() && explain) {
            reason = explain();
        }
        ConfigTool::setErrorMessage(call.message, withReason(failure(), reason));
    } catch (const std::exception& e) {
        call.takeRefusal();
        ConfigTool::setErrorMessage(call.message, withReason(failure(), QString::fromUtf8(e.what())));
    } catch (...) {
        // Plug-in code may throw anything; escaping here it would end the processor's thread
        // silently, and every later request to it would only time out.
        call.takeRefusal();
        ConfigTool::setErrorMessage(call.message,
                                    withReason(failure(), QStringLiteral("An unknown exception was thrown")));
    }
}

// perform for an operation that hands back a value: on success `answer` puts it into the reply.
template <class Value, class Operation, class Answer, class Failure>
void performWithValue(const Call& call, Operation&& operation, Answer&& answer, Failure&& failure,
                      const std::function<QString()>& explain = {}) {
    perform(
        call,
        [&] {
            Value value{};
            const bool ok = operation(value);
            if (ok) {
                answer(value);
            }
            return ok;
        },
        failure, explain);
}

// Why a parameter was refused when the processor did not say: the name is not one it lists.
QString unknownParameter(const Call& call, const QString& name) {
    QStringList names;
    const bool listed = call.processor.getParameterList(names);
    call.takeRefusal();
    if (!listed || names.isEmpty()) {
        return QStringLiteral("this processor has no parameters");
    }
    if (names.contains(name)) {
        return QString();
    }
    return QStringLiteral("no parameter '%1'; parameters: %2").arg(name, names.join(QStringLiteral(", ")));
}

void connect(const Call& call) {
    const Message& request = call.message;
    perform(
        call,
        [&] {
            return call.processor.connect(request.GetStreamName(), request.GetStreamAddress(),
                                          request.GetMessageFilter());
        },
        [&] {
            return QStringLiteral("Cannot connect to: %1, %2")
                .arg(request.GetStreamName(), request.GetStreamAddress());
        });
}

void querySources(const Call& call) {
    performWithValue<QVector<zalmsg::DataSource>>(
        call, [&](auto& sources) { return call.processor.querySources(sources); },
        [&](const auto& sources) { call.message.SetDataSource(sources); },
        [] { return QStringLiteral("Cannot query sources"); });
}

void queryStreams(const Call& call) {
    performWithValue<QVector<zalmsg::DataStream>>(
        call, [&](auto& streams) { return call.processor.queryStreams(streams); },
        [&](const auto& streams) { call.message.SetDataStream(streams); },
        [] { return QStringLiteral("Cannot query streams"); });
}

void startOrStop(const Call& call, bool start) {
    const QString& stream = static_cast<const Message&>(call.message).GetStreamName();
    perform(
        call, [&] { return start ? call.processor.start(stream) : call.processor.stop(stream); },
        [&] {
            return (start ? QStringLiteral("Cannot start stream: %1")
                          : QStringLiteral("Cannot stop stream: %1"))
                .arg(stream);
        });
}

void setParameter(const Call& call) {
    const Message& request = call.message;
    const QString& name = request.GetParameterName();
    const bool reserved = ReservedParameters::isReserved(name);
    perform(
        call, [&] { return !reserved && call.processor.setParameter(name, request.GetParameter()); },
        [&] { return QStringLiteral("Cannot set parameter: %1").arg(name); },
        [&] { return reserved ? ReservedParameters::refusalToSet() : unknownParameter(call, name); });
}

// A reserved name never reaches the processor: what zal reports must not depend on plug-in code.
void getParameter(const Call& call) {
    const Message& request = call.message;
    const QString& name = request.GetParameterName();
    const bool reserved = ReservedParameters::isReserved(name);
    performWithValue<QString>(
        call,
        [&](QString& value) {
            if (reserved) {
                return call.reserved != nullptr && call.reserved->get(name, value);
            }
            return call.processor.getParameter(name, value);
        },
        [&](const QString& value) { ConfigTool::setResultSuccess(call.message, value); },
        [&] { return QStringLiteral("Cannot get parameter: %1").arg(name); },
        [&] { return reserved ? ReservedParameters::refusalToGet(name) : unknownParameter(call, name); });
}

void getParameterList(const Call& call) {
    performWithValue<QStringList>(
        call, [&](QStringList& names) { return call.processor.getParameterList(names); },
        [&](const QStringList& names) {
            ConfigTool::setResultSuccess(call.message, names.join(QLatin1Char(',')));
        },
        [] { return QStringLiteral("Cannot get list of parameters"); });
}

// The failure text names ParameterName although the call takes Parameter: kept so.
void startNewRecording(const Call& call) {
    const Message& request = call.message;
    perform(
        call,
        [&] {
            QString parameter = request.GetParameter();
            const bool ok = call.processor.startNewRecording(parameter);
            if (ok) {
                ConfigTool::setResultSuccess(call.message, parameter);
            }
            return ok;
        },
        [&] { return QStringLiteral("Cannot start new recording: %1").arg(request.GetParameterName()); });
}

void dispatch(const Call& call) {
    switch (call.message.GetMessageType()) {
        case Type::Connect:
            return connect(call);
        case Type::QuerySources:
            return querySources(call);
        case Type::QueryStreams:
            return queryStreams(call);
        case Type::Start:
            return startOrStop(call, true);
        case Type::Stop:
            return startOrStop(call, false);
        case Type::SetParameter:
            return setParameter(call);
        case Type::GetParameter:
            return getParameter(call);
        case Type::GetParameterList:
            return getParameterList(call);
        case Type::StartNewRecording:
            return startNewRecording(call);
        default:
            ConfigTool::setErrorMessage(call.message, QStringLiteral("Unknown message type"));
    }
}

}  // namespace

template <class Socket>
void ProcessorControlMessageHandler<Socket>::handleMessage(ControlMessage& envelope, Socket* replySocket) {
    answerControlRequest(envelope, replySocket, [this](Message& message) {
        dispatch(Call{*processor, message, refusal, reserved});
    });
}

template class ProcessorControlMessageHandler<ZmqControlSocket>;

}  // namespace zal
