// The owner of every processor group of an environment: creates, deletes and lists groups.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <zmq.hpp>

#include "zal/processors/processorgrouptemplate.h"
#include "zal/services/controllineservice.h"
#include "zal/services/controlrequesthandler.h"
#include "zal/threads/zmqcontrollablethread.h"

namespace zal {

class DataCurve;
class PluginManager;

template <class Traits>
class ProcessorGroupManagerTemplate;

// "QueryGroups", "CreateGroup" and "DeleteGroup". A group whose thread fails to start is
// answered with an error reply carrying the reason; the manager goes on.
template <class Traits>
class ProcessorGroupManagerHandlerTemplate : public ControlRequestHandler {
public:
    explicit ProcessorGroupManagerHandlerTemplate(ProcessorGroupManagerTemplate<Traits>& manager)
        : manager(manager) {}

protected:
    void dispatch(zalmsg::ControlMessage& message) override;

private:
    ProcessorGroupManagerTemplate<Traits>& manager;
};

// Reached through the router at its endpoint, which is the bare address prefix; the groups it
// creates use that prefix too.
template <class Traits>
class ProcessorGroupManagerTemplate : public ControlLineService {
public:
    using GroupThread = ZmqControllableThread<ProcessorGroupTemplate<Traits>>;

    // `dataCurve`, when set, goes to every group and from there to every processor.
    ProcessorGroupManagerTemplate(std::shared_ptr<PluginManager> pluginManager, const std::string& endpoint,
                                  std::shared_ptr<const DataCurve> dataCurve = nullptr);
    ~ProcessorGroupManagerTemplate() override;

    bool initialize() override;
    void release() override;

private:
    friend class ProcessorGroupManagerHandlerTemplate<Traits>;

    std::string endpoint;
    std::shared_ptr<PluginManager> pluginManager;
    std::shared_ptr<const DataCurve> dataCurve;
    // Ordered by name as bytes; destroying an entry stops the group, its processors first.
    std::map<std::string, std::shared_ptr<GroupThread>> groups;
    std::unique_ptr<ProcessorGroupManagerHandlerTemplate<Traits>> handler;
};

extern template class ProcessorGroupManagerHandlerTemplate<SocketTraits<zmq::socket_t>>;
extern template class ProcessorGroupManagerTemplate<SocketTraits<zmq::socket_t>>;
using ProcessorGroupManager = ProcessorGroupManagerTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
