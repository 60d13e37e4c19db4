// zalctl: one control request to a running system per call, with the reply's result as exit status.
#include <QFile>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <optional>

#include "console.h"
#include "graphcommand.h"
#include "topcommand.h"
#include "zal/transport/constants.h"
#include "zal/transport/curvekeys.h"
#include "zaltools/commandparser.h"
#include "zaltools/commandrunner.h"
#include "zaltools/curveoptions.h"
#include "zaltools/exitstatus.h"
#include "zaltools/hostrunners.h"
#include "zaltools/hosttable.h"
#include "zaltools/jsonreply.h"
#include "zaltools/optionwords.h"
#include "zaltools/parameterpoll.h"
#include "zaltools/requestpacer.h"

namespace {

using zaltools::ExitStatus;

const char* const defaultEndpoint = "tcp://127.0.0.1:5555";

// Each works as written, in this order, against the host of the first (a test runs them).
const char* const examples =
    "  zal-host --listen tcp://127.0.0.1:5555 &\n"
    "  zalctl -e tcp://127.0.0.1:5555 create-group g1\n"
    "  zalctl create g1 gen demo.Generator --stream numbers=tcp://127.0.0.1:*\n"
    "  zalctl create g1 counter demo.Counter\n"
    "  zalctl connect g1 counter numbers --filter demo\n"
    "  zalctl set g1 gen rate 1000\n"
    "  zalctl get g1 counter messages\n"
    "  zalctl watch g1 counter messages,rate --count 3\n"
    "  zalctl --xml streams g1 gen\n"
    "  zalctl top --once\n"
    "  zalctl graph --format dot\n"
    "  zalctl --json sources g1 counter\n"
    "  ZAL_ENDPOINT=tcp://127.0.0.1:5555 zalctl groups\n"
    "  zalctl keygen --public-file client.pub --secret-file client.secret\n";

// How names are written and what the exit status means.
const char* const namesAndStatuses =
    "Names: GROUP and PROCESSOR must not be empty or contain '/'. connect without --address\n"
    "resolves STREAM at the group's name service and connects to its first address; with\n"
    "--from @HOST[/GROUP] at that host's (default: the same group), connecting to a tcp://\n"
    "address of the stream, a wildcard host replaced by the host part of HOST's endpoint.\n"
    "--source ADDR[:FILTER...]: a TCP address keeps its :PORT, e.g. tcp://127.0.0.1:6000:t1:t2.\n"
    "Option values may also be written --option=VALUE; \"--\" ends the options.\n"
    "\n"
    "Exit status:\n"
    "  0   success reply\n"
    "  1   warning reply\n"
    "  2   error reply, a reply that cannot be read, or no reply because the group or\n"
    "      processor named does not exist (zalctl then asks which names do)\n"
    "  3   time-out: nothing answers at the endpoint, or the group, name service or\n"
    "      processor asked exists but did not answer in time (busy)\n"
    "  64  usage error: unknown command or option, missing or bad argument, bad endpoint,\n"
    "      a CURVE key or key file that cannot be used, a hosts file mistake, an unknown @NAME\n"
    "  73  keygen could not write a key file\n"
    "\n";

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
               "  -e, --endpoint ADDR  the router frontend (default: $ZAL_ENDPOINT, else %1);\n"
               "                       @NAME: a host of the hosts file\n"
               "      --hosts FILE     lines `host NAME ENDPOINT [CURVE options]` (default: $ZAL_HOSTS)\n"
               "      --timeout MS     how long to wait for each reply, in milliseconds (default %2)\n"
               "      --xml            print the raw reply XML instead (a command may also end in --xml)\n"
               "      --json           print one JSON object instead: {\"result\", \"text\", \"value\"}\n"
               "                       (a command may also carry --json)\n"
               "  -h, --help           print this help\n"
               "      --version        print zalctl's version\n"
               "CURVE, for a frontend that requires it (all keys are 40 Z85 characters):\n"
               "      --curve-server-key KEY        the server's public key\n"
               "      --curve-server-key-file FILE  ... read from a key file\n"
               "      --curve-secret-key KEY        this client's secret key\n"
               "      --curve-secret-key-file FILE  ... read from a key file (preferred: not shown by ps)\n"
               "      --curve-public-key KEY        this client's public key (default: derived from the "
               "secret)\n"
               "\n"
               "Commands:\n"
               "  %3\n"
               "  watch GROUP PROCESSOR PARAM[,PARAM...] [--count N] [--json]\n"
               "      asks for those parameters once a second and prints them, a line a round, until\n"
               "      Ctrl-C or N rounds; a parameter the processor does not give ends it at once\n"
               "  %5\n"
               "      a table of every processor (or GROUP's) once a second until Ctrl-C: type, messages\n"
               "      and MB a second in and out, totals, and per consumer the messages its producers\n"
               "      published that it did not receive (LOST); --once: one table, of two sweeps an interval "
               "apart\n"
               "  %6\n"
               "      groups, processors, their streams and the consumers each stream feeds; sources\n"
               "      no live stream binds are dangling; svg needs Graphviz's dot\n"
               "  keygen [--public-file FILE] [--secret-file FILE]\n"
               "      makes a CURVE key pair, prints it and writes the key files asked for (never over an\n"
               "      existing file; the secret one readable by its owner only)\n"
               "\n"
               "%7"
               "Examples (a host to try them on first):\n%4")
        .arg(QLatin1String(defaultEndpoint))
        .arg(zal::socketDefaultTimeout)
        .arg(commands, QLatin1String(examples), TopCommand::usage(), GraphCommand::usage(),
             QLatin1String(namesAndStatuses));
}

int usage(const QString& text) {
    return Console::usage(text);
}

void print(std::FILE* stream, const QString& text) {
    Console::print(stream, text);
}

bool isOption(const QString& word, const QStringList& names) {
    return names.contains(word);
}

// Writes one key as a key file: a comment line, then the key. A file that exists is left alone.
bool writeKeyFile(const QString& path, const QString& comment, const std::string& key, bool secret,
                  QString& error) {
    QFile file(path);
    const QFileDevice::Permissions owner = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    const QFileDevice::Permissions mode =
        secret ? owner : owner | QFileDevice::ReadGroup | QFileDevice::ReadOther;
    // Created with its final permissions, so a secret key is never readable by others, not even briefly.
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly, mode)) {
        error = QStringLiteral("cannot write '%1': %2").arg(path, file.errorString());
        return false;
    }
    const QByteArray text = "# " + comment.toUtf8() + "\n" + QByteArray::fromStdString(key) + "\n";
    if (file.write(text) != text.size() || !file.flush()) {
        error = QStringLiteral("cannot write '%1': %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

int keygen(const QStringList& words) {
    QMap<QString, QString> files;
    try {
        const zaltools::OptionWords given(QStringLiteral("keygen"), words,
                                          {QStringLiteral("--public-file"), QStringLiteral("--secret-file")},
                                          {QStringLiteral("--json")});
        if (!given.positional.isEmpty()) {
            return usage(QStringLiteral("keygen: unexpected '%1'.").arg(given.positional.front()));
        }
        for (const QString option : {"--public-file", "--secret-file"}) {
            if (given.has(option) && given.single(option).isEmpty()) {
                return usage(QStringLiteral("keygen: %1 needs a file name.").arg(option));
            }
            if (given.has(option)) {
                files[option] = given.single(option);
            }
        }
    } catch (const zaltools::UsageError& e) {
        return usage(QString::fromUtf8(e.what()));
    }
    // Both checked before either is written, so that a refusal leaves no half pair behind.
    if (files.size() == 2 && files.first() == files.last()) {
        return usage(QStringLiteral("keygen: the public and the secret key need files of their own."));
    }
    for (const QString& path : files) {
        if (QFile::exists(path)) {
            return Console::fail(
                ExitStatus::CannotWrite,
                QStringLiteral("keygen: '%1' exists; keygen does not overwrite key files.").arg(path));
        }
    }
    const zal::CurveKeys::Pair pair = zal::CurveKeys::generate();
    QString error;
    if ((files.contains(QStringLiteral("--public-file")) &&
         !writeKeyFile(files[QStringLiteral("--public-file")], QStringLiteral("zal CURVE public key"),
                       pair.publicKey, false, error)) ||
        (files.contains(QStringLiteral("--secret-file")) &&
         !writeKeyFile(files[QStringLiteral("--secret-file")],
                       QStringLiteral("zal CURVE secret key: keep it private"), pair.secretKey, true,
                       error))) {
        return Console::fail(ExitStatus::CannotWrite, QStringLiteral("keygen: %1").arg(error));
    }
    const QString publicKey = QString::fromStdString(pair.publicKey);
    const QString secretKey = QString::fromStdString(pair.secretKey);
    print(stdout, Console::json()
                      ? zaltools::JsonReply::envelope(ExitStatus::Success, QString(),
                                                      QJsonObject{{QStringLiteral("publicKey"), publicKey},
                                                                  {QStringLiteral("secretKey"), secretKey}})
                      : QStringLiteral("public-key: %1\nsecret-key: %2").arg(publicKey, secretKey));
    return static_cast<int>(ExitStatus::Success);
}

// What the options before the command set.
struct Options {
    QString endpoint;
    QString hostsFile;
    QString hostName;  // set when the endpoint was given as @NAME
    zaltools::HostTable hosts;
    int timeoutMs = zal::socketDefaultTimeout;
    bool xml = false;
    bool json = false;
    zaltools::CurveOptions curve;
};

Options defaultOptions() {
    Options options;
    const char* fromEnvironment = std::getenv("ZAL_ENDPOINT");
    options.endpoint = fromEnvironment != nullptr && *fromEnvironment != '\0'
                           ? QString::fromLocal8Bit(fromEnvironment)
                           : QString::fromLatin1(defaultEndpoint);
    options.hostsFile = QString::fromLocal8Bit(qgetenv("ZAL_HOSTS"));
    return options;
}

// One option that takes a value; an exit status when the value cannot be used.
std::optional<int> takeOption(const QString& option, const QString& value, Options& options) {
    if (isOption(option, zaltools::CurveOptions::names())) {
        options.curve.values[option] = value;
    } else if (option == QLatin1String("--timeout")) {
        bool number = false;
        options.timeoutMs = value.toInt(&number);
        if (!number || options.timeoutMs <= 0) {
            return usage(
                QStringLiteral("--timeout '%1' is not a positive number of milliseconds.").arg(value));
        }
    } else if (option == QLatin1String("--hosts")) {
        if (value.isEmpty()) {
            return usage(QStringLiteral("--hosts needs a file name."));
        }
        options.hostsFile = value;
    } else if (value.isEmpty()) {
        return usage(QStringLiteral("%1 needs a non-empty endpoint.").arg(option));
    } else {
        options.endpoint = value;
    }
    return std::nullopt;
}

// Reads the hosts file and turns an endpoint given as @NAME into that host's endpoint and CURVE
// options; CURVE options on the command line come on top of the host's.
std::optional<int> useHosts(Options& options) {
    try {
        if (!options.hostsFile.isEmpty()) {
            options.hosts = zaltools::HostTable::readFile(options.hostsFile);
        }
    } catch (const zaltools::UsageError& e) {
        return usage(QString::fromUtf8(e.what()));
    }
    if (!options.endpoint.startsWith(QLatin1Char('@'))) {
        return std::nullopt;
    }
    options.hostName = options.endpoint.mid(1);
    const zaltools::HostEntry* host = options.hosts.find(options.hostName);
    if (host == nullptr) {
        return usage(options.hosts.unknown(options.hostName));
    }
    options.endpoint = QString::fromStdString(host->endpoint);
    zaltools::CurveOptions curve = host->curve;
    curve.values.insert(options.curve.values);
    options.curve = curve;
    return std::nullopt;
}

// Reads the options before the command and leaves `at` on the command; an exit status when the
// program ends here (help, or a usage error).
std::optional<int> readOptions(const QStringList& arguments, Options& options, qsizetype& at) {
    for (; at < arguments.size(); ++at) {
        const QString& word = arguments[at];
        if (word == QLatin1String("--")) {
            ++at;
            break;
        }
        if (!word.startsWith(QLatin1Char('-'))) {
            break;
        }
        if (word == QLatin1String("-h") || word == QLatin1String("--help")) {
            print(stdout, helpText());
            return static_cast<int>(ExitStatus::Success);
        }
        if (word == QLatin1String("--version")) {
            print(stdout, QStringLiteral("zalctl " ZAL_VERSION));
            return static_cast<int>(ExitStatus::Success);
        }
        if (word == QLatin1String("--xml") || word == QLatin1String("--json")) {
            (word == QLatin1String("--xml") ? options.xml : options.json) = true;
            continue;
        }
        const qsizetype equals = word.startsWith(QLatin1String("--")) ? word.indexOf(QLatin1Char('=')) : -1;
        const QString option = equals < 0 ? word : word.left(equals);
        if (!isOption(option, {"-e", "--endpoint", "--timeout", "--hosts"}) &&
            !isOption(option, zaltools::CurveOptions::names())) {
            return usage(QStringLiteral("unknown option '%1'.").arg(option));
        }
        if (equals < 0 && at + 1 >= arguments.size()) {
            return usage(QStringLiteral("option %1 needs a value.").arg(option));
        }
        const QString value = equals >= 0 ? word.mid(equals + 1) : arguments[++at];
        if (const std::optional<int> status = takeOption(option, value, options)) {
            return status;
        }
    }
    if (at >= arguments.size()) {
        return usage(QStringLiteral("no command given."));
    }
    return useHosts(options);
}

// Applies the options' CURVE keys to the runner; an exit status when they cannot be used.
std::optional<int> useOptions(const Options& options, zaltools::CommandRunner& runner) {
    if (options.curve.any()) {
        try {
            std::string server;
            zal::CurveKeys::Pair client;
            options.curve.keys(server, client);
            runner.useCurve(server, client);
        } catch (const zal::CurveKeyError& e) {
            return usage(QString::fromStdString(e.what()));
        }
    }
    return std::nullopt;
}

zaltools::Form formOf(const Options& options) {
    if (Console::json()) {
        return zaltools::Form::Json;
    }
    return options.xml ? zaltools::Form::Xml : zaltools::Form::Text;
}

// Through the hosts of the hosts file, so that connect --from reaches the stream's host.
int run(const Options& options, const QStringList& words) {
    zaltools::CommandRunner check(options.endpoint.toStdString(), options.timeoutMs);
    if (const std::optional<int> status = useOptions(options, check)) {
        return *status;
    }
    const QString label = options.hostName.isEmpty() ? QStringLiteral("the host at %1").arg(options.endpoint)
                                                     : QLatin1Char('@') + options.hostName;
    zaltools::HostRunners runners(
        options.hosts, zaltools::HostEntry{options.hostName, options.endpoint.toStdString(), options.curve},
        label, options.timeoutMs, formOf(options));
    return Console::report(runners.execute(QString(), words));
}

// Set by SIGINT, which ends a watch after its current round and top after its current request.
volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) {
    interrupted = 1;
}

// Without SA_RESTART, so that the signal also ends the wait it arrives in.
void catchInterrupt() {
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

// The number of rounds --count asks for, 0 without it; throws UsageError for one that is no
// positive number.
int countOf(const zaltools::OptionWords& given) {
    if (!given.has(QStringLiteral("--count"))) {
        return 0;
    }
    const QString value = given.single(QStringLiteral("--count"));
    bool number = false;
    const int count = value.toInt(&number);
    if (!number || count <= 0) {
        throw zaltools::UsageError(QStringLiteral("watch: --count '%1' is not a positive number of rounds.")
                                       .arg(value)
                                       .toStdString());
    }
    return count;
}

// A round once a second until SIGINT or `--count` rounds. The first round must find every
// parameter, or the watch ends with the failed get's output and status; later, a value that does
// not come shows as "?".
int watch(const Options& options, const QStringList& words) {
    int count = 0;
    std::optional<zaltools::ParameterPoll> poll;
    try {
        const zaltools::OptionWords given(QStringLiteral("watch"), words.mid(1), {QStringLiteral("--count")},
                                          {QStringLiteral("--json")});
        count = countOf(given);
        poll.emplace(QStringList{words.front()} + given.positional);
    } catch (const zaltools::UsageError& e) {
        return usage(QString::fromUtf8(e.what()));
    }
    zaltools::CommandRunner runner(options.endpoint.toStdString(), options.timeoutMs, formOf(options));
    if (const std::optional<int> status = useOptions(options, runner)) {
        return *status;
    }
    catchInterrupt();
    auto next = zaltools::RequestPacer::Clock::now();
    for (int round = 0; !interrupted && (count == 0 || round < count); ++round) {
        std::optional<zaltools::CommandResult> failed;
        const QString line = poll->round(runner, failed, Console::json());
        if (interrupted) {
            break;  // the round may have been cut short
        }
        if (round == 0 && failed) {
            return Console::report(*failed);
        }
        print(stdout, line);
        std::fflush(stdout);
        next += std::chrono::seconds(1);
        if (count == 0 || round + 1 < count) {
            zaltools::RequestPacer::waitUntil(next, &interrupted);
        }
    }
    return static_cast<int>(ExitStatus::Success);
}

// top and graph read the system through a runner whose texts stay text: they make their own JSON.
template <class OwnCommand, class... Interrupt>
int runOwn(const Options& options, const QStringList& words, const Interrupt&... interrupt) {
    std::optional<OwnCommand> command;
    try {
        command.emplace(words);
    } catch (const zaltools::UsageError& e) {
        return usage(QString::fromUtf8(e.what()));
    }
    zaltools::CommandRunner runner(options.endpoint.toStdString(), options.timeoutMs);
    if (const std::optional<int> status = useOptions(options, runner)) {
        return *status;
    }
    return command->run(runner, interrupt...);
}

// With --all-hosts, every host of the hosts file, each with its own keys; otherwise the one host.
int top(const Options& options, const QStringList& words) {
    std::optional<TopCommand> command;
    try {
        command.emplace(words);
    } catch (const zaltools::UsageError& e) {
        return usage(QString::fromUtf8(e.what()));
    }
    if (!command->allHosts()) {
        return runOwn<TopCommand>(options, words, interrupted);
    }
    if (options.hosts.isEmpty()) {
        return usage(QStringLiteral("top: --all-hosts needs hosts: --hosts FILE or $ZAL_HOSTS."));
    }
    return command->runAllHosts(options.hosts, options.timeoutMs, interrupted);
}

// Whether --json stands among the options, before or after the command, so that even a usage error
// found before the command is read answers in JSON. A "--" after the command ends its options.
bool wantsJson(const QStringList& arguments) {
    bool commandSeen = false;
    for (const QString& word : arguments) {
        if (word == QLatin1String("--json")) {
            return true;
        }
        if (word == QLatin1String("--") && commandSeen) {
            return false;
        }
        commandSeen = commandSeen || !word.startsWith(QLatin1Char('-'));
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    Console::useJson(wantsJson(arguments));
    Options options = defaultOptions();
    qsizetype at = 0;
    if (const std::optional<int> status = readOptions(arguments, options, at)) {
        return *status;
    }
    const QString& command = arguments[at];
    if (command == QLatin1String("keygen")) {
        return keygen(arguments.mid(at + 1));
    }
    if (command == QLatin1String("watch")) {
        return watch(options, arguments.mid(at));
    }
    if (command == QLatin1String("top")) {
        catchInterrupt();
        return top(options, arguments.mid(at));
    }
    if (command == QLatin1String("graph")) {
        return runOwn<GraphCommand>(options, arguments.mid(at));
    }
    return run(options, arguments.mid(at));
}
