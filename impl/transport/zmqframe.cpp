#include "zmqframe.h"

#include <cerrno>

#include "zal/socketerror.h"

namespace zal::frame {

const char* const invalidMessageFormat = "Invalid message format";

FrameReader::FrameReader(zmq::socket_t& socket) : socket(socket.handle()) {
    if (zmq_msg_init(&message) != 0) {
        throw zmq::error_t();
    }
}

FrameReader::~FrameReader() {
    zmq_msg_close(&message);
}

bool FrameReader::next() {
    if (zmq_msg_recv(&message, socket, 0) < 0) {
        if (zmq_errno() != EAGAIN) {
            throw zmq::error_t();
        }
        throw SocketError("recv() failed");
    }
    return zmq_msg_more(&message) != 0;
}

void FrameReader::appendTo(QByteArray& field) const {
    field.append(static_cast<const char*>(zmq_msg_data(const_cast<zmq_msg_t*>(&message))),
                 static_cast<qsizetype>(zmq_msg_size(const_cast<zmq_msg_t*>(&message))));
}

void FrameReader::nextWithMore(QByteArray* keep) {
    const bool more = next();
    if (keep != nullptr) {
        appendTo(*keep);
    }
    if (!more) {
        throw MessageFormatError(invalidMessageFormat);
    }
}

void sendFrame(zmq::socket_t& socket, const char* data, int size, int flags) {
    int sent = zmq_send(socket.handle(), data, static_cast<size_t>(size), flags);
    if (sent < 0) {
        if (zmq_errno() != EAGAIN) {
            throw zmq::error_t();
        }
        sent = 0;
    }
    if (sent != size) {
        throw SocketError("send() failed");
    }
}

void sendEnvelope(zmq::socket_t& socket, int envelopeMode, const ControlMessage& message) {
    switch (envelopeMode) {
        case 0:
            sendFrame(socket, message.address, ZMQ_SNDMORE);
            sendEmptyFrame(socket, ZMQ_SNDMORE);
            break;
        case 1:
            sendEmptyFrame(socket, ZMQ_SNDMORE);
            sendFrame(socket, message.address, ZMQ_SNDMORE);
            break;
        case 2:
            sendEmptyFrame(socket, ZMQ_SNDMORE);
            break;
        case 3:
            sendFrame(socket, message.address, ZMQ_SNDMORE);
            break;
        default:
            break;
    }
    sendFrame(socket, message.data, 0);
}

void receiveEnvelope(zmq::socket_t& socket, int envelopeMode, ControlMessage& message) {
    message.address.clear();
    message.data.clear();
    FrameReader frames(socket);
    switch (envelopeMode) {
        case 0:
            frames.nextWithMore(&message.address);
            frames.nextWithMore(nullptr);
            break;
        case 1:
            frames.nextWithMore(nullptr);
            frames.nextWithMore(&message.address);
            break;
        case 2:
            frames.nextWithMore(nullptr);
            break;
        case 3:
            frames.nextWithMore(&message.address);
            break;
        default:
            break;
    }
    // Surplus frames after the last expected one are left for the next receive, by design.
    frames.next();
    frames.appendTo(message.data);
}

}  // namespace zal::frame
