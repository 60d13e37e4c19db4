// Tells which handshakes of one socket's connections failed, from that socket's monitor.
#pragma once

#include <QString>
#include <functional>
#include <set>
#include <string>
#include <zmq.hpp>

namespace zal {

// Made by the thread that owns the watched socket, and owned by it too: libzmq reports the watched
// socket's handshakes on a PAIR socket bound at an in-process endpoint of its own, and the watch
// holds the other end, which the owner polls. Close the watched socket first: libzmq then stops
// reporting before the watch goes.
class HandshakeWatch {
public:
    explicit HandshakeWatch(zmq::socket_t& watched);

    // What the owner polls for ZMQ_POLLIN.
    zmq::socket_t& socket() { return pair; }

    // Reads every report waiting. For each failed handshake, `refused` gets the address, why, and
    // whether it is the first failure at that address since it last succeeded or was retried, so
    // that a connection libzmq retries by itself is traced once while every attempt is counted.
    void readReports(
        const std::function<void(const QString& address, const QString& reason, bool first)>& refused);

    // A report's reason in words: the event, and for an authentication failure the server's status.
    static QString reasonOf(int event, std::uint32_t value);

    // Whether the last handshake at `address` failed. libzmq gives up a connection whose key the
    // server refused, so its owner must connect it anew; retrying(address) before that makes the
    // next failure a first one again.
    bool hasFailed(const std::string& address) const { return failing.count(address) != 0; }
    void retrying(const std::string& address) { failing.erase(address); }

private:
    zmq::socket_t pair;
    std::set<std::string> failing;
};

}  // namespace zal
