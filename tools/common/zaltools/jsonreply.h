// Renders what became of a command as one JSON object for scripts: its result, its text and its value.
#pragma once

#include <QJsonValue>
#include <QString>

#include "zal/msg/controlmessage.h"
#include "zaltools/command.h"
#include "zaltools/exitstatus.h"

namespace zaltools {

// Every object has the keys "result", "text" and "value", on one line without a final newline.
class JsonReply {
public:
    // "result" is the reply's result type, "text" its message text, "value" what the command asked
    // for (table in docs/zalctl.md); null after an error reply and for commands that ask nothing.
    static QString ofReply(const zalmsg::ControlMessage& reply, Presentation presentation);
    // A command without a reply to show: "result" names the status ("Timeout", "Usage", "Error"),
    // "text" gives the reason, "value" is null.
    static QString ofOutcome(ExitStatus status, const QString& text);
    static QString envelope(ExitStatus status, const QString& text, const QJsonValue& value);
    static QString resultName(ExitStatus status);
};

}  // namespace zaltools
