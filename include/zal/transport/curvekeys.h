// CURVE keys in the text form ZeroMQ takes (40 Z85 characters), key files, and applying them to sockets.
#pragma once

#include <QString>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>
#include <zmq.hpp>

namespace zal {

// A key or key file that cannot be used; what() names the file and line where there is one.
class CurveKeyError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Stateless. Keys are always Z85 text here; ZeroMQ turns them into 32 bytes itself.
class CurveKeys {
public:
    struct Pair {
        std::string publicKey;
        std::string secretKey;
    };

    // A fresh pair; zmq::error_t when this libzmq was built without CURVE.
    static Pair generate();
    // 40 characters that decode as Z85.
    static bool isKey(const std::string& text);
    // The public key belonging to a secret key; CurveKeyError when `secretKey` is not a key.
    static std::string publicKeyOf(const std::string& secretKey);

    // The keys of a key file, in order. A line is empty, a comment (starting with '#'), or one key
    // (40 Z85 characters) optionally followed by white space and a comment. Anything else, or a
    // file that cannot be read, throws CurveKeyError.
    static std::vector<std::string> readKeyFile(const QString& path);
    // The servers' public keys of a peer keys file by host: its lines are `HOST KEY`, with blank
    // lines and comments as in a key file; a host listed again takes the later key.
    static std::map<std::string, std::string> readPeerKeyFile(const QString& path);
    // The key of a file that holds exactly one, as `zalctl keygen` writes them.
    static std::string readSingleKey(const QString& path);

    // Makes a socket a CURVE client of a server known by its public key. Call before connect.
    static void applyClient(zmq::socket_t& socket, const std::string& serverPublicKey, const Pair& client);
};

}  // namespace zal
