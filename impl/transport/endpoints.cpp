#include "zal/transport/endpoints.h"

namespace zal {

namespace {
std::string child(const std::string& parent, const char* segment) {
    return parent + "/" + segment;
}
std::string child(const std::string& parent, const std::string& segment) {
    return parent + "/" + segment;
}
}  // namespace

std::string Endpoints::getGroupManagerEndpoint(const std::string& prefix) {
    return prefix;
}

std::string Endpoints::getInternalRouterEndpoint(const std::string& prefix) {
    return child(prefix, "__router__internal__");
}

std::string Endpoints::getGroupEndpoint(const std::string& group, const std::string& prefix) {
    return child(prefix, group);
}

std::string Endpoints::getGroupBroadcastEndpoint(const std::string& group, const std::string& prefix) {
    return child(getGroupEndpoint(group, prefix), "broadcast");
}

std::string Endpoints::getNameServiceEndpoint(const std::string& group, const std::string& prefix) {
    return child(getGroupEndpoint(group, prefix), "nameservice");
}

std::string Endpoints::getInternalNameServiceEndpoint(const std::string& group, const std::string& prefix) {
    return child(getGroupEndpoint(group, prefix), "__nameservice__internal__");
}

std::string Endpoints::getProcessorEndpoint(const std::string& group, const std::string& processor,
                                            const std::string& prefix) {
    return child(getGroupEndpoint(group, prefix), processor);
}

std::string Endpoints::getInprocStreamEndpoint(const std::string& group, const std::string& processor,
                                               const std::string& stream, const std::string& prefix) {
    return child(getProcessorEndpoint(group, processor, prefix), stream);
}

}  // namespace zal
