// The examples of README.md, docs/zalctl.md, docs/observability.md and `zalctl --help`, run as written with
// the built programs, so that the documentation cannot drift from what the programs do.
#include <gtest/gtest.h>

#include <QFile>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "support/program.h"
#include "support/qtprinters.h"
#include "support/sockets.h"
#include "zal/platform/applicationdirectory.h"
#include "zal/transport/zmqhelper.h"

namespace {

// One command of an example and the lines the example shows it printing.
struct Step {
    QString command;
    QStringList shown;
};

// What one command printed (standard output and error) and its exit status.
struct Ran {
    QStringList lines;
    int status = -1;
};

QString readSource(const QString& relativePath) {
    QFile file(QStringLiteral(ZAL_SOURCE_DIR "/") + relativePath);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << relativePath.toStdString();
    return QString::fromUtf8(file.readAll());
}

// Every fenced block with "$ " lines is one shell session: each "$ " line a command, the lines
// after it up to the next one what it prints.
QVector<QVector<Step>> sessionsIn(const QString& markdown) {
    QVector<QVector<Step>> sessions;
    QVector<Step> session;
    bool fenced = false;
    for (const QString& line : markdown.split('\n')) {
        if (line.startsWith("```")) {
            if (fenced && !session.isEmpty()) {
                sessions << session;
            }
            session.clear();
            fenced = !fenced;
        } else if (fenced && line.startsWith("$ ")) {
            session << Step{line.mid(2), {}};
        } else if (fenced && !session.isEmpty()) {
            session.last().shown << line;
        }
    }
    return sessions;
}

// A loopback port that nothing listens on now.
QString freePort() {
    std::string address = "tcp://127.0.0.1:*";
    zmq::socket_t socket = zaltest::makeSocket(zmq::socket_type::router);
    zal::ZmqHelper::bindSocket(socket, address);
    socket.set(zmq::sockopt::linger, 0);
    return QString::fromStdString(address).section(':', -1);
}

// Replaces each fixed loopback port in `text` by a free one, the same one wherever it recurs.
void usePorts(QString& text, QMap<QString, QString>& ports) {
    static const QRegularExpression fixedPort(R"(127\.0\.0\.1:(\d{4,5})\b)");
    for (const auto& match : fixedPort.globalMatch(text)) {
        if (!ports.contains(match.captured(1))) {
            ports[match.captured(1)] = freePort();
        }
    }
    for (auto port = ports.cbegin(); port != ports.cend(); ++port) {
        text.replace("127.0.0.1:" + port.key(), "127.0.0.1:" + port.value());
    }
}

// Runs a session with bash in a fresh folder, the built programs first on PATH and in place of
// "build/bin/". Other programs share this machine, so every fixed loopback port is replaced by a
// free one, in the commands and in what they show; zalctl's default endpoint, port 5555, is
// pointed at the replacement of 5555 through ZAL_ENDPOINT. Background commands write to files of
// their own, and whatever still runs at the end is stopped.
QVector<Ran> runSession(QVector<Step>& steps) {
    const QString bin = zal::applicationDirectory();
    QMap<QString, QString> ports{{"5555", freePort()}};
    QString script = "cd \"$1\"\nexport PATH=\"" + bin +
                     ":$PATH\" ZAL_ENDPOINT=tcp://127.0.0.1:" + ports["5555"] +
                     "\ntrap 'kill $(jobs -p) 2>/dev/null; wait' EXIT\n";
    for (qsizetype i = 0; i < steps.size(); ++i) {
        usePorts(steps[i].command, ports);
        for (QString& line : steps[i].shown) {
            usePorts(line, ports);
        }
        QString command = steps[i].command;
        command.replace("build/bin/", bin + "/");
        script += QString("printf '\\n@@step %1\\n'\n").arg(i);
        script += command.endsWith(" &") ? command.chopped(2) + QString(" >background-%1.log 2>&1 &\n").arg(i)
                                         : "{ " + command + "\n} 2>&1\n";
        // As a user would, the next command waits until a host started in the background says it
        // listens (for at most 60 s: a loaded machine under a sanitizer starts it slowly).
        if (command.endsWith(" &") && command.contains("zal-host")) {
            script +=
                QString(
                    "for _ in $(seq 600); do grep -q listening background-%1.log && break; sleep 0.1; done\n")
                    .arg(i);
        }
        script += "printf '\\n@@status %d\\n' $?\n";
    }
    QTemporaryDir folder;
    QProcess bash;
    bash.start("bash", {"-c", script, "session", folder.path()});
    EXPECT_TRUE(bash.waitForFinished(90000)) << script.toStdString();
    const QString output = QString::fromLocal8Bit(bash.readAllStandardOutput());
    QVector<Ran> ran;
    const QRegularExpression marker(R"(\n@@step \d+\n([\s\S]*?)\n@@status (\d+)\n)");
    for (const auto& match : marker.globalMatch(output)) {
        QStringList lines = match.captured(1).split('\n');
        while (!lines.isEmpty() && lines.last().isEmpty()) {
            lines.removeLast();
        }
        ran << Ran{lines, match.captured(2).toInt()};
    }
    EXPECT_EQ(ran.size(), steps.size()) << output.toStdString();
    return ran;
}

// Runs the session and expects each command to print what it shows (unless `compare` is false; a
// shown line ending in "..." stands for any line that starts as it does) and to succeed, unless it
// prints its own status; all the output, for further checks.
QString expectAsShown(QVector<Step> steps, bool compare = true) {
    const QVector<Ran> ran = runSession(steps);
    QString all;
    for (qsizetype i = 0; i < std::min(ran.size(), steps.size()); ++i) {
        SCOPED_TRACE(steps[i].command.toStdString() + "\n" + ran[i].lines.join('\n').toStdString());
        if (!steps[i].command.contains("echo $?")) {
            EXPECT_EQ(ran[i].status, 0);
        }
        if (compare) {
            EXPECT_EQ(ran[i].lines.size(), steps[i].shown.size());
            for (qsizetype line = 0; line < std::min(ran[i].lines.size(), steps[i].shown.size()); ++line) {
                const QString &shown = steps[i].shown[line], &printed = ran[i].lines[line];
                EXPECT_TRUE(shown.endsWith("...") ? printed.startsWith(shown.chopped(3)) : printed == shown)
                    << shown.toStdString();
            }
        }
        all += ran[i].lines.join('\n') + '\n';
    }
    return all;
}

}  // namespace

// Each page's examples feed a counter that receives; on the observability page the counter's own
// status says so.
TEST(DocumentedExamples, EachPageShowsWhatItsExamplesPrint) {
    const struct {
        const char* document;
        int sessions;
        const char* received;
    } pages[] = {
        {"README.md", 1, "messages=[1-9]"},
        {"docs/zalctl.md", 2, "messages=[1-9]"},
        {"docs/observability.md", 2, R"(\{"input":\{"bytes":[1-9]\d*,"idleMs":\d+,"messages":[1-9])"},
    };
    for (const auto& page : pages) {
        const QVector<QVector<Step>> sessions = sessionsIn(readSource(page.document));
        ASSERT_GE(sessions.size(), page.sessions) << page.document;
        QString output;
        for (const QVector<Step>& session : sessions) {
            output += expectAsShown(session);
        }
        EXPECT_TRUE(output.contains(QRegularExpression(page.received)))
            << page.document << output.toStdString();
    }
}

TEST(DocumentedExamples, TheHelpExamplesSucceed) {
    const QString help = zaltest::runProgram("zalctl", {"--help"}).out;
    // The README's host listens where zalctl looks by default, which is why its commands need no -e.
    EXPECT_TRUE(help.contains("else tcp://127.0.0.1:5555)"));
    QVector<Step> examples;
    for (const QString& line :
         help.section(QRegularExpression("\nExamples[^\n]*:\n"), 1).split('\n', Qt::SkipEmptyParts)) {
        examples << Step{line.trimmed(), {}};
    }
    ASSERT_GE(examples.size(), 5) << help.toStdString();
    expectAsShown(examples, false);
}
