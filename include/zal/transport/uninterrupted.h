// ZeroMQ calls that a signal interrupted, made again instead of failing.
#pragma once

#include <cerrno>
#include <zmq.hpp>

namespace zal {

// A signal meant for the host (a timer, a child's end, a profiler) lands on whichever thread does
// not block it, and a blocking ZeroMQ call there returns EINTR having done nothing. Failing would
// end a service thread over nothing, so every call is made again; a message not sent stays the
// caller's, so repeating a send is safe.
//
// `call` returns what ZeroMQ's C functions return: negative on failure, the reason in zmq_errno().
template <class Call>
int retryInterrupted(Call&& call) {
    int result;
    do {
        result = call();
    } while (result < 0 && zmq_errno() == EINTR);
    return result;
}

// cppzmq's receive and send, which throw on EINTR, with that one error retried.
inline zmq::recv_result_t receiveUninterrupted(zmq::socket_t& socket, zmq::message_t& frame,
                                               zmq::recv_flags flags) {
    for (;;) {
        try {
            return socket.recv(frame, flags);
        } catch (const zmq::error_t& e) {
            if (e.num() != EINTR) {
                throw;
            }
        }
    }
}

inline zmq::send_result_t sendUninterrupted(zmq::socket_t& socket, zmq::const_buffer bytes,
                                            zmq::send_flags flags) {
    for (;;) {
        try {
            return socket.send(bytes, flags);
        } catch (const zmq::error_t& e) {
            if (e.num() != EINTR) {
                throw;
            }
        }
    }
}

}  // namespace zal
