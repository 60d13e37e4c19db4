// Turns a control message into one call of a processor's control interface, and the result into the reply.
#pragma once

#include "zal/processors/processorcontrolinterface.h"
#include "zal/processors/reservedparameters.h"
#include "zal/transport/messagehandler.h"

namespace zal {

// A request on the control line gets exactly one reply, the request itself with its result
// fields filled in; one from the broadcast line (no reply socket) is handled alike, unanswered.
// A refused request keeps the designed failure text and adds why in brackets: the reason the
// operation left in `refusal`, the text of what it threw (a malformed address, say), or for an
// unknown parameter the names it has. The processor goes on either way. Parameter names reserved for
// zal are answered by `reserved`, before the processor sees them, and refused for SetParameter.
template <class Socket>
class ProcessorControlMessageHandler : public MessageHandler<Socket, ControlMessage> {
public:
    // `refusal` is where the processor's operations leave the reason of a refusal (null: they
    // never give one); the handler clears it after reading. `reserved` null: reserved names are
    // refused. No pointer is owned.
    explicit ProcessorControlMessageHandler(ProcessorControlInterface* processor, QString* refusal = nullptr,
                                            const ReservedParameters* reserved = nullptr)
        : processor(processor), refusal(refusal), reserved(reserved) {}
    void handleMessage(ControlMessage& message, Socket* replySocket) override;

private:
    ProcessorControlInterface* processor;
    QString* refusal;
    const ReservedParameters* reserved;
};

extern template class ProcessorControlMessageHandler<ZmqControlSocket>;

}  // namespace zal
