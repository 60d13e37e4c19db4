#include "pipelinerunner.h"

#include <QFile>

#include "bridgetap.h"
#include "parameterwatch.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

PipelineRunner::PipelineRunner(std::string frontend, Splitter split, Executor execute, QTextStream& out,
                               QObject* parent)
    : QObject(parent),
      frontend(std::move(frontend)),
      split(std::move(split)),
      execute(std::move(execute)),
      out(out) {}

PipelineRunner::~PipelineRunner() = default;

bool PipelineRunner::run(const QString& path, QString& error) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        error = QStringLiteral("%1: cannot read pipeline: %2").arg(path, file.errorString());
        return false;
    }
    int number = 0;
    while (!file.atEnd()) {
        ++number;
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        QStringList words;
        QString reason;
        if (!split(line, words, reason) || (!words.isEmpty() && !runWords(words, reason))) {
            error = QStringLiteral("%1:%2: %3").arg(path).arg(number).arg(reason);
            return false;
        }
    }
    return true;
}

bool PipelineRunner::runWords(const QStringList& words, QString& reason) {
    const QString& verb = words.front();
    if (verb == "watch" || verb == "tap") {
        const int wanted = verb == "watch" ? 4 : 3;
        if (words.size() != wanted) {
            reason = verb == "watch" ? QStringLiteral("usage: watch GROUP PROCESSOR PARAM[,PARAM...]")
                                     : QStringLiteral("usage: tap GROUP BRIDGE");
            return false;
        }
        const std::string endpoint = zal::Endpoints::getProcessorEndpoint(
            words[1].toStdString(), words[2].toStdString(), zal::internalAddressPrefixDefault);
        const QString label = words[1] + '/' + words[2];
        if (verb == "watch") {
            watches.push_back(std::make_unique<ParameterWatch>(frontend, endpoint, label,
                                                               words[3].split(',', Qt::SkipEmptyParts), out));
            return true;
        }
        auto tap = std::make_unique<BridgeTap>(label, out);
        if (!tap->attach(QString::fromStdString(endpoint))) {
            reason = QStringLiteral("no Qt bridge runs at %1").arg(QString::fromStdString(endpoint));
            return false;
        }
        taps.push_back(std::move(tap));
        return true;
    }
    const CommandOutcome outcome = execute(words);
    if (!outcome.text.isEmpty()) {
        out << outcome.text << (outcome.text.endsWith('\n') ? "" : "\n");
        out.flush();
    }
    if (outcome.status != 0) {
        reason = outcome.text.trimmed();
        return false;
    }
    return true;
}

void PipelineRunner::printSummaries() {
    for (auto& watch : watches) {
        watch->printSummary();
    }
    for (auto& tap : taps) {
        out << "summary tap received " << tap->received() << " messages\n";
    }
    out.flush();
}
