// The command line of zal-monitor: where the host is, how to reach it, and an optional screenshot.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>
#include <string>

#include "zal/transport/curvekeys.h"

namespace zalmonitor {

struct MonitorOptions {
    std::string endpoint = "tcp://127.0.0.1:5555";
    int timeoutMs = 2000;
    std::string curveServerKey;  // empty: plain connection
    zal::CurveKeys::Pair curveClientKeys;
    QString screenshot;  // empty: none
    double afterSeconds = 5;

    // The options of `arguments` (the program's name first). None, with `message` set, when the
    // program should end instead: `status` 0 for --help, 64 for a usage error.
    static std::optional<MonitorOptions> parse(const QStringList& arguments, QString& message, int& status);
};

}  // namespace zalmonitor
