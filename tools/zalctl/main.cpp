// zalctl: one control request to a running system per call, with the reply's result as exit status.
#include <QString>
#include <QStringList>
#include <cstdio>
#include <cstdlib>

#include "zal/constants.h"
#include "zaltools/commandparser.h"
#include "zaltools/commandrunner.h"
#include "zaltools/exitstatus.h"

namespace {

using zaltools::ExitStatus;

const char* const defaultEndpoint = "tcp://127.0.0.1:5555";

QString helpText() {
    QString commands = zaltools::CommandParser::synopsis();
    commands.replace(QLatin1Char('\n'), QLatin1String("\n  "));
    return QStringLiteral(
               "Usage: zalctl [OPTIONS] COMMAND [ARGUMENTS]\n"
               "\n"
               "Sends one control request to a running zal system through its router frontend and\n"
               "prints the reply: its result (Success, Warning or Error) and text, then the value asked "
               "for.\n"
               "\n"
               "Options (before COMMAND):\n"
               "  -e, --endpoint ADDR  the router frontend (default: $ZAL_ENDPOINT, else %1)\n"
               "      --timeout MS     how long to wait for each reply, in milliseconds (default %2)\n"
               "      --xml            print the raw reply XML instead (a command may also end in --xml)\n"
               "  -h, --help           print this help\n"
               "\n"
               "Commands:\n"
               "  %3\n"
               "\n"
               "Names: GROUP and PROCESSOR must not be empty or contain '/'. connect without --address\n"
               "resolves STREAM at the group's name service and connects to its first address.\n"
               "--source ADDR[:FILTER...]: a TCP address keeps its :PORT, e.g. tcp://127.0.0.1:6000:t1:t2.\n"
               "Option values may also be written --option=VALUE; \"--\" ends the options.\n"
               "\n"
               "Exit status:\n"
               "  0   success reply\n"
               "  1   warning reply\n"
               "  2   error reply, or a reply that cannot be read\n"
               "  3   time-out: no reply (nothing listens at the endpoint, or the group or processor\n"
               "      does not exist, since the router drops requests for unknown destinations)\n"
               "  64  usage error: unknown command or option, missing or bad argument, bad endpoint\n"
               "\n"
               "Examples:\n"
               "  zalctl -e tcp://127.0.0.1:5555 create-group g1\n"
               "  zalctl create g1 gen demo.Generator --stream out=tcp://127.0.0.1:*\n"
               "  zalctl create g1 counter demo.Counter\n"
               "  zalctl connect g1 counter --stream-name out --filter t1\n"
               "  zalctl set g1 gen rate 1000\n"
               "  zalctl get g1 counter count\n"
               "  zalctl --xml streams g1 gen\n"
               "  ZAL_ENDPOINT=tcp://10.0.0.5:5555 zalctl groups\n")
        .arg(QLatin1String(defaultEndpoint))
        .arg(zal::socketDefaultTimeout)
        .arg(commands);
}

void print(std::FILE* stream, const QString& text) {
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fputc('\n', stream);
}

int usage(const QString& text) {
    print(stderr, QStringLiteral("zalctl: %1\nRun 'zalctl --help' for commands and options.").arg(text));
    return static_cast<int>(ExitStatus::Usage);
}

}  // namespace

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    const char* fromEnvironment = std::getenv("ZAL_ENDPOINT");
    QString endpoint = fromEnvironment != nullptr && *fromEnvironment != '\0'
                           ? QString::fromLocal8Bit(fromEnvironment)
                           : QString::fromLatin1(defaultEndpoint);
    int timeoutMs = zal::socketDefaultTimeout;
    bool xml = false;

    qsizetype i = 0;
    for (; i < arguments.size(); ++i) {
        const QString& word = arguments[i];
        if (word == QLatin1String("--")) {
            ++i;
            break;
        }
        if (!word.startsWith(QLatin1Char('-'))) {
            break;
        }
        if (word == QLatin1String("-h") || word == QLatin1String("--help")) {
            print(stdout, helpText());
            return static_cast<int>(ExitStatus::Success);
        }
        if (word == QLatin1String("--xml")) {
            xml = true;
            continue;
        }
        const qsizetype equals = word.startsWith(QLatin1String("--")) ? word.indexOf(QLatin1Char('=')) : -1;
        const QString option = equals < 0 ? word : word.left(equals);
        if (option != QLatin1String("-e") && option != QLatin1String("--endpoint") &&
            option != QLatin1String("--timeout")) {
            return usage(QStringLiteral("unknown option '%1'.").arg(option));
        }
        QString value;
        if (equals >= 0) {
            value = word.mid(equals + 1);
        } else if (i + 1 < arguments.size()) {
            value = arguments[++i];
        } else {
            return usage(QStringLiteral("option %1 needs a value.").arg(option));
        }
        if (option == QLatin1String("--timeout")) {
            bool number = false;
            timeoutMs = value.toInt(&number);
            if (!number || timeoutMs <= 0) {
                return usage(
                    QStringLiteral("--timeout '%1' is not a positive number of milliseconds.").arg(value));
            }
        } else if (value.isEmpty()) {
            return usage(QStringLiteral("%1 needs a non-empty endpoint.").arg(option));
        } else {
            endpoint = value;
        }
    }
    if (i >= arguments.size()) {
        return usage(QStringLiteral("no command given."));
    }

    zaltools::CommandRunner runner(endpoint.toStdString(), timeoutMs, xml);
    const zaltools::CommandResult result = runner.execute(arguments.mid(i));
    switch (result.status) {
        case ExitStatus::Usage:
            return usage(result.text);
        case ExitStatus::Timeout:
            print(stderr, QStringLiteral("zalctl: %1").arg(result.text));
            break;
        default:
            print(stdout, result.text);
    }
    return static_cast<int>(result.status);
}
