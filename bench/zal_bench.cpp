// zal against raw libzmq, each case measured in the same run with sockets of the same shape.
//
// Command (from the repository root; under two minutes in all):
//   cmake -S . -B build-bench -G Ninja -DZAL_BUILD_TESTS=OFF &&
//   cmake --build build-bench -j2 --target zal_bench demo && build-bench/bin/zal_bench
//
// Optional arguments: seconds per throughput window, best of 3 (default 0.5), and strict round
// trips per control case (default 20000); or "soak [seconds]" (default 60) for memory over a long
// 64 B stream alone. Output: "case value unit" lines, then a table of zal/raw ratios.
// Absolute figures on a shared machine are noisy; only ratios from one run mean anything.
#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <set>
#include <string>

#include "zal/host/descriptorlimit.h"
#include "zal/host/environment.h"
#include "zalbench/cases.h"
#include "zalbench/client.h"
#include "zalbench/common.h"

using namespace zalbench;

namespace {

// The cases named after the two numbers, or every case when none is named.
class CaseFilter {
public:
    CaseFilter(int argc, char** argv) : only(argv + std::min(argc, 3), argv + argc) {}
    bool wanted(const char* name) const { return only.empty() || only.count(name) != 0; }

private:
    std::set<std::string> only;
};

int failed(const std::exception& e) {
    std::fprintf(stderr, "zal_bench: %s\n", e.what());
    return 1;
}

// The bridge, streaming and life-cycle cases share one environment.
double sharedEnvironmentCases(QCoreApplication& app, const CaseFilter& cases, double seconds) {
    zal::Environment environment("inproc://bench/frontend-stream");
    Client client(environment.getRouterFrontendAddress());
    double bridgeRate = 0;
    if (cases.wanted("qtbridge")) {
        bridgeRate = qtBridge(app, client, seconds);
    }
    if (cases.wanted("stream")) {
        streaming(client, seconds);
    }
    if (cases.wanted("record")) {
        recording(client, seconds);
    }
    if (cases.wanted("lifecycle")) {
        lifeCycle(client, 200);
    }
    if (cases.wanted("latency")) {
        latency(client, seconds * 2);
    }
    if (cases.wanted("fanout")) {
        fanOut(client, seconds);
    }
    return bridgeRate;
}

void bridgeRows(double bridgeRate, double seconds) {
    const double drain = rawStream(64, true, seconds);
    line("qtbridge_64B_zal", bridgeRate, "msg/s");
    line("qtbridge_64B_raw_drain", drain, "msg/s");
    table.push_back({"qtbridge_64B vs drain-after-poll", bridgeRate, drain, "msg/s"});
    const double glib = qtBridgeUnderGlib(seconds);
    table.push_back({"qtbridge_64B glib loop vs drain-after-poll", glib, drain, "msg/s"});
}

void peer(double seconds, int roundTrips) {
#ifdef ZALBENCH_NNG
    nngPeer(seconds, roundTrips);
#else
    (void)seconds;
    (void)roundTrips;
    std::printf("# nng: left out, this build found no NNG (libnng-dev)\n");
#endif
}

void allCases(QCoreApplication& app, const CaseFilter& cases, double seconds, int roundTrips) {
    const double bridgeRate = sharedEnvironmentCases(app, cases, seconds);
    if (cases.wanted("qtbridge")) {
        bridgeRows(bridgeRate, seconds);
    }
    if (cases.wanted("control")) {
        control("inproc", "inproc://bench/frontend", "inproc://bench/raw-frontend", roundTrips);
        control("tcp", "tcp://127.0.0.1:*", "tcp://127.0.0.1:*", roundTrips);
    }
    if (cases.wanted("nng")) {
        peer(seconds, roundTrips);
    }
    if (cases.wanted("scale")) {
        scale(5000);
    }
}

int glibChildRun(QCoreApplication& app, double seconds) {
    zal::Environment environment("inproc://bench/frontend-glib");
    Client client(environment.getRouterFrontendAddress());
    line(glibLine, qtBridge(app, client, seconds), "msg/s");
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    // "qtbridge-glib" measures the bridge under glib's event loop, Qt's default, in a child of a
    // full run; everything else runs under Qt's own loop, as zal-host does.
    const bool glibChild = argc > 3 && std::string(argv[3]) == glibCase;
    if (glibChild) {
        qunsetenv("QT_NO_GLIB");
    } else if (!qEnvironmentVariableIsSet("QT_NO_GLIB")) {
        qputenv("QT_NO_GLIB", "1");
    }
    QCoreApplication app(argc, argv);  // the plug-in manager looks beside the executable
    std::printf("# descriptor limit %lld\n", zal::DescriptorLimit::raise());
    try {
        if (argc > 1 && std::string(argv[1]) == "soak") {
            soak(argc > 2 ? std::atof(argv[2]) : 60.0);
            return 0;
        }
        const double seconds = argc > 1 ? std::atof(argv[1]) : 0.5;
        if (glibChild) {
            return glibChildRun(app, seconds);
        }
        // Naming cases after the two numbers runs only those, which keeps a profile to one path.
        allCases(app, CaseFilter(argc, argv), seconds, argc > 2 ? std::atoi(argv[2]) : 20000);
    } catch (const std::exception& e) {
        return failed(e);
    }
    printTable();
    return 0;
}
