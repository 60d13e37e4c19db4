// A poll set over ZeroMQ sockets and native descriptors, owned and waited on by one thread.
#pragma once

#include <cstdint>
#include <vector>
#include <zmq.hpp>

namespace zal {

class SocketReader {
public:
    SocketReader() = default;
    virtual ~SocketReader() = default;

    // Appends an item and returns its index. Indices are positions: removing an item moves every
    // later one down by one, so callers that keep indices must account for that.
    int addSocket(zmq::socket_t& socket, int events);
    int addSocket(std::uint64_t fd, int events);
    void removeSocket(int index);  // the index is not validated
    void clear();                  // the timeout stays
    int size() const { return static_cast<int>(items.size()); }

    void setTimeout(long ms) { timeout = static_cast<int>(ms); }
    long getTimeout() const { return timeout; }

    // Poll with the given or the stored timeout (-1 waits without limit). A poll interrupted by a
    // signal is resumed; any other failure throws zmq::error_t.
    bool waitForSockets(long ms);
    bool waitForSockets() { return waitForSockets(timeout); }
    int waitForSocketsOrTimeout();  // number of items with events, 0 on timeout

    // Returned events of the last wait; 0 for an index out of range.
    int getEvents(int index) const;

    static bool isReadable(int events) { return (events & ZMQ_POLLIN) != 0; }
    static bool isWriteable(int events) { return (events & ZMQ_POLLOUT) != 0; }
    static bool hasError(int events) { return (events & ZMQ_POLLERR) != 0; }

private:
    int poll(long ms);

    int timeout = -1;
    std::vector<zmq_pollitem_t> items;
};

}  // namespace zal
