// Renders a reply for people: its result and text, then the value the command asked for.
#pragma once

#include <QString>
#include <QVector>

#include "zal/msg/controlmessage.h"
#include "zaltools/command.h"
#include "zaltools/parameterdescription.h"

namespace zaltools {

class ReplyFormatter {
public:
    // First line "Success", "Warning" or "Error", with ": " and the message text when there is
    // one; then, unless the result is an error, the value one item per line: a parameter name
    // with its description in `described`, when it has one. No final newline.
    static QString format(const zalmsg::ControlMessage& reply, Presentation presentation,
                          const QVector<ParameterDescription>& described = {});
    // The reply exactly as it travelled: its XML text.
    static QString formatXml(const zalmsg::ControlMessage& reply);
};

}  // namespace zaltools
