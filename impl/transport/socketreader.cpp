#include "zal/transport/socketreader.h"

#include <cerrno>

namespace zal {

int SocketReader::addSocket(zmq::socket_t& socket, int events) {
    items.push_back(zmq_pollitem_t{socket.handle(), 0, static_cast<short>(events), 0});
    return size() - 1;
}

int SocketReader::addSocket(std::uint64_t fd, int events) {
    items.push_back(zmq_pollitem_t{nullptr, static_cast<int>(fd), static_cast<short>(events), 0});
    return size() - 1;
}

void SocketReader::removeSocket(int index) {
    items.erase(items.begin() + index);
}

void SocketReader::clear() {
    items.clear();
}

int SocketReader::poll(long ms) {
    for (;;) {
        const int ready = zmq_poll(items.data(), static_cast<int>(items.size()), ms);
        if (ready >= 0) {
            return ready;
        }
        // A signal meant for the host must not end a service thread; poll again.
        if (zmq_errno() != EINTR) {
            throw zmq::error_t();
        }
    }
}

bool SocketReader::waitForSockets(long ms) {
    return poll(ms) > 0;
}

int SocketReader::waitForSocketsOrTimeout() {
    return poll(timeout);
}

int SocketReader::getEvents(int index) const {
    if (index < 0 || index >= size()) {
        return 0;
    }
    return items[static_cast<size_t>(index)].revents;
}

}  // namespace zal
