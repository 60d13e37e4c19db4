#include "zal/transport/zmqroutersockettemplate.h"

#include "zal/transport/socketerror.h"
#include "zmqframe.h"

namespace zal {

template <class Traits>
ZmqRouterSocketTemplate<Traits>::ZmqRouterSocketTemplate(typename Traits::socket_type& socket)
    : ZmqSocketBase<Traits>(socket) {}

template <class Traits>
void ZmqRouterSocketTemplate<Traits>::sendMessage(const RouterMessage& message) {
    auto& socket = this->getSocket();
    frame::sendFrame(socket, message.destination, ZMQ_SNDMORE);
    frame::sendEmptyFrame(socket, ZMQ_SNDMORE);
    frame::sendFrame(socket, message.source, ZMQ_SNDMORE);
    frame::sendFrame(socket, message.data, 0);
}

template <class Traits>
void ZmqRouterSocketTemplate<Traits>::receiveMessage(RouterMessage& message) {
    message.source.clear();
    message.destination.clear();
    message.data.clear();
    frame::FrameReader frames(this->getSocket());
    frames.nextWithMore(&message.source);
    frames.nextWithMore(nullptr);
    frames.nextWithMore(&message.destination);
    const bool surplus = frames.next();
    frames.appendTo(message.data);
    if (surplus) {
        throw MessageFormatError(frame::invalidMessageFormat);
    }
}

template class ZmqRouterSocketTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
