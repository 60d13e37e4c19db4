// Control envelopes on a socket: how (address, data) is cut into frames for each envelope mode.
#pragma once

#include <zmq.hpp>

#include "zal/transport/envelopemode.h"
#include "zal/transport/messages.h"
#include "zal/transport/sockettraits.h"
#include "zal/transport/zmqsocketbase.h"

namespace zal {

// Frames each envelope as its EnvelopeMode says. A receive reads the frames of the mode and leaves
// any surplus frames for the next receive.
template <class Traits>
class ZmqControlSocketTemplate : public SendSocket<ControlMessage>,
                                 public ReceiveSocket<ControlMessage>,
                                 public ZmqSocketBase<Traits> {
public:
    explicit ZmqControlSocketTemplate(typename Traits::socket_type& socket,
                                      EnvelopeMode envelopeMode = EnvelopeMode::Dealer);
    void sendMessage(const ControlMessage& message) override;
    void receiveMessage(ControlMessage& message) override;
    EnvelopeMode getEnvelopeMode() const { return envelopeMode; }

private:
    EnvelopeMode envelopeMode;
};

// The publishing end of a control line: receiving throws SocketError.
template <class Traits>
class ZmqPubControlSocketTemplate : public SendSocket<ControlMessage>,
                                    public ReceiveSocket<ControlMessage>,
                                    public ZmqSocketBase<Traits> {
public:
    explicit ZmqPubControlSocketTemplate(typename Traits::socket_type& socket,
                                         EnvelopeMode envelopeMode = EnvelopeMode::Dealer);
    void sendMessage(const ControlMessage& message) override;
    void receiveMessage(ControlMessage& message) override;

private:
    EnvelopeMode envelopeMode;
};

// The subscribing end of a control line: sending throws SocketError, since a subscription
// cannot be answered on the socket it arrives on.
template <class Traits>
class ZmqSubControlSocketTemplate : public SendSocket<ControlMessage>,
                                    public ReceiveSocket<ControlMessage>,
                                    public ZmqSocketBase<Traits> {
public:
    explicit ZmqSubControlSocketTemplate(typename Traits::socket_type& socket,
                                         EnvelopeMode envelopeMode = EnvelopeMode::Dealer);
    void sendMessage(const ControlMessage& message) override;
    void receiveMessage(ControlMessage& message) override;

private:
    EnvelopeMode envelopeMode;
};

extern template class ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>>;
extern template class ZmqPubControlSocketTemplate<SocketTraits<zmq::socket_t>>;
extern template class ZmqSubControlSocketTemplate<SocketTraits<zmq::socket_t>>;

using ZmqControlSocket = ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>>;
using ZmqPubControlSocket = ZmqPubControlSocketTemplate<SocketTraits<zmq::socket_t>>;
using ZmqSubControlSocket = ZmqSubControlSocketTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
