// Publishes a processor's output stream: binds every configured address and registers the stream.
#pragma once

#include <string>
#include <zmq.hpp>

#include "zal/msg/datastream.h"
#include "zal/processors/datacurve.h"
#include "zal/services/nameserviceclient.h"

namespace zal {

// Refers to the strings and the client without owning them; it must not outlive them.
class DataStreamInitializer {
public:
    DataStreamInitializer(const std::string& ownerName, const std::string& processorName,
                          NameServiceClient& client, const DataCurve* curve = nullptr);

    // Binds in order, writing each resolved endpoint back into the stream's address list (so a
    // wildcard becomes concrete), then registers. A failed bind throws after the earlier binds;
    // a refused registration throws ProcessorError, the reason being in the client's last text.
    // With `curve`, tcp addresses are bound as CURVE servers.
    void initialize(zmq::socket_t& socket, zalmsg::DataStream& stream);

private:
    const std::string& ownerName;
    const std::string& processorName;
    NameServiceClient& client;
    const DataCurve* curve;
};

}  // namespace zal
