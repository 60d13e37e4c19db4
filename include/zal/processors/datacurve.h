// The CURVE keys a host's data streams use on tcp: its own pair as server and client, and the servers it
// knows.
#pragma once

#include <QString>
#include <map>
#include <string>
#include <vector>
#include <zmq.hpp>

#include "zal/transport/curvekeys.h"

namespace zal {

// Made once from the host's configuration and shared, never changed, by every processor of the
// environment: processors read it without a lock. Only tcp addresses are concerned; inproc and
// ipc ones keep the plain mechanism (inproc never runs one).
class DataCurve {
public:
    // `peerKeysFile` is the file `peerKeys` came from, named in refusals; empty when none is set.
    DataCurve(const std::string& secretKey, std::vector<std::string> authorizedKeys,
              std::map<std::string, std::string> peerKeys, const QString& peerKeysFile);

    // The consumers' public keys a stream admits over tcp.
    const std::vector<std::string>& getAuthorizedKeys() const { return authorizedKeys; }

    // Before binding `socket` at `address`: a CURVE server for a tcp address, plain otherwise.
    void prepareBind(zmq::socket_t& socket, const std::string& address) const;
    // Before connecting `socket` to `address`: a CURVE client of the server its host's peer key
    // names for a tcp address (true), plain otherwise (false). A tcp address whose host has no
    // peer key throws CurveKeyError saying which line to add where.
    bool prepareConnect(zmq::socket_t& socket, const std::string& address) const;

    static bool isTcp(const std::string& address);
    // HOST of tcp://[SOURCE;]HOST:PORT, as written; empty for any other address.
    static std::string hostOf(const std::string& address);

private:
    CurveKeys::Pair own;
    std::vector<std::string> authorizedKeys;
    std::map<std::string, std::string> peerKeys;
    QString peerKeysFile;
};

}  // namespace zal
