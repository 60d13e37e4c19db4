// Fuzzes the frame parsing of the socket templates through real in-process ZeroMQ sockets.
//
// Input: byte 0 picks the receiver (control envelope modes 0 to 4, router, byte stream); byte 1 the
// number of frames (1 to 8); then each frame but the last as a length byte and that many bytes, the
// last frame taking whatever is left. The frames go out as one multipart message; the template's
// receive must take exactly the frames its framing names and report the rest as the framing says,
// and what it received must go back out framed as the template's send promises. libFuzzer's timer
// signal interrupts blocking calls now and then; the harness's own calls retry like the library's.
#include <zal/transport/messages.h>
#include <zal/transport/socketerror.h>
#include <zal/transport/uninterrupted.h>
#include <zal/transport/zmqbytestreamsockettemplate.h>
#include <zal/transport/zmqcontrolsockettemplate.h>
#include <zal/transport/zmqroutersockettemplate.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>
#include <zmq.hpp>

#include "fuzzcheck.h"

namespace {

const char kPeerIdentity[] = "fuzz-peer";

struct Sockets {
    zmq::context_t context;
    zmq::socket_t pairOut{context, zmq::socket_type::pair};
    zmq::socket_t pairIn{context, zmq::socket_type::pair};
    zmq::socket_t dealer{context, zmq::socket_type::dealer};
    zmq::socket_t router{context, zmq::socket_type::router};

    Sockets() {
        // A receive can only block for frames that were never sent; the bound turns that into a failure.
        for (zmq::socket_t* s : {&pairIn, &pairOut, &router}) {
            s->set(zmq::sockopt::rcvtimeo, 2000);
        }
        pairIn.bind("inproc://fuzz-pair");
        pairOut.connect("inproc://fuzz-pair");
        router.bind("inproc://fuzz-router");
        dealer.set(zmq::sockopt::routing_id, zmq::const_buffer(kPeerIdentity, sizeof kPeerIdentity));
        dealer.connect("inproc://fuzz-router");
    }
};

Sockets& sockets() {
    static Sockets instance;
    return instance;
}

std::vector<QByteArray> splitFrames(const std::uint8_t* data, std::size_t size) {
    std::vector<QByteArray> frames;
    const int count = 1 + (data[0] & 7);
    std::size_t at = 1;
    for (int i = 0; i + 1 < count; ++i) {
        std::size_t length = at < size ? data[at++] : 0;
        length = std::min(length, size - at);
        frames.emplace_back(reinterpret_cast<const char*>(data + at), static_cast<qsizetype>(length));
        at += length;
    }
    frames.emplace_back(reinterpret_cast<const char*>(data + at), static_cast<qsizetype>(size - at));
    return frames;
}

void sendFrames(zmq::socket_t& socket, const std::vector<QByteArray>& frames) {
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const int flags = i + 1 < frames.size() ? ZMQ_SNDMORE : 0;
        const int sent = zal::retryInterrupted([&] {
            return zmq_send(socket.handle(), frames[i].constData(), std::size_t(frames[i].size()), flags);
        });
        ZAL_FUZZ_CHECK(sent == frames[i].size());
    }
}

// Frames of the message still in the socket after the template's receive.
int drain(zmq::socket_t& socket) {
    int left = 0;
    zmq::message_t frame;
    while (zal::receiveUninterrupted(socket, frame, zmq::recv_flags::dontwait)) {
        ++left;
    }
    return left;
}

std::vector<QByteArray> receiveFrames(zmq::socket_t& socket) {
    std::vector<QByteArray> frames;
    zmq::message_t frame;
    do {
        ZAL_FUZZ_CHECK(zal::receiveUninterrupted(socket, frame, zmq::recv_flags::none));
        frames.emplace_back(frame.data<char>(), static_cast<qsizetype>(frame.size()));
    } while (frame.more());
    return frames;
}

// Returns whether the receive reported the message malformed; any other failure is a finding.
template <class Socket, class Message>
bool receiveRefused(Socket& socket, Message& message) {
    try {
        socket.receiveMessage(message);
    } catch (const zal::SocketError& e) {
        ZAL_FUZZ_CHECK(std::strcmp(e.what(), "Invalid message format") == 0);
        return true;
    }
    return false;
}

// Envelope modes: where the address stands in the frames read, and how many frames are read.
void fuzzControl(int mode, const std::vector<QByteArray>& frames) {
    static const int addressAt[] = {0, 1, -1, 0, -1};
    static const int framesRead[] = {3, 3, 2, 2, 1};
    const int n = static_cast<int>(frames.size());
    Sockets& s = sockets();
    zal::ZmqControlSocket socket(s.pairIn, static_cast<zal::EnvelopeMode>(mode));
    sendFrames(s.pairOut, frames);
    zal::ControlMessage message{"stale", "stale"};
    const bool refused = receiveRefused(socket, message);
    const int expected = framesRead[mode];
    ZAL_FUZZ_CHECK(refused == (n < expected));
    ZAL_FUZZ_CHECK(drain(s.pairIn) == (refused ? 0 : n - expected));
    const int at = addressAt[mode];
    ZAL_FUZZ_CHECK(message.address == (at >= 0 && at < n ? frames[std::size_t(at)] : QByteArray()));
    ZAL_FUZZ_CHECK(message.data == (refused ? QByteArray() : frames[std::size_t(expected - 1)]));
    if (refused) {
        return;
    }
    // What was received goes back out in the same mode, the address where the framing puts it.
    static const std::vector<std::vector<int>> layout = {{0, 1, 2}, {1, 0, 2}, {1, 2}, {0, 2}, {2}};
    const QByteArray fields[] = {message.address, QByteArray(), message.data};
    std::vector<QByteArray> sent;
    for (int field : layout[std::size_t(mode)]) {
        sent.push_back(fields[field]);
    }
    socket.sendMessage(message);
    ZAL_FUZZ_CHECK(receiveFrames(s.pairOut) == sent);
}

// ZeroMQ puts the peer's identity in front: source, empty, destination, data, and nothing after.
void fuzzRouter(const std::vector<QByteArray>& frames) {
    const int n = static_cast<int>(frames.size());
    Sockets& s = sockets();
    zal::ZmqRouterSocket socket(s.router);
    sendFrames(s.dealer, frames);
    zal::RouterMessage message{"stale", "stale", "stale"};
    const bool refused = receiveRefused(socket, message);
    ZAL_FUZZ_CHECK(refused == (n != 3));
    ZAL_FUZZ_CHECK(drain(s.router) == (n > 3 ? n - 3 : 0));
    ZAL_FUZZ_CHECK(message.source == QByteArray(kPeerIdentity, sizeof kPeerIdentity));
    ZAL_FUZZ_CHECK(message.destination == (n >= 2 ? frames[1] : QByteArray()));
    ZAL_FUZZ_CHECK(message.data == (n >= 3 ? frames[2] : QByteArray()));
}

void fuzzByteStream(const std::vector<QByteArray>& frames) {
    const int n = static_cast<int>(frames.size());
    Sockets& s = sockets();
    zal::ZmqByteStreamInSocket socket(s.pairIn);
    sendFrames(s.pairOut, frames);
    zal::ByteStreamMessage message{"stale", "stale"};
    ZAL_FUZZ_CHECK(!receiveRefused(socket, message));
    ZAL_FUZZ_CHECK(drain(s.pairIn) == (n > 2 ? n - 2 : 0));
    ZAL_FUZZ_CHECK(message.topic == frames[0]);
    ZAL_FUZZ_CHECK(message.data == (n >= 2 ? frames[1] : QByteArray()));
    zal::ZmqByteStreamOutSocket out(s.pairIn);
    out.sendMessage(message);
    ZAL_FUZZ_CHECK(receiveFrames(s.pairOut) == (std::vector<QByteArray>{message.topic, message.data}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const int receiver = data[0] % 7;
    const std::vector<QByteArray> frames = splitFrames(data + 1, size - 1);
    if (receiver < 5) {
        fuzzControl(receiver, frames);
    } else if (receiver == 5) {
        fuzzRouter(frames);
    } else {
        fuzzByteStream(frames);
    }
    return 0;
}
