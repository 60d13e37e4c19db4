// A controlled thread that failed to start, carried into the creating thread.
#pragma once

#include <exception>
#include <string>

namespace zal {

class ThreadError : public std::exception {
public:
    explicit ThreadError(std::string text) : text(std::move(text)) {}
    const char* what() const noexcept override { return text.c_str(); }

private:
    std::string text;
};

}  // namespace zal
