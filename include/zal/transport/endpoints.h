// The naming scheme of every internal endpoint: prefix / group / processor / stream.
#pragma once

#include <string>

namespace zal {

// Nothing is escaped or validated: an empty name gives an empty path segment.
struct Endpoints {
    static std::string getGroupManagerEndpoint(const std::string& prefix);
    static std::string getInternalRouterEndpoint(const std::string& prefix);
    static std::string getGroupEndpoint(const std::string& group, const std::string& prefix);
    static std::string getGroupBroadcastEndpoint(const std::string& group, const std::string& prefix);
    static std::string getNameServiceEndpoint(const std::string& group, const std::string& prefix);
    static std::string getInternalNameServiceEndpoint(const std::string& group, const std::string& prefix);
    static std::string getProcessorEndpoint(const std::string& group, const std::string& processor,
                                            const std::string& prefix);
    static std::string getInprocStreamEndpoint(const std::string& group, const std::string& processor,
                                               const std::string& stream, const std::string& prefix);
};

}  // namespace zal
