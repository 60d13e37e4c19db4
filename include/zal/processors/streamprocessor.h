// The base of processors that consume other processors' byte streams and publish one of their own.
#pragma once

#include <memory>
#include <string>
#include <zmq.hpp>

#include "zal/processors/processorbase.h"
#include "zal/transport/inputclient.h"
#include "zal/transport/zmqbytestreamsockettemplate.h"

namespace zal {

// The configuration holds exactly one data stream with at least one address: the constructors
// refuse anything else with CreateProcessorError. initialize() binds the output at those
// addresses and registers the stream at the group's name service; release() deregisters it.
// A subclass that only consumes may construct with Output::Optional: without a data stream it
// then has no output socket (`output` stays null), registers nothing and reports no stream.
// "Connect" requests point the input at other streams' addresses, subscribing to their filters.
// Subclasses implement handleMessage() for what arrives and publish through `output`; a message
// whose handleMessage() throws is dropped (traced under the trace bit) and the processor goes on.
class StreamProcessor : public ProcessorBase,
                        public MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage> {
public:
    StreamProcessor(const std::string& name, const std::string& group, const std::string& streamName,
                    const std::string& streamAddress, const std::string& prefix);
    StreamProcessor(const zalmsg::Processor& processor, const std::string& name, const std::string& group,
                    const std::string& prefix);
    ~StreamProcessor() override;

    // Whether a configuration without a data stream is refused or makes a processor without output.
    enum class Output { Required, Optional };

    bool initialize() override;
    void release() override;

protected:
    StreamProcessor(const zalmsg::Processor& processor, const std::string& name, const std::string& group,
                    const std::string& prefix, Output output);

    void checkDataEvents() override;
    void checkDataStreamConfig();
    // Empty for a processor without output.
    std::string getDataStreamName();
    bool hasOutputStream() const;

    // Keyed by address (the stream name is not used): a new address is connected, filters add up,
    // an empty list subscribes to everything. Subscriptions are never removed.
    bool connect(const QString& streamName, const QString& streamAddress,
                 const QVector<QString>& messageFilter) override;
    // Start and stop set `active` and the stream's Running state that QueryStreams reports. They
    // take the processor's own stream name, the name of a stream it was connected to, or an empty
    // one, and refuse any other name.
    bool start(const QString& streamName) override;
    bool stop(const QString& streamName) override;
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;
    bool startNewRecording(QString& parameter) override;

    std::unique_ptr<zmq::socket_t> inputSocket;
    std::unique_ptr<ZmqByteStreamInSocket> inputTemplate;
    std::unique_ptr<InputClientBase<ZmqByteStreamInSocket, ByteStreamMessage>> inputClient;
    int inputSocketIndex = -1;
    std::unique_ptr<zmq::socket_t> outputSocket;
    std::unique_ptr<ZmqByteStreamOutSocket> output;
    // Toggled by start and stop; the library never reads it: it is the subclasses' to honour.
    bool active = true;

private:
    void freeStreamSockets();
    bool setRunning(const QString& streamName, bool running);

    bool streamRegistered = false;
    // Names given by Connect requests; sources themselves are keyed by address.
    QStringList connectedStreams;

    // Between the input client and handleMessage(): keeps a failing handler from ending the thread.
    std::unique_ptr<MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage>> dataHandler;
};

}  // namespace zal
