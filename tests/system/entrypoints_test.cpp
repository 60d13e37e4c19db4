// libzal as a host sees it, through dlopen and its two C entry points, when the start fails. A start
// with and without a configuration is zal-host's test (tests/tools).
#include <dlfcn.h>
#include <gtest/gtest.h>

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

// A missing configuration file and a frontend already taken: nothing starts, and the trace says why.
TEST_F(EntryPoints, AFailedStartIsTracedAndLeavesNothingRunning) {
    zaltest::TraceCapture trace;
    ASSERT_TRUE(library.create && library.destroy) << dlerror();
    library.destroy(nullptr);
    IDllInstance* instance = library.create(L"zaltest-failing");
    ASSERT_NE(dynamic_cast<EnvironmentDll*>(instance), nullptr);
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
