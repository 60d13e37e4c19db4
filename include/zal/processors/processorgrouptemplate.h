// A named group of processors with its own stream name service, each processor in a thread of its own.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <zmq.hpp>

#include "zal/processors/processorbase.h"
#include "zal/services/controllineservice.h"
#include "zal/services/controlrequesthandler.h"
#include "zal/services/nameservice.h"
#include "zal/threads/zmqcontrollablethread.h"

namespace zal {

class DataCurve;
class PluginManager;

template <class Traits>
class ProcessorGroupTemplate;

// "QueryProcessors", "Create", "Delete" and "SetParameter" for one group. Creation and deletion
// are synchronous: the reply to "Create" leaves after the processor's initialize(), the reply to
// "Delete" after its thread has ended.
template <class Traits>
class ProcessorGroupHandlerTemplate : public ControlRequestHandler {
public:
    explicit ProcessorGroupHandlerTemplate(ProcessorGroupTemplate<Traits>& group) : group(group) {}

protected:
    void dispatch(zalmsg::ControlMessage& message) override;

private:
    void create(zalmsg::ControlMessage& message);
    ProcessorGroupTemplate<Traits>& group;
};

// Lives in its own thread, started by the group manager. It starts its name service before
// anything else and stops it after every processor, so that processors can deregister their
// streams on the way out.
template <class Traits>
class ProcessorGroupTemplate : public ControlLineService {
public:
    using ProcessorThread = ZmqControllableThread<ProcessorBase>;

    ProcessorGroupTemplate(std::shared_ptr<PluginManager> pluginManager, const std::string& name,
                           const std::string& prefix, std::shared_ptr<const DataCurve> dataCurve = nullptr);
    ~ProcessorGroupTemplate() override;

    bool initialize() override;
    void release() override;

    std::string getName() const { return name; }

private:
    friend class ProcessorGroupHandlerTemplate<Traits>;

    std::string name;
    std::string prefix;
    std::shared_ptr<PluginManager> pluginManager;
    std::shared_ptr<const DataCurve> dataCurve;
    std::unique_ptr<ZmqControllableThread<NameService>> nameService;
    // Bound at the group's broadcast endpoint for as long as the group has processors. Each
    // processor's broadcast line connects there; an in-process connect to an endpoint nobody has
    // bound stays pending in the ZeroMQ context for good, which cost memory for every processor
    // ever created. Nothing is published on it yet.
    std::unique_ptr<zmq::socket_t> broadcastSocket;
    // Ordered by name as bytes; destroying an entry stops and joins that processor's thread.
    std::map<std::string, std::shared_ptr<ProcessorThread>> processors;
    std::unique_ptr<ProcessorGroupHandlerTemplate<Traits>> handler;
};

extern template class ProcessorGroupHandlerTemplate<SocketTraits<zmq::socket_t>>;
extern template class ProcessorGroupTemplate<SocketTraits<zmq::socket_t>>;
using ProcessorGroup = ProcessorGroupTemplate<SocketTraits<zmq::socket_t>>;

}  // namespace zal
