// The configuration stand-in: where it looks, what it refuses, and defaults.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "support/program.h"
#include "zal/platform/applicationdirectory.h"
#include "zal/platform/icfg.h"

using zaltest::writeFile;

namespace {

struct ConfigEnvironment : ::testing::Test {
    void SetUp() override { qunsetenv("ZAL_CONFIG"); }
    void TearDown() override { qunsetenv("ZAL_CONFIG"); }
    // The configuration ZAL_CONFIG names, after writing `content` there.
    std::unique_ptr<ICfg> configured(const QString& name, const QByteArray& content) {
        writeFile(dir.filePath(name), content);
        qputenv("ZAL_CONFIG", dir.filePath(name).toLocal8Bit());
        return CfgCenter::CreateCfg("anything", 2, "");
    }
    QTemporaryDir dir;
};

}  // namespace

TEST_F(ConfigEnvironment, ExplicitFileIsReadAndAMissingOneRefused) {
    // Every punctuation character of Z85, among them INI's comment and list characters, in quotes.
    const QString z85 = QStringLiteral("Ab9.-:+=^!/*?&<>()[]{}@%$#");
    auto cfg = configured(
        "zal.ini", "Address=tcp://127.0.0.1:5555\nRetries=7\nFlag=off\nQuoted=\"" + z85.toUtf8() + "\"\n");
    ASSERT_TRUE(cfg);
    EXPECT_EQ(cfg->source(), dir.filePath("zal.ini"));
    EXPECT_EQ(cfg->readString("Address", "x"), "tcp://127.0.0.1:5555");
    EXPECT_EQ(cfg->readString("Missing", "fallback"), "fallback");
    EXPECT_EQ(cfg->readInt("Retries", 1), 7);
    EXPECT_EQ(cfg->readInt("Address", 3), 3) << "a non-number falls back";
    EXPECT_FALSE(cfg->readBool("Flag", true));
    EXPECT_TRUE(cfg->readBool("Unset", true));
    EXPECT_EQ(cfg->readString("Quoted", QString()), z85);

    qputenv("ZAL_CONFIG", dir.filePath("absent.ini").toLocal8Bit());
    EXPECT_FALSE(CfgCenter::CreateCfg("anything", 2, ""));
    qputenv("ZAL_CONFIG", dir.path().toLocal8Bit());
    EXPECT_FALSE(CfgCenter::CreateCfg("anything", 2, "")) << "a directory is not a configuration";
}

TEST_F(ConfigEnvironment, InstanceFileBesideTheProgramElseTheHostsDefaultsElseTheReaders) {
    CfgCenter::SetDefault("HostDefaultFlag", "true");
    CfgCenter::SetDefault("HostDefaultCount", "5");
    const QString name = QStringLiteral("cfgtest-%1").arg(QCoreApplication::applicationPid());
    auto empty = CfgCenter::CreateCfg(name, 2, "");
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->source().isEmpty());
    EXPECT_EQ(empty->readInt("HostDefaultCount", 1), 5);
    EXPECT_EQ(empty->readString("NoDefaultAnywhere", "reader"), "reader");

    const QString beside = QDir(zal::applicationDirectory()).filePath(name + ".ini");
    writeFile(beside, "HostDefaultCount=9\n");
    auto cfg = CfgCenter::CreateCfg(name, 2, "");
    QFile::remove(beside);
    ASSERT_TRUE(cfg);
    EXPECT_EQ(cfg->readInt("HostDefaultCount", 1), 9) << "the file's own value wins";
    EXPECT_TRUE(cfg->readBool("HostDefaultFlag", false)) << "the host's default, not the reader's";
    EXPECT_FALSE(configured("off.ini", "HostDefaultFlag=off\n")->readBool("HostDefaultFlag", true))
        << "an explicit off wins over the host's on";
}

TEST_F(ConfigEnvironment, AMalformedLineRefusesTheFileAndAnOverrideWinsOverIt) {
    const QString path = dir.filePath("zal.ini");
    qputenv("ZAL_CONFIG", path.toLocal8Bit());
    QString text;
    const std::pair<QByteArray, int> files[] = {
        {"; comment\n\n[General]\nKey = a \\\n  continued\nOther=\n", 0},
        {"Key=1\n[\n", 2},
        {"# note=1\n", 1},
        {"=1\n", 1},
        {"Key=1\nno equals sign\n", 2},
    };
    for (const auto& [content, line] : files) {
        writeFile(path, content);
        EXPECT_EQ(CfgCenter::FindMalformedLine(path, text), line) << content.toStdString();
        EXPECT_EQ(CfgCenter::CreateCfg("anything", 2, "") == nullptr, line != 0) << content.toStdString();
    }
    EXPECT_EQ(text, "no equals sign") << "the last malformed line's text";

    writeFile(path, "OverriddenKey=file\nUnknown=1\n");
    CfgCenter::SetOverride("OverriddenKey", "command line");
    auto cfg = CfgCenter::CreateCfg("anything", 2, "");
    ASSERT_TRUE(cfg);
    EXPECT_EQ(cfg->readString("OverriddenKey", "reader"), "command line");
    EXPECT_EQ(cfg->keys(), (QStringList{"OverriddenKey", "Unknown"}));
}
