#include "pipelinerunner.h"

#include "bridgetap.h"
#include "parameterwatch.h"
#include "pipelinefile.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

PipelineRunner::PipelineRunner(std::string frontend, Executor execute, QTextStream& out, QObject* parent)
    : QObject(parent), frontend(std::move(frontend)), execute(std::move(execute)), out(out) {}

PipelineRunner::~PipelineRunner() = default;

bool PipelineRunner::run(const PipelineFile& file, QString& error) {
    for (const PipelineLine& line : file.lines()) {
        QString reason;
        if (!runWords(line.words, reason)) {
            error = QStringLiteral("%1: %2").arg(file.place(line), reason);
            return false;
        }
    }
    return true;
}

bool PipelineRunner::runWords(const QStringList& words, QString& reason) {
    const QString& verb = words.front();
    if (verb == "watch" || verb == "tap") {
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
