// Runs commands against one running system through its router frontend and judges each reply.
#pragma once

#include <QString>
#include <QStringList>
#include <memory>
#include <optional>
#include <string>

#include "zal/msg/controlmessage.h"
#include "zal/transport/constants.h"
#include "zal/transport/curvekeys.h"
#include "zaltools/command.h"
#include "zaltools/commandparser.h"
#include "zaltools/exitstatus.h"
#include "zaltools/parameterdescription.h"
#include "zaltools/streamreach.h"

namespace zaltools {

// What became of one command.
enum class Outcome {
    Replied,          // a reply was read: `reply` holds it, and its result type decides
    NoReply,          // nothing came back within the time-out
    NoSuchName,       // nothing came back, and the group or processor named does not exist
    UnreadableReply,  // something came back that is not a control message
    NoStreamAddress,  // the stream to connect to resolved to no address
    BadUsage,         // the words, a value they give or the endpoint cannot be used
    Failed,           // the request failed on the way (the text says how)
};

struct CommandResult {
    Outcome outcome = Outcome::Replied;
    // What to show: the formatted (or XML) reply, or the reason when there is none to show.
    // No final newline.
    QString text;
    // The last reply received; for a connect by stream name, the resolve's reply when it failed.
    zalmsg::ControlMessage reply;

    // Success, Warning or Error by the reply's result; Timeout, Error or Usage for the others.
    ExitStatus status() const;
};

// Belongs to the thread that constructs it: requests block that thread for at most the time-out
// each (a connect by stream name makes two). The connection to the frontend is opened at the
// first command, so that an unusable endpoint is reported as that command's usage error, and it
// survives time-outs, so that one runner serves a whole pipeline file.
class CommandRunner {
public:
    // `form` is the default for every command (a command's own --xml or --json also turns that
    // form on; JSON wins); `prefix` is the internal address prefix of the system behind the frontend.
    CommandRunner(std::string endpoint, int timeoutMs, Form form = Form::Text,
                  std::string prefix = zal::internalAddressPrefixDefault);
    ~CommandRunner();
    CommandRunner(const CommandRunner&) = delete;
    CommandRunner& operator=(const CommandRunner&) = delete;

    // Makes the connection a CURVE client of a server with that public key; call before the first
    // command. The keys must be valid (CurveKeys::isKey).
    void useCurve(std::string serverPublicKey, zal::CurveKeys::Pair clientKeys);

    // Never throws: every failure becomes a status and a text.
    CommandResult execute(const QStringList& words);
    CommandResult execute(const Command& command);

    // A connect by stream name whose stream lives at another host: `resolver` (that host's runner)
    // resolves it, and `reach` picks the address this runner's host can connect to.
    struct Elsewhere {
        CommandRunner& resolver;
        const StreamReach& reach;
    };
    CommandResult execute(const Command& command, const Elsewhere& elsewhere);

private:
    struct Connection;
    Form formOf(const Command& command) const;
    // Asks what the command asks; true when `result` then holds the reply to show.
    CommandResult execute(const Command& command, const Elsewhere* elsewhere);
    bool attempt(const Command& command, CommandResult& result, QVector<ParameterDescription>& described,
                 const Elsewhere* elsewhere);
    // The descriptions the processor's type gives of its parameters; none when it gives none.
    QVector<ParameterDescription> describe(const Command& command);
    // Opens the connection at the first command; false, with the result filled in, when the
    // endpoint cannot be used.
    bool connect(CommandResult& result);
    void ask(const std::string& destination, const zalmsg::ControlMessage& request, CommandResult& result);
    // Resolves the stream at the name service, here or elsewhere, then asks for the connect to its
    // first address (elsewhere: the first that this host can reach); false when the resolve gave
    // no address to connect to.
    bool connectByName(const Command& command, CommandResult& result, const Elsewhere* elsewhere);
    // The router drops requests for names nobody has, so the silence of `service` (at `destination`)
    // is explained by asking the group manager and the group, which answer whenever the host does:
    // a name that does not exist turns the time-out into NoSuchName; otherwise the text says who
    // was silent.
    void explainSilence(const std::string& destination, Service service, const Command& command,
                        CommandResult& result);
    // The names a listing command ("groups", "processors GROUP") gives; none when it had no answer.
    std::optional<QStringList> listed(const QStringList& words);

    std::string endpoint;
    int timeoutMs;
    Form form;
    std::string curveServerKey;  // empty: plain connection
    zal::CurveKeys::Pair curveClientKeys;
    CommandParser parser;
    std::unique_ptr<Connection> connection;
};

}  // namespace zaltools
