// Resident memory and thread count of a process, as the kernel reports them in /proc/<pid>/status.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

namespace zaltest {

struct ProcStatus {
    long long rssKiB = -1;  // VmRSS
    int threads = -1;       // Threads
};

// pid 0 reads the calling process; -1 fields mean the process or the field was not there.
inline ProcStatus procStatus(qint64 pid = 0) {
    ProcStatus status;
    QFile file(pid == 0 ? QStringLiteral("/proc/self/status") : QStringLiteral("/proc/%1/status").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return status;
    }
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            status.rssKiB = line.mid(6).trimmed().split(' ').value(0).toLongLong();
        } else if (line.startsWith("Threads:")) {
            status.threads = line.mid(8).trimmed().toInt();
        }
    }
    return status;
}

}  // namespace zaltest
