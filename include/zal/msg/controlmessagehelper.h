// Builds every request a client sends, so each request type always carries the same properties.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>
#include <string>
#include <vector>

#include "zal/transport/messages.h"
#include "zal/msg/controlmessage.h"
#include "zal/msg/processor.h"

namespace zal {

class ControlMessageHelper {
public:
    static zalmsg::ControlMessage makeConnectStreamMessage(const std::string& streamName,
                                                           const std::string& address,
                                                           const std::string& filter);
    static zalmsg::ControlMessage makeConnectStreamMessage(const std::string& streamName,
                                                           const std::string& address,
                                                           const std::vector<std::string>& filters);
    static zalmsg::ControlMessage makeQuerySourcesMessage();
    static zalmsg::ControlMessage makeQueryStreamsMessage();
    static zalmsg::ControlMessage makeQueryProcessorsMessage();
    static zalmsg::ControlMessage makeQueryProcessorGroupsMessage();
    static zalmsg::ControlMessage makeCreateProcessorMessage(const std::string& processorType,
                                                             const std::string& processorName,
                                                             const zalmsg::Processor& config);
    static zalmsg::ControlMessage makeDeleteProcessorMessage(const std::string& processorName);
    static zalmsg::ControlMessage makeStartStreamMessage(const std::string& streamName);
    static zalmsg::ControlMessage makeStopStreamMessage(const std::string& streamName);
    static zalmsg::ControlMessage makeSetParameterMessage(const std::string& parameterName,
                                                          const std::string& value);
    static zalmsg::ControlMessage makeGetParameterMessage(const std::string& parameterName);
    static zalmsg::ControlMessage makeGetParameterListMessage();
    static zalmsg::ControlMessage makeStartNewRecordingMessage(const std::string& value);
    static zalmsg::ControlMessage makeRegisterStreamMessage(const std::string& streamName,
                                                            const std::string& processorName,
                                                            const std::vector<std::string>& addresses);
    static zalmsg::ControlMessage makeRegisterStreamMessage(const std::string& streamName,
                                                            const std::string& processorName,
                                                            const std::string& address);
    static zalmsg::ControlMessage makeDeregisterStreamMessage(const std::string& streamName);
    static zalmsg::ControlMessage makeResolveStreamMessage(const std::string& streamName);
    static zalmsg::ControlMessage makeCreateProcessorGroupMessage(const std::string& groupName);
    static zalmsg::ControlMessage makeDeleteProcessorGroupMessage(const std::string& groupName);
    static zalmsg::ControlMessage makeProcessorGroupManagerMessage(int type, const std::string& groupName);
    // A message of the given type and nothing else.
    static zalmsg::ControlMessage makeMessage(int type);

    // A processor configuration of one data stream with one address; nothing else is set.
    static zalmsg::Processor makeProcessorConfig(const std::string& streamName, const std::string& address);

    // Wraps a message for a socket: destination identity (or peer address) and the XML payload.
    static ControlMessage makeMessageEnvelope(const QByteArray& destination,
                                              const zalmsg::ControlMessage& message);
    // The identity frame by which a ROUTER socket knows the peer that connected with this name.
    static QByteArray makeIdentity(const std::string& endpoint);

    // The payload form: UTF-8 of the XML text. Decoding reads up to the first zero byte and parses
    // with validation off, so that an unknown type still yields a message that can be answered;
    // text that is not XML of a control message throws the data objects' InvalidXmlException.
    // toPayload writes without the validation checks, so that a reply to a request of an unknown
    // type can still be sent; the setters have refused invalid values already.
    static QByteArray toPayload(const zalmsg::ControlMessage& message);
    static zalmsg::ControlMessage fromPayload(const QByteArray& payload);
    // For a handler that must answer whatever arrived: false when the payload is not a control
    // message, and `request` then holds the error reply "Invalid message: " and the reason.
    static bool decodeRequest(const QByteArray& payload, zalmsg::ControlMessage& request);

    static QVector<QString> toQStringVector(const std::vector<std::string>& strings);
    static std::vector<std::string> fromQStringVector(const QVector<QString>& strings);
};

}  // namespace zal
