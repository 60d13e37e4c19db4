// The table of a name service: stream name to providing processor and addresses.
#pragma once

#include <QString>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace zal {

struct StreamEntry {
    QString processorName;
    std::vector<std::string> addresses;  // in the order given at registration
};

// Refusals carry the text the requester sees, for example "Error: 's1' already exists".
class NameServiceError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Lives in the name service's thread; not locked.
template <class Map>
class NameServiceStore {
public:
    void insert(const std::string& name, StreamEntry entry) {
        if (!entries.emplace(name, std::move(entry)).second) {
            throw NameServiceError("Error: '" + name + "' " + "already exists");
        }
    }
    void erase(const std::string& name) {
        if (entries.erase(name) == 0) {
            throw NameServiceError(missing(name));
        }
    }
    StreamEntry lookup(const std::string& name) const {
        const auto found = entries.find(name);
        if (found == entries.end()) {
            throw NameServiceError(missing(name));
        }
        return found->second;
    }
    size_t size() const { return entries.size(); }

private:
    static std::string missing(const std::string& name) {
        return "Error: '" + name + "' " + "does not exist";
    }
    Map entries;
};

}  // namespace zal
