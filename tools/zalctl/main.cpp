// zalctl: one control request to a running system per call, with the reply's result as exit status.
#include <QFile>
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

#include "zal/transport/constants.h"
#include "zal/transport/curvekeys.h"
#include "zaltools/commandparser.h"
#include "zaltools/commandrunner.h"
#include "zaltools/exitstatus.h"
#include "zaltools/parameterpoll.h"

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
    "  ZAL_ENDPOINT=tcp://127.0.0.1:5555 zalctl groups\n"
    "  zalctl keygen --public-file client.pub --secret-file client.secret\n";

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
               "  watch GROUP PROCESSOR PARAM[,PARAM...] [--count N]\n"
               "      asks for those parameters once a second and prints them, a line a round, until\n"
               "      Ctrl-C or N rounds; a parameter the processor does not give ends it at once\n"
               "  keygen [--public-file FILE] [--secret-file FILE]\n"
               "      makes a CURVE key pair, prints it and writes the key files asked for (never over an\n"
               "      existing file; the secret one readable by its owner only)\n"
               "\n"
               "Names: GROUP and PROCESSOR must not be empty or contain '/'. connect without --address\n"
               "resolves STREAM at the group's name service and connects to its first address.\n"
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
               "      a CURVE key or key file that cannot be used\n"
               "  73  keygen could not write a key file\n"
               "\n"
               "Examples (a host to try them on first):\n%4")
        .arg(QLatin1String(defaultEndpoint))
        .arg(zal::socketDefaultTimeout)
        .arg(commands, QLatin1String(examples));
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
    for (qsizetype i = 0; i < words.size(); ++i) {
        const qsizetype equals = words[i].indexOf(QLatin1Char('='));
        const QString option = equals < 0 ? words[i] : words[i].left(equals);
        if (option != QLatin1String("--public-file") && option != QLatin1String("--secret-file")) {
            return usage(QStringLiteral("keygen: unexpected '%1'.").arg(words[i]));
        }
        QString value =
            equals < 0 ? (i + 1 < words.size() ? words[++i] : QString()) : words[i].mid(equals + 1);
        if (value.isEmpty()) {
            return usage(QStringLiteral("keygen: %1 needs a file name.").arg(option));
        }
        files[option] = value;
    }
    // Both checked before either is written, so that a refusal leaves no half pair behind.
    if (files.size() == 2 && files.first() == files.last()) {
        return usage(QStringLiteral("keygen: the public and the secret key need files of their own."));
    }
    for (const QString& path : files) {
        if (QFile::exists(path)) {
            print(stderr, QStringLiteral("zalctl: keygen: '%1' exists; keygen does not overwrite key files.")
                              .arg(path));
            return static_cast<int>(ExitStatus::CannotWrite);
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
        print(stderr, QStringLiteral("zalctl: keygen: %1").arg(error));
        return static_cast<int>(ExitStatus::CannotWrite);
    }
    print(stdout, QStringLiteral("public-key: %1\nsecret-key: %2")
                      .arg(QString::fromStdString(pair.publicKey), QString::fromStdString(pair.secretKey)));
    return static_cast<int>(ExitStatus::Success);
}

// The CURVE options as given; each key may come inline or from a key file, not both.
struct CurveOptions {
    QMap<QString, QString> values;

    bool any() const { return !values.isEmpty(); }

    // Throws CurveKeyError, whose text is shown as a usage error, for anything unusable.
    std::string key(const QString& inlineOption, const QString& fileOption, const char* what) const {
        if (values.contains(inlineOption) && values.contains(fileOption)) {
            throw zal::CurveKeyError(
                QStringLiteral("give %1 or %2, not both.").arg(inlineOption, fileOption).toStdString());
        }
        if (values.contains(fileOption)) {
            return zal::CurveKeys::readSingleKey(values[fileOption]);
        }
        if (!values.contains(inlineOption)) {
            throw zal::CurveKeyError(QStringLiteral("CURVE needs %1 (%2 or %3).")
                                         .arg(QLatin1String(what), inlineOption, fileOption)
                                         .toStdString());
        }
        const std::string key = values[inlineOption].trimmed().toStdString();
        if (!zal::CurveKeys::isKey(key)) {
            throw zal::CurveKeyError(
                QStringLiteral("%1 is not a CURVE key (40 Z85 characters).").arg(inlineOption).toStdString());
        }
        return key;
    }
};

const QStringList curveOptionNames = {"--curve-server-key", "--curve-server-key-file", "--curve-public-key",
                                      "--curve-secret-key", "--curve-secret-key-file"};

// What the options before the command set.
struct Options {
    QString endpoint;
    int timeoutMs = zal::socketDefaultTimeout;
    bool xml = false;
    CurveOptions curve;
};

Options defaultOptions() {
    Options options;
    const char* fromEnvironment = std::getenv("ZAL_ENDPOINT");
    options.endpoint = fromEnvironment != nullptr && *fromEnvironment != '\0'
                           ? QString::fromLocal8Bit(fromEnvironment)
                           : QString::fromLatin1(defaultEndpoint);
    return options;
}

// One option that takes a value; an exit status when the value cannot be used.
std::optional<int> takeOption(const QString& option, const QString& value, Options& options) {
    if (isOption(option, curveOptionNames)) {
        options.curve.values[option] = value;
    } else if (option == QLatin1String("--timeout")) {
        bool number = false;
        options.timeoutMs = value.toInt(&number);
        if (!number || options.timeoutMs <= 0) {
            return usage(
                QStringLiteral("--timeout '%1' is not a positive number of milliseconds.").arg(value));
        }
    } else if (value.isEmpty()) {
        return usage(QStringLiteral("%1 needs a non-empty endpoint.").arg(option));
    } else {
        options.endpoint = value;
    }
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
        if (word == QLatin1String("--xml")) {
            options.xml = true;
            continue;
        }
        const qsizetype equals = word.startsWith(QLatin1String("--")) ? word.indexOf(QLatin1Char('=')) : -1;
        const QString option = equals < 0 ? word : word.left(equals);
        if (!isOption(option, {"-e", "--endpoint", "--timeout"}) && !isOption(option, curveOptionNames)) {
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
    return std::nullopt;
}

// Throws CurveKeyError for keys that cannot be used.
void useCurve(const CurveOptions& curve, zaltools::CommandRunner& runner) {
    const std::string server =
        curve.key(QStringLiteral("--curve-server-key"), QStringLiteral("--curve-server-key-file"),
                  "the server's public key");
    zal::CurveKeys::Pair client;
    client.secretKey = curve.key(QStringLiteral("--curve-secret-key"),
                                 QStringLiteral("--curve-secret-key-file"), "this client's secret key");
    client.publicKey = zal::CurveKeys::publicKeyOf(client.secretKey);
    if (curve.values.contains(QStringLiteral("--curve-public-key")) &&
        curve.values[QStringLiteral("--curve-public-key")].trimmed().toStdString() != client.publicKey) {
        throw zal::CurveKeyError("--curve-public-key does not belong to the secret key given.");
    }
    runner.useCurve(server, client);
}

// Shows a command's result as zalctl shows every reply; its exit status.
int report(const zaltools::CommandResult& result) {
    switch (result.outcome) {
        case zaltools::Outcome::BadUsage:
            return usage(result.text);
        case zaltools::Outcome::NoReply:
        case zaltools::Outcome::NoSuchName:
            print(stderr, QStringLiteral("zalctl: %1").arg(result.text));
            break;
        default:
            print(stdout, result.text);
    }
    return static_cast<int>(result.status());
}

// Applies the options' CURVE keys to the runner; an exit status when they cannot be used.
std::optional<int> useOptions(const Options& options, zaltools::CommandRunner& runner) {
    if (options.curve.any()) {
        try {
            useCurve(options.curve, runner);
        } catch (const zal::CurveKeyError& e) {
            return usage(QString::fromStdString(e.what()));
        }
    }
    return std::nullopt;
}

int run(const Options& options, const QStringList& words) {
    zaltools::CommandRunner runner(options.endpoint.toStdString(), options.timeoutMs, options.xml);
    if (const std::optional<int> status = useOptions(options, runner)) {
        return *status;
    }
    return report(runner.execute(words));
}

// Set by SIGINT, which ends a watch after its current round.
volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) {
    interrupted = 1;
}

// Takes "--count N" (or --count=N) out of the words; an exit status when N is no positive number.
std::optional<int> takeCount(QStringList& words, int& count) {
    for (qsizetype i = 0; i < words.size(); ++i) {
        if (words[i] != QLatin1String("--count") && !words[i].startsWith(QLatin1String("--count="))) {
            continue;
        }
        const bool inlineValue = words[i].contains(QLatin1Char('='));
        const QString value = inlineValue ? words[i].section(QLatin1Char('='), 1) : words.value(i + 1);
        words.remove(i, inlineValue ? 1 : std::min<qsizetype>(2, words.size() - i));
        bool number = false;
        count = value.toInt(&number);
        if (!number || count <= 0) {
            return usage(
                QStringLiteral("watch: --count '%1' is not a positive number of rounds.").arg(value));
        }
        return std::nullopt;
    }
    return std::nullopt;
}

// A round once a second until SIGINT or `--count` rounds. The first round must find every
// parameter, or the watch ends with the failed get's output and status; later, a value that does
// not come shows as "?".
int watch(const Options& options, QStringList words) {
    int count = 0;
    if (const std::optional<int> status = takeCount(words, count)) {
        return *status;
    }
    std::optional<zaltools::ParameterPoll> poll;
    try {
        poll.emplace(words);
    } catch (const zaltools::UsageError& e) {
        return usage(QString::fromUtf8(e.what()));
    }
    zaltools::CommandRunner runner(options.endpoint.toStdString(), options.timeoutMs);
    if (const std::optional<int> status = useOptions(options, runner)) {
        return *status;
    }
    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    timespec next = {};
    clock_gettime(CLOCK_MONOTONIC, &next);
    for (int round = 0; !interrupted && (count == 0 || round < count); ++round) {
        std::optional<zaltools::CommandResult> failed;
        const QString line = poll->round(runner, failed);
        if (interrupted) {
            break;  // the round may have been cut short
        }
        if (round == 0 && failed) {
            return report(*failed);
        }
        print(stdout, line);
        std::fflush(stdout);
        ++next.tv_sec;
        // SIGINT ends the wait at once; any other interruption waits on.
        while ((count == 0 || round + 1 < count) && !interrupted &&
               clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr) == EINTR) {
        }
    }
    return static_cast<int>(ExitStatus::Success);
}

}  // namespace

int main(int argc, char** argv) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    Options options = defaultOptions();
    qsizetype at = 0;
    if (const std::optional<int> status = readOptions(arguments, options, at)) {
        return *status;
    }
    if (arguments[at] == QLatin1String("keygen")) {
        return keygen(arguments.mid(at + 1));
    }
    if (arguments[at] == QLatin1String("watch")) {
        return watch(options, arguments.mid(at));
    }
    return run(options, arguments.mid(at));
}
