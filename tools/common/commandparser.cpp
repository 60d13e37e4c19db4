#include "zaltools/commandparser.h"

#include <QMap>
#include <QVector>

#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/transport/endpoints.h"

namespace zaltools {

namespace {

using zal::ControlMessageHelper;

struct Syntax {
    const char* name;
    QStringList arguments;  // required, in order
    QStringList optional;   // may follow the required ones
    bool lastRepeats;       // the last required argument may be given more than once
    QStringList options;    // options that take a value; --xml is accepted everywhere
    const char* usage;
};

const QVector<Syntax>& syntaxes() {
    static const QVector<Syntax> table = {
        {"groups", {}, {}, false, {}, "groups"},
        {"create-group", {"GROUP"}, {}, false, {}, "create-group GROUP"},
        {"delete-group", {"GROUP"}, {}, false, {}, "delete-group GROUP"},
        {"processors", {"GROUP"}, {}, false, {}, "processors GROUP"},
        {"create",
         {"GROUP", "NAME", "TYPE"},
         {},
         false,
         {"--stream", "--source"},
         "create GROUP NAME TYPE [--stream NAME=ADDR[,ADDR...]]... [--source ADDR[:FILTER...]]..."},
        {"delete", {"GROUP", "NAME"}, {}, false, {}, "delete GROUP NAME"},
        {"connect",
         {"GROUP", "PROCESSOR"},
         {"STREAM"},
         false,
         {"--stream-name", "--address", "--filter"},
         "connect GROUP PROCESSOR (STREAM | --stream-name STREAM) [--address ADDR] [--filter TOPIC]..."},
        {"start", {"GROUP", "PROCESSOR", "STREAM"}, {}, false, {}, "start GROUP PROCESSOR STREAM"},
        {"stop", {"GROUP", "PROCESSOR", "STREAM"}, {}, false, {}, "stop GROUP PROCESSOR STREAM"},
        {"set",
         {"GROUP", "PROCESSOR", "PARAMETER", "VALUE"},
         {},
         false,
         {},
         "set GROUP PROCESSOR PARAMETER VALUE"},
        {"get", {"GROUP", "PROCESSOR", "PARAMETER"}, {}, false, {}, "get GROUP PROCESSOR PARAMETER"},
        {"list", {"GROUP", "PROCESSOR"}, {}, false, {}, "list GROUP PROCESSOR"},
        {"record", {"GROUP", "PROCESSOR"}, {"VALUE"}, false, {}, "record GROUP PROCESSOR [VALUE]"},
        {"sources", {"GROUP", "PROCESSOR"}, {}, false, {}, "sources GROUP PROCESSOR"},
        {"streams", {"GROUP", "PROCESSOR"}, {}, false, {}, "streams GROUP PROCESSOR"},
        {"register",
         {"GROUP", "STREAM", "PROCESSOR", "ADDR"},
         {},
         true,
         {},
         "register GROUP STREAM PROCESSOR ADDR [ADDR...]"},
        {"deregister", {"GROUP", "STREAM"}, {}, false, {}, "deregister GROUP STREAM"},
        {"resolve", {"GROUP", "STREAM"}, {}, false, {}, "resolve GROUP STREAM"},
    };
    return table;
}

const Syntax* findSyntax(const QString& name) {
    for (const Syntax& syntax : syntaxes()) {
        if (name == QLatin1String(syntax.name)) {
            return &syntax;
        }
    }
    return nullptr;
}

[[noreturn]] void fail(const QString& text) {
    throw UsageError(text.toStdString());
}

// The words of one command after option parsing; options keep the order in which they came.
struct Arguments {
    QMap<QString, QString> named;  // argument name -> value, for the fixed arguments
    QStringList rest;              // repetitions of a repeating last argument
    QVector<QPair<QString, QString>> options;
    bool xml = false;

    QString single(const QString& option, const QString& command) const {
        QString value;
        int count = 0;
        for (const auto& [name, v] : options) {
            if (name == option) {
                value = v;
                ++count;
            }
        }
        if (count > 1) {
            fail(QStringLiteral("%1: option %2 may be given only once.").arg(command, option));
        }
        return value;
    }
    bool has(const QString& option) const {
        for (const auto& entry : options) {
            if (entry.first == option) {
                return true;
            }
        }
        return false;
    }
};

Arguments splitArguments(const Syntax& syntax, const QStringList& words) {
    const QString command = QLatin1String(syntax.name);
    Arguments arguments;
    QStringList positional;
    bool optionsEnded = false;
    for (qsizetype i = 1; i < words.size(); ++i) {
        const QString& word = words[i];
        if (optionsEnded || !word.startsWith(QLatin1String("--"))) {
            positional << word;
            continue;
        }
        if (word == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        const qsizetype equals = word.indexOf(QLatin1Char('='));
        const QString option = equals < 0 ? word : word.left(equals);
        if (option == QLatin1String("--xml") && equals < 0) {
            arguments.xml = true;
            continue;
        }
        if (!syntax.options.contains(option)) {
            fail(QStringLiteral("%1: unknown option '%2'.").arg(command, option));
        }
        if (equals >= 0) {
            arguments.options.append({option, word.mid(equals + 1)});
        } else if (i + 1 < words.size()) {
            arguments.options.append({option, words[++i]});
        } else {
            fail(QStringLiteral("%1: option %2 needs a value.").arg(command, option));
        }
    }
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

std::string str(const QString& text) {
    return text.toStdString();
}

}  // namespace

CommandParser::CommandParser(std::string prefix) : prefix(std::move(prefix)) {}

bool CommandParser::isCommand(const QString& name) {
    return findSyntax(name) != nullptr;
}

QString CommandParser::synopsis() {
    QStringList lines;
    for (const Syntax& syntax : syntaxes()) {
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
    const QString name = words[0];
    const Arguments arguments = splitArguments(*syntax, words);
    const auto argument = [&](const QString& key) { return arguments.named.value(key); };
    const auto group = [&] { return str(checkedName(name, QStringLiteral("GROUP"), argument("GROUP"))); };
    const auto processorAt = [&](const QString& key) {
        return zal::Endpoints::getProcessorEndpoint(group(), str(checkedName(name, key, argument(key))),
                                                    prefix);
    };
    const auto stream = [&] {
        return str(checkedNonEmpty(name, QStringLiteral("STREAM"), argument("STREAM")));
    };
    const auto parameter = [&] {
        return str(checkedNonEmpty(name, QStringLiteral("PARAMETER"), argument("PARAMETER")));
    };

    Command command;
    command.name = name;
    command.xml = arguments.xml;
    if (name == QLatin1String("groups")) {
        command.destination = zal::Endpoints::getGroupManagerEndpoint(prefix);
        command.request = ControlMessageHelper::makeQueryProcessorGroupsMessage();
        command.presentation = Presentation::CommaList;
    } else if (name == QLatin1String("create-group") || name == QLatin1String("delete-group")) {
        command.destination = zal::Endpoints::getGroupManagerEndpoint(prefix);
        command.request = name == QLatin1String("create-group")
                              ? ControlMessageHelper::makeCreateProcessorGroupMessage(group())
                              : ControlMessageHelper::makeDeleteProcessorGroupMessage(group());
    } else if (name == QLatin1String("processors")) {
        command.destination = zal::Endpoints::getGroupEndpoint(group(), prefix);
        command.request = ControlMessageHelper::makeQueryProcessorsMessage();
        command.presentation = Presentation::CommaList;
    } else if (name == QLatin1String("create")) {
        command.destination = zal::Endpoints::getGroupEndpoint(group(), prefix);
        const QString processorName = checkedName(name, QStringLiteral("NAME"), argument("NAME"));
        const QString type = checkedNonEmpty(name, QStringLiteral("TYPE"), argument("TYPE"));
        command.request = ControlMessageHelper::makeCreateProcessorMessage(str(type), str(processorName),
                                                                           parseConfiguration(arguments));
    } else if (name == QLatin1String("delete")) {
        command.destination = zal::Endpoints::getGroupEndpoint(group(), prefix);
        command.request = ControlMessageHelper::makeDeleteProcessorMessage(
            str(checkedName(name, QStringLiteral("NAME"), argument("NAME"))));
    } else if (name == QLatin1String("connect")) {
        command.destination = processorAt(QStringLiteral("PROCESSOR"));
        const QString named = arguments.single(QStringLiteral("--stream-name"), name);
        if (arguments.named.contains(QStringLiteral("STREAM")) ==
            arguments.has(QStringLiteral("--stream-name"))) {
            fail(QStringLiteral("connect: give the stream name either as STREAM or as --stream-name, once."));
        }
        command.streamName =
            checkedNonEmpty(name, QStringLiteral("STREAM"),
                            arguments.has(QStringLiteral("--stream-name")) ? named : argument("STREAM"));
        for (const auto& [option, value] : arguments.options) {
            if (option == QLatin1String("--filter")) {
                command.filters.push_back(str(checkedNonEmpty(name, QStringLiteral("--filter"), value)));
            }
        }
        if (arguments.has(QStringLiteral("--address"))) {
            const QString address = checkedNonEmpty(name, QStringLiteral("--address"),
                                                    arguments.single(QStringLiteral("--address"), name));
            command.request = ControlMessageHelper::makeConnectStreamMessage(str(command.streamName),
                                                                             str(address), command.filters);
        } else {
            command.resolveAt = zal::Endpoints::getNameServiceEndpoint(group(), prefix);
            command.request = ControlMessageHelper::makeResolveStreamMessage(str(command.streamName));
        }
    } else if (name == QLatin1String("start") || name == QLatin1String("stop")) {
        command.destination = processorAt(QStringLiteral("PROCESSOR"));
        command.request = name == QLatin1String("start")
                              ? ControlMessageHelper::makeStartStreamMessage(stream())
                              : ControlMessageHelper::makeStopStreamMessage(stream());
    } else if (name == QLatin1String("set")) {
        command.destination = processorAt(QStringLiteral("PROCESSOR"));
        command.request = ControlMessageHelper::makeSetParameterMessage(parameter(), str(argument("VALUE")));
    } else if (name == QLatin1String("get")) {
        command.destination = processorAt(QStringLiteral("PROCESSOR"));
        command.request = ControlMessageHelper::makeGetParameterMessage(parameter());
        command.presentation = Presentation::Value;
    } else if (name == QLatin1String("list")) {
        command.destination = processorAt(QStringLiteral("PROCESSOR"));
        command.request = ControlMessageHelper::makeGetParameterListMessage();
        command.presentation = Presentation::CommaList;
    } else if (name == QLatin1String("record")) {
        command.destination = processorAt(QStringLiteral("PROCESSOR"));
        command.request = ControlMessageHelper::makeStartNewRecordingMessage(str(argument("VALUE")));
        command.presentation = Presentation::Value;
    } else if (name == QLatin1String("sources") || name == QLatin1String("streams")) {
        command.destination = processorAt(QStringLiteral("PROCESSOR"));
        const bool sources = name == QLatin1String("sources");
        command.request = sources ? ControlMessageHelper::makeQuerySourcesMessage()
                                  : ControlMessageHelper::makeQueryStreamsMessage();
        command.presentation = sources ? Presentation::DataSources : Presentation::DataStreams;
    } else {
        command.destination = zal::Endpoints::getNameServiceEndpoint(group(), prefix);
        if (name == QLatin1String("register")) {
            std::vector<std::string> addresses;
            for (const QString& address : QStringList{argument("ADDR")} + arguments.rest) {
                addresses.push_back(str(checkedNonEmpty(name, QStringLiteral("ADDR"), address)));
            }
            command.request = ControlMessageHelper::makeRegisterStreamMessage(
                stream(), str(checkedName(name, QStringLiteral("PROCESSOR"), argument("PROCESSOR"))),
                addresses);
        } else if (name == QLatin1String("deregister")) {
            command.request = ControlMessageHelper::makeDeregisterStreamMessage(stream());
        } else {
            command.request = ControlMessageHelper::makeResolveStreamMessage(stream());
            command.presentation = Presentation::ResolvedName;
        }
    }
    return command;
}

}  // namespace zaltools
