// A ROUTER-socket peer in a thread of its own that answers control messages by a given rule.
#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include "support/sockets.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/zmqhelper.h"

namespace zaltest {

// Binds `endpoint` and answers every request with answer(request); each request arrives as
// identity, (destination,) empty..., payload, and the reply goes back with the same routing frames.
class Responder {
public:
    using Answer = std::function<void(zalmsg::ControlMessage&)>;

    Responder(std::string endpoint, Answer answer) : answer(std::move(answer)) {
        ZmqHelper().bindSocket(socket, endpoint);
        worker = std::thread([this] { run(); });
    }
    ~Responder() {
        stopping = true;
        worker.join();
    }
    int served() const { return count.load(); }

private:
    using ZmqHelper = zal::ZmqHelper;

    void run() {
        while (!stopping) {
            auto frames = receiveFrames(socket, 20);
            if (frames.empty()) {
                continue;
            }
            zalmsg::ControlMessage message = zal::ControlMessageHelper::fromPayload(frames.back());
            answer(message);
            frames.back() = zal::ControlMessageHelper::toPayload(message);
            sendFrames(socket, frames);
            ++count;
        }
    }

    zmq::socket_t socket = makeSocket(zmq::socket_type::router);
    Answer answer;
    std::atomic<bool> stopping{false};
    std::atomic<int> count{0};
    std::thread worker;
};

}  // namespace zaltest
