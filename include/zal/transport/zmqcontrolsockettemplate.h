// Control envelopes on a socket: how (address, data) is cut into frames for each envelope mode.
#pragma once

#include <zmq.hpp>

#include "zal/transport/messages.h"
#include "zal/transport/sockettraits.h"
#include "zal/transport/zmqsocketbase.h"

namespace zal {

// Frames per envelope mode (an empty frame is a delimiter of length zero):
//   0: address, empty, data   -- a ROUTER answering DEALER peers
//   1: empty, address, data   -- a DEALER talking to a ROUTER (the default)
//   2: empty, data            -- the address is not sent; a received one stays empty
//   3: address, data
//   other: data alone
// A receive reads the frames of the mode and leaves any surplus frames for the next receive.
template <class Traits>
class ZmqControlSocketTemplate : public SendSocket<ControlMessage>,
                                 public ReceiveSocket<ControlMessage>,
                                 public ZmqSocketBase<Traits> {
public:
    explicit ZmqControlSocketTemplate(typename Traits::socket_type& socket, int envelopeMode = 1);
    void sendMessage(const ControlMessage& message) override;
    void receiveMessage(ControlMessage& message) override;
    int getEnvelopeMode() const { return envelopeMode; }

private:
    int envelopeMode;
};

// The publishing end of a control line: receiving throws SocketError.
template <class Traits>
class ZmqPubControlSocketTemplate : public SendSocket<ControlMessage>,
                                    public ReceiveSocket<ControlMessage>,
                                    public ZmqSocketBase<Traits> {
public:
    explicit ZmqPubControlSocketTemplate(typename Traits::socket_type& socket, int envelopeMode = 1);
    void sendMessage(const ControlMessage& message) override;
    void receiveMessage(ControlMessage& message) override;

private:
    int envelopeMode;
};

// The subscribing end of a control line: sending throws SocketError, since a subscription
// cannot be answered on the socket it arrives on.
template <class Traits>
class ZmqSubControlSocketTemplate : public SendSocket<ControlMessage>,
                                    public ReceiveSocket<ControlMessage>,
                                    public ZmqSocketBase<Traits> {
public:
    explicit ZmqSubControlSocketTemplate(typename Traits::socket_type& socket, int envelopeMode = 1);
    void sendMessage(const ControlMessage& message) override;
    void receiveMessage(ControlMessage& message) override;

private:
    int envelopeMode;
};

extern template class ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>>;
extern template class ZmqPubControlSocketTemplate<SocketTraits<zmq::socket_t>>;
extern template class ZmqSubControlSocketTemplate<SocketTraits<zmq::socket_t>>;

using ZmqControlSocket = ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>>;
using ZmqPubControlSocket = ZmqPubControlSocketTemplate<SocketTraits<zmq::socket_t>>;
using ZmqSubControlSocket = ZmqSubControlSocketTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
