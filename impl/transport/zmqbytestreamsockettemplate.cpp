#include "zal/zmqbytestreamsockettemplate.h"

#include "zmqframe.h"

namespace zal {

template <class Traits>
ZmqByteStreamInSocketTemplate<Traits>::ZmqByteStreamInSocketTemplate(typename Traits::socket_type& socket)
    : ZmqSocketBase<Traits>(socket) {}

template <class Traits>
void ZmqByteStreamInSocketTemplate<Traits>::receiveMessage(ByteStreamMessage& message) {
    message.topic.clear();
    message.data.clear();
    frame::FrameReader frames(this->getSocket());
    const bool more = frames.next();
    frames.appendTo(message.topic);
    if (more) {
        frames.next();
        frames.appendTo(message.data);
    }
}

template <class Traits>
ZmqByteStreamOutSocketTemplate<Traits>::ZmqByteStreamOutSocketTemplate(typename Traits::socket_type& socket)
    : ZmqSocketBase<Traits>(socket) {}

template <class Traits>
void ZmqByteStreamOutSocketTemplate<Traits>::sendMessage(const ByteStreamMessage& message) {
    auto& socket = this->getSocket();
    frame::sendFrame(socket, message.topic, ZMQ_SNDMORE);
    frame::sendFrame(socket, message.data, 0);
}

template class ZmqByteStreamInSocketTemplate<SocketTraits<zmq::socket_t>>;
template class ZmqByteStreamOutSocketTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
