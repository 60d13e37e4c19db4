// The plug-in manager: the built-in bridge, plug-in libraries loaded from disk, registration, lookup order.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "support/program.h"
#include "support/tracecapture.h"
#include "zal/processors/plugin.h"
#include "zal/processors/pluginmanager.h"
#include "zal/processors/processorinfo.h"
#include "zal/processors/qtbridge.h"
#include "zal/transport/constants.h"

using namespace zal;

namespace {

ProcessorInfo info(const std::string& type, const std::string& name = "p") {
    return ProcessorInfo(zalmsg::Processor(), type, name, "g", internalAddressPrefixDefault);
}

std::unique_ptr<ProcessorBase> create(const PluginManager& manager, const std::string& type,
                                      const std::string& name = "p") {
    return std::unique_ptr<ProcessorBase>(manager.createProcessor(info(type, name)));
}

QStringList names(const QList<Plugin*>& plugins) {
    QStringList result;
    for (const Plugin* plugin : plugins) {
        result << plugin->getName();
    }
    return result;
}

const QString traceOfFailedLoad = QStringLiteral("impl\\pluginmanager:113 Could not load plugin: ");

// The traces of loads that failed; a create that no plug-in serves adds a trace of its own.
QStringList failedLoads(const zaltest::TraceCapture& trace) {
    return trace.lines().filter(QRegularExpression("^" + QRegularExpression::escape(traceOfFailedLoad)));
}

// A plug-in made by the host program itself, with whatever name and types a test needs.
class LocalPlugin : public Plugin {
public:
    LocalPlugin(QString name, QStringList types) : name(std::move(name)), types(std::move(types)) {}
    QString getName() const override { return name; }
    QStringList getProcessorTypes() const override { return types; }

private:
    QString name;
    QStringList types;
};

}  // namespace

TEST(PluginManager, CreatesTheBridgeWithoutLoadingAndLoadsALibraryOnFirstUse) {
    zaltest::TraceCapture trace;
    PluginManager manager;
    for (const char* type : {"QtBridge", "base.QtBridge"}) {
        const auto processor = create(manager, type, "b");
        EXPECT_NE(dynamic_cast<QtBridge*>(processor.get()), nullptr) << type;
    }
    // The plug-in is found by name, but compares everything right of the first full stop.
    EXPECT_EQ(manager.getPlugin("base.QtBridge.x")->getName(), "base");
    // Bare types are looked up only among known plug-ins, exactly.
    for (const char* type : {"base.QtBridge.x", "base.Echo", "qtbridge", "Echo"}) {
        EXPECT_EQ(create(manager, type), nullptr) << type;
    }
    EXPECT_EQ(names(manager.getPlugins()), QStringList{"base"});
    EXPECT_TRUE(failedLoads(trace).isEmpty()) << trace.lines().join('\n').toStdString();

    const auto echo = create(manager, "testplugin.Echo", "echo");
    ASSERT_NE(echo, nullptr);
    EXPECT_EQ(echo->getEndpointString(), "inproc://zal/g/echo");
    EXPECT_NE(create(manager, "testplugin.Echo"), nullptr);
    EXPECT_EQ(names(manager.getPlugins()), (QStringList{"base", "testplugin"})) << "loaded once";
    EXPECT_EQ(manager.getPlugin("Echo"), manager.getPlugins().last())
        << "once known, its bare types are found";
    EXPECT_EQ(create(manager, "testplugin.QtBridge"), nullptr) << "the plug-in itself declines";
}

TEST(PluginManager, AMissingOrBrokenLibraryGivesNullAndATraceEveryTime) {
    zaltest::TraceCapture trace;
    PluginManager manager;
    EXPECT_EQ(create(manager, "nosuchplugin.Echo"), nullptr);
    EXPECT_EQ(create(manager, "nosuchplugin.Echo"), nullptr);
    ASSERT_EQ(failedLoads(trace).size(), 2) << "a failed load is not remembered";
    EXPECT_TRUE(failedLoads(trace).at(1).startsWith(traceOfFailedLoad + "The shared library was not found."))
        << "the loader's reason follows: " << failedLoads(trace).at(1).toStdString();

    QTemporaryDir directory;
    zaltest::writeFile(directory.filePath("broken.so"), "not a shared library");
    PluginManager withBroken(QStringList{directory.path()});
    EXPECT_EQ(withBroken.getPlugin("broken.Echo"), nullptr);
    QString reason;
    EXPECT_EQ(withBroken.createProcessor(info("broken.Echo"), reason), nullptr);
    EXPECT_TRUE(reason.contains(directory.filePath("broken.so")) && !reason.startsWith("no plug-in library"))
        << "a library that is there but does not load gives the loader's error: " << reason.toStdString();
    const qsizetype traced = trace.lines().size();
    EXPECT_EQ(failedLoads(trace).size(), 4);
    EXPECT_EQ(names(withBroken.getPlugins()), QStringList{"base"});

    ErrorHandler::setTraceMask(ErrorHandler::getTraceMask() & ~ErrorHandler::TraceBit);
    EXPECT_EQ(create(manager, "nosuchplugin.Echo"), nullptr);
    EXPECT_EQ(trace.lines().size(), traced) << "silent without the trace bit";
}

TEST(PluginManager, SearchesExtraDirectoriesAndThePluginPathAfterTheApplicationDirectory) {
    PluginManager plain;
    EXPECT_EQ(plain.getPlugin("extraplugin.Echo"), nullptr);

    const QString extra = QCoreApplication::applicationDirPath() + "/extra-plugins";
    PluginManager withExtra(QStringList{extra});
    EXPECT_NE(create(withExtra, "extraplugin.Echo"), nullptr);
    EXPECT_EQ(names(withExtra.getPlugins()), (QStringList{"base", "extraplugin"}));

    qputenv("ZAL_PLUGIN_PATH", "/nonexistent::" + extra.toLocal8Bit());
    EXPECT_NE(PluginManager().getPlugin("extraplugin.Echo"), nullptr);
    qunsetenv("ZAL_PLUGIN_PATH");
}

TEST(PluginManager, RegistersOnlyNewNamesAndKeepsThemOwnedByTheCaller) {
    zaltest::TraceCapture trace;
    // Declared before the manager, so a manager that deleted them would be caught freeing twice.
    LocalPlugin impostor("base", {"Impostor"});
    LocalPlugin local("local", {"Local", "QtBridge"});
    LocalPlugin again("local", {"Again"});
    PluginManager manager;

    EXPECT_FALSE(manager.registerPlugin(nullptr));
    EXPECT_FALSE(manager.registerPlugin(&impostor));
    EXPECT_TRUE(manager.registerPlugin(&local));
    EXPECT_FALSE(manager.registerPlugin(&again)) << "the first registration wins";
    EXPECT_EQ(names(manager.getPlugins()), (QStringList{"base", "local"}));

    EXPECT_EQ(manager.getPlugin("Local"), &local);
    EXPECT_EQ(manager.getPlugin("Impostor"), nullptr);
    EXPECT_EQ(manager.getPlugin("QtBridge")->getName(), "base") << "plug-ins are asked in order";
    EXPECT_EQ(manager.getPlugin("local.Anything"), &local);
    EXPECT_EQ(create(manager, "Local"), nullptr) << "a plug-in that does not create declines";
    EXPECT_TRUE(failedLoads(trace).isEmpty());
}
