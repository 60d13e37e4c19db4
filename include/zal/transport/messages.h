// The three kinds of message that travel on the middleware's sockets, as frames of bytes.
#pragma once

#include <QByteArray>

namespace zal {

// A control envelope: the peer's identity and the serialized control message.
struct ControlMessage {
    QByteArray address;
    QByteArray data;
};

// A message as the router sees it: who sent it, who is to receive it, and the opaque payload.
struct RouterMessage {
    QByteArray source;
    QByteArray destination;
    QByteArray data;
};

// One message of a data stream; subscribers filter on the topic, the first frame.
struct ByteStreamMessage {
    QByteArray topic;
    QByteArray data;
};

}  // namespace zal
