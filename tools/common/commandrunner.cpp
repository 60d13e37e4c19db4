#include "zaltools/commandrunner.h"

#include "zal/msg/controlmessagehelper.h"
#include "zal/services/requestclienttemplate.h"
#include "zaltools/replyformatter.h"

namespace zaltools {

using Message = zalmsg::ControlMessage;

struct CommandRunner::Connection {
    Connection(const std::string& endpoint, int timeoutMs, zal::RequestClient::Prepare prepare)
        : client(endpoint, true, timeoutMs, std::move(prepare)) {}
    zal::RequestClient client;
};

CommandRunner::CommandRunner(std::string endpoint, int timeoutMs, bool xml, std::string prefix)
    : endpoint(std::move(endpoint)), timeoutMs(timeoutMs), xml(xml), parser(std::move(prefix)) {}

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
        result.status = ExitStatus::Usage;
        result.text = QString::fromUtf8(e.what());
        return result;
    }
}

CommandResult CommandRunner::execute(const Command& command) {
    CommandResult result;
    try {
        if (!connection) {
            try {
                zal::RequestClient::Prepare prepare;
                if (!curveServerKey.empty()) {
                    prepare = [server = curveServerKey, keys = curveClientKeys](zmq::socket_t& socket) {
                        zal::CurveKeys::applyClient(socket, server, keys);
                    };
                }
                connection = std::make_unique<Connection>(endpoint, timeoutMs, std::move(prepare));
            } catch (const zmq::error_t& e) {
                result.status = ExitStatus::Usage;
                result.text = QStringLiteral("Cannot use endpoint '%1': %2")
                                  .arg(QString::fromStdString(endpoint), QString::fromUtf8(e.what()));
                return result;
            }
        }
        bool replied = false;
        if (command.resolveAt.empty()) {
            replied = ask(command.destination, command.request, result);
        } else {
            if (!ask(command.resolveAt, command.request, result) || result.status != ExitStatus::Success) {
                result.text =
                    QStringLiteral("Cannot resolve stream '%1': %2").arg(command.streamName, result.text);
                return result;
            }
            const QVector<QString> addresses = result.reply.GetStreamAddresses();
            if (addresses.isEmpty()) {
                result.status = ExitStatus::Error;
                result.text =
                    QStringLiteral("Cannot resolve stream '%1': it has no address.").arg(command.streamName);
                return result;
            }
            replied =
                ask(command.destination,
                    zal::ControlMessageHelper::makeConnectStreamMessage(
                        command.streamName.toStdString(), addresses.front().toStdString(), command.filters),
                    result);
        }
        if (replied) {
            result.text = command.xml || xml ? ReplyFormatter::formatXml(result.reply)
                                             : ReplyFormatter::format(result.reply, command.presentation);
        }
    } catch (const std::exception& e) {
        result.status = ExitStatus::Error;
        result.text = QStringLiteral("Request failed: %1").arg(QString::fromUtf8(e.what()));
    }
    return result;
}

// True when a readable reply arrived, whatever its result; the status then follows the result.
// Otherwise the status tells an unreadable reply (an error: something did answer) from silence,
// and the text holds the reason.
bool CommandRunner::ask(const std::string& destination, const Message& request, CommandResult& result) {
    Message reply;
    zal::RequestClient& client = connection->client;
    const bool success = client.request(zal::ControlMessageHelper::makeIdentity(destination), request, reply);
    result.reply = reply;
    result.text = QString::fromStdString(client.getLastMessageText());
    if (success) {
        result.status = ExitStatus::Success;
        return true;
    }
    if (reply.IsMessageTypeSet()) {
        result.status =
            reply.GetResultType() == Message::ResultType::Warning ? ExitStatus::Warning : ExitStatus::Error;
        result.text = ReplyFormatter::format(reply, Presentation::Nothing);
        return true;
    }
    if (result.text.startsWith(QLatin1String("Invalid reply"))) {
        result.status = ExitStatus::Error;
        return false;
    }
    result.status = ExitStatus::Timeout;
    result.text =
        QStringLiteral(
            "Time-out: %1 (no reply from %2; nothing listens at the endpoint, or that "
            "group or processor does not exist%3)")
            .arg(result.text, QString::fromStdString(destination),
                 curveServerKey.empty() ? QString()
                                        : QStringLiteral(", or the server refused these CURVE keys"));
    return false;
}

}  // namespace zaltools
