#include "zal/processors/qtbridge.h"

#include "zal/msg/configtool.h"
#include "zal/processors/qtrepository.h"
#include "zal/transport/context.h"

namespace zal {

QtBridge::QtBridge(const zalmsg::Processor& processor, const std::string& name, const std::string& group,
                   const std::string& prefix)
    : QObject(nullptr), ProcessorBase(processor, name, group, prefix) {}

// The input client points into the input socket, so both go before the base closes its own.
QtBridge::~QtBridge() {
    freeInput();
}

QString QtBridge::getIdForQTRepository() const {
    return QString::fromStdString(getEndpointString());
}

bool QtBridge::initialize() {
    if (!ProcessorBase::initialize()) {
        return false;
    }
    freeInput();
    requestedTopics.clear();
    subscribedTopics.clear();
    inputSocket = std::make_unique<zmq::socket_t>(*Context::getZMQContext(), zmq::socket_type::sub);
    inputTemplate = std::make_unique<ZmqByteStreamInSocket>(*inputSocket);
    reportInput(inputTemplate.get());
    inputClient = std::make_unique<InputClientBase<ZmqByteStreamInSocket, ByteStreamMessage>>(
        inputTemplate.get(), this);
    QtRepository::setQObject(getIdForQTRepository(), QPointer<QObject>(this));
    inputSocketIndex = reader.addSocket(*inputSocket, ZMQ_POLLIN);
    return true;
}

void QtBridge::release() {
    QtRepository::removeQObject(getIdForQTRepository());
    freeInput();
    ProcessorBase::release();
}

void QtBridge::freeInput() {
    reportInput(nullptr);
    inputClient.reset();
    inputTemplate.reset();
    inputSocket.reset();
    inputSocketIndex = -1;
}

void QtBridge::checkDataEvents() {
    if (inputClient) {
        drainInput(inputSocketIndex, *inputClient);
    }
}

void QtBridge::handleMessage(ByteStreamMessage& message, ZmqByteStreamInSocket* /*socket*/) {
    emit si_message(message.topic, message.data);
}

bool QtBridge::connect(const QString& /*streamName*/, const QString& streamAddress,
                       const QVector<QString>& messageFilter) {
    // Filters are recorded topics, so a pause and resume covers them; the catch-all is not.
    connectInput(*inputSocket, streamAddress, messageFilter,
                 [this](const QString& topic) { subscribe(topic); });
    return true;
}

bool QtBridge::start(const QString& topic) {
    forTopics(topic, &QtBridge::subscribe);
    return true;
}

bool QtBridge::stop(const QString& topic) {
    forTopics(topic, &QtBridge::unsubscribe);
    return true;
}

// Iterates over a copy: subscribe appends to requestedTopics.
void QtBridge::forTopics(const QString& topic, void (QtBridge::*change)(const QString&)) {
    if (!topic.isEmpty()) {
        (this->*change)(topic);
        return;
    }
    const QStringList requested = requestedTopics;
    for (const QString& each : requested) {
        (this->*change)(each);
    }
}

void QtBridge::subscribe(const QString& topic) {
    if (!requestedTopics.contains(topic)) {
        requestedTopics.append(topic);
    }
    if (!subscribedTopics.contains(topic)) {
        inputSocket->set(zmq::sockopt::subscribe, topic.toStdString());
        subscribedTopics.append(topic);
    }
}

void QtBridge::unsubscribe(const QString& topic) {
    if (subscribedTopics.removeOne(topic)) {
        inputSocket->set(zmq::sockopt::unsubscribe, topic.toStdString());
    }
}

bool QtBridge::setParameter(const QString& /*name*/, const QString& /*value*/) {
    return false;
}

bool QtBridge::getParameter(const QString& /*name*/, QString& /*value*/) {
    return false;
}

bool QtBridge::getParameterList(QStringList& /*names*/) {
    return false;
}

bool QtBridge::startNewRecording(QString& /*parameter*/) {
    return false;
}

}  // namespace zal
