// Turns a control message into one call of a processor's control interface, and the result into the reply.
#pragma once

#include "zal/transport/messagehandler.h"
#include "zal/processors/processorcontrolinterface.h"

namespace zal {

// A request on the control line gets exactly one reply, the request itself with its result
// fields filled in; one from the broadcast line (no reply socket) is handled alike, unanswered.
// An operation that throws (a malformed address, say) is answered as a failure with the reason
// in brackets, and the processor goes on.
template <class Socket>
class ProcessorControlMessageHandler : public MessageHandler<Socket, ControlMessage> {
public:
    explicit ProcessorControlMessageHandler(ProcessorControlInterface* processor) : processor(processor) {}
    void handleMessage(ControlMessage& message, Socket* replySocket) override;

private:
    ProcessorControlInterface* processor;
};

extern template class ProcessorControlMessageHandler<ZmqControlSocket>;

}  // namespace zal
