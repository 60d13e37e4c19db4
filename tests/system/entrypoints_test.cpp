// libzal as a host sees it: dlopen, the two C entry points, Execute and Shutdown.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "support/frontendclient.h"
#include "support/qtprinters.h"
#include "support/tracecapture.h"
#include "zal/host/environment.h"
#include "zal/host/environmentdll.h"
#include "zal/platform/applicationdirectory.h"
#include "zal/platform/idllinstance.h"
#include "zal/transport/constants.h"

using namespace zal;

namespace {

using Create = IDllInstance* (*)(const wchar_t*);
using Destroy = void (*)(IDllInstance*);

// The library as the host program finds it: by path, through the dynamic loader.
struct LoadedLibrary {
    void* handle = dlopen((applicationDirectory() + "/libzal.so").toLocal8Bit().constData(), RTLD_NOW);
    Create create = handle ? reinterpret_cast<Create>(dlsym(handle, "QVCreate")) : nullptr;
    Destroy destroy = handle ? reinterpret_cast<Destroy>(dlsym(handle, "QVDestroy")) : nullptr;
    ~LoadedLibrary() {
        if (handle != nullptr) {
            dlclose(handle);
        }
    }
};

// Groups can be listed through the frontend: the environment behind it runs.
void expectServing(const std::string& frontend) {
    zaltest::FrontendClient client(frontend);
    const auto reply =
        client.request(internalAddressPrefixDefault, ControlMessageHelper::makeQueryProcessorGroupsMessage());
    EXPECT_EQ(reply.GetResultType(), zalmsg::ControlMessage::ResultType::Success) << frontend;
}

struct EntryPoints : ::testing::Test {
    void SetUp() override { qunsetenv("ZAL_CONFIG"); }
    void TearDown() override { qunsetenv("ZAL_CONFIG"); }
    LoadedLibrary library;
    QTemporaryDir dir;
};

}  // namespace

// zal-host runs the entry points once; a host may run them again, and must find them idempotent.
TEST_F(EntryPoints, ExecuteAndShutdownTwiceWithAndWithoutTheKey) {
    ASSERT_TRUE(library.create && library.destroy) << dlerror();
    library.destroy(nullptr);
    IDllInstance* instance = library.create(L"zaltest-instance");
    auto* environmentDll = dynamic_cast<EnvironmentDll*>(instance);
    ASSERT_NE(environmentDll, nullptr);
    EXPECT_EQ(environmentDll->getName(), "zaltest-instance");
    // Without a configuration every key takes its default: the in-process frontend.
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(instance->Execute(0, nullptr));
        EXPECT_EQ(environmentDll->getEnvironment()->getRouterFrontendAddress(), routerFrontendAddressDefault);
        expectServing(routerFrontendAddressDefault);
        instance->Shutdown();
        EXPECT_EQ(environmentDll->getEnvironment(), nullptr);
    }
    // With the key the frontend is where it says; a second Execute replaces the first environment.
    QFile file(dir.filePath("zal.ini"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("EnvironmentAddress=tcp://127.0.0.1:*\n") > 0);
    file.close();
    qputenv("ZAL_CONFIG", file.fileName().toLocal8Bit());
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(instance->Execute(0, nullptr));
        const std::string frontend = environmentDll->getEnvironment()->getRouterFrontendAddress();
        EXPECT_EQ(frontend.rfind("tcp://127.0.0.1:", 0), 0u) << frontend;
        expectServing(frontend);
    }
    instance->Shutdown();
    instance->Shutdown();
    library.destroy(instance);
}

// A missing configuration file and a frontend already taken: nothing starts, and the trace says why.
TEST_F(EntryPoints, AFailedStartIsTracedAndLeavesNothingRunning) {
    zaltest::TraceCapture trace;
    IDllInstance* instance = library.create(L"zaltest-failing");
    ASSERT_NE(instance, nullptr);
    qputenv("ZAL_CONFIG", dir.filePath("absent.ini").toLocal8Bit());
    EXPECT_FALSE(instance->Execute(0, nullptr));
    EXPECT_EQ(trace.lines(), QStringList{"environmentdll:31 Invalid configuration of EnvironmentDll"});
    qunsetenv("ZAL_CONFIG");
    Environment occupying("tcp://127.0.0.1:*");
    // The running environment holds the internal router endpoint, so this start must fail.
    EXPECT_FALSE(instance->Execute(0, nullptr));
    EXPECT_EQ(dynamic_cast<EnvironmentDll*>(instance)->getEnvironment(), nullptr);
    ASSERT_GE(trace.lines().size(), 3);
    EXPECT_TRUE(trace.lines().at(1).startsWith("zmqhelper:40 bindSocket() for "))
        << trace.lines().at(1).toStdString();
    EXPECT_TRUE(trace.lines().last().contains("Caught unknown exception in EnvironmentDll::Execute"));
    instance->Shutdown();
    library.destroy(instance);
    expectServing(occupying.getRouterFrontendAddress());
}
