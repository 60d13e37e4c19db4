// From words to requests: destinations, message fields, processor configurations and usage errors.
#include <gtest/gtest.h>

#include "support/qtprinters.h"
#include "zaltools/commandparser.h"

using namespace zaltools;
using Message = zalmsg::ControlMessage;
using Type = zalmsg::ControlMessage::MessageType;

namespace {

Command parse(const QString& line, const std::string& prefix = "inproc://zal") {
    return CommandParser(prefix).parse(line.split(' ', Qt::SkipEmptyParts));
}

// The usage error's text, or a failure when the words parse.
std::string usageError(const QStringList& words) {
    try {
        CommandParser("inproc://zal").parse(words);
    } catch (const UsageError& e) {
        return e.what();
    }
    ADD_FAILURE() << "parsed: " << words.join(' ').toStdString();
    return {};
}
std::string usageError(const QString& line) {
    return usageError(line.split(' ', Qt::SkipEmptyParts));
}

}  // namespace

TEST(CommandParser, AddressesEachCommandToItsService) {
    struct Case {
        QString line;
        std::string destination;
        int type;
        Presentation presentation;
    };
    const Case cases[] = {
        {"groups", "inproc://zal", Type::QueryGroups, Presentation::CommaList},
        {"create-group g1", "inproc://zal", Type::CreateGroup, Presentation::Nothing},
        {"delete-group g1", "inproc://zal", Type::DeleteGroup, Presentation::Nothing},
        {"processors g1", "inproc://zal/g1", Type::QueryProcessors, Presentation::CommaList},
        {"create g1 p demo.Generator", "inproc://zal/g1", Type::Create, Presentation::Nothing},
        {"delete g1 p", "inproc://zal/g1", Type::Delete, Presentation::Nothing},
        {"connect g1 p s --address inproc://x", "inproc://zal/g1/p", Type::Connect, Presentation::Nothing},
        {"start g1 p s", "inproc://zal/g1/p", Type::Start, Presentation::Nothing},
        {"stop g1 p s", "inproc://zal/g1/p", Type::Stop, Presentation::Nothing},
        {"set g1 p rate 10", "inproc://zal/g1/p", Type::SetParameter, Presentation::Nothing},
        {"get g1 p rate", "inproc://zal/g1/p", Type::GetParameter, Presentation::Value},
        {"list g1 p", "inproc://zal/g1/p", Type::GetParameterList, Presentation::CommaList},
        {"record g1 p", "inproc://zal/g1/p", Type::StartNewRecording, Presentation::Value},
        {"sources g1 p", "inproc://zal/g1/p", Type::QuerySources, Presentation::DataSources},
        {"streams g1 p", "inproc://zal/g1/p", Type::QueryStreams, Presentation::DataStreams},
        {"register g1 s p inproc://a", "inproc://zal/g1/nameservice", Type::RegisterStream,
         Presentation::Nothing},
        {"deregister g1 s", "inproc://zal/g1/nameservice", Type::DeregisterStream, Presentation::Nothing},
        {"resolve g1 s", "inproc://zal/g1/nameservice", Type::ResolveStream, Presentation::ResolvedName},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line.toStdString());
        EXPECT_TRUE(CommandParser::isCommand(c.line.section(' ', 0, 0)));
        const Command command = parse(c.line);
        EXPECT_EQ(command.name, c.line.section(' ', 0, 0));
        EXPECT_EQ(command.destination, c.destination);
        EXPECT_EQ(command.request.GetMessageType(), c.type);
        EXPECT_EQ(command.presentation, c.presentation);
        EXPECT_TRUE(command.resolveAt.empty());
        EXPECT_FALSE(command.xml);
        EXPECT_TRUE(CommandParser::synopsis().contains(c.line.section(' ', 0, 0) + ' ') ||
                    CommandParser::synopsis().contains(c.line.section(' ', 0, 0) + '\n'));
    }
    EXPECT_FALSE(CommandParser::isCommand("watch"));
    EXPECT_EQ(parse("streams g p", "inproc://other").destination, "inproc://other/g/p");
}

TEST(CommandParser, CarriesEveryArgumentIntoTheRequest) {
    EXPECT_EQ(parse("create-group g1").request.GetGroupName(), "g1");
    EXPECT_EQ(parse("delete g1 gen").request.GetProcessorName(), "gen");
    EXPECT_EQ(parse("start g1 p out").request.GetStreamName(), "out");
    EXPECT_EQ(parse("stop g1 p out").request.GetStreamName(), "out");
    const Message set = parse("set g1 p rate -5").request;
    EXPECT_EQ(set.GetParameterName(), "rate");
    EXPECT_EQ(set.GetParameter(), "-5");
    EXPECT_EQ(CommandParser("inproc://zal").parse({"set", "g1", "p", "text", ""}).request.GetParameter(), "");
    EXPECT_EQ(parse("get g1 p rate").request.GetParameterName(), "rate");
    EXPECT_EQ(parse("record g1 p").request.GetParameter(), "");
    EXPECT_EQ(parse("record g1 p next.rec").request.GetParameter(), "next.rec");
    const Message registered = parse("register g1 s p inproc://a tcp://h:1").request;
    EXPECT_EQ(registered.GetStreamName(), "s");
    EXPECT_EQ(registered.GetProcessorName(), "p");
    EXPECT_EQ(registered.GetStreamAddresses(), (QVector<QString>{"inproc://a", "tcp://h:1"}));
    EXPECT_EQ(parse("resolve g1 s").request.GetStreamName(), "s");

    // "--" lets a value that looks like an option through; --xml may stand anywhere.
    const Command dashed = parse("set g1 p --xml -- name --value");
    EXPECT_TRUE(dashed.xml);
    EXPECT_EQ(dashed.request.GetParameterName(), "name");
    EXPECT_EQ(dashed.request.GetParameter(), "--value");
}

TEST(CommandParser, BuildsProcessorConfigurationsFromStreamAndSourceOptions) {
    const Message create = parse(
                               "create g1 rec demo.Recorder --stream out=tcp://127.0.0.1:*,inproc://rec/out "
                               "--stream=log=ipc:///tmp/log --source tcp://127.0.0.1:6000:t1:t2 "
                               "--source=inproc://gen/out --source tcp://[::1]:7000:x --source inproc://a:f")
                               .request;
    EXPECT_EQ(create.GetProcessorType(), "demo.Recorder");
    EXPECT_EQ(create.GetProcessorName(), "rec");
    const zalmsg::Processor config = create.GetProcessor();
    ASSERT_EQ(config.GetDataStream().size(), 2);
    EXPECT_EQ(config.GetDataStream()[0].GetName(), "out");
    EXPECT_EQ(config.GetDataStream()[0].GetAddress(),
              (QVector<QString>{"tcp://127.0.0.1:*", "inproc://rec/out"}));
    EXPECT_EQ(config.GetDataStream()[1].GetName(), "log");
    EXPECT_EQ(config.GetDataStream()[1].GetAddress(), QVector<QString>{"ipc:///tmp/log"});
    ASSERT_EQ(config.GetDataSource().size(), 4);
    EXPECT_EQ(config.GetDataSource()[0].GetAddress(), "tcp://127.0.0.1:6000");
    EXPECT_EQ(config.GetDataSource()[0].GetFilter(), (QVector<QString>{"t1", "t2"}));
    EXPECT_EQ(config.GetDataSource()[1].GetAddress(), "inproc://gen/out");
    EXPECT_TRUE(config.GetDataSource()[1].GetFilter().isEmpty());
    EXPECT_EQ(config.GetDataSource()[2].GetAddress(), "tcp://[::1]:7000");
    EXPECT_EQ(config.GetDataSource()[2].GetFilter(), QVector<QString>{"x"});
    EXPECT_EQ(config.GetDataSource()[3].GetAddress(), "inproc://a");
    EXPECT_EQ(config.GetDataSource()[3].GetFilter(), QVector<QString>{"f"});

    EXPECT_FALSE(parse("create g1 p demo.Counter").request.GetProcessor().AnyData());
}

TEST(CommandParser, ConnectsByAddressOrByStreamNameResolvedFirst) {
    const Command byAddress =
        parse("connect g1 counter --stream-name out --address=tcp://h:1 --filter t1 --filter=t2");
    EXPECT_TRUE(byAddress.resolveAt.empty());
    EXPECT_EQ(byAddress.request.GetStreamName(), "out");
    EXPECT_EQ(byAddress.request.GetStreamAddress(), "tcp://h:1");
    EXPECT_EQ(byAddress.request.GetMessageFilter(), (QVector<QString>{"t1", "t2"}));

    for (const QString& line : {QString("connect g1 counter --stream-name out --filter t1"),
                                QString("connect g1 counter out --filter t1")}) {
        SCOPED_TRACE(line.toStdString());
        const Command byName = parse(line);
        EXPECT_EQ(byName.resolveAt, "inproc://zal/g1/nameservice");
        EXPECT_EQ(byName.destination, "inproc://zal/g1/counter");
        EXPECT_EQ(byName.request.GetMessageType(), Type::ResolveStream);
        EXPECT_EQ(byName.request.GetStreamName(), "out");
        EXPECT_EQ(byName.streamName, "out");
        EXPECT_EQ(byName.filters, std::vector<std::string>{"t1"});
    }
}

TEST(CommandParser, RefusesMistakesWithReasons) {
    EXPECT_EQ(usageError(QStringList{}), "No command given.");
    EXPECT_EQ(usageError("explode g1"), "Unknown command 'explode'.");
    EXPECT_EQ(usageError("groups --all"), "groups: unknown option '--all'.");
    EXPECT_EQ(usageError("create-group"), "create-group: missing GROUP. Usage: create-group GROUP");
    EXPECT_EQ(usageError("set g1 p rate"), "set: missing VALUE. Usage: set GROUP PROCESSOR PARAMETER VALUE");
    EXPECT_EQ(usageError("delete g1 p extra"),
              "delete: unexpected argument 'extra'. Usage: delete GROUP NAME");
    EXPECT_EQ(usageError(QStringList{"processors", ""}), "processors: GROUP must not be empty.");
    EXPECT_EQ(usageError("processors a/b"), "processors: GROUP 'a/b' must not contain '/'.");
    EXPECT_EQ(usageError("get g1 x/y rate"), "get: PROCESSOR 'x/y' must not contain '/'.");
    EXPECT_EQ(usageError(QStringList{"get", "g1", "p", ""}), "get: PARAMETER must not be empty.");
    EXPECT_EQ(usageError(QStringList{"start", "g1", "p", ""}), "start: STREAM must not be empty.");
    EXPECT_EQ(usageError("create g1 p T --stream"), "create: option --stream needs a value.");
    EXPECT_EQ(usageError("create g1 p T --stream out"), "create: --stream 'out' is not NAME=ADDR[,ADDR...].");
    EXPECT_EQ(usageError("create g1 p T --stream =inproc://a"),
              "create: --stream '=inproc://a' is not NAME=ADDR[,ADDR...].");
    EXPECT_EQ(usageError("create g1 p T --stream out=inproc://a,"),
              "create: --stream 'out=inproc://a,' has an empty address.");
    EXPECT_EQ(usageError("create g1 p T --stream out=inproc://a --stream out=inproc://b"),
              "create: --stream out is given twice.");
    EXPECT_NE(usageError("create g1 p T --source 6000").find("is not ADDR[:FILTER...]"), std::string::npos);
    EXPECT_NE(usageError("create g1 p T --source tcp://host").find("is not ADDR[:FILTER...]"),
              std::string::npos);
    EXPECT_EQ(usageError("create g1 p T --source tcp://h:1:a::b"),
              "create: --source 'tcp://h:1:a::b' has an empty filter.");
    EXPECT_EQ(usageError("create g1 p T --source tcp://h:1:a --source tcp://h:1:b"),
              "create: --source tcp://h:1 is given twice.");
    EXPECT_EQ(usageError("connect g1 p"),
              "connect: give the stream name either as STREAM or as --stream-name, once.");
    EXPECT_EQ(usageError("connect g1 p s --stream-name s"),
              "connect: give the stream name either as STREAM or as --stream-name, once.");
    EXPECT_EQ(usageError("connect g1 p s --address a --address b"),
              "connect: option --address may be given only once.");
    EXPECT_EQ(usageError("connect g1 p s --filter="), "connect: --filter must not be empty.");
    EXPECT_EQ(usageError("start g1 p s --filter t"), "start: unknown option '--filter'.");
    EXPECT_EQ(usageError("register g1 s p"),
              "register: missing ADDR. Usage: register GROUP STREAM PROCESSOR ADDR [ADDR...]");
}
