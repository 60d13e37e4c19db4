// Failure of the socket layer: framing breaches and short transfers, with fixed texts.
#pragma once

#include <exception>
#include <string>

namespace zal {

class SocketError : public std::exception {
public:
    explicit SocketError(std::string text) : text(std::move(text)) {}
    const char* what() const noexcept override { return text.c_str(); }

private:
    std::string text;
};

// A message whose frames break the expected framing ("Invalid message format"). Its own type so
// that a caller able to survive it can tell it from a broken socket; it is still a SocketError.
class MessageFormatError : public SocketError {
public:
    using SocketError::SocketError;
};

}  // namespace zal
