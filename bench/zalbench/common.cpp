#include "common.h"

#include <cstdio>
#include <fstream>

#include "zal/transport/constants.h"

namespace zalbench {

const std::string manager = zal::internalAddressPrefixDefault;

std::vector<Row> table;
std::map<std::string, double> figures;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double microsecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

void line(const std::string& name, double value, const char* unit) {
    figures[name] = value;
    std::printf("%s %.1f %s\n", name.c_str(), value, unit);
    std::fflush(stdout);
}

void printTable() {
    std::printf("\n%-40s %14s %14s %8s  %s\n", "case", "zal", "raw", "zal/raw", "unit");
    for (const Row& row : table) {
        if (row.raw > 0) {
            std::printf("%-40s %14.1f %14.1f %8.2f  %s\n", row.name.c_str(), row.zal, row.raw,
                        row.zal / row.raw, row.unit.c_str());
        } else {
            std::printf("%-40s %14.1f %14s %8s  %s\n", row.name.c_str(), row.zal, "-", "-", row.unit.c_str());
        }
    }
}

long long procStatusKiB(const char* field) {
    std::ifstream status("/proc/self/status");
    std::string key;
    long long value = 0;
    while (status >> key) {
        if (key == field) {
            status >> value;
            return value;
        }
        status.ignore(1 << 12, '\n');
    }
    return -1;
}

}  // namespace zalbench
