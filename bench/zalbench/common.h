// What every case of zal_bench shares: timing, the output lines and closing table, and /proc readings.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "../roundtrip.h"

namespace zalbench {

// The group manager's identity at the default prefix, where every case creates its groups.
extern const std::string manager;
// Throughput is the best of a few windows: on a shared machine a window can lose its core to
// another process, and a slowed window says nothing about either side.
constexpr int windows = 3;

double secondsSince(Clock::time_point start);
double microsecondsSince(Clock::time_point start);

// One "case value unit" line on standard output, flushed at once; the value is kept in `figures`
// for later cases that compare with it.
void line(const std::string& name, double value, const char* unit);
extern std::map<std::string, double> figures;

// A row of the closing table; raw is zero where raw libzmq has nothing of the same shape.
struct Row {
    std::string name;
    double zal;
    double raw;
    std::string unit;
};
extern std::vector<Row> table;
void printTable();

// A field of /proc/self/status in KiB ("VmRSS:", "VmHWM:"), or -1 when it is missing.
long long procStatusKiB(const char* field);

}  // namespace zalbench
