#include "zal/processors/processorbase.h"

#include "zal/msg/configtool.h"
#include "zal/platform/errorhandler.h"
#include "zal/transport/constants.h"
#include "zal/transport/context.h"
#include "zal/transport/endpoints.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

ProcessorBase::ProcessorBase(const std::string& name, const std::string& group, const std::string& prefix)
    : name(name), group(group), prefix(prefix) {}

ProcessorBase::ProcessorBase(const zalmsg::Processor& processor, const std::string& name,
                             const std::string& group, const std::string& prefix)
    : name(name), group(group), prefix(prefix), processor(processor) {}

ProcessorBase::~ProcessorBase() {
    freeSockets();
}

std::string ProcessorBase::getEndpointString() const {
    return Endpoints::getProcessorEndpoint(group, name, prefix);
}

void ProcessorBase::describeType(const QString& type, const QJsonArray& parameters) {
    reserved.describeType(type, parameters);
}

bool ProcessorBase::initialize() {
    reader.clear();
    traffic.unwatchAll();
    addCreatorSocket();
    messageHandler =
        std::make_unique<ProcessorControlMessageHandler<ZmqControlSocket>>(this, &refusal, &reserved);
    broadcastSocket = std::make_unique<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::sub);
    broadcastTemplate = std::make_unique<ZmqSubControlSocket>(*broadcastSocket);
    broadcastClient = std::make_unique<SubInputClient<ZmqControlSocket, ControlMessage>>(
        broadcastTemplate.get(), messageHandler.get());
    // A bounded wait: a processor must be able to stop even when its name service is gone.
    nameServiceClient = std::make_unique<NameServiceClient>(
        Endpoints::getInternalNameServiceEndpoint(group, internalAddressPrefixDefault), socketDefaultTimeout);
    controlLine =
        std::make_unique<ControlLine>(Endpoints::getInternalRouterEndpoint(internalAddressPrefixDefault),
                                      getEndpointString(), *messageHandler);
    ZmqHelper::connectSocket(*broadcastSocket, Endpoints::getGroupBroadcastEndpoint(group, prefix));
    controlSocketIndex = controlLine->addTo(reader);
    broadcastSocketIndex = reader.addSocket(*broadcastSocket, ZMQ_POLLIN);
    return true;
}

// The traffic is stamped once per wake-up, whichever hook moved it: publishers often publish from
// doIdleProcessing().
void ProcessorBase::process() {
    for (;;) {
        const int ready = reader.waitForSocketsOrTimeout();
        if (ready < 0) {
            return;
        }
        if (ready == 0) {
            doIdleProcessing();
        } else {
            if (!checkCreatorSocket()) {
                return;
            }
            serveEvents();
        }
#if ZAL_COUNTERS
        traffic.stamp();
#endif
    }
}

void ProcessorBase::serveEvents() {
    if (SocketReader::isReadable(reader.getEvents(broadcastSocketIndex))) {
        broadcastClient->processInput();
    }
    if (SocketReader::isReadable(reader.getEvents(controlSocketIndex))) {
        controlLine->processInput();
    }
    if (handshakes && SocketReader::isReadable(reader.getEvents(handshakeSocketIndex))) {
        readHandshakes();
    }
    checkDataEvents();
}

void ProcessorBase::watchHandshakes(zmq::socket_t& input) {
    if (!handshakes) {
        handshakes = std::make_unique<HandshakeWatch>(input);
        handshakeSocketIndex = reader.addSocket(handshakes->socket(), ZMQ_POLLIN);
    }
}

void ProcessorBase::readHandshakes() {
    handshakes->readReports([this](const QString& address, const QString& reason, bool first) {
        traffic.countRefusal(address, reason);
        if (first && ErrorHandler::isTracing()) {
            _Q_Trace(QStringLiteral("%1: handshake refused at '%2' (%3)")
                         .arg(QString::fromStdString(getEndpointString()), address, reason),
                     "processorbase", __LINE__);
        }
    });
}

void ProcessorBase::release() {
    freeSockets();
}

// reset() clears each owner before its object goes, so this may run twice.
void ProcessorBase::freeSockets() {
    traffic.unwatchAll();
    handshakes.reset();
    handshakeSocketIndex = -1;
    nameServiceClient.reset();
    broadcastClient.reset();
    broadcastTemplate.reset();
    broadcastSocket.reset();
    controlLine.reset();
    messageHandler.reset();
}

bool ProcessorBase::refuse(const QString& reason) {
    refusal = reason;
    return false;
}

void ProcessorBase::enableIdleProcessing(int milliseconds) {
    reader.setTimeout(milliseconds);
}

void ProcessorBase::disableIdleProcessing() {
    reader.setTimeout(socketInfiniteTimeout);
}

void ProcessorBase::subscribeParameter(const std::string& topic) {
    broadcastSocket->set(zmq::sockopt::subscribe, topic);
}

void ProcessorBase::connectInput(zmq::socket_t& input, const QString& address,
                                 const QVector<QString>& filters,
                                 const std::function<void(const QString&)>& subscribe) {
    // The configuration is what `sources` shows, so it changes only after the socket did: a
    // refused address or subscription leaves it as it was, and asking again tries again.
    const std::string target = address.toStdString();
    const bool known = ConfigTool::indexOfDataSource(processor, address) >= 0;
    const bool refused = known && handshakes && handshakes->hasFailed(target);
    if (refused) {
        // libzmq keeps the endpoint of a connection it gave up, and ignores a second connect to it.
        zmq_disconnect(input.handle(), target.c_str());
    }
    if (!known || refused) {
        if (dataCurve && dataCurve->prepareConnect(input, target)) {
            watchHandshakes(input);
            handshakes->retrying(target);
        }
        ZmqHelper::connectSocket(input, target);
        ConfigTool::addDataSource(processor, address);
    }
    if (filters.isEmpty()) {
        input.set(zmq::sockopt::subscribe, "");
        ConfigTool::addDataFilter(processor, address, filters);
        return;
    }
    for (const QString& filter : filters) {
        if (!ConfigTool::getDataFilter(processor, address).contains(filter)) {
            subscribe(filter);
            ConfigTool::addDataFilter(processor, address, {filter});
        }
    }
}

void ProcessorBase::drainInput(int socketIndex,
                               InputClientBase<ZmqByteStreamInSocket, ByteStreamMessage>& client) {
    if (!SocketReader::isReadable(reader.getEvents(socketIndex))) {
        return;
    }
    int handled = 0;
    while (handled < maxMessagesPerWakeUp && client.processQueuedInput()) {
        ++handled;
    }
}

void ProcessorBase::reportInput(const ZmqByteStreamInSocket* input) {
    traffic.watchInput(input != nullptr ? &input->traffic() : nullptr);
}

void ProcessorBase::reportOutput(const ZmqByteStreamOutSocket* output, const QString& stream) {
    traffic.watchOutput(output != nullptr ? &output->traffic() : nullptr, stream);
}

bool ProcessorBase::querySources(QVector<zalmsg::DataSource>& sources) {
    sources += static_cast<const zalmsg::Processor&>(processor).GetDataSource();
    return true;
}

bool ProcessorBase::queryStreams(QVector<zalmsg::DataStream>& streams) {
    streams += static_cast<const zalmsg::Processor&>(processor).GetDataStream();
    return true;
}

}  // namespace zal
