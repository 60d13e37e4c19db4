#include "zal/msg/messagetextprovider.h"

namespace zal {

bool MessageTextProvider::checkMessageResult(const zalmsg::ControlMessage& reply) {
    lastMessageText = reply.IsMessageTextSet() ? reply.GetMessageText().toStdString() : std::string();
    return reply.GetResultType() == zalmsg::ControlMessage::ResultType::Success;
}

}  // namespace zal
