#include "pipelinerunner.h"

#include "bridgetap.h"
#include "parameterwatch.h"
#include "pipelinefile.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"
#include "zaltools/linesplitter.h"
#include "zaltools/parameterpoll.h"

using zaltools::ExitStatus;

PipelineRunner::PipelineRunner(std::string frontend, const zaltools::HostTable& hosts, QTextStream& out,
                               QObject* parent)
    : QObject(parent),
      frontend(std::move(frontend)),
      runners(hosts, {QString(), this->frontend, {}}, QStringLiteral("this host"), zal::socketDefaultTimeout),
      out(out) {}

PipelineRunner::~PipelineRunner() = default;

bool PipelineRunner::run(const PipelineFile& file, QString& error) {
    for (const PipelineLine& line : file.lines()) {
        QString reason;
        const QString& verb = line.words.front();
        const bool done = verb == QLatin1String("watch") ? watch(line, reason)
                          : verb == QLatin1String("tap") ? tap(line.words, reason)
                                                         : runCommand(line, reason);
        if (!done) {
            error = QStringLiteral("%1: %2").arg(file.place(line), reason);
            return false;
        }
    }
    return true;
}

// A reply's first line says which command it answers ("Success  create-group demo"), since a run
// prints many of them; the raw XML of --xml stays as it travelled, and so does --json's object.
bool PipelineRunner::runCommand(const PipelineLine& line, QString& reason) {
    const zaltools::CommandResult result = runners.execute(line.host, line.words);
    const ExitStatus status = result.status();
    QString text = result.text;
    if ((status == ExitStatus::Success || status == ExitStatus::Warning) &&
        !text.startsWith(QLatin1Char('<')) && !text.startsWith(QLatin1Char('{'))) {
        const qsizetype end = text.indexOf(QLatin1Char('\n'));
        const QString at = line.host.isEmpty() ? QString() : QLatin1Char('@') + line.host + QLatin1Char(' ');
        text.insert(end < 0 ? text.size() : end,
                    QStringLiteral("  ") + at + zaltools::LineSplitter::join(line.words));
    }
    out << text << '\n';
    out.flush();
    if (status != ExitStatus::Success && status != ExitStatus::Warning) {
        reason = result.text.trimmed();
        return false;
    }
    return true;
}

bool PipelineRunner::watch(const PipelineLine& line, QString& reason) {
    const zaltools::ParameterPoll poll(line.words);
    std::optional<zaltools::CommandResult> failed;
    poll.round(*runners.runner(line.host), failed);
    if (failed) {
        reason = failed->text.trimmed();
        return false;
    }
    if (!watches) {
        watches = std::make_unique<ParameterWatch>(frontend, runners.table(), out);
    }
    watches->add(poll, line.host);
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
