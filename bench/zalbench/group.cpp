#include "group.h"

#include <cstdio>
#include <exception>

#include "common.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/endpoints.h"

namespace zalbench {

using zal::ControlMessageHelper;

Group::Group(Client& client, std::string name) : client(client), name(std::move(name)) {
    client.succeed(manager, ControlMessageHelper::makeCreateProcessorGroupMessage(this->name));
}

Group::~Group() {
    try {
        client.succeed(manager, ControlMessageHelper::makeDeleteProcessorGroupMessage(name));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
    }
}

std::string Group::at(const std::string& processor) const {
    return zal::Endpoints::getProcessorEndpoint(name, processor, manager);
}

std::string Group::endpoint() const {
    return zal::Endpoints::getGroupEndpoint(name, manager);
}

std::string Group::streamAddress(const std::string& processor) const {
    const auto named = addresses.find(processor);
    return named != addresses.end() ? named->second : "inproc://bench/" + name + "/" + processor;
}

void Group::create(const std::string& type, const std::string& processor) {
    create(type, processor, streamAddress(processor));
}

void Group::create(const std::string& type, const std::string& processor, const std::string& address) {
    client.succeed(endpoint(),
                   ControlMessageHelper::makeCreateProcessorMessage(
                       type, processor, ControlMessageHelper::makeProcessorConfig(processor, address)));
    addresses[processor] = address;
}

void Group::remove(const std::string& processor) {
    client.succeed(endpoint(), ControlMessageHelper::makeDeleteProcessorMessage(processor));
}

void Group::connect(const std::string& to, const std::string& from) {
    client.succeed(at(to), ControlMessageHelper::makeConnectStreamMessage(from, streamAddress(from), ""));
}

void Group::set(const std::string& processor, const std::string& parameter, const std::string& value) {
    client.succeed(at(processor), ControlMessageHelper::makeSetParameterMessage(parameter, value));
}

double Group::real(const std::string& processor, const std::string& parameter) {
    return client.succeed(at(processor), ControlMessageHelper::makeGetParameterMessage(parameter))
        .GetParameter()
        .toDouble();
}

long long Group::number(const std::string& processor, const std::string& parameter) {
    return client.succeed(at(processor), ControlMessageHelper::makeGetParameterMessage(parameter))
        .GetParameter()
        .toLongLong();
}

}  // namespace zalbench
