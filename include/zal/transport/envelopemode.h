// How a control envelope (address, data) is cut into frames, by the kind of peer a socket talks to.
#pragma once

namespace zal {

// An empty frame is a delimiter of length zero. The values travel nowhere but are the ones the
// design numbers the modes by; any value not named here frames the data alone, as DataOnly does.
enum class EnvelopeMode : int {
    RouterAnswer = 0,  // address, empty, data: a ROUTER answering DEALER peers
    Dealer = 1,        // empty, address, data: a DEALER talking to a ROUTER (the default)
    Delimited = 2,     // empty, data: the address is not sent; a received one stays empty
    Addressed = 3,     // address, data
    DataOnly = 4,      // data alone
};

}  // namespace zal
