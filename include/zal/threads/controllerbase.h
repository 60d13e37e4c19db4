// The creator's side of a controlled thread: start and wait for readiness, stop and join.
#pragma once

#include <QThread>
#include <climits>
#include <condition_variable>
#include <mutex>
#include <string>

#include "zal/threads/threaderror.h"
#include "zal/threads/threadstate.h"

namespace zal {

// Two threads meet here: the creator (start, stop) and the controlled thread (state changes,
// errors). State and error text are guarded by the mutex; the creator waits on the condition.
template <class T>
class ControllerBase {
public:
    explicit ControllerBase(QThread* thread) : thread(thread) {}

    // Starts the thread and blocks until its initialize() is over; throws ThreadError with
    // "Thread failed: " and the accumulated error text when it failed (the thread is joined then).
    virtual void start() {
        std::unique_lock<std::mutex> lock(mutex);
        thread->start(QThread::InheritPriority);
        condition.wait(lock, [this] { return state >= Ready; });
        const bool failed = state == Failed;
        lock.unlock();
        if (failed) {
            // Joined first: the thread may still add lines (a failing release()) after the first.
            join();
            throw ThreadError("Thread failed: " + getErrorText());
        }
    }

    // Joins without a time limit: the end of a thread is always asked for, never forced.
    virtual void stop() { join(); }

    // Runs in the new thread before initialize().
    virtual void setupThread(T*) {}

    // Runs in the new thread as its very last step.
    virtual void threadFinished() {}

    // Called from the controlled thread.
    void setState(ThreadState newState) {
        std::lock_guard<std::mutex> lock(mutex);
        state = newState;
        if (newState == Running || newState == Finished || newState == Failed) {
            condition.notify_one();
        }
    }

    // Appends one line to the error text and fails the thread.
    void setError(const std::string& text) {
        std::lock_guard<std::mutex> lock(mutex);
        if (!errorText.empty()) {
            errorText += "\n";
        }
        errorText += text;
        state = Failed;
        condition.notify_one();
    }

    // The controlled thread's very last step. QThread::wait() joins through locks that race
    // detectors cannot see; waiting for this flag under our own mutex as well makes everything
    // the thread did visibly happen before whatever the joiner does next.
    void markExited() {
        std::lock_guard<std::mutex> lock(mutex);
        exited = true;
        condition.notify_all();
    }

    ThreadState getState() const {
        std::lock_guard<std::mutex> lock(mutex);
        return state;
    }

    std::string getErrorText() const {
        std::lock_guard<std::mutex> lock(mutex);
        return errorText;
    }

protected:
    ~ControllerBase() = default;

    void join() {
        thread->wait(ULONG_MAX);
        std::unique_lock<std::mutex> lock(mutex);
        condition.wait(lock, [this] { return exited || state == NotStarted; });
    }

    QThread* thread;
    mutable std::mutex mutex;
    // Guarded by mutex.
    ThreadState state = NotStarted;
    std::condition_variable condition;
    // Guarded by mutex; one failure per line.
    std::string errorText;
    // Guarded by mutex; set by markExited().
    bool exited = false;
};

}  // namespace zal
