// Processors in one group of a running environment, created and wired as a user would.
#pragma once

#include <map>
#include <string>

#include "client.h"

namespace zalbench {

// The group exists from construction to destruction; every request must succeed (Client::succeed).
class Group {
public:
    Group(Client& client, std::string name);
    ~Group();
    Group(const Group&) = delete;
    Group& operator=(const Group&) = delete;

    std::string at(const std::string& processor) const;
    std::string endpoint() const;
    // Each stream publishes on an inproc address named after its processor, like raw's, unless
    // its creation named another.
    std::string streamAddress(const std::string& processor) const;

    void create(const std::string& type, const std::string& processor);
    void create(const std::string& type, const std::string& processor, const std::string& address);
    void remove(const std::string& processor);
    void connect(const std::string& to, const std::string& from);
    void set(const std::string& processor, const std::string& parameter, const std::string& value);
    long long number(const std::string& processor, const std::string& parameter);
    double real(const std::string& processor, const std::string& parameter);

private:
    Client& client;
    std::string name;
    std::map<std::string, std::string> addresses;
};

}  // namespace zalbench
