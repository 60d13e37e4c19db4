// Control envelopes on a socket: how (address, data) is cut into frames for each envelope mode.
#pragma once

#include <zmq.hpp>

#include "zal/transport/envelopemode.h"
#include "zal/transport/messages.h"
#include "zal/transport/sockettraits.h"
#include "zal/transport/zmqsocketbase.h"

namespace zal {

// The ways a control socket carries envelopes; the other way throws SocketError.
enum class ControlDirection { Both, SendOnly, ReceiveOnly };

// Frames each envelope as its EnvelopeMode says. A receive reads the frames of the mode and leaves
// any surplus frames for the next receive.
template <class Traits, ControlDirection direction = ControlDirection::Both>
class ZmqControlSocketTemplate : public SendSocket<ControlMessage>,
                                 public ReceiveSocket<ControlMessage>,
                                 public ZmqSocketBase<Traits> {
public:
    explicit ZmqControlSocketTemplate(typename Traits::socket_type& socket,
                                      EnvelopeMode envelopeMode = EnvelopeMode::Dealer);
    // Throws SocketError "sendMessage() not supported for this socket type" when ReceiveOnly.
    void sendMessage(const ControlMessage& message) override;
    // Throws SocketError "receiveMessage() not supported for this socket type" when SendOnly.
    void receiveMessage(ControlMessage& message) override;
    EnvelopeMode getEnvelopeMode() const { return envelopeMode; }

private:
    EnvelopeMode envelopeMode;
};

// The publishing end of a control line: receiving throws SocketError.
template <class Traits>
using ZmqPubControlSocketTemplate = ZmqControlSocketTemplate<Traits, ControlDirection::SendOnly>;

// The subscribing end of a control line: sending throws SocketError, since a subscription
// cannot be answered on the socket it arrives on.
template <class Traits>
using ZmqSubControlSocketTemplate = ZmqControlSocketTemplate<Traits, ControlDirection::ReceiveOnly>;

extern template class ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>, ControlDirection::Both>;
extern template class ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>, ControlDirection::SendOnly>;
extern template class ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>, ControlDirection::ReceiveOnly>;

using ZmqControlSocket = ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>>;
using ZmqPubControlSocket = ZmqPubControlSocketTemplate<SocketTraits<zmq::socket_t>>;
using ZmqSubControlSocket = ZmqSubControlSocketTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
