// The Qt bridge case: a stream handed to slots of this thread's event loop, under Qt's loop or glib's.
#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "cases.h"
#include "common.h"
#include "group.h"
#include "zal/msg/controlmessagehelper.h"
#include "zal/processors/qtbridge.h"
#include "zal/processors/qtrepository.h"

namespace zalbench {

using zal::ControlMessageHelper;

// A glib event loop cannot be swapped for Qt's own within one process, so the figure under Qt's
// default loop comes from a child that runs the bridge case alone.
const char* const glibCase = "qtbridge-glib";
const char* const glibLine = "qtbridge_64B_zal_glib";

namespace {

// Resets VmHWM so the peak read afterwards belongs to the bridge case alone.
void resetPeakMemory() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

zal::QtBridge* startBridge(Client& client, Group& group) {
    group.create("zalbench.Source", "gen");
    client.succeed(group.endpoint(), ControlMessageHelper::makeCreateProcessorMessage("QtBridge", "bridge",
                                                                                      zalmsg::Processor()));
    auto* bridge = qobject_cast<zal::QtBridge*>(
        zal::QtRepository::getQObject(QString::fromStdString(group.at("bridge"))));
    if (bridge == nullptr) {
        throw std::runtime_error("the bridge is not in the Qt repository");
    }
    return bridge;
}

// Best of the windows, as for every other rate, after the start-up burst; `received` is counted
// by the caller's slot while the event loop runs.
double bestBridgeRate(QCoreApplication& app, QObject& receiver, const long long& received, double seconds) {
    long long before = 0;
    int window = 0;
    Clock::time_point begin;
    double rate = 0;
    QTimer windowTimer;
    QObject::connect(&windowTimer, &QTimer::timeout, &receiver, [&] {
        if (window > 0) {
            rate = std::max(rate, double(received - before) / secondsSince(begin));
        }
        if (window++ == windows) {
            app.quit();
            return;
        }
        before = received;
        begin = Clock::now();
        windowTimer.start(int(seconds * 1000));
    });
    windowTimer.setSingleShot(true);
    windowTimer.start(200);
    app.exec();
    return rate;
}

}  // namespace

// A flat-out 64 B Source into a QtBridge whose signal lands in a slot of this thread's event
// loop; what the slot has not consumed waits in the event queue, which the peak memory shows.
double qtBridge(QCoreApplication& app, Client& client, double seconds) {
    Group group(client, "bridge");
    zal::QtBridge* bridge = startBridge(client, group);
    long long received = 0;
    QObject receiver;  // lives in the main thread, so the connection is queued into its event loop
    QObject::connect(bridge, &zal::QtBridge::si_message, &receiver,
                     [&](const QByteArray&, const QByteArray&) { ++received; });
    group.connect("bridge", "gen");
    const long long rssBefore = procStatusKiB("VmRSS:");
    resetPeakMemory();
    const double rate = bestBridgeRate(app, receiver, received, seconds);
    client.succeed(group.at("gen"), ControlMessageHelper::makeStopStreamMessage("gen"));
    const long long peak = procStatusKiB("VmHWM:");
    QObject::disconnect(bridge, nullptr, &receiver, nullptr);
    QCoreApplication::removePostedEvents(&receiver);

    line("qtbridge_rss_before", double(rssBefore), "KiB");
    line("qtbridge_peak_rss", double(peak), "KiB");
    return rate;
}

double qtBridgeUnderGlib(double seconds) {
    const std::string command = "\"" + QCoreApplication::applicationFilePath().toStdString() + "\" " +
                                std::to_string(seconds) + " 0 " + glibCase;
    FILE* child = popen(command.c_str(), "r");
    if (child == nullptr) {
        throw std::runtime_error("cannot start " + command);
    }
    double rate = -1;
    char text[512];
    while (std::fgets(text, sizeof text, child) != nullptr) {
        char name[64];
        double value = 0;
        if (std::sscanf(text, "%63s %lf", name, &value) == 2 && std::string(name) == glibLine) {
            rate = value;
        }
    }
    if (pclose(child) != 0 || rate < 0) {
        throw std::runtime_error("the bridge under glib's loop gave no figure");
    }
    line(glibLine, rate, "msg/s");
    return rate;
}

}  // namespace zalbench
