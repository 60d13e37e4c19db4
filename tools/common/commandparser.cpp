#include "zaltools/commandparser.h"

#include <QMap>
#include <QVector>

#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/endpoints.h"
#include "zaltools/optionwords.h"

namespace zaltools {

namespace {

using zal::ControlMessageHelper;
using zal::Endpoints;

[[noreturn]] void fail(const QString& text) {
    throw UsageError(text.toStdString());
}

// The words of one command after option parsing, the fixed arguments by their names.
struct Arguments : OptionWords {
    using OptionWords::OptionWords;
    QMap<QString, QString> named;  // argument name -> value, for the fixed arguments
    QStringList rest;              // repetitions of a repeating last argument
};

// Names become path segments of identities ("inproc://zal/g/p"), so an empty one or one with a
// '/' would address some other service.
QString checkedName(const QString& command, const QString& what, const QString& value) {
    if (value.isEmpty()) {
        fail(QStringLiteral("%1: %2 must not be empty.").arg(command, what));
    }
    if (value.contains(QLatin1Char('/'))) {
        fail(QStringLiteral("%1: %2 '%3' must not contain '/'.").arg(command, what, value));
    }
    return value;
}

QString checkedNonEmpty(const QString& command, const QString& what, const QString& value) {
    if (value.isEmpty()) {
        fail(QStringLiteral("%1: %2 must not be empty.").arg(command, what));
    }
    return value;
}

std::string str(const QString& text) {
    return text.toStdString();
}

// One command's arguments as the builders of requests take them: checked, and the endpoints
// they name under the parser's prefix.
class Words {
public:
    Words(const QString& command, Arguments arguments, const std::string& prefix)
        : command(command), arguments(std::move(arguments)), prefix(prefix) {}

    QString argument(const char* key) const { return arguments.named.value(QLatin1String(key)); }
    std::string name(const char* key) const {
        return str(checkedName(command, QLatin1String(key), argument(key)));
    }
    std::string nonEmpty(const char* key) const {
        return str(checkedNonEmpty(command, QLatin1String(key), argument(key)));
    }

    // Points the command at the service of that kind that its GROUP and PROCESSOR arguments name.
    // PROCESSOR is judged before GROUP, so that a line with both wrong names the processor, as it
    // always has.
    void address(Command& command, Service service) const {
        command.service = service;
        if (service == Service::Processor) {
            command.processor = QString::fromStdString(name("PROCESSOR"));
        }
        if (service != Service::GroupManager) {
            command.group = QString::fromStdString(name("GROUP"));
        }
        const std::string group = str(command.group);
        switch (service) {
            case Service::GroupManager:
                command.destination = Endpoints::getGroupManagerEndpoint(prefix);
                break;
            case Service::Group:
                command.destination = Endpoints::getGroupEndpoint(group, prefix);
                break;
            case Service::NameService:
                command.destination = nameService();
                break;
            case Service::Processor:
                command.destination = Endpoints::getProcessorEndpoint(group, str(command.processor), prefix);
                break;
        }
    }
    std::string nameService() const { return Endpoints::getNameServiceEndpoint(name("GROUP"), prefix); }

    const QString command;
    const Arguments arguments;
    const std::string& prefix;
};

// Fills in a command's destination, request and presentation from its checked words.
using Builder = void (*)(const Words& words, Command& command);

struct Syntax {
    const char* name;
    QStringList arguments;  // required, in order
    QStringList optional;   // may follow the required ones
    bool lastRepeats;       // the last required argument may be given more than once
    QStringList options;    // options that take a value; --xml is accepted everywhere
    const char* usage;
    Builder build;
};

// --xml and --json are accepted by every command.
Arguments splitArguments(const Syntax& syntax, const QStringList& words) {
    const QString command = QLatin1String(syntax.name);
    Arguments arguments(command, words.mid(1), syntax.options,
                        {QStringLiteral("--xml"), QStringLiteral("--json")});
    const QStringList& positional = arguments.positional;
    const qsizetype required = syntax.arguments.size();
    if (positional.size() < required) {
        fail(QStringLiteral("%1: missing %2. Usage: %3")
                 .arg(command, syntax.arguments[positional.size()], QLatin1String(syntax.usage)));
    }
    if (!syntax.lastRepeats && positional.size() > required + syntax.optional.size()) {
        fail(QStringLiteral("%1: unexpected argument '%2'. Usage: %3")
                 .arg(command, positional[required + syntax.optional.size()], QLatin1String(syntax.usage)));
    }
    for (qsizetype i = 0; i < positional.size(); ++i) {
        if (i < required) {
            arguments.named.insert(syntax.arguments[i], positional[i]);
        } else if (syntax.lastRepeats) {
            arguments.rest << positional[i];
        } else {
            arguments.named.insert(syntax.optional[i - required], positional[i]);
        }
    }
    return arguments;
}

// NAME=ADDR[,ADDR...]
zalmsg::DataStream parseStream(const QString& value) {
    const qsizetype equals = value.indexOf(QLatin1Char('='));
    if (equals <= 0) {
        fail(QStringLiteral("create: --stream '%1' is not NAME=ADDR[,ADDR...].").arg(value));
    }
    zalmsg::DataStream stream;
    stream.SetName(value.left(equals));
    const QStringList addresses = value.mid(equals + 1).split(QLatin1Char(','));
    for (const QString& address : addresses) {
        if (address.isEmpty()) {
            fail(QStringLiteral("create: --stream '%1' has an empty address.").arg(value));
        }
        stream.AppendAddress(address);
    }
    return stream;
}

// Where the address in ADDR[:FILTER...] ends. A TCP-like address keeps its ":port" (and an IPv6
// host in brackets its colons); for others, such as inproc and ipc, the first ':' after "://"
// starts the filters.
qsizetype addressEnd(const QString& value) {
    const qsizetype scheme = value.indexOf(QLatin1String("://"));
    if (scheme <= 0) {
        return -1;
    }
    qsizetype at = scheme + 3;
    const QString protocol = value.left(scheme);
    if (protocol == QLatin1String("tcp") || protocol == QLatin1String("udp") ||
        protocol == QLatin1String("pgm") || protocol == QLatin1String("epgm") ||
        protocol == QLatin1String("ws") || protocol == QLatin1String("wss")) {
        if (value.mid(at).startsWith(QLatin1Char('['))) {
            at = value.indexOf(QLatin1Char(']'), at);
            if (at < 0) {
                return -1;
            }
        }
        at = value.indexOf(QLatin1Char(':'), at);
        if (at < 0) {
            return -1;
        }
        ++at;
    }
    const qsizetype colon = value.indexOf(QLatin1Char(':'), at);
    return colon < 0 ? value.size() : colon;
}

void addSource(zalmsg::Processor& config, const QString& value) {
    const qsizetype end = addressEnd(value);
    if (end < 0) {
        fail(QStringLiteral("create: --source '%1' is not ADDR[:FILTER...] with ADDR like "
                            "tcp://HOST:PORT or inproc://NAME.")
                 .arg(value));
    }
    const QString address = value.left(end);
    QVector<QString> filters;
    if (end < value.size()) {
        for (const QString& filter : value.mid(end + 1).split(QLatin1Char(':'))) {
            if (filter.isEmpty()) {
                fail(QStringLiteral("create: --source '%1' has an empty filter.").arg(value));
            }
            filters << filter;
        }
    }
    if (!zal::ConfigTool::addDataSource(config, address)) {
        fail(QStringLiteral("create: --source %1 is given twice.").arg(address));
    }
    if (!filters.isEmpty()) {
        zal::ConfigTool::addDataFilter(config, address, filters);
    }
}

zalmsg::Processor parseConfiguration(const Arguments& arguments) {
    zalmsg::Processor config;
    for (const auto& [option, value] : arguments.options) {
        if (option == QLatin1String("--stream")) {
            const zalmsg::DataStream stream = parseStream(value);
            if (zal::ConfigTool::getDataStream(config, stream.GetName()) != nullptr) {
                fail(QStringLiteral("create: --stream %1 is given twice.").arg(stream.GetName()));
            }
            config.AppendDataStream(stream);
        } else {
            addSource(config, value);
        }
    }
    return config;
}

void queryGroups(const Words& words, Command& command) {
    words.address(command, Service::GroupManager);
    command.request = ControlMessageHelper::makeQueryProcessorGroupsMessage();
    command.presentation = Presentation::CommaList;
}

void createGroup(const Words& words, Command& command) {
    words.address(command, Service::GroupManager);
    command.request = ControlMessageHelper::makeCreateProcessorGroupMessage(words.name("GROUP"));
}

void deleteGroup(const Words& words, Command& command) {
    words.address(command, Service::GroupManager);
    command.request = ControlMessageHelper::makeDeleteProcessorGroupMessage(words.name("GROUP"));
}

void queryProcessors(const Words& words, Command& command) {
    words.address(command, Service::Group);
    command.request = ControlMessageHelper::makeQueryProcessorsMessage();
    command.presentation = Presentation::CommaList;
}

void createProcessor(const Words& words, Command& command) {
    words.address(command, Service::Group);
    const std::string processorName = words.name("NAME");
    const std::string type = words.nonEmpty("TYPE");
    command.request = ControlMessageHelper::makeCreateProcessorMessage(type, processorName,
                                                                       parseConfiguration(words.arguments));
}

void deleteProcessor(const Words& words, Command& command) {
    words.address(command, Service::Group);
    command.request = ControlMessageHelper::makeDeleteProcessorMessage(words.name("NAME"));
}

// @NAME[/GROUP]: the host and group whose name service resolves the stream to connect to.
void fromHost(const QString& command, const QString& value, Command& connect) {
    if (!value.startsWith(QLatin1Char('@')) || value.size() < 2 || value.startsWith(QLatin1String("@/"))) {
        fail(QStringLiteral("%1: --from '%2' is not @HOST or @HOST/GROUP.").arg(command, value));
    }
    const qsizetype slash = value.indexOf(QLatin1Char('/'));
    connect.fromHost = value.mid(1, slash < 0 ? -1 : slash - 1);
    if (slash >= 0) {
        connect.resolveGroup = checkedName(command, QStringLiteral("GROUP of --from"), value.mid(slash + 1));
    }
}

// By the address given, or by the stream's name, resolved at a group's name service first: the
// consumer's own, or with --from one at another host.
void connectStream(const Words& words, Command& command) {
    words.address(command, Service::Processor);
    const Arguments& arguments = words.arguments;
    const QString named = arguments.single(QStringLiteral("--stream-name"));
    if (arguments.named.contains(QStringLiteral("STREAM")) ==
        arguments.has(QStringLiteral("--stream-name"))) {
        fail(QStringLiteral("connect: give the stream name either as STREAM or as --stream-name, once."));
    }
    command.streamName =
        checkedNonEmpty(words.command, QStringLiteral("STREAM"),
                        arguments.has(QStringLiteral("--stream-name")) ? named : words.argument("STREAM"));
    for (const auto& [option, value] : arguments.options) {
        if (option == QLatin1String("--filter")) {
            command.filters.push_back(str(checkedNonEmpty(words.command, QStringLiteral("--filter"), value)));
        }
    }
    if (arguments.has(QStringLiteral("--address")) && arguments.has(QStringLiteral("--from"))) {
        fail(QStringLiteral("connect: give --address or --from, not both."));
    }
    if (arguments.has(QStringLiteral("--address"))) {
        const QString address = checkedNonEmpty(words.command, QStringLiteral("--address"),
                                                arguments.single(QStringLiteral("--address")));
        command.request = ControlMessageHelper::makeConnectStreamMessage(str(command.streamName),
                                                                         str(address), command.filters);
    } else {
        command.resolveGroup = command.group;
        if (arguments.has(QStringLiteral("--from"))) {
            fromHost(words.command, arguments.single(QStringLiteral("--from")), command);
        }
        command.resolveAt = Endpoints::getNameServiceEndpoint(str(command.resolveGroup), words.prefix);
        command.request = ControlMessageHelper::makeResolveStreamMessage(str(command.streamName));
    }
}

void startStream(const Words& words, Command& command) {
    words.address(command, Service::Processor);
    command.request = ControlMessageHelper::makeStartStreamMessage(words.nonEmpty("STREAM"));
}

void stopStream(const Words& words, Command& command) {
    words.address(command, Service::Processor);
    command.request = ControlMessageHelper::makeStopStreamMessage(words.nonEmpty("STREAM"));
}

void setParameter(const Words& words, Command& command) {
    words.address(command, Service::Processor);
    command.request = ControlMessageHelper::makeSetParameterMessage(words.nonEmpty("PARAMETER"),
                                                                    str(words.argument("VALUE")));
}

void getParameter(const Words& words, Command& command) {
    words.address(command, Service::Processor);
    command.request = ControlMessageHelper::makeGetParameterMessage(words.nonEmpty("PARAMETER"));
    command.presentation = Presentation::Value;
}

void listParameters(const Words& words, Command& command) {
    words.address(command, Service::Processor);
    command.request = ControlMessageHelper::makeGetParameterListMessage();
    command.presentation = Presentation::ParameterNames;
}

void startRecording(const Words& words, Command& command) {
    words.address(command, Service::Processor);
    command.request = ControlMessageHelper::makeStartNewRecordingMessage(str(words.argument("VALUE")));
    command.presentation = Presentation::Value;
}

void querySources(const Words& words, Command& command) {
    words.address(command, Service::Processor);
    command.request = ControlMessageHelper::makeQuerySourcesMessage();
    command.presentation = Presentation::DataSources;
}

void queryStreams(const Words& words, Command& command) {
    words.address(command, Service::Processor);
    command.request = ControlMessageHelper::makeQueryStreamsMessage();
    command.presentation = Presentation::DataStreams;
}

// The addresses are judged first, then PROCESSOR, then STREAM: the order mistakes have always
// been reported in.
void registerStream(const Words& words, Command& command) {
    words.address(command, Service::NameService);
    std::vector<std::string> addresses;
    for (const QString& address : QStringList{words.argument("ADDR")} + words.arguments.rest) {
        addresses.push_back(str(checkedNonEmpty(words.command, QStringLiteral("ADDR"), address)));
    }
    const std::string processor = words.name("PROCESSOR");
    const std::string stream = words.nonEmpty("STREAM");
    command.request = ControlMessageHelper::makeRegisterStreamMessage(stream, processor, addresses);
}

void deregisterStream(const Words& words, Command& command) {
    words.address(command, Service::NameService);
    command.request = ControlMessageHelper::makeDeregisterStreamMessage(words.nonEmpty("STREAM"));
}

void resolveStream(const Words& words, Command& command) {
    words.address(command, Service::NameService);
    command.request = ControlMessageHelper::makeResolveStreamMessage(words.nonEmpty("STREAM"));
    command.presentation = Presentation::ResolvedName;
}

// One row per sub-command; its builder is the only place that knows what the command asks.
const Syntax syntaxTable[] = {
    {"groups", {}, {}, false, {}, "groups", queryGroups},
    {"create-group", {"GROUP"}, {}, false, {}, "create-group GROUP", createGroup},
    {"delete-group", {"GROUP"}, {}, false, {}, "delete-group GROUP", deleteGroup},
    {"processors", {"GROUP"}, {}, false, {}, "processors GROUP", queryProcessors},
    {"create",
     {"GROUP", "NAME", "TYPE"},
     {},
     false,
     {"--stream", "--source"},
     "create GROUP NAME TYPE [--stream NAME=ADDR[,ADDR...]]... [--source ADDR[:FILTER...]]...",
     createProcessor},
    {"delete", {"GROUP", "NAME"}, {}, false, {}, "delete GROUP NAME", deleteProcessor},
    {"connect",
     {"GROUP", "PROCESSOR"},
     {"STREAM"},
     false,
     {"--stream-name", "--address", "--from", "--filter"},
     "connect GROUP PROCESSOR (STREAM | --stream-name STREAM) [--address ADDR | --from @HOST[/GROUP]] "
     "[--filter TOPIC]...",
     connectStream},
    {"start", {"GROUP", "PROCESSOR", "STREAM"}, {}, false, {}, "start GROUP PROCESSOR STREAM", startStream},
    {"stop", {"GROUP", "PROCESSOR", "STREAM"}, {}, false, {}, "stop GROUP PROCESSOR STREAM", stopStream},
    {"set",
     {"GROUP", "PROCESSOR", "PARAMETER", "VALUE"},
     {},
     false,
     {},
     "set GROUP PROCESSOR PARAMETER VALUE",
     setParameter},
    {"get",
     {"GROUP", "PROCESSOR", "PARAMETER"},
     {},
     false,
     {},
     "get GROUP PROCESSOR PARAMETER",
     getParameter},
    {"list", {"GROUP", "PROCESSOR"}, {}, false, {}, "list GROUP PROCESSOR", listParameters},
    {"record",
     {"GROUP", "PROCESSOR"},
     {"VALUE"},
     false,
     {},
     "record GROUP PROCESSOR [VALUE]",
     startRecording},
    {"sources", {"GROUP", "PROCESSOR"}, {}, false, {}, "sources GROUP PROCESSOR", querySources},
    {"streams", {"GROUP", "PROCESSOR"}, {}, false, {}, "streams GROUP PROCESSOR", queryStreams},
    {"register",
     {"GROUP", "STREAM", "PROCESSOR", "ADDR"},
     {},
     true,
     {},
     "register GROUP STREAM PROCESSOR ADDR [ADDR...]",
     registerStream},
    {"deregister", {"GROUP", "STREAM"}, {}, false, {}, "deregister GROUP STREAM", deregisterStream},
    {"resolve", {"GROUP", "STREAM"}, {}, false, {}, "resolve GROUP STREAM", resolveStream},
};

const Syntax* findSyntax(const QString& name) {
    for (const Syntax& syntax : syntaxTable) {
        if (name == QLatin1String(syntax.name)) {
            return &syntax;
        }
    }
    return nullptr;
}

}  // namespace

CommandParser::CommandParser(std::string prefix) : prefix(std::move(prefix)) {}

bool CommandParser::isCommand(const QString& name) {
    return findSyntax(name) != nullptr;
}

QString CommandParser::synopsis() {
    QStringList lines;
    for (const Syntax& syntax : syntaxTable) {
        lines << QLatin1String(syntax.usage);
    }
    return lines.join(QLatin1Char('\n'));
}

Command CommandParser::parse(const QStringList& words) const {
    if (words.isEmpty()) {
        fail(QStringLiteral("No command given."));
    }
    const Syntax* syntax = findSyntax(words[0]);
    if (syntax == nullptr) {
        fail(QStringLiteral("Unknown command '%1'.").arg(words[0]));
    }
    const Words checked(words[0], splitArguments(*syntax, words), prefix);
    Command command;
    command.name = words[0];
    command.xml = checked.arguments.flag(QStringLiteral("--xml"));
    command.json = checked.arguments.flag(QStringLiteral("--json"));
    syntax->build(checked, command);
    return command;
}

}  // namespace zaltools
