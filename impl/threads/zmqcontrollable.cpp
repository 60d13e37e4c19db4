#include "zal/threads/zmqcontrollable.h"

#include "zal/transport/uninterrupted.h"

namespace zal {

int ZmqControllable::addCreatorSocket() {
    if (!creatorSocket) {
        return creatorIndex = -1;
    }
    creatorIndex = reader.addSocket(*creatorSocket, ZMQ_POLLIN);
    return creatorIndex;
}

bool ZmqControllable::checkCreatorSocket() {
    if (!creatorSocket || !SocketReader::isReadable(reader.getEvents(creatorIndex))) {
        return true;
    }
    zmq::message_t frame;
    while (receiveUninterrupted(*creatorSocket, frame, zmq::recv_flags::dontwait) && frame.more()) {
    }
    return false;
}

}  // namespace zal
