// The text of the last reply a client received, and whether that reply reported success.
#pragma once

#include <string>

#include "zal/msg/controlmessage.h"

namespace zal {

class MessageTextProvider {
public:
    std::string getLastMessageText() const { return lastMessageText; }

protected:
    // Keeps the reply's text (or clears it when the reply has none) and reports whether the
    // result is "Success"; an unset result type reads as its default, "Success".
    bool checkMessageResult(const zalmsg::ControlMessage& reply);
    void setLastMessageText(const std::string& text) { lastMessageText = text; }

private:
    std::string lastMessageText;
};

}  // namespace zal
