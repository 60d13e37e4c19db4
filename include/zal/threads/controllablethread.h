// A QThread that runs one service object through initialize, process and release.
#pragma once

#include <QThread>
#include <exception>
#include <string>

#include "zal/threads/threadstate.h"

namespace zal {

// Owns the service until the thread has run it; the thread deletes it as its last act with it.
template <class T, class C>
class ControllableThread : public QThread {
public:
    explicit ControllableThread(T* service) : QThread(nullptr), service(service), controller(this) {}
    ~ControllableThread() override { delete service; }

    ControllableThread(const ControllableThread&) = delete;
    ControllableThread& operator=(const ControllableThread&) = delete;

protected:
    void run() override {
        controller.setState(Starting);
        bool released = false;
        auto releaseOnce = [&] {
            released = true;
            service->release();
        };
        try {
            controller.setupThread(service);
            if (!service->initialize()) {
                releaseOnce();
                controller.setState(Failed);
            } else {
                controller.setState(Running);
                service->process();
                controller.setState(Stopping);
                releaseOnce();
                controller.setState(Finished);
            }
        } catch (...) {
            recordFailure(std::current_exception());
            if (!released) {
                try {
                    releaseOnce();
                } catch (...) {
                    recordFailure(std::current_exception());
                }
                controller.setState(Failed);
            }
        }
        delete service;
        service = nullptr;
        controller.threadFinished();
        controller.markExited();
    }

    T* service;
    C controller;

private:
    void recordFailure(std::exception_ptr failure) {
        try {
            std::rethrow_exception(failure);
        } catch (const std::exception& e) {
            controller.setError(std::string("ControllableThread::run() failed: ") + e.what());
        } catch (...) {
            controller.setError("ControllableThread::run() failed: An unknown exception was thrown");
        }
    }
};

}  // namespace zal
