// Turns the words of one command into a request for one service of a running system.
#pragma once

#include <QString>
#include <QStringList>
#include <stdexcept>
#include <string>

#include "zaltools/command.h"

namespace zaltools {

// A command that cannot be sent as typed; what() is a complete sentence for the user.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Stateless apart from the endpoint prefix, so one parser may serve any number of threads.
// Words are the sub-command and its arguments; options take their value as the next word or
// after '=' (--address=X), may stand anywhere after the sub-command, and "--" ends them, so
// that a value starting with "--" can still be passed.
class CommandParser {
public:
    // `prefix` is the internal address prefix of the system asked ("inproc://zal" by default).
    explicit CommandParser(std::string prefix);

    // Throws UsageError for an unknown sub-command or option, a missing, extra or empty
    // argument, or a malformed option value.
    Command parse(const QStringList& words) const;

    static bool isCommand(const QString& name);
    // One line per sub-command with its arguments and options, for help texts.
    static QString synopsis();

private:
    std::string prefix;
};

}  // namespace zaltools
