// Names the socket class that the socket templates are instantiated over.
#pragma once

namespace zal {

template <class Socket>
struct SocketTraits {
    using socket_type = Socket;
};

}  // namespace zal
