// The configuration stand-in: where it looks, what it refuses, and defaults.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "zal/platform/applicationdirectory.h"
#include "zal/platform/icfg.h"

namespace {

void writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
}

struct ConfigEnvironment : ::testing::Test {
    void SetUp() override { qunsetenv("ZAL_CONFIG"); }
    void TearDown() override { qunsetenv("ZAL_CONFIG"); }
    QTemporaryDir dir;
};

}  // namespace

TEST_F(ConfigEnvironment, ExplicitFileIsReadAndAMissingOneRefused) {
    const QString path = dir.filePath("zal.ini");
    writeFile(path, "EnvironmentAddress=tcp://127.0.0.1:5555\nRetries=7\nFlag=off\n");
    qputenv("ZAL_CONFIG", path.toLocal8Bit());
    auto cfg = CfgCenter::CreateCfg("anything", 2, "");
    ASSERT_TRUE(cfg);
    EXPECT_EQ(cfg->source(), path);
    EXPECT_EQ(cfg->readString("EnvironmentAddress", "x"), "tcp://127.0.0.1:5555");
    EXPECT_EQ(cfg->readString("Missing", "fallback"), "fallback");
    EXPECT_EQ(cfg->readInt("Retries", 1), 7);
    EXPECT_EQ(cfg->readInt("EnvironmentAddress", 3), 3) << "a non-number falls back";
    EXPECT_FALSE(cfg->readBool("Flag", true));
    EXPECT_TRUE(cfg->readBool("Unset", true));

    qputenv("ZAL_CONFIG", dir.filePath("absent.ini").toLocal8Bit());
    EXPECT_FALSE(CfgCenter::CreateCfg("anything", 2, ""));
    qputenv("ZAL_CONFIG", dir.path().toLocal8Bit());
    EXPECT_FALSE(CfgCenter::CreateCfg("anything", 2, "")) << "a directory is not a configuration";
}

TEST_F(ConfigEnvironment, InstanceFileBesideTheProgramElseDefaults) {
    const QString name = QStringLiteral("cfgtest-%1").arg(QCoreApplication::applicationPid());
    auto empty = CfgCenter::CreateCfg(name, 2, "");
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->source().isEmpty());
    EXPECT_EQ(empty->readString("EnvironmentAddress", "default"), "default");

    const QString beside = QDir(zal::applicationDirectory()).filePath(name + ".ini");
    writeFile(beside, "EnvironmentAddress=inproc://beside\n");
    auto cfg = CfgCenter::CreateCfg(name, 2, "");
    QFile::remove(beside);
    ASSERT_TRUE(cfg);
    EXPECT_EQ(cfg->readString("EnvironmentAddress", "default"), "inproc://beside");
}

TEST_F(ConfigEnvironment, HostDefaultsStandBetweenTheFileAndTheReadersDefault) {
    CfgCenter::SetDefault("HostDefaultFlag", "true");
    CfgCenter::SetDefault("HostDefaultCount", "5");
    const QString path = dir.filePath("zal.ini");
    writeFile(path, "HostDefaultCount=9\n");
    qputenv("ZAL_CONFIG", path.toLocal8Bit());
    auto cfg = CfgCenter::CreateCfg("anything", 2, "");
    ASSERT_TRUE(cfg);
    EXPECT_TRUE(cfg->readBool("HostDefaultFlag", false)) << "the host's default, not the reader's";
    EXPECT_EQ(cfg->readInt("HostDefaultCount", 1), 9) << "the file's own value wins";
    EXPECT_EQ(cfg->readString("NoDefaultAnywhere", "reader"), "reader");

    const QString explicitOff = dir.filePath("off.ini");
    writeFile(explicitOff, "HostDefaultFlag=off\n");
    qputenv("ZAL_CONFIG", explicitOff.toLocal8Bit());
    cfg = CfgCenter::CreateCfg("anything", 2, "");
    EXPECT_FALSE(cfg->readBool("HostDefaultFlag", true)) << "an explicit off wins over the host's on";

    qunsetenv("ZAL_CONFIG");
    auto empty =
        CfgCenter::CreateCfg(QStringLiteral("nofile-%1").arg(QCoreApplication::applicationPid()), 2, "");
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->readInt("HostDefaultCount", 1), 5);
}

TEST_F(ConfigEnvironment, Z85TextReadsBackUnchangedInDoubleQuotes) {
    // Every punctuation character of Z85, among them INI's comment and list characters.
    const QString text = QStringLiteral("Ab9.-:+=^!/*?&<>()[]{}@%$#");
    const QString path = dir.filePath("keys.ini");
    writeFile(path, "Quoted=\"" + text.toUtf8() + "\"\n");
    qputenv("ZAL_CONFIG", path.toLocal8Bit());
    auto cfg = CfgCenter::CreateCfg("anything", 2, "");
    ASSERT_TRUE(cfg);
    EXPECT_EQ(cfg->readString("Quoted", QString()), text);
}

TEST_F(ConfigEnvironment, AMalformedLineRefusesTheFileAndAnOverrideWinsOverIt) {
    const QString path = dir.filePath("zal.ini");
    qputenv("ZAL_CONFIG", path.toLocal8Bit());
    QString text;
    const std::pair<QByteArray, int> files[] = {
        {"; comment\n\n[General]\nKey = a \\\n  continued\nOther=\n", 0},
        {"Key=1\n[\n", 2},
        {"Key=1\nno equals sign\n", 2},
        {"# note=1\n", 1},
        {"=1\n", 1},
    };
    for (const auto& [content, line] : files) {
        writeFile(path, content);
        EXPECT_EQ(CfgCenter::FindMalformedLine(path, text), line) << content.toStdString();
        EXPECT_EQ(CfgCenter::CreateCfg("anything", 2, "") == nullptr, line != 0) << content.toStdString();
    }
    writeFile(path, "Key=1\nno equals sign\n");
    CfgCenter::FindMalformedLine(path, text);
    EXPECT_EQ(text, "no equals sign");

    writeFile(path, "OverriddenKey=file\nUnknown=1\n");
    CfgCenter::SetOverride("OverriddenKey", "command line");
    auto cfg = CfgCenter::CreateCfg("anything", 2, "");
    ASSERT_TRUE(cfg);
    EXPECT_EQ(cfg->readString("OverriddenKey", "reader"), "command line");
    EXPECT_EQ(cfg->keys(), (QStringList{"OverriddenKey", "Unknown"}));
}
