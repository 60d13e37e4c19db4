// zal-host: loads libzal, starts it through its C entry points and runs until told to stop.
#include <dlfcn.h>
#include <sys/resource.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>
#include <QTimer>
#include <cstdio>
#include <memory>
#include <optional>

#include "hostconfiguration.h"
#include "pipelinefile.h"
#include "pipelinerunner.h"
#include "signalwatcher.h"
#include "typelisting.h"
#include "zal/host/environment.h"
#include "zal/host/environmentdll.h"
#include "zal/platform/idllinstance.h"
#include "zal/transport/constants.h"
#include "zal/transport/context.h"

namespace {

// Exit statuses, as documented by --help.
enum ExitStatus { Ok = 0, StartFailed = 1, PipelineFailed = 2, Usage = 64 };

const char* const statusHelp =
    "Exit status: 0 stopped cleanly (SIGINT, SIGTERM or --duration), 1 the library or its\n"
    "environment did not start (the reason follows on standard error), 2 a pipeline line is\n"
    "malformed or failed, 64 bad options, 66 configuration or pipeline file missing or\n"
    "unreadable, or a configuration line malformed.\n";

struct Library {
    using Create = IDllInstance* (*)(const wchar_t*);
    using Destroy = void (*)(IDllInstance*);
    void* handle = nullptr;
    Create create = nullptr;
    Destroy destroy = nullptr;

    // Beside the program (build tree), then the installed layout, then the loader's search path.
    bool load(QString& error) {
        const QString dir = QCoreApplication::applicationDirPath();
        for (const QString& path :
             {dir + "/libzal.so", dir + "/../lib/libzal.so", QStringLiteral("libzal.so")}) {
            handle = dlopen(path.toLocal8Bit().constData(), RTLD_NOW);
            if (handle != nullptr) {
                break;
            }
            error = QString::fromLocal8Bit(dlerror());
        }
        if (handle == nullptr) {
            return false;
        }
        create = reinterpret_cast<Create>(dlsym(handle, "QVCreate"));
        destroy = reinterpret_cast<Destroy>(dlsym(handle, "QVDestroy"));
        if (create == nullptr || destroy == nullptr) {
            error = QStringLiteral("libzal.so has no QVCreate/QVDestroy");
            return false;
        }
        return true;
    }
};

// Every ZeroMQ socket holds descriptors; with the usual soft limit of 1024 a hundred or so
// processors exhaust it long before the context's 4095 sockets, so the host takes what it may.
void raiseDescriptorLimit() {
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

// Loopback only: 127.0.0.0/8 and ::1, as ZeroMQ reports a bound address (tcp://HOST:PORT).
bool isLoopbackTcp(const QString& endpoint) {
    QString host = endpoint.mid(6).section(QLatin1Char(':'), 0, -2);
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']'))) {
        host = host.mid(1, host.size() - 2);
    }
    return host.startsWith(QLatin1String("127.")) || host == QLatin1String("::1") ||
           host == QLatin1String("localhost");
}

// What the command line asks for.
struct Options {
    std::optional<QString> config;
    std::optional<QString> listen;
    std::optional<QString> pipeline;
    double seconds = 0;  // 0: until a signal
};

void describeOptions(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        QStringLiteral(
            "Runs the zal middleware in this process until SIGINT, SIGTERM or --duration.\n"
            "The frontend address is --listen, else the key EnvironmentAddress of the configuration\n"
            "(default: in-process only). RouterDropMalformed (default: on for a tcp:// frontend, else\n"
            "off) makes the router drop malformed messages instead of stopping. CurveSecretKeyFile (or\n"
            "CurveSecretKey) with CurveAuthorizedKeysFile admits authorised CURVE clients only, and\n"
            "makes tcp:// data streams CURVE too (CurvePeerKeysFile, CurveDataAuthorizedKeysFile).\n"
            "Unknown configuration keys are named on standard error.\n\n") +
        QString::fromLatin1(statusHelp));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {QStringLiteral("config"), QStringLiteral("INI configuration file (sets ZAL_CONFIG)."),
         QStringLiteral("FILE")},
        {QStringLiteral("listen"),
         QStringLiteral("Frontend address, e.g. tcp://127.0.0.1:5555 (overrides EnvironmentAddress)."),
         QStringLiteral("ADDR")},
        {QStringLiteral("pipeline"),
         QStringLiteral("Control commands to run in order at start, one per line."), QStringLiteral("FILE")},
        {QStringLiteral("duration"), QStringLiteral("Stop after this many seconds."),
         QStringLiteral("SECONDS")},
        {QStringLiteral("list-types"),
         QStringLiteral("Print every processor type this host can create, with its parameters and the "
                        "file it comes from, and exit.")},
    });
}

std::optional<QString> valueOf(const QCommandLineParser& parser, const char* name) {
    return parser.isSet(QLatin1String(name)) ? std::optional<QString>(parser.value(QLatin1String(name)))
                                             : std::nullopt;
}

// An exit status when the program ends here (help, version, or bad options).
std::optional<int> readOptions(Options& options, QTextStream& out, QTextStream& err) {
    QCommandLineParser parser;
    describeOptions(parser);
    if (!parser.parse(QCoreApplication::arguments())) {
        err << "zal-host: " << parser.errorText() << "\n";
        return Usage;
    }
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("version"))) {
        out << (parser.isSet(QStringLiteral("help")) ? parser.helpText()
                                                     : QCoreApplication::applicationName() + ' ' +
                                                           QCoreApplication::applicationVersion() + '\n');
        return Ok;
    }
    if (parser.isSet(QStringLiteral("list-types"))) {
        typelisting::print(out);
        return Ok;
    }
    if (!parser.positionalArguments().isEmpty()) {
        err << "zal-host: unexpected argument '" << parser.positionalArguments().front() << "'\n";
        return Usage;
    }
    if (const std::optional<QString> duration = valueOf(parser, "duration")) {
        bool ok = false;
        options.seconds = duration->toDouble(&ok);
        if (!ok || options.seconds <= 0) {
            err << "zal-host: --duration wants a positive number of seconds, not '" << *duration << "'\n";
            return Usage;
        }
    }
    options.listen = valueOf(parser, "listen");
    if (options.listen && options.listen->isEmpty()) {
        err << "zal-host: --listen wants an address, such as tcp://127.0.0.1:5555\n";
        return Usage;
    }
    options.config = valueOf(parser, "config");
    options.pipeline = valueOf(parser, "pipeline");
    return std::nullopt;
}

// The reason of a failed start as the failure gave it, without the frames of the threads it
// passed through on its way ("Thread failed: ", "ControllableThread::run() failed: ").
QString startFailure(IDllInstance* instance) {
    const auto* environmentDll = dynamic_cast<zal::EnvironmentDll*>(instance);
    if (environmentDll == nullptr) {
        return QStringLiteral("the library created no instance");
    }
    QStringList reasons;
    for (QString line : environmentDll->getLastError().split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        for (const QLatin1String frame :
             {QLatin1String("Thread failed: "), QLatin1String("ControllableThread::run() failed: ")}) {
            if (line.startsWith(frame)) {
                line = line.mid(frame.size());
            }
        }
        reasons << line;
    }
    return reasons.isEmpty() ? QStringLiteral("no reason given") : reasons.join(QStringLiteral("; "));
}

// Announces the frontend, warns when the network reaches it unprotected, and returns the frontend
// the host's own clients use: with CURVE the in-process one, which needs no keys.
std::string ownFrontend(IDllInstance* instance, QTextStream& out, QTextStream& err) {
    auto* environmentDll = dynamic_cast<zal::EnvironmentDll*>(instance);
    const std::string frontend = environmentDll != nullptr
                                     ? environmentDll->getEnvironment()->getRouterFrontendAddress()
                                     : std::string();
    out << "zal-host: frontend listening at " << QString::fromStdString(frontend) << "\n";
    out.flush();
    const bool curve = environmentDll != nullptr && environmentDll->getEnvironment()->frontendUsesCurve();
    const QString frontendText = QString::fromStdString(frontend);
    if (frontendText.startsWith(QLatin1String("tcp://")) && !curve && !isLoopbackTcp(frontendText)) {
        err << "zal-host: WARNING: the frontend " << frontendText
            << " is reachable from the network without authentication or encryption: anyone who can "
               "connect can control this host and read its replies. Set CurveSecretKeyFile and "
               "CurveAuthorizedKeysFile in the configuration, or listen on 127.0.0.1.\n";
        err.flush();
    }
    return curve ? std::string(zal::routerFrontendAddressDefault) : frontend;
}

// Checks the configuration and the pipeline before anything starts, so that a mistake in either
// costs no start and no half-run pipeline; an exit status when the program ends here.
std::optional<int> check(const Options& options, PipelineFile& pipeline, QTextStream& err) {
    if (const std::optional<int> status = hostconfiguration::use(options.config, err)) {
        return status;
    }
    QString error;
    const PipelineFile::Problem problem =
        options.pipeline ? pipeline.read(*options.pipeline, error) : PipelineFile::Problem::None;
    if (problem != PipelineFile::Problem::None) {
        err << "zal-host: " << error << "\n";
        return problem == PipelineFile::Problem::Unreadable ? hostconfiguration::noConfiguration
                                                            : PipelineFailed;
    }
    hostconfiguration::prepare(options.listen);
    return std::nullopt;
}

// Runs the pipeline, then the event loop until a signal or the duration; the exit status.
int serve(QCoreApplication& app, const std::string& frontend, const Options& options,
          const PipelineFile& pipeline, QTextStream& out, QTextStream& err) {
    // Destroyed on return: its sockets must be closed before the context goes, or terminating
    // the context waits forever.
    PipelineRunner runner(frontend, pipeline.hosts(), out);
    QString error;
    if (!runner.run(pipeline, error)) {
        err << "zal-host: " << error << "\n";
        return PipelineFailed;
    }
    SignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &SignalWatcher::terminationRequested, &app, [&](int number) {
        out << "\nzal-host: signal " << number << ", stopping\n";
        QCoreApplication::quit();
    });
    if (options.seconds > 0) {
        QTimer::singleShot(static_cast<int>(options.seconds * 1000), &app, &QCoreApplication::quit);
    }
    app.exec();
    runner.printSummaries();
    return Ok;
}
}  // namespace

int main(int argc, char** argv) {
    // Qt's own event loop rather than glib's, unless the user chose: under glib every signal a
    // QtBridge queues to this thread costs a wake-up system call, under Qt's own only the first
    // of those that arrive while the loop is busy does, which more than doubles how fast a stream
    // reaches this thread's slots. zal-host needs nothing of glib.
    if (!qEnvironmentVariableIsSet("QT_NO_GLIB")) {
        qputenv("QT_NO_GLIB", "1");
    }
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zal-host"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZAL_VERSION));
    QTextStream out(stdout);
    QTextStream err(stderr);
    Options options;
    PipelineFile pipeline;
    if (const std::optional<int> status = readOptions(options, out, err)) {
        return *status;
    }
    if (const std::optional<int> status = check(options, pipeline, err)) {
        return *status;
    }

    raiseDescriptorLimit();
    Library library;
    QString loadError;
    if (!library.load(loadError)) {
        err << "zal-host: cannot load libzal.so: " << loadError << "\n";
        return StartFailed;
    }
    IDllInstance* instance = library.create(hostconfiguration::instanceName);
    if (instance == nullptr || !instance->Execute(argc, argv)) {
        err << "zal-host: the environment did not start: " << startFailure(instance) << "\n";
        library.destroy(instance);
        return StartFailed;
    }
    const int status = serve(app, ownFrontend(instance, out, err), options, pipeline, out, err);
    instance->Shutdown();
    library.destroy(instance);
    zal::Context::Instance().aboutToTerminate();
    out << "zal-host: stopped\n";
    return status;
}
