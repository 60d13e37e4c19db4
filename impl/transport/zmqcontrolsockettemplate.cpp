#include "zal/transport/zmqcontrolsockettemplate.h"

#include "zal/transport/socketerror.h"
#include "zmqframe.h"

namespace zal {

template <class Traits, ControlDirection direction>
ZmqControlSocketTemplate<Traits, direction>::ZmqControlSocketTemplate(typename Traits::socket_type& socket,
                                                                      EnvelopeMode envelopeMode)
    : ZmqSocketBase<Traits>(socket), envelopeMode(envelopeMode) {}

template <class Traits, ControlDirection direction>
void ZmqControlSocketTemplate<Traits, direction>::sendMessage(
    [[maybe_unused]] const ControlMessage& message) {
    if constexpr (direction == ControlDirection::ReceiveOnly) {
        throw SocketError("sendMessage() not supported for this socket type");
    } else {
        frame::sendEnvelope(this->getSocket(), envelopeMode, message);
    }
}

template <class Traits, ControlDirection direction>
void ZmqControlSocketTemplate<Traits, direction>::receiveMessage([[maybe_unused]] ControlMessage& message) {
    if constexpr (direction == ControlDirection::SendOnly) {
        throw SocketError("receiveMessage() not supported for this socket type");
    } else {
        frame::receiveEnvelope(this->getSocket(), envelopeMode, message);
    }
}

template class ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>, ControlDirection::Both>;
template class ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>, ControlDirection::SendOnly>;
template class ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>, ControlDirection::ReceiveOnly>;

}  // namespace zal
