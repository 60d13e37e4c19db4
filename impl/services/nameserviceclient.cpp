#include "zal/services/nameserviceclient.h"

namespace zal {

NameServiceClient::NameServiceClient(const std::string& endpoint, int timeoutMs)
    : NameServiceClient(endpoint, std::make_shared<RequestClient>(endpoint, false, timeoutMs)) {}

NameServiceClient::NameServiceClient(const std::string& endpoint, std::shared_ptr<RequestClient> client)
    : endpoint(endpoint), client(std::move(client)) {}

bool NameServiceClient::registerStream(const std::string& name, const std::string& processorName,
                                       const std::vector<std::string>& addresses) {
    zalmsg::ControlMessage reply;
    return client->request(ControlMessageHelper::makeRegisterStreamMessage(name, processorName, addresses),
                           reply);
}

bool NameServiceClient::deregisterStream(const std::string& name) {
    zalmsg::ControlMessage reply;
    return client->request(ControlMessageHelper::makeDeregisterStreamMessage(name), reply);
}

bool NameServiceClient::resolveStream(const std::string& name, std::string& processorName,
                                      std::vector<std::string>& addresses) {
    zalmsg::ControlMessage reply;
    if (!client->request(ControlMessageHelper::makeResolveStreamMessage(name), reply)) {
        return false;
    }
    processorName = reply.GetProcessorName().toStdString();
    addresses = ControlMessageHelper::fromQStringVector(
        static_cast<const zalmsg::ControlMessage&>(reply).GetStreamAddresses());
    return true;
}

std::string NameServiceClient::getLastMessageText() const {
    return client->getLastMessageText();
}

}  // namespace zal
