// Configuration edits, reply results and the last-text bookkeeping of clients.
#include <gtest/gtest.h>

#include "zal/msg/configtool.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/msg/messagetextprovider.h"

using namespace zal;
using Message = zalmsg::ControlMessage;
using Result = zalmsg::ControlMessage::ResultType;

TEST(ConfigTool, SourcesAreKeyedByAddressAndFiltersAddUp) {
    zalmsg::Processor config;
    EXPECT_EQ(ConfigTool::indexOfDataSource(config, "a"), -1);
    EXPECT_FALSE(ConfigTool::addDataFilter(config, "a", {"x"})) << "no such source";
    EXPECT_TRUE(ConfigTool::addDataSource(config, "a"));
    EXPECT_TRUE(ConfigTool::addDataSource(config, "b"));
    EXPECT_FALSE(ConfigTool::addDataSource(config, "a"));
    EXPECT_EQ(ConfigTool::indexOfDataSource(config, "b"), 1);
    EXPECT_EQ(ConfigTool::indexOfDataSource(config, "B"), -1);
    const zalmsg::DataSource* source = ConfigTool::getDataSource(config, "a");
    ASSERT_NE(source, nullptr);
    EXPECT_TRUE(source->IsAddressSet());
    EXPECT_FALSE(source->IsProtocolSet());
    EXPECT_FALSE(source->IsByteOrderSet());

    EXPECT_TRUE(ConfigTool::addDataFilter(config, "a", {"x", "y"}));
    EXPECT_TRUE(ConfigTool::addDataFilter(config, "a", {"y", "z"}));
    EXPECT_EQ(ConfigTool::getDataFilter(config, "a"), (QVector<QString>{"x", "y", "z"}));
    EXPECT_FALSE(ConfigTool::addDataFilter(config, "a", {"z", "x"})) << "all present";
    EXPECT_EQ(ConfigTool::getDataFilter(config, "a").size(), 3);

    EXPECT_TRUE(ConfigTool::addDataFilter(config, "a", {}));
    EXPECT_TRUE(ConfigTool::getDataFilter(config, "a").isEmpty());
    EXPECT_FALSE(ConfigTool::getDataSource(config, "a")->IsFilterSet());
    EXPECT_TRUE(ConfigTool::getDataFilter(config, "nowhere").isEmpty());
    EXPECT_EQ(ConfigTool::getDataSource(config, "nowhere"), nullptr);
}

TEST(ConfigTool, StreamsAreKeyedByName) {
    zalmsg::Processor config = ControlMessageHelper::makeProcessorConfig("first", "inproc://1");
    zalmsg::DataStream second;
    second.SetName("second");
    config.AppendDataStream(second);

    EXPECT_EQ(ConfigTool::getDataStreams(config), (QStringList{"first", "second"}));
    EXPECT_EQ(ConfigTool::getDataStream(config, "none"), nullptr);
    EXPECT_TRUE(ConfigTool::setStreamRunning(config, "second", true));
    EXPECT_FALSE(ConfigTool::setStreamRunning(config, "third", true));
    ASSERT_NE(ConfigTool::getDataStream(config, "second"), nullptr);
    EXPECT_TRUE(ConfigTool::getDataStream(config, "second")->GetRunning());
    EXPECT_FALSE(ConfigTool::getDataStream(config, "first")->IsRunningSet());
    EXPECT_TRUE(ConfigTool::getDataStreams(zalmsg::Processor()).isEmpty());
}

TEST(ConfigTool, TextHelpers) {
    EXPECT_EQ(ConfigTool::getAddressList({"a"}, ", "), "a");
    EXPECT_EQ(ConfigTool::getAddressList({"a", "b", "c"}, ";"), "a;b;c");
    EXPECT_EQ(ConfigTool::getAddressList({}, ";"), "");
    EXPECT_EQ(
        ConfigTool::getRootElement("<?xml version='1.0'?><!-- c --><ControlMessage><x/></ControlMessage>"),
        "ControlMessage");
    EXPECT_TRUE(ConfigTool::getRootElement("no xml").isNull());
    EXPECT_TRUE(ConfigTool::getRootElement("").isNull());
}

namespace {
struct Client : MessageTextProvider {
    using MessageTextProvider::checkMessageResult;
    using MessageTextProvider::setLastMessageText;
};
}  // namespace

TEST(ConfigTool, RepliesCarryResultsThatClientsJudge) {
    Client client;
    EXPECT_EQ(client.getLastMessageText(), "");

    Message warning = ControlMessageHelper::makeGetParameterMessage("p");
    ConfigTool::setWarningMessage(warning, "careful");
    EXPECT_EQ(warning.GetResultType(), Result::Warning);
    EXPECT_FALSE(client.checkMessageResult(warning));
    EXPECT_EQ(client.getLastMessageText(), "careful");

    Message error = warning;
    ConfigTool::setErrorMessage(error, "broken");
    EXPECT_EQ(warning.GetMessageText(), "careful") << "a copy is detached before it changes";
    EXPECT_FALSE(client.checkMessageResult(error));
    EXPECT_EQ(client.getLastMessageText(), "broken");

    Message success = ControlMessageHelper::makeGetParameterMessage("p");
    ConfigTool::setResultSuccess(success, QString());
    EXPECT_TRUE(success.IsResultTypeSet());
    EXPECT_FALSE(success.GetParameter().isNull());
    EXPECT_TRUE(client.checkMessageResult(success));
    EXPECT_EQ(client.getLastMessageText(), "") << "a reply without text clears the old one";

    // No result type at all reads as its default, "Success".
    client.setLastMessageText("old");
    EXPECT_TRUE(client.checkMessageResult(ControlMessageHelper::makeQuerySourcesMessage()));
    EXPECT_EQ(client.getLastMessageText(), "");

    ConfigTool::setResultSuccess(error);
    EXPECT_TRUE(client.checkMessageResult(error));
    EXPECT_EQ(client.getLastMessageText(), "broken") << "success keeps a text that is set";
}
