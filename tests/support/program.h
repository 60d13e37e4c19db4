// Runs the project's programs as a user would (by path, with arguments and environment, bounded in
// time) and writes the files they read.
#pragma once

#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <csignal>

#include "zal/platform/applicationdirectory.h"

namespace zaltest {

// Writes `content` to `path`; the path.
inline QString writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size())
        << path.toStdString();
    return path;
}

struct Outcome {
    int status = -1;  // -1: crashed or killed
    QString out;
    QString err;
};

// Runs build/bin/<program> to its end; fails the calling test if it takes longer than timeoutMs.
inline Outcome runProgram(const QString& program, const QStringList& arguments,
                          const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment(),
                          int timeoutMs = 30000) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(zal::applicationDirectory() + "/" + program, arguments);
    Outcome outcome;
    if (!process.waitForFinished(timeoutMs)) {
        ADD_FAILURE() << program.toStdString() << " did not finish: " << arguments.join(' ').toStdString();
        process.kill();
        process.waitForFinished(5000);
        return outcome;
    }
    outcome.status = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    outcome.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    outcome.err = QString::fromLocal8Bit(process.readAllStandardError());
    return outcome;
}

// A long-running program: started, read line by line, stopped with a signal.
class RunningProgram {
public:
    RunningProgram(const QString& program, const QStringList& arguments,
                   const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.setProcessEnvironment(environment);
        process.start(zal::applicationDirectory() + "/" + program, arguments);
    }
    ~RunningProgram() {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(5000);
        }
    }

    // Reads output until `text` appears after whatever an earlier call found, and returns the line
    // around it (progress lines end in a carriage return); a null string after timeoutMs.
    QString awaitLine(const QString& text, int timeoutMs = 20000) {
        QDeadlineTimer deadline(timeoutMs);
        for (;;) {
            seen += QString::fromLocal8Bit(process.readAll());
            const qsizetype found = seen.indexOf(text, searchFrom);
            if (found >= 0) {
                searchFrom = found + text.size();
                const qsizetype begin =
                    std::max(seen.lastIndexOf('\n', found), seen.lastIndexOf('\r', found)) + 1;
                qsizetype end = seen.indexOf(QRegularExpression("[\r\n]"), found);
                return seen.mid(begin, (end < 0 ? seen.size() : end) - begin).trimmed();
            }
            if (deadline.hasExpired() ||
                !process.waitForReadyRead(static_cast<int>(deadline.remainingTime()))) {
                return QString();
            }
        }
    }

    // Sends `signal` and returns the exit status, -1 when it crashed or did not end within 30 s.
    int terminate(int signal = SIGTERM) {
        const qint64 pid = process.processId();
        if (pid <= 0 || ::kill(static_cast<pid_t>(pid), signal) != 0 || !process.waitForFinished(30000)) {
            return -1;
        }
        seen += QString::fromLocal8Bit(process.readAll());
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    const QString& output() const { return seen; }
    // For reading /proc/<pid>; 0 once it has ended.
    qint64 processId() const { return process.processId(); }

private:
    QProcess process;
    QString seen;
    qsizetype searchFrom = 0;
};

// The frontend a started zal-host announces, or a null string.
inline QString frontendOf(RunningProgram& host) {
    const QString line = host.awaitLine("frontend listening at ");
    return line.isNull() ? line : line.section(' ', -1);
}

}  // namespace zaltest
