#include "zal/msg/controlmessagehelper.h"

namespace zal {

namespace {

QString q(const std::string& text) {
    return QString::fromStdString(text);
}

zalmsg::ControlMessage withStreamName(int type, const std::string& streamName) {
    zalmsg::ControlMessage message = ControlMessageHelper::makeMessage(type);
    message.SetStreamName(q(streamName));
    return message;
}

}  // namespace

zalmsg::ControlMessage ControlMessageHelper::makeMessage(int type) {
    zalmsg::ControlMessage message;
    message.SetMessageType(type);
    return message;
}

zalmsg::ControlMessage ControlMessageHelper::makeConnectStreamMessage(const std::string& streamName,
                                                                      const std::string& address,
                                                                      const std::string& filter) {
    return makeConnectStreamMessage(
        streamName, address, filter.empty() ? std::vector<std::string>{} : std::vector<std::string>{filter});
}

zalmsg::ControlMessage ControlMessageHelper::makeConnectStreamMessage(
    const std::string& streamName, const std::string& address, const std::vector<std::string>& filters) {
    zalmsg::ControlMessage message = withStreamName(zalmsg::ControlMessage::MessageType::Connect, streamName);
    message.SetStreamAddress(q(address));
    for (const std::string& filter : filters) {
        message.AppendMessageFilter(q(filter));
    }
    return message;
}

zalmsg::ControlMessage ControlMessageHelper::makeQuerySourcesMessage() {
    return makeMessage(zalmsg::ControlMessage::MessageType::QuerySources);
}

zalmsg::ControlMessage ControlMessageHelper::makeQueryStreamsMessage() {
    return makeMessage(zalmsg::ControlMessage::MessageType::QueryStreams);
}

zalmsg::ControlMessage ControlMessageHelper::makeQueryProcessorsMessage() {
    return makeMessage(zalmsg::ControlMessage::MessageType::QueryProcessors);
}

zalmsg::ControlMessage ControlMessageHelper::makeQueryProcessorGroupsMessage() {
    return makeProcessorGroupManagerMessage(zalmsg::ControlMessage::MessageType::QueryGroups, "");
}

zalmsg::ControlMessage ControlMessageHelper::makeCreateProcessorMessage(const std::string& processorType,
                                                                        const std::string& processorName,
                                                                        const zalmsg::Processor& config) {
    zalmsg::ControlMessage message = makeMessage(zalmsg::ControlMessage::MessageType::Create);
    message.SetProcessorType(q(processorType));
    message.SetProcessorName(q(processorName));
    message.SetProcessor(config);
    return message;
}

zalmsg::ControlMessage ControlMessageHelper::makeDeleteProcessorMessage(const std::string& processorName) {
    zalmsg::ControlMessage message = makeMessage(zalmsg::ControlMessage::MessageType::Delete);
    message.SetProcessorName(q(processorName));
    return message;
}

zalmsg::ControlMessage ControlMessageHelper::makeStartStreamMessage(const std::string& streamName) {
    return withStreamName(zalmsg::ControlMessage::MessageType::Start, streamName);
}

zalmsg::ControlMessage ControlMessageHelper::makeStopStreamMessage(const std::string& streamName) {
    return withStreamName(zalmsg::ControlMessage::MessageType::Stop, streamName);
}

zalmsg::ControlMessage ControlMessageHelper::makeSetParameterMessage(const std::string& parameterName,
                                                                     const std::string& value) {
    zalmsg::ControlMessage message = makeGetParameterMessage(parameterName);
    message.SetMessageType(zalmsg::ControlMessage::MessageType::SetParameter);
    message.SetParameter(q(value));
    return message;
}

zalmsg::ControlMessage ControlMessageHelper::makeGetParameterMessage(const std::string& parameterName) {
    zalmsg::ControlMessage message = makeMessage(zalmsg::ControlMessage::MessageType::GetParameter);
    message.SetParameterName(q(parameterName));
    return message;
}

zalmsg::ControlMessage ControlMessageHelper::makeGetParameterListMessage() {
    return makeMessage(zalmsg::ControlMessage::MessageType::GetParameterList);
}

zalmsg::ControlMessage ControlMessageHelper::makeStartNewRecordingMessage(const std::string& value) {
    zalmsg::ControlMessage message = makeMessage(zalmsg::ControlMessage::MessageType::StartNewRecording);
    message.SetParameter(q(value));
    return message;
}

zalmsg::ControlMessage ControlMessageHelper::makeRegisterStreamMessage(
    const std::string& streamName, const std::string& processorName,
    const std::vector<std::string>& addresses) {
    zalmsg::ControlMessage message =
        withStreamName(zalmsg::ControlMessage::MessageType::RegisterStream, streamName);
    message.SetProcessorName(q(processorName));
    message.SetStreamAddresses(toQStringVector(addresses));
    return message;
}

zalmsg::ControlMessage ControlMessageHelper::makeRegisterStreamMessage(const std::string& streamName,
                                                                       const std::string& processorName,
                                                                       const std::string& address) {
    return makeRegisterStreamMessage(streamName, processorName, std::vector<std::string>{address});
}

zalmsg::ControlMessage ControlMessageHelper::makeDeregisterStreamMessage(const std::string& streamName) {
    return withStreamName(zalmsg::ControlMessage::MessageType::DeregisterStream, streamName);
}

zalmsg::ControlMessage ControlMessageHelper::makeResolveStreamMessage(const std::string& streamName) {
    return withStreamName(zalmsg::ControlMessage::MessageType::ResolveStream, streamName);
}

zalmsg::ControlMessage ControlMessageHelper::makeCreateProcessorGroupMessage(const std::string& groupName) {
    return makeProcessorGroupManagerMessage(zalmsg::ControlMessage::MessageType::CreateGroup, groupName);
}

zalmsg::ControlMessage ControlMessageHelper::makeDeleteProcessorGroupMessage(const std::string& groupName) {
    return makeProcessorGroupManagerMessage(zalmsg::ControlMessage::MessageType::DeleteGroup, groupName);
}

zalmsg::ControlMessage ControlMessageHelper::makeProcessorGroupManagerMessage(int type,
                                                                              const std::string& groupName) {
    zalmsg::ControlMessage message = makeMessage(type);
    message.SetGroupName(q(groupName));
    return message;
}

zalmsg::Processor ControlMessageHelper::makeProcessorConfig(const std::string& streamName,
                                                            const std::string& address) {
    zalmsg::DataStream stream;
    stream.SetName(q(streamName));
    stream.AppendAddress(q(address));
    zalmsg::Processor processor;
    processor.AppendDataStream(stream);
    return processor;
}

zal::ControlMessage ControlMessageHelper::makeMessageEnvelope(const QByteArray& destination,
                                                              const zalmsg::ControlMessage& message) {
    return zal::ControlMessage{destination, toPayload(message)};
}

QByteArray ControlMessageHelper::makeIdentity(const std::string& endpoint) {
    return QByteArray(endpoint.c_str(), static_cast<qsizetype>(endpoint.size() + 1));
}

QByteArray ControlMessageHelper::toPayload(const zalmsg::ControlMessage& message) {
    return message.GetXmlUtf8(false);
}

zalmsg::ControlMessage ControlMessageHelper::fromPayload(const QByteArray& payload) {
    const qsizetype end = payload.indexOf('\0');
    zalmsg::ControlMessage message;
    message.SetXmlString(QString::fromUtf8(payload.constData(), end < 0 ? payload.size() : end), false);
    return message;
}

bool ControlMessageHelper::decodeRequest(const QByteArray& payload, zalmsg::ControlMessage& request) {
    try {
        request = fromPayload(payload);
        return true;
    } catch (const std::exception& e) {
        request = zalmsg::ControlMessage();
        request.SetValidate(false);
        request.SetResultType(zalmsg::ControlMessage::ResultType::Error);
        request.SetMessageText(QStringLiteral("Invalid message: ") + QString::fromUtf8(e.what()));
        return false;
    }
}

QVector<QString> ControlMessageHelper::toQStringVector(const std::vector<std::string>& strings) {
    QVector<QString> result;
    result.reserve(static_cast<qsizetype>(strings.size()));
    for (const std::string& s : strings) {
        result.append(q(s));
    }
    return result;
}

std::vector<std::string> ControlMessageHelper::fromQStringVector(const QVector<QString>& strings) {
    std::vector<std::string> result;
    result.reserve(static_cast<size_t>(strings.size()));
    for (const QString& s : strings) {
        result.push_back(s.toStdString());
    }
    return result;
}

}  // namespace zal
