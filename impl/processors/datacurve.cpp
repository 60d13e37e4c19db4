#include "zal/processors/datacurve.h"

#include "zal/services/zaphandler.h"

namespace zal {

DataCurve::DataCurve(const std::string& secretKey, std::vector<std::string> authorizedKeys,
                     std::map<std::string, std::string> peerKeys, const QString& peerKeysFile)
    : own{CurveKeys::publicKeyOf(secretKey), secretKey},
      authorizedKeys(std::move(authorizedKeys)),
      peerKeys(std::move(peerKeys)),
      peerKeysFile(peerKeysFile) {}

bool DataCurve::isTcp(const std::string& address) {
    return address.rfind("tcp://", 0) == 0;
}

std::string DataCurve::hostOf(const std::string& address) {
    if (!isTcp(address)) {
        return std::string();
    }
    std::string host = address.substr(address.find(';') == std::string::npos ? 6 : address.find(';') + 1);
    const size_t port = host.rfind(':');
    return port == std::string::npos ? host : host.substr(0, port);
}

// Options are taken at each bind, so one socket may serve CURVE on tcp and plain elsewhere.
void DataCurve::prepareBind(zmq::socket_t& socket, const std::string& address) const {
    const bool tcp = isTcp(address);
    socket.set(zmq::sockopt::curve_server, tcp);
    if (tcp) {
        socket.set(zmq::sockopt::curve_secretkey, own.secretKey);
        socket.set(zmq::sockopt::zap_domain, ZapHandler::dataDomain);
    }
}

bool DataCurve::prepareConnect(zmq::socket_t& socket, const std::string& address) const {
    if (!isTcp(address)) {
        // Resets the mechanism an earlier tcp connect chose.
        socket.set(zmq::sockopt::curve_server, false);
        return false;
    }
    const std::string host = hostOf(address);
    const auto found = peerKeys.find(host);
    if (found == peerKeys.end()) {
        const QString where = peerKeysFile.isEmpty()
                                  ? QStringLiteral("a peer keys file named by CurvePeerKeysFile")
                                  : QStringLiteral("%1 (CurvePeerKeysFile)").arg(peerKeysFile);
        throw CurveKeyError(
            QStringLiteral("no CURVE server key for host '%1'; add the line '%1 PUBLICKEY' to %2")
                .arg(QString::fromStdString(host), where)
                .toStdString());
    }
    CurveKeys::applyClient(socket, found->second, own);
    return true;
}

}  // namespace zal
