#include "zaltools/commandrunner.h"

#include "zal/msg/controlmessagehelper.h"
#include "zal/services/requestclienttemplate.h"
#include "zaltools/jsonreply.h"
#include "zaltools/replyformatter.h"

namespace zaltools {

using Message = zalmsg::ControlMessage;

struct CommandRunner::Connection {
    Connection(const std::string& endpoint, int timeoutMs, zal::RequestClient::Prepare prepare)
        : client(endpoint, true, timeoutMs, std::move(prepare)) {}
    zal::RequestClient client;
};

ExitStatus CommandResult::status() const {
    switch (outcome) {
        case Outcome::Replied:
            switch (reply.GetResultType()) {
                case Message::ResultType::Success:
                    return ExitStatus::Success;
                case Message::ResultType::Warning:
                    return ExitStatus::Warning;
                default:
                    return ExitStatus::Error;
            }
        case Outcome::NoReply:
            return ExitStatus::Timeout;
        case Outcome::BadUsage:
            return ExitStatus::Usage;
        case Outcome::UnreadableReply:
        case Outcome::NoSuchName:
        case Outcome::NoStreamAddress:
        case Outcome::Failed:
            break;
    }
    return ExitStatus::Error;
}

CommandRunner::CommandRunner(std::string endpoint, int timeoutMs, Form form, std::string prefix)
    : endpoint(std::move(endpoint)), timeoutMs(timeoutMs), form(form), parser(std::move(prefix)) {}

CommandRunner::~CommandRunner() = default;

void CommandRunner::useCurve(std::string serverPublicKey, zal::CurveKeys::Pair clientKeys) {
    curveServerKey = std::move(serverPublicKey);
    curveClientKeys = std::move(clientKeys);
}

CommandResult CommandRunner::execute(const QStringList& words) {
    try {
        return execute(parser.parse(words));
    } catch (const std::exception& e) {
        // Beyond UsageError, only a data object's setter can refuse a value the words gave.
        CommandResult result;
        result.outcome = Outcome::BadUsage;
        result.text = QString::fromUtf8(e.what());
        if (form == Form::Json) {
            result.text = JsonReply::ofOutcome(result.status(), result.text);
        }
        return result;
    }
}

CommandResult CommandRunner::execute(const Command& command) {
    return execute(command, nullptr);
}

CommandResult CommandRunner::execute(const Command& command, const Elsewhere& elsewhere) {
    return execute(command, &elsewhere);
}

CommandResult CommandRunner::execute(const Command& command, const Elsewhere* elsewhere) {
    CommandResult result;
    QVector<ParameterDescription> described;
    const bool answered = attempt(command, result, described, elsewhere);
    switch (formOf(command)) {
        case Form::Json:
            result.text = answered ? JsonReply::ofReply(result.reply, command.presentation)
                                   : JsonReply::ofOutcome(result.status(), result.text);
            break;
        case Form::Xml:
            result.text = answered ? ReplyFormatter::formatXml(result.reply) : result.text;
            break;
        case Form::Text:
            result.text = answered ? ReplyFormatter::format(result.reply, command.presentation, described)
                                   : result.text;
            break;
    }
    return result;
}

Form CommandRunner::formOf(const Command& command) const {
    if (form == Form::Json || command.json) {
        return Form::Json;
    }
    return form == Form::Xml || command.xml ? Form::Xml : Form::Text;
}

bool CommandRunner::attempt(const Command& command, CommandResult& result,
                            QVector<ParameterDescription>& described, const Elsewhere* elsewhere) {
    try {
        if (!command.fromHost.isEmpty() && elsewhere == nullptr) {
            result.outcome = Outcome::BadUsage;
            result.text =
                QStringLiteral("connect: --from @%1 needs a host of that name.").arg(command.fromHost);
            return false;
        }
        // Across hosts the consumer's host is reached only once the stream is known to be reachable.
        if (elsewhere == nullptr && !connect(result)) {
            return false;
        }
        if (command.resolveAt.empty()) {
            ask(command.destination, command.request, result);
            if (result.outcome == Outcome::NoReply) {
                explainSilence(command.destination, command.service, command, result);
            }
        } else if (!connectByName(command, result, elsewhere)) {
            return false;
        }
        if (result.outcome != Outcome::Replied) {
            return false;
        }
        if (command.presentation == Presentation::ParameterNames && formOf(command) == Form::Text &&
            result.status() == ExitStatus::Success) {
            described = describe(command);
        }
        return true;
    } catch (const std::exception& e) {
        result.outcome = Outcome::Failed;
        result.text = QStringLiteral("Request failed: %1").arg(QString::fromUtf8(e.what()));
        return false;
    }
}

// A processor whose type describes nothing, or that is older than the descriptions, refuses the
// reserved name; its parameters are then shown by name alone.
QVector<ParameterDescription> CommandRunner::describe(const Command& command) {
    CommandResult described;
    ask(command.destination,
        zal::ControlMessageHelper::makeGetParameterMessage(
            ParameterDescription::parameterName().toStdString()),
        described);
    if (described.outcome != Outcome::Replied || described.status() != ExitStatus::Success) {
        return {};
    }
    return ParameterDescription::listFrom(described.reply.GetParameter());
}

bool CommandRunner::connect(CommandResult& result) {
    if (connection) {
        return true;
    }
    try {
        zal::RequestClient::Prepare prepare;
        if (!curveServerKey.empty()) {
            prepare = [server = curveServerKey, keys = curveClientKeys](zmq::socket_t& socket) {
                zal::CurveKeys::applyClient(socket, server, keys);
            };
        }
        connection = std::make_unique<Connection>(endpoint, timeoutMs, std::move(prepare));
        return true;
    } catch (const zmq::error_t& e) {
        result.outcome = Outcome::BadUsage;
        result.text = QStringLiteral("Cannot use endpoint '%1': %2")
                          .arg(QString::fromStdString(endpoint), QString::fromUtf8(e.what()));
        return false;
    }
}

bool CommandRunner::connectByName(const Command& command, CommandResult& result, const Elsewhere* elsewhere) {
    CommandRunner& resolver = elsewhere != nullptr ? elsewhere->resolver : *this;
    if (!resolver.connect(result)) {
        return false;
    }
    resolver.ask(command.resolveAt, command.request, result);
    if (result.outcome == Outcome::NoReply) {
        Command resolving = command;
        resolving.group = command.resolveGroup;
        resolver.explainSilence(command.resolveAt, Service::NameService, resolving, result);
    }
    if (result.outcome != Outcome::Replied || result.status() != ExitStatus::Success) {
        result.text = QStringLiteral("Cannot resolve stream '%1': %2").arg(command.streamName, result.text);
        return false;
    }
    const QVector<QString> addresses = result.reply.GetStreamAddresses();
    QString reason;
    const std::optional<QString> address =
        elsewhere == nullptr || addresses.isEmpty()
            ? addresses.value(0)
            : elsewhere->reach.choose(command.streamName, addresses, reason);
    if (addresses.isEmpty() || !address) {
        result.outcome = Outcome::NoStreamAddress;
        result.text =
            QStringLiteral("Cannot resolve stream '%1': it has no address").arg(command.streamName) +
            (reason.isEmpty() ? QStringLiteral(".") : QStringLiteral(" to connect to (%1)").arg(reason));
        return false;
    }
    if (!connect(result)) {
        return false;
    }
    ask(command.destination,
        zal::ControlMessageHelper::makeConnectStreamMessage(command.streamName.toStdString(),
                                                            address->toStdString(), command.filters),
        result);
    if (result.outcome == Outcome::NoReply) {
        explainSilence(command.destination, command.service, command, result);
    }
    return true;
}

// The text is the reply's result and text when it is no success (what a failed resolve shows),
// the client's reason when no readable reply came.
void CommandRunner::ask(const std::string& destination, const Message& request, CommandResult& result) {
    zal::RequestClient& client = connection->client;
    Message reply;
    const zal::ReplyStatus status =
        client.exchange(zal::ControlMessageHelper::makeIdentity(destination), request, reply);
    result.reply = reply;
    result.text = QString::fromStdString(client.getLastMessageText());
    switch (status) {
        case zal::ReplyStatus::Received:
            result.outcome = Outcome::Replied;
            if (result.status() != ExitStatus::Success) {
                result.text = ReplyFormatter::format(reply, Presentation::Nothing);
            }
            return;
        case zal::ReplyStatus::Unreadable:
            result.outcome = Outcome::UnreadableReply;
            return;
        case zal::ReplyStatus::TimedOut:
            result.outcome = Outcome::NoReply;
            return;
    }
}

std::optional<QStringList> CommandRunner::listed(const QStringList& words) {
    const Command command = parser.parse(words);
    CommandResult result;
    ask(command.destination, command.request, result);
    if (result.outcome != Outcome::Replied || result.status() != ExitStatus::Success) {
        return std::nullopt;
    }
    return result.reply.GetParameter().split(QLatin1Char(','), Qt::SkipEmptyParts);
}

namespace {

QString namesOrNone(const QStringList& names) {
    return names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
}

}  // namespace

void CommandRunner::explainSilence(const std::string& destination, Service service, const Command& command,
                                   CommandResult& result) {
    const QString timeout = QStringLiteral("Time-out: %1 (no reply from %2")
                                .arg(result.text, QString::fromStdString(destination));
    const std::optional<QStringList> groups =
        service == Service::GroupManager ? std::nullopt : listed({QStringLiteral("groups")});
    if (!groups) {
        result.text =
            timeout +
            (service == Service::GroupManager ? QStringLiteral("; ")
                                              : QStringLiteral(", nor from the group manager; ")) +
            QStringLiteral("nothing listens at the endpoint%1)")
                .arg(curveServerKey.empty() ? QString()
                                            : QStringLiteral(", or the server refused these CURVE keys"));
        return;
    }
    if (!groups->contains(command.group)) {
        result.outcome = Outcome::NoSuchName;
        result.text = QStringLiteral("no group '%1' (groups: %2)").arg(command.group, namesOrNone(*groups));
        return;
    }
    QString who = QStringLiteral("group '%1'").arg(command.group);
    if (service == Service::NameService) {
        who = QStringLiteral("the name service of group '%1'").arg(command.group);
    } else if (service == Service::Processor) {
        // A group too busy to list its processors leaves the processor's existence open.
        if (const std::optional<QStringList> processors =
                listed({QStringLiteral("processors"), command.group})) {
            if (!processors->contains(command.processor)) {
                result.outcome = Outcome::NoSuchName;
                result.text = QStringLiteral("no processor '%1' in group '%2' (processors: %3)")
                                  .arg(command.processor, command.group, namesOrNone(*processors));
                return;
            }
            who = QStringLiteral("processor '%1' in group '%2'").arg(command.processor, command.group);
        }
    }
    result.text = timeout + QStringLiteral("; %1 exists but did not answer in time: it is busy)").arg(who);
}

}  // namespace zaltools
