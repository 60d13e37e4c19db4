// Byte-stream messages on PUB/SUB sockets: the topic frame, then the data frame.
#pragma once

#include <zmq.hpp>

#include "zal/transport/messages.h"
#include "zal/transport/sockettraits.h"
#include "zal/transport/trafficcount.h"
#include "zal/transport/zmqsocketbase.h"

namespace zal {

// A one-frame message arrives with empty data; frames beyond the second are not examined.
// Every message received is counted (unless the library is built with ZAL_COUNTERS off).
template <class Traits>
class ZmqByteStreamInSocketTemplate : public ReceiveSocket<ByteStreamMessage>, public ZmqSocketBase<Traits> {
public:
    explicit ZmqByteStreamInSocketTemplate(typename Traits::socket_type& socket);
    void receiveMessage(ByteStreamMessage& message) override;
    // receiveMessage without waiting: false, and message untouched, when nothing is queued. The
    // message's arrays keep their buffers for the next message unless a handler kept a copy.
    bool tryReceiveMessage(ByteStreamMessage& message);
    const TrafficCount& traffic() const { return count; }

private:
    TrafficCount count;
};

template <class Traits>
class ZmqByteStreamOutSocketTemplate : public SendSocket<ByteStreamMessage>, public ZmqSocketBase<Traits> {
public:
    explicit ZmqByteStreamOutSocketTemplate(typename Traits::socket_type& socket);
    // Counts each message it hands to ZeroMQ (unless built with ZAL_COUNTERS off), including those
    // a publisher then drops at a subscriber's high-water mark: those are the losses to be seen.
    void sendMessage(const ByteStreamMessage& message) override;
    const TrafficCount& traffic() const { return count; }

private:
    TrafficCount count;
};

extern template class ZmqByteStreamInSocketTemplate<SocketTraits<zmq::socket_t>>;
extern template class ZmqByteStreamOutSocketTemplate<SocketTraits<zmq::socket_t>>;
using ZmqByteStreamInSocket = ZmqByteStreamInSocketTemplate<SocketTraits<zmq::socket_t>>;
using ZmqByteStreamOutSocket = ZmqByteStreamOutSocketTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
