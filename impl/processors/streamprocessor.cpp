#include "zal/processors/streamprocessor.h"

#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/platform/errorhandler.h"
#include "zal/processors/datastreaminitializer.h"
#include "zal/processors/processorerror.h"
#include "zal/transport/context.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

namespace {

// Long enough for a healthy consumer to take what was published last before a processor goes.
constexpr int outputLingerMs = 1000;

// Subclasses' data handlers are plug-in code running in the processor's thread. An exception
// escaping one would end that thread, and with it the processor's control line, with nobody told:
// the message that made it fail is dropped instead, with a trace, and the processor goes on.
class ContainedDataHandler : public MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage> {
public:
    ContainedDataHandler(MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage>& handler, std::string owner)
        : handler(handler), owner(std::move(owner)) {}

    void handleMessage(ByteStreamMessage& message, ZmqByteStreamInSocket* socket) override {
        try {
            handler.handleMessage(message, socket);
        } catch (const std::exception& e) {
            trace(QString::fromUtf8(e.what()));
        } catch (...) {
            trace(QStringLiteral("An unknown exception was thrown"));
        }
    }

private:
    void trace(const QString& reason) const {
        if (ErrorHandler::isTracing()) {
            _Q_Trace(QStringLiteral("%1: data message dropped, its handler failed: %2")
                         .arg(QString::fromStdString(owner), reason),
                     "impl\\streamprocessor", __LINE__);
        }
    }

    MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage>& handler;
    std::string owner;
};

}  // namespace

StreamProcessor::StreamProcessor(const std::string& name, const std::string& group,
                                 const std::string& streamName, const std::string& streamAddress,
                                 const std::string& prefix)
    : ProcessorBase(ControlMessageHelper::makeProcessorConfig(streamName, streamAddress), name, group,
                    prefix) {
    checkDataStreamConfig();
}

StreamProcessor::StreamProcessor(const zalmsg::Processor& processor, const std::string& name,
                                 const std::string& group, const std::string& prefix)
    : StreamProcessor(processor, name, group, prefix, Output::Required) {}

StreamProcessor::StreamProcessor(const zalmsg::Processor& processor, const std::string& name,
                                 const std::string& group, const std::string& prefix, Output output)
    : ProcessorBase(processor, name, group, prefix) {
    if (output == Output::Required || hasOutputStream()) {
        checkDataStreamConfig();
    }
}

StreamProcessor::~StreamProcessor() {
    freeStreamSockets();
}

void StreamProcessor::checkDataStreamConfig() {
    const auto& streams = static_cast<const zalmsg::Processor&>(processor).GetDataStream();
    if (streams.isEmpty()) {
        throw CreateProcessorError("No data stream configuration available");
    }
    if (streams.size() > 1) {
        throw CreateProcessorError("Multiple data streams are not supported");
    }
    if (streams.front().GetAddress().isEmpty()) {
        throw CreateProcessorError("No data stream address available");
    }
}

std::string StreamProcessor::getDataStreamName() {
    const auto& streams = static_cast<const zalmsg::Processor&>(processor).GetDataStream();
    return streams.isEmpty() ? std::string() : streams.front().GetName().toStdString();
}

bool StreamProcessor::hasOutputStream() const {
    return !static_cast<const zalmsg::Processor&>(processor).GetDataStream().isEmpty();
}

bool StreamProcessor::initialize() {
    if (!ProcessorBase::initialize()) {
        return false;
    }
    auto& context = *Context::getZMQContext();
    inputSocket = std::make_unique<zmq::socket_t>(context, zmq::socket_type::sub);
    inputTemplate = std::make_unique<ZmqByteStreamInSocket>(*inputSocket);
    reportInput(inputTemplate.get());
    dataHandler = std::make_unique<ContainedDataHandler>(*this, getEndpointString());
    inputClient = std::make_unique<InputClientBase<ZmqByteStreamInSocket, ByteStreamMessage>>(
        inputTemplate.get(), dataHandler.get());
    if (hasOutputStream()) {
        outputSocket = std::make_unique<zmq::socket_t>(context, zmq::socket_type::pub);
        // What a consumer that stopped reading (or whose link is down) has not taken must not hold
        // the host's shutdown for ever: ending the context waits for every lingering message.
        outputSocket->set(zmq::sockopt::linger, outputLingerMs);
        output = std::make_unique<ZmqByteStreamOutSocket>(*outputSocket);
        DataStreamInitializer(getEndpointString(), name, *getNameServiceClient(), getDataCurve())
            .initialize(*outputSocket, processor.GetDataStream().front());
        streamRegistered = true;
        const QString stream = QString::fromStdString(getDataStreamName());
        ConfigTool::setStreamRunning(processor, stream, active);
        reportOutput(output.get(), stream);
    }
    inputSocketIndex = reader.addSocket(*inputSocket, ZMQ_POLLIN);
    return true;
}

void StreamProcessor::release() {
    // Only a stream this processor registered is deregistered. A processor refused because its
    // stream's name was taken is released too, and deregistering the name then would take the
    // stream away from the processor that owns it.
    if (NameServiceClient* client = getNameServiceClient(); client != nullptr && streamRegistered) {
        client->deregisterStream(getDataStreamName());
    }
    streamRegistered = false;
    freeStreamSockets();
    ProcessorBase::release();
}

// reset() clears each owner before its object goes, so this may run twice.
void StreamProcessor::freeStreamSockets() {
    reportInput(nullptr);
    reportOutput(nullptr, QString());
    output.reset();
    outputSocket.reset();
    inputClient.reset();
    dataHandler.reset();
    inputTemplate.reset();
    inputSocket.reset();
}

void StreamProcessor::checkDataEvents() {
    if (inputSocket) {
        drainInput(inputSocketIndex, *inputClient);
    }
}

bool StreamProcessor::connect(const QString& streamName, const QString& streamAddress,
                              const QVector<QString>& messageFilter) {
    connectInput(*inputSocket, streamAddress, messageFilter, [this](const QString& topic) {
        inputSocket->set(zmq::sockopt::subscribe, topic.toStdString());
    });
    if (!streamName.isEmpty() && !connectedStreams.contains(streamName)) {
        connectedStreams << streamName;
    }
    return true;
}

bool StreamProcessor::start(const QString& streamName) {
    return setRunning(streamName, true);
}

bool StreamProcessor::stop(const QString& streamName) {
    return setRunning(streamName, false);
}

// The processor runs or pauses as a whole, named by its own stream, a stream it was connected to,
// or nothing. Any other name is refused, so that a typo is not answered with a success that
// changed nothing.
bool StreamProcessor::setRunning(const QString& streamName, bool running) {
    const QString own = QString::fromStdString(getDataStreamName());
    if (!streamName.isEmpty() && streamName != own && !connectedStreams.contains(streamName)) {
        const QString publishes =
            own.isEmpty() ? QStringLiteral("publishes nothing") : QStringLiteral("publishes '%1'").arg(own);
        const QString reads = connectedStreams.isEmpty()
                                  ? QString()
                                  : QStringLiteral(" and reads '%1'").arg(connectedStreams.join("', '"));
        return refuse(
            QStringLiteral("no stream '%1' here; this processor %2%3").arg(streamName, publishes, reads));
    }
    active = running;
    if (!own.isEmpty()) {
        ConfigTool::setStreamRunning(processor, own, running);
    }
    return true;
}

bool StreamProcessor::setParameter(const QString&, const QString&) {
    return false;
}

bool StreamProcessor::getParameter(const QString&, QString&) {
    return false;
}

bool StreamProcessor::getParameterList(QStringList&) {
    return false;
}

bool StreamProcessor::startNewRecording(QString&) {
    return false;
}

}  // namespace zal
