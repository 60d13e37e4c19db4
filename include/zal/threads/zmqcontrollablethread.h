// The frame every service runs in: its own thread, a creator pipe, and a blocking start.
#pragma once

#include <memory>

#include "zal/threads/controllablethread.h"
#include "zal/threads/zmqcontrollable.h"
#include "zal/threads/zmqcontroller.h"

namespace zal {

// Construction returns once the service's initialize() has finished in the new thread, or throws
// ThreadError ("Thread failed: " and the reasons, one per line) after the thread has ended.
// Destruction sends "Shutdown" and joins without a time limit, so destroying the last
// std::shared_ptr blocks until the service's process() returned and its release() ran.
template <class T>
class ZmqControllableThread : public ControllableThread<T, ZmqController<T>> {
public:
    explicit ZmqControllableThread(T* service) : ControllableThread<T, ZmqController<T>>(service) {
        this->controller.start();
    }
    explicit ZmqControllableThread(std::unique_ptr<T> service) : ZmqControllableThread(service.release()) {}

    ~ZmqControllableThread() override { this->controller.stop(); }

    ThreadState getState() const { return this->controller.getState(); }
    std::string getErrorText() const { return this->controller.getErrorText(); }
    // The in-process address of the creator pipe.
    std::string getPipeAddress() const { return this->controller.getAddress(); }
};

}  // namespace zal
