#include "zal/transport/zmqbytestreamsockettemplate.h"

#include "zmqframe.h"

namespace zal {

template <class Traits>
ZmqByteStreamInSocketTemplate<Traits>::ZmqByteStreamInSocketTemplate(typename Traits::socket_type& socket)
    : ZmqSocketBase<Traits>(socket) {}

namespace {

// Built with ZAL_COUNTERS off only to measure what counting costs.
inline void countMessage(TrafficCount& count, const QByteArray& data) {
#if ZAL_COUNTERS
    ++count.messages;
    count.bytes += static_cast<std::uint64_t>(data.size());
#else
    (void)count;
    (void)data;
#endif
}

void readMessage(frame::FrameReader& frames, bool more, ByteStreamMessage& message) {
    frames.keepOrCopyTo(message.topic);
    if (more) {
        frames.next();
        frames.copyTo(message.data);
    } else {
        message.data.clear();
    }
}

}  // namespace

template <class Traits>
void ZmqByteStreamInSocketTemplate<Traits>::receiveMessage(ByteStreamMessage& message) {
    frame::FrameReader frames(this->getSocket());
    const bool more = frames.next();
    readMessage(frames, more, message);
    countMessage(count, message.data);
}

template <class Traits>
bool ZmqByteStreamInSocketTemplate<Traits>::tryReceiveMessage(ByteStreamMessage& message) {
    frame::FrameReader frames(this->getSocket());
    bool more = false;
    if (!frames.tryNext(more)) {
        return false;
    }
    readMessage(frames, more, message);
    countMessage(count, message.data);
    return true;
}

template <class Traits>
ZmqByteStreamOutSocketTemplate<Traits>::ZmqByteStreamOutSocketTemplate(typename Traits::socket_type& socket)
    : ZmqSocketBase<Traits>(socket) {}

template <class Traits>
void ZmqByteStreamOutSocketTemplate<Traits>::sendMessage(const ByteStreamMessage& message) {
    auto& socket = this->getSocket();
    frame::sendFrame(socket, message.topic, ZMQ_SNDMORE);
    frame::sendFrame(socket, message.data, 0);
    countMessage(count, message.data);
}

template class ZmqByteStreamInSocketTemplate<SocketTraits<zmq::socket_t>>;
template class ZmqByteStreamOutSocketTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
