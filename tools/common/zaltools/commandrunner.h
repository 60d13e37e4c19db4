// Runs commands against one running system through its router frontend and judges each reply.
#pragma once

#include <QString>
#include <QStringList>
#include <memory>
#include <string>

#include "zal/transport/constants.h"
#include "zal/transport/curvekeys.h"
#include "zal/msg/controlmessage.h"
#include "zaltools/command.h"
#include "zaltools/commandparser.h"
#include "zaltools/exitstatus.h"

namespace zaltools {

struct CommandResult {
    ExitStatus status = ExitStatus::Success;
    // What to show: the formatted (or XML) reply, or for a usage error or a time-out the reason.
    // No final newline.
    QString text;
    // The last reply received; its message type is unset when no reply arrived.
    zalmsg::ControlMessage reply;
};

// Belongs to the thread that constructs it: requests block that thread for at most the time-out
// each (a connect by stream name makes two). The connection to the frontend is opened at the
// first command, so that an unusable endpoint is reported as that command's usage error, and it
// survives time-outs, so that one runner serves a whole pipeline file.
class CommandRunner {
public:
    // `xml` is the default for every command (a command's own --xml also turns it on);
    // `prefix` is the internal address prefix of the system behind the frontend.
    CommandRunner(std::string endpoint, int timeoutMs, bool xml = false,
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

private:
    struct Connection;
    bool ask(const std::string& destination, const zalmsg::ControlMessage& request, CommandResult& result);

    std::string endpoint;
    int timeoutMs;
    bool xml;
    std::string curveServerKey;  // empty: plain connection
    zal::CurveKeys::Pair curveClientKeys;
    CommandParser parser;
    std::unique_ptr<Connection> connection;
};

}  // namespace zaltools
