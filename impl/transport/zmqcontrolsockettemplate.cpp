#include "zal/transport/zmqcontrolsockettemplate.h"

#include "zal/transport/socketerror.h"
#include "zmqframe.h"

namespace zal {

template <class Traits>
ZmqControlSocketTemplate<Traits>::ZmqControlSocketTemplate(typename Traits::socket_type& socket,
                                                           EnvelopeMode envelopeMode)
    : ZmqSocketBase<Traits>(socket), envelopeMode(envelopeMode) {}

template <class Traits>
void ZmqControlSocketTemplate<Traits>::sendMessage(const ControlMessage& message) {
    frame::sendEnvelope(this->getSocket(), envelopeMode, message);
}

template <class Traits>
void ZmqControlSocketTemplate<Traits>::receiveMessage(ControlMessage& message) {
    frame::receiveEnvelope(this->getSocket(), envelopeMode, message);
}

template <class Traits>
ZmqPubControlSocketTemplate<Traits>::ZmqPubControlSocketTemplate(typename Traits::socket_type& socket,
                                                                 EnvelopeMode envelopeMode)
    : ZmqSocketBase<Traits>(socket), envelopeMode(envelopeMode) {}

template <class Traits>
void ZmqPubControlSocketTemplate<Traits>::sendMessage(const ControlMessage& message) {
    frame::sendEnvelope(this->getSocket(), envelopeMode, message);
}

template <class Traits>
void ZmqPubControlSocketTemplate<Traits>::receiveMessage(ControlMessage&) {
    throw SocketError("receiveMessage() not supported for this socket type");
}

template <class Traits>
ZmqSubControlSocketTemplate<Traits>::ZmqSubControlSocketTemplate(typename Traits::socket_type& socket,
                                                                 EnvelopeMode envelopeMode)
    : ZmqSocketBase<Traits>(socket), envelopeMode(envelopeMode) {}

template <class Traits>
void ZmqSubControlSocketTemplate<Traits>::sendMessage(const ControlMessage&) {
    throw SocketError("sendMessage() not supported for this socket type");
}

template <class Traits>
void ZmqSubControlSocketTemplate<Traits>::receiveMessage(ControlMessage& message) {
    frame::receiveEnvelope(this->getSocket(), envelopeMode, message);
}

template class ZmqControlSocketTemplate<SocketTraits<zmq::socket_t>>;
template class ZmqPubControlSocketTemplate<SocketTraits<zmq::socket_t>>;
template class ZmqSubControlSocketTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
