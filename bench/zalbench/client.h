// An outside client of a running environment's router frontend, as zalctl is one.
#pragma once

#include <string>
#include <zmq.hpp>

#include "zal/msg/controlmessage.h"

namespace zalbench {

// Any refusal or silence ends the run, because a figure measured around a failure would mean
// nothing: request() throws on silence and on a malformed reply, succeed() also on a refusal.
class Client {
public:
    explicit Client(const std::string& frontend);

    zalmsg::ControlMessage request(const std::string& destination, const zalmsg::ControlMessage& message);
    zalmsg::ControlMessage succeed(const std::string& destination, const zalmsg::ControlMessage& message);

    zmq::socket_t& raw() { return socket; }
    int lastReplySize = 0;

private:
    zmq::socket_t socket;
};

}  // namespace zalbench
