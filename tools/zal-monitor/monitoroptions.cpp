#include "monitoroptions.h"

#include <QCommandLineParser>
#include <cstdlib>

#include "zaltools/curveoptions.h"
#include "zaltools/exitstatus.h"

namespace zalmonitor {

namespace {

void addOptions(QCommandLineParser& parser) {
    parser.setApplicationDescription(
        QStringLiteral("A window on a running zal system: its groups and processors, the graph of who feeds "
                       "whom coloured by health, rates and parameters of the processor selected."));
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOptions({
        {{"e", "endpoint"},
         "The router frontend (default: $ZAL_ENDPOINT, else tcp://127.0.0.1:5555).",
         "ADDR"},
        {"timeout", "How long to wait for each reply, in milliseconds (default 2000).", "MS"},
        {"curve-server-key", "The server's CURVE public key.", "KEY"},
        {"curve-server-key-file", "... read from a key file.", "FILE"},
        {"curve-secret-key", "This client's CURVE secret key.", "KEY"},
        {"curve-secret-key-file", "... read from a key file (preferred: not shown by ps).", "FILE"},
        {"curve-public-key", "This client's public key (default: derived from the secret).", "KEY"},
        {"screenshot",
         "Save the window as a PNG once the graph and a chart show data, print what it "
         "shows, and exit.",
         "FILE"},
        {"after", "Take the screenshot no sooner than this (default 5).", "SECONDS"},
    });
}

bool readNumbers(const QCommandLineParser& parser, MonitorOptions& options, QString& message) {
    bool number = true;
    if (parser.isSet(QStringLiteral("timeout"))) {
        options.timeoutMs = parser.value(QStringLiteral("timeout")).toInt(&number);
        if (!number || options.timeoutMs <= 0) {
            message = QStringLiteral("--timeout '%1' is not a positive number of milliseconds.")
                          .arg(parser.value(QStringLiteral("timeout")));
            return false;
        }
    }
    if (parser.isSet(QStringLiteral("after"))) {
        options.afterSeconds = parser.value(QStringLiteral("after")).toDouble(&number);
        if (!number || options.afterSeconds < 0) {
            message = QStringLiteral("--after '%1' is not a number of seconds.")
                          .arg(parser.value(QStringLiteral("after")));
            return false;
        }
    }
    return true;
}

bool readCurve(const QCommandLineParser& parser, MonitorOptions& options, QString& message) {
    zaltools::CurveOptions curve;
    for (const QString& option : zaltools::CurveOptions::names()) {
        if (parser.isSet(option.mid(2))) {
            curve.values[option] = parser.value(option.mid(2));
        }
    }
    if (!curve.any()) {
        return true;
    }
    try {
        curve.keys(options.curveServerKey, options.curveClientKeys);
    } catch (const zal::CurveKeyError& e) {
        message = QString::fromStdString(e.what());
        return false;
    }
    return true;
}

}  // namespace

std::optional<MonitorOptions> MonitorOptions::parse(const QStringList& arguments, QString& message,
                                                    int& status) {
    QCommandLineParser parser;
    addOptions(parser);
    status = static_cast<int>(zaltools::ExitStatus::Usage);
    if (!parser.parse(arguments)) {
        message = parser.errorText();
        return std::nullopt;
    }
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("version"))) {
        status = 0;
        // Parsed before any application object exists, the parser does not know the program's name.
        message = parser.isSet(QStringLiteral("help"))
                      ? parser.helpText().replace(QStringLiteral("<executable_name>"),
                                                  QStringLiteral("zal-monitor"))
                      : QStringLiteral("zal-monitor " ZAL_VERSION "\n");
        return std::nullopt;
    }
    if (!parser.positionalArguments().isEmpty()) {
        message = QStringLiteral("unexpected argument '%1'.").arg(parser.positionalArguments().first());
        return std::nullopt;
    }
    MonitorOptions options;
    const char* fromEnvironment = std::getenv("ZAL_ENDPOINT");
    if (parser.isSet(QStringLiteral("endpoint"))) {
        options.endpoint = parser.value(QStringLiteral("endpoint")).toStdString();
    } else if (fromEnvironment != nullptr && *fromEnvironment != '\0') {
        options.endpoint = fromEnvironment;
    }
    options.screenshot = parser.value(QStringLiteral("screenshot"));
    if (!readNumbers(parser, options, message) || !readCurve(parser, options, message)) {
        return std::nullopt;
    }
    return options;
}

}  // namespace zalmonitor
