#include "pipelinerunner.h"

#include "bridgetap.h"
#include "parameterwatch.h"
#include "pipelinefile.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"
#include "zaltools/linesplitter.h"
#include "zaltools/parameterpoll.h"

using zaltools::ExitStatus;

PipelineRunner::PipelineRunner(std::string frontend, QTextStream& out, QObject* parent)
    : QObject(parent),
      frontend(std::move(frontend)),
      runner(this->frontend, zal::socketDefaultTimeout),
      out(out) {}

PipelineRunner::~PipelineRunner() = default;

bool PipelineRunner::run(const PipelineFile& file, QString& error) {
    for (const PipelineLine& line : file.lines()) {
        QString reason;
        const QString& verb = line.words.front();
        const bool done = verb == QLatin1String("watch") ? watch(line.words, reason)
                          : verb == QLatin1String("tap") ? tap(line.words, reason)
                                                         : runCommand(line.words, reason);
        if (!done) {
            error = QStringLiteral("%1: %2").arg(file.place(line), reason);
            return false;
        }
    }
    return true;
}

// A reply's first line says which command it answers ("Success  create-group demo"), since a run
// prints many of them; the raw XML of --xml stays as it travelled, and so does --json's object.
bool PipelineRunner::runCommand(const QStringList& words, QString& reason) {
    const zaltools::CommandResult result = runner.execute(words);
    const ExitStatus status = result.status();
    QString text = result.text;
    if ((status == ExitStatus::Success || status == ExitStatus::Warning) &&
        !text.startsWith(QLatin1Char('<')) && !text.startsWith(QLatin1Char('{'))) {
        const qsizetype end = text.indexOf(QLatin1Char('\n'));
        text.insert(end < 0 ? text.size() : end, QStringLiteral("  ") + zaltools::LineSplitter::join(words));
    }
    out << text << '\n';
    out.flush();
    if (status != ExitStatus::Success && status != ExitStatus::Warning) {
        reason = result.text.trimmed();
        return false;
    }
    return true;
}

bool PipelineRunner::watch(const QStringList& words, QString& reason) {
    const zaltools::ParameterPoll poll(words);
    std::optional<zaltools::CommandResult> failed;
    poll.round(runner, failed);
    if (failed) {
        reason = failed->text.trimmed();
        return false;
    }
    if (!watches) {
        watches = std::make_unique<ParameterWatch>(frontend, out);
    }
    watches->add(poll);
    return true;
}

bool PipelineRunner::tap(const QStringList& words, QString& reason) {
    const std::string endpoint = zal::Endpoints::getProcessorEndpoint(
        words[1].toStdString(), words[2].toStdString(), zal::internalAddressPrefixDefault);
    auto bridgeTap = std::make_unique<BridgeTap>(words[1] + '/' + words[2], out);
    if (!bridgeTap->attach(QString::fromStdString(endpoint))) {
        reason = QStringLiteral("no Qt bridge runs at %1").arg(QString::fromStdString(endpoint));
        return false;
    }
    taps.push_back(std::move(bridgeTap));
    return true;
}

void PipelineRunner::printSummaries() {
    if (watches) {
        watches->printSummary();
    }
    for (auto& bridgeTap : taps) {
        out << "summary tap received " << bridgeTap->received() << " messages\n";
    }
    out.flush();
}
