// Binding with retries and connecting with an identity: the only ways a socket gets an address.
#pragma once

#include <QString>
#include <string>
#include <zmq.hpp>

namespace zal {

class ZmqHelper {
public:
    static constexpr int maxBindAttempts = 5;

    // Binds, retrying only on EADDRINUSE (100 ms apart, maxBindAttempts in all), then writes the
    // endpoint ZeroMQ really bound back into address, so a wildcard comes back resolved.
    // Failures are traced with the address as passed in and rethrown as zmq::error_t.
    static void bindSocket(zmq::socket_t& socket, std::string& address);
    static void bindSocket(zmq::socket_t& socket, QString& address);
    // Binds to an empty address, which ZeroMQ refuses; kept for the sake of the interface.
    static void bindSocket(zmq::socket_t& socket);

    static void connectSocket(zmq::socket_t& socket, const std::string& address);
    // The identity goes out with its terminating zero byte; every party that compares identities
    // (router, name service, clients) relies on that byte being there.
    static void connectSocket(zmq::socket_t& socket, const std::string& address, const std::string& identity);

    // The system call behind bindSocket, replaceable so that operating-system failures can be staged.
    using BindFunction = int (*)(void* socket, const char* address);
    static void bindSocket(zmq::socket_t& socket, std::string& address, BindFunction bind);
};

}  // namespace zal
