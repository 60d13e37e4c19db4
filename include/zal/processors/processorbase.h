// The thread body every processor shares: its control line, broadcast line, name-service client and poll
// loop.
#pragma once

#include <QJsonArray>
#include <functional>
#include <memory>
#include <string>
#include <zmq.hpp>

#include "zal/msg/processor.h"
#include "zal/processors/datacurve.h"
#include "zal/processors/handshakewatch.h"
#include "zal/processors/processorcontrolinterface.h"
#include "zal/processors/processorcontrolmessagehandler.h"
#include "zal/processors/reservedparameters.h"
#include "zal/processors/trafficmeter.h"
#include "zal/services/controlline.h"
#include "zal/services/nameserviceclient.h"
#include "zal/threads/zmqcontrollable.h"
#include "zal/transport/inputclient.h"
#include "zal/transport/zmqbytestreamsockettemplate.h"

namespace zal {

// Constructed anywhere (no sockets yet); initialize, process and release run in the processor's
// own thread, which owns every socket. The control line is a DEALER whose identity is the
// processor's endpoint string, so the router can address it. The router and the group's name
// service are always reached at the default prefix, while the identity and the broadcast line
// use the processor's own prefix: that asymmetry is deliberate.
class ProcessorBase : public ZmqControllable, public ProcessorControlInterface {
public:
    ProcessorBase(const std::string& name, const std::string& group, const std::string& prefix);
    ProcessorBase(const zalmsg::Processor& processor, const std::string& name, const std::string& group,
                  const std::string& prefix);
    ~ProcessorBase() override;

    // Subclasses call this first and return false at once when it fails.
    bool initialize() override;
    // Polls until the creator speaks: control and broadcast messages, then checkDataEvents();
    // doIdleProcessing() after each quiet timeout, never while events keep coming.
    void process() override;
    // Safe to call twice. Subclasses free their own sockets first and call this last.
    void release() override;

    // The type as the create request named it and its parameter descriptions, reported under the
    // reserved parameters; set by the group before the processor's thread starts.
    void describeType(const QString& type, const QJsonArray& parameters);
    // The host's CURVE keys for tcp data, null without; set by the group before the processor's
    // thread starts, never changed while it runs.
    void useDataCurve(std::shared_ptr<const DataCurve> curve) { dataCurve = std::move(curve); }

    std::string getName() const { return name; }
    std::string getGroup() const { return group; }
    std::string getEndpointString() const;

protected:
    // After every wake-up with events, whichever socket had them.
    virtual void checkDataEvents() {}
    // After each timeout set by enableIdleProcessing().
    virtual void doIdleProcessing() {}
    void enableIdleProcessing(int milliseconds);
    void disableIdleProcessing();
    // Ends a refused control operation with what was wrong and what is accepted:
    // `return refuse(QStringLiteral("read-only"));`. The reply keeps the designed failure text
    // ("Cannot set parameter: sent") and adds the reason in brackets.
    bool refuse(const QString& reason);
    // Subscribes the broadcast line to a topic (its bytes, without a terminating zero).
    void subscribeParameter(const std::string& topic);

    bool querySources(QVector<zalmsg::DataSource>& sources) override;
    bool queryStreams(QVector<zalmsg::DataStream>& streams) override;

    // The connect step of processors with a data input, keyed by address: a new address becomes a
    // data source and `input` connects to it; filters add up, and each newly added one goes to
    // `subscribe`, while a source left without filters takes everything (a catch-all set on `input`).
    // With the host's CURVE keys a tcp address is connected as a CURVE client, whose refused
    // handshakes are traced and counted; one whose host has no known server key is refused. A
    // source whose handshake failed is connected again when asked again.
    void connectInput(zmq::socket_t& input, const QString& address, const QVector<QString>& filters,
                      const std::function<void(const QString&)>& subscribe);

    // Reads what is queued on a readable input, at most maxMessagesPerWakeUp messages, so that one
    // poll serves a burst while a flood of data never keeps the control line waiting longer.
    void drainInput(int socketIndex, InputClientBase<ZmqByteStreamInSocket, ByteStreamMessage>& client);
    // The input whose counts zal.status reports; null before the socket goes.
    void reportInput(const ZmqByteStreamInSocket* input);
    // The output whose counts zal.status reports, publishing `stream`; null before the socket goes.
    void reportOutput(const ZmqByteStreamOutSocket* output, const QString& stream);

    static constexpr int maxMessagesPerWakeUp = 256;

    NameServiceClient* getNameServiceClient() const { return nameServiceClient.get(); }
    const DataCurve* getDataCurve() const { return dataCurve.get(); }

    std::string name;
    std::string group;
    std::string prefix;
    zalmsg::Processor processor;

private:
    // Control, broadcast, then data: one wake-up with events.
    void serveEvents();
    void freeSockets();
    // Watches `input`'s handshakes from its first CURVE connect on.
    void watchHandshakes(zmq::socket_t& input);
    void readHandshakes();

    // Left by refuse() for the control handler, which reads and clears it; this thread's only.
    QString refusal;
    TrafficMeter traffic;
    ReservedParameters reserved{*this, traffic};
    std::unique_ptr<NameServiceClient> nameServiceClient;
    std::unique_ptr<ProcessorControlMessageHandler<ZmqControlSocket>> messageHandler;
    std::unique_ptr<ControlLine> controlLine;
    int controlSocketIndex = -1;
    std::unique_ptr<zmq::socket_t> broadcastSocket;
    std::unique_ptr<ZmqSubControlSocket> broadcastTemplate;
    std::unique_ptr<SubInputClient<ZmqControlSocket, ControlMessage>> broadcastClient;
    int broadcastSocketIndex = -1;
    std::shared_ptr<const DataCurve> dataCurve;
    std::unique_ptr<HandshakeWatch> handshakes;
    int handshakeSocketIndex = -1;
};

}  // namespace zal
