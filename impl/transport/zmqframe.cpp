#include "zmqframe.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include "zal/transport/socketerror.h"
#include "zal/transport/uninterrupted.h"

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
    if (retryInterrupted([&] { return zmq_msg_recv(&message, socket, 0); }) < 0) {
        if (zmq_errno() != EAGAIN) {
            throw zmq::error_t();
        }
        throw SocketError("recv() failed");
    }
    return zmq_msg_more(&message) != 0;
}

bool FrameReader::tryNext(bool& more) {
    if (retryInterrupted([&] { return zmq_msg_recv(&message, socket, ZMQ_DONTWAIT); }) < 0) {
        if (zmq_errno() != EAGAIN) {
            throw zmq::error_t();
        }
        return false;
    }
    more = zmq_msg_more(&message) != 0;
    return true;
}

void FrameReader::copyTo(QByteArray& field) const {
    const auto size = static_cast<qsizetype>(zmq_msg_size(const_cast<zmq_msg_t*>(&message)));
    const auto* data = static_cast<const char*>(zmq_msg_data(const_cast<zmq_msg_t*>(&message)));
    if (size == 0) {
        field.clear();
    } else if (field.isDetached()) {
        field.resize(size);
        std::memcpy(field.data(), data, static_cast<size_t>(size));
    } else {
        field = QByteArray(data, size);
    }
}

void FrameReader::keepOrCopyTo(QByteArray& field) const {
    const auto size = static_cast<qsizetype>(zmq_msg_size(const_cast<zmq_msg_t*>(&message)));
    if (size != 0 && field.size() == size &&
        std::memcmp(field.constData(), zmq_msg_data(const_cast<zmq_msg_t*>(&message)),
                    static_cast<size_t>(size)) == 0) {
        return;
    }
    copyTo(field);
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
    int sent =
        retryInterrupted([&] { return zmq_send(socket.handle(), data, static_cast<size_t>(size), flags); });
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

namespace {

// Below this a copy costs less than the two allocations that sharing the buffer takes.
constexpr qsizetype sharedFrameMinimum = 4096;

void releaseSharedBytes(void* /*data*/, void* hint) {
    delete static_cast<QByteArray*>(hint);
}

}  // namespace

void sendFrame(zmq::socket_t& socket, const QByteArray& bytes, int flags) {
    std::unique_ptr<QByteArray> shared;
    if (bytes.size() >= sharedFrameMinimum) {
        shared = std::make_unique<QByteArray>(bytes);
    }
    // An array made by fromRawData owns nothing, so a reference to it would not keep the bytes alive.
    if (!shared || shared->data_ptr().d_ptr() == nullptr) {
        sendFrame(socket, bytes.constData(), static_cast<int>(bytes.size()), flags);
        return;
    }
    QByteArray* const holder = shared.release();
    zmq_msg_t message;
    zmq_msg_init_data(&message, const_cast<char*>(holder->constData()), static_cast<size_t>(holder->size()),
                      releaseSharedBytes, holder);
    if (retryInterrupted([&] { return zmq_msg_send(&message, socket.handle(), flags); }) < 0) {
        const int error = zmq_errno();
        zmq_msg_close(&message);
        if (error != EAGAIN) {
            errno = error;
            throw zmq::error_t();
        }
        throw SocketError("send() failed");
    }
}

void sendEnvelope(zmq::socket_t& socket, EnvelopeMode envelopeMode, const ControlMessage& message) {
    switch (envelopeMode) {
        case EnvelopeMode::RouterAnswer:
            sendFrame(socket, message.address, ZMQ_SNDMORE);
            sendEmptyFrame(socket, ZMQ_SNDMORE);
            break;
        case EnvelopeMode::Dealer:
            sendEmptyFrame(socket, ZMQ_SNDMORE);
            sendFrame(socket, message.address, ZMQ_SNDMORE);
            break;
        case EnvelopeMode::Delimited:
            sendEmptyFrame(socket, ZMQ_SNDMORE);
            break;
        case EnvelopeMode::Addressed:
            sendFrame(socket, message.address, ZMQ_SNDMORE);
            break;
        default:  // DataOnly, and any value not named
            break;
    }
    sendFrame(socket, message.data, 0);
}

void receiveEnvelope(zmq::socket_t& socket, EnvelopeMode envelopeMode, ControlMessage& message) {
    message.address.clear();
    message.data.clear();
    FrameReader frames(socket);
    switch (envelopeMode) {
        case EnvelopeMode::RouterAnswer:
            frames.nextWithMore(&message.address);
            frames.nextWithMore(nullptr);
            break;
        case EnvelopeMode::Dealer:
            frames.nextWithMore(nullptr);
            frames.nextWithMore(&message.address);
            break;
        case EnvelopeMode::Delimited:
            frames.nextWithMore(nullptr);
            break;
        case EnvelopeMode::Addressed:
            frames.nextWithMore(&message.address);
            break;
        default:  // DataOnly, and any value not named
            break;
    }
    // Surplus frames after the last expected one are left for the next receive, by design.
    frames.next();
    frames.appendTo(message.data);
}

}  // namespace zal::frame
