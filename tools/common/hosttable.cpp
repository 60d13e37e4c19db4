#include "zaltools/hosttable.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include "zaltools/commandparser.h"
#include "zaltools/commandrunner.h"
#include "zaltools/linesplitter.h"
#include "zaltools/optionwords.h"
#include "zaltools/tcpaddress.h"

namespace zaltools {

namespace {

const QLatin1String usageText(
    "usage: host NAME ENDPOINT [--curve-server-key-file FILE] "
    "[--curve-secret-key-file FILE] [other zalctl CURVE options]");

[[noreturn]] void fail(const QString& text) {
    throw UsageError(text.toStdString());
}

// Only what another process can connect to, and with a port, since a wildcard is no address to
// connect to.
void checkEndpoint(const QString& name, const QString& endpoint) {
    if (endpoint.startsWith(QLatin1String("ipc://")) && endpoint.size() > 6) {
        return;
    }
    const std::optional<TcpAddress> tcp = TcpAddress::parse(endpoint);
    bool number = false;
    const int port = tcp ? tcp->port.toInt(&number) : 0;
    if (!tcp || tcp->isWildcard() || !number || port <= 0 || port > 65535) {
        fail(QStringLiteral("host %1: '%2' is not an endpoint to connect to (tcp://HOST:PORT or ipc://PATH)")
                 .arg(name, endpoint));
    }
}

}  // namespace

bool HostTable::isHostLine(const QStringList& words) {
    return !words.isEmpty() && words.front() == QLatin1String("host");
}

HostTable HostTable::readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        fail(QStringLiteral("%1: cannot read hosts file: %2").arg(path, file.errorString()));
    }
    HostTable table;
    for (const ScriptLine& line : LineSplitter::splitScript(QString::fromUtf8(file.readAll()))) {
        try {
            if (!line.split) {
                fail(line.error);
            }
            if (!isHostLine(line.words)) {
                fail(QStringLiteral("a hosts file holds only host lines (%1)").arg(usageText));
            }
            table.add(line.words, QFileInfo(path).absolutePath());
        } catch (const UsageError& e) {
            fail(QStringLiteral("%1:%2: %3").arg(path).arg(line.number).arg(QString::fromUtf8(e.what())));
        }
    }
    return table;
}

void HostTable::add(const QStringList& words, const QString& folder) {
    const OptionWords given(QStringLiteral("host"), words.mid(1), CurveOptions::names(), {});
    if (given.positional.size() != 2) {
        fail(usageText);
    }
    HostEntry host{given.positional[0], given.positional[1].toStdString(), {}};
    static const QRegularExpression validName(QStringLiteral("^[A-Za-z0-9_.-]+$"));
    if (!validName.match(host.name).hasMatch()) {
        fail(QStringLiteral("host name '%1' may hold only letters, digits, '_', '.' and '-'").arg(host.name));
    }
    if (hosts.contains(host.name)) {
        fail(QStringLiteral("host %1 is named twice").arg(host.name));
    }
    checkEndpoint(host.name, given.positional[1]);
    for (const QString& option : CurveOptions::names()) {
        if (given.has(option)) {
            const QString value = given.single(option);
            host.curve.values[option] =
                option.endsWith(QLatin1String("-file")) ? QDir(folder).filePath(value) : value;
        }
    }
    if (host.curve.any()) {
        try {
            std::string server;
            zal::CurveKeys::Pair client;
            host.curve.keys(server, client);
        } catch (const zal::CurveKeyError& e) {
            fail(QStringLiteral("host %1: %2").arg(host.name, QString::fromUtf8(e.what())));
        }
    }
    hosts.insert(host.name, host);
}

const HostEntry* HostTable::find(const QString& name) const {
    const auto found = hosts.constFind(name);
    return found == hosts.constEnd() ? nullptr : &found.value();
}

QString HostTable::unknown(const QString& name) const {
    const QStringList names = hosts.keys();
    return QStringLiteral("no host '@%1' (hosts: %2)")
        .arg(name, names.isEmpty() ? QStringLiteral("none; name them with host lines or a hosts file")
                                   : names.join(QStringLiteral(", ")));
}

std::unique_ptr<CommandRunner> HostTable::runnerFor(const HostEntry& host, int timeoutMs, Form form) {
    auto runner = std::make_unique<CommandRunner>(host.endpoint, timeoutMs, form);
    if (host.curve.any()) {
        std::string server;
        zal::CurveKeys::Pair client;
        host.curve.keys(server, client);
        runner->useCurve(server, client);
    }
    return runner;
}

}  // namespace zaltools
