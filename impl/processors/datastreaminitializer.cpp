#include "zal/processors/datastreaminitializer.h"

#include "zal/processors/processorerror.h"
#include "zal/transport/zmqhelper.h"

namespace zal {

DataStreamInitializer::DataStreamInitializer(const std::string& ownerName, const std::string& processorName,
                                             NameServiceClient& client, const DataCurve* curve)
    : ownerName(ownerName), processorName(processorName), client(client), curve(curve) {}

void DataStreamInitializer::initialize(zmq::socket_t& socket, zalmsg::DataStream& stream) {
    QVector<QString>& addresses = stream.GetAddress();
    std::vector<std::string> bound;
    bound.reserve(static_cast<size_t>(addresses.size()));
    for (QString& address : addresses) {
        if (curve != nullptr) {
            curve->prepareBind(socket, address.toStdString());
        }
        ZmqHelper::bindSocket(socket, address);
        bound.push_back(address.toStdString());
    }
    const std::string name = stream.GetName().toStdString();
    if (!client.registerStream(name, processorName, bound)) {
        // The missing blank before "could" is part of the text that users match on; the name
        // service's reason (a name taken, no answer) follows it.
        throw ProcessorError(ownerName + ": Stream '" + name + "'could not be registered at nameservice (" +
                             client.getLastMessageText() + ")");
    }
}

}  // namespace zal
