// What a configuration asks of the router beyond its addresses.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zal {

struct RouterOptions {
    // Off, the library's default: a malformed message (wrong number of frames) ends the router's
    // loop with SocketError "Invalid message format". On: the rest of that message is dropped,
    // "Invalid message format" is traced with the sender's identity, and the loop goes on; and a
    // send that would block (a peer that stopped reading, or whose queue is full) is dropped as
    // undeliverable, so that one such peer cannot stall every other.
    bool dropMalformed = false;
    // The largest message the frontend accepts, in bytes; a peer that sends a larger one is
    // disconnected by ZeroMQ before the message is read into memory, so a client cannot make the
    // host allocate what it pleases. A control message is a few kilobytes. 0 or less: no limit.
    std::int64_t maxMessageSize = defaultMaxMessageSize;
    static constexpr std::int64_t defaultMaxMessageSize = 1024 * 1024;
    // The frontend's CURVE secret key (Z85). Empty: no CURVE, the frontend is as plain as ever.
    // Set: clients must speak CURVE and hold a key of `curveAuthorizedKeys`, which the
    // environment's ZAP handler checks; the in-process frontend address is bound as well, for
    // clients inside the process, which never pass a handshake.
    std::string curveSecretKey;
    std::vector<std::string> curveAuthorizedKeys;
};

}  // namespace zal
