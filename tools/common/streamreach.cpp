#include "zaltools/streamreach.h"

#include <QStringList>

#include "zaltools/tcpaddress.h"

namespace zaltools {

StreamReach::StreamReach(HostSide producer, HostSide consumer)
    : producer(std::move(producer)), consumer(std::move(consumer)) {}

bool StreamReach::onThisMachine(const std::string& endpoint) {
    const QString text = QString::fromStdString(endpoint);
    const std::optional<TcpAddress> tcp = TcpAddress::parse(text);
    return tcp ? tcp->isLoopback() : !text.startsWith(QLatin1String("tcp://"));
}

std::optional<QString> StreamReach::choose(const QString& stream, const QVector<QString>& addresses,
                                           QString& reason) const {
    if (producer.endpoint == consumer.endpoint) {
        return addresses.isEmpty() ? std::nullopt : std::optional<QString>(addresses.front());
    }
    QStringList local;
    QStringList problems;
    for (QString address : addresses) {
        if (!TcpAddress::parse(address)) {
            local << address;
            continue;
        }
        const QString found = problem(address);
        if (found.isEmpty()) {
            return address;
        }
        problems << found;
    }
    if (!local.isEmpty()) {
        problems << QStringLiteral(
                        "%1 %2 only its own machine; give the stream a tcp:// address, e.g. "
                        "--stream %3=tcp://*:6000")
                        .arg(local.join(QStringLiteral(", ")),
                             local.size() == 1 ? QStringLiteral("serves") : QStringLiteral("serve"), stream);
    }
    reason = problems.join(QStringLiteral("; "));
    return std::nullopt;
}

QString StreamReach::problem(QString& address) const {
    TcpAddress tcp = *TcpAddress::parse(address);
    const QString given = address;
    const QString producerEndpoint = QString::fromStdString(producer.endpoint);
    if (tcp.isWildcard()) {
        if (!tcp.placeAt(producerEndpoint)) {
            return QStringLiteral(
                       "%1 binds every interface of %2, whose endpoint %3 names no network "
                       "host to connect to instead; reach %2 by tcp://HOST:PORT")
                .arg(address, producer.label, producerEndpoint);
        }
        address = tcp.text();
    }
    if (!tcp.isLoopback() || (onThisMachine(producer.endpoint) && onThisMachine(consumer.endpoint))) {
        return QString();
    }
    const QString unreachable =
        QStringLiteral("a loopback address, which %1 at %2 cannot reach from another machine")
            .arg(consumer.label, QString::fromStdString(consumer.endpoint));
    if (given != address) {
        return QStringLiteral(
                   "%1 binds every interface, but %2's endpoint %3 makes it %4, %5; reach %2 by an "
                   "address %6 can reach")
            .arg(given, producer.label, producerEndpoint, address, unreachable, consumer.label);
    }
    return QStringLiteral("%1 is %2; bind the stream to tcp://*:PORT or to an address %3 can reach")
        .arg(address, unreachable, consumer.label);
}

}  // namespace zaltools
