// Frame-level sending and receiving shared by every socket template (internal to the library).
#pragma once

#include <QByteArray>
#include <zmq.hpp>

#include "zal/transport/envelopemode.h"
#include "zal/transport/messages.h"

namespace zal::frame {

// Receives the frames of one message through one reused ZeroMQ message object.
class FrameReader {
public:
    explicit FrameReader(zmq::socket_t& socket);
    ~FrameReader();
    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;

    // Blocks for the next frame and reports whether more frames follow. A receive that would
    // block (or timed out) throws SocketError "recv() failed"; other errors zmq::error_t.
    bool next();
    // next() that returns false at once when no frame is queued, for draining without a poll.
    bool tryNext(bool& more);
    void appendTo(QByteArray& field) const;
    // Replaces field's bytes, reusing its buffer when nothing else shares it.
    void copyTo(QByteArray& field) const;
    // copyTo that leaves field alone, shared or not, when it already holds the frame's bytes: a
    // stream's topic seldom changes, and a handler that kept the last one costs no new array.
    void keepOrCopyTo(QByteArray& field) const;
    // next() that insists on a following frame: MessageFormatError "Invalid message format" otherwise.
    void nextWithMore(QByteArray* keep);

private:
    void* socket;
    zmq_msg_t message;
};

// Sends one frame; a short or would-block send throws SocketError "send() failed".
void sendFrame(zmq::socket_t& socket, const char* data, int size, int flags);
// Large arrays travel without a copy: the frame holds a reference to the array's buffer.
void sendFrame(zmq::socket_t& socket, const QByteArray& bytes, int flags);
inline void sendEmptyFrame(zmq::socket_t& socket, int flags) {
    sendFrame(socket, nullptr, 0, flags);
}

void sendEnvelope(zmq::socket_t& socket, EnvelopeMode envelopeMode, const ControlMessage& message);
void receiveEnvelope(zmq::socket_t& socket, EnvelopeMode envelopeMode, ControlMessage& message);

extern const char* const invalidMessageFormat;

}  // namespace zal::frame
