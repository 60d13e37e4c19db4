#include "commandbinding.h"

#include "zal/transport/constants.h"
#include "zaltools/commandrunner.h"

PipelineRunner::Executor makeCommandExecutor(const std::string& frontend) {
    auto runner = std::make_shared<zaltools::CommandRunner>(frontend, zal::socketDefaultTimeout);
    return [runner](const QStringList& words) {
        const zaltools::CommandResult result = runner->execute(words);
        // A warning is reported and the pipeline goes on; errors, time-outs and usage stop it.
        const zaltools::ExitStatus status = result.status();
        const bool fatal = status != zaltools::ExitStatus::Success && status != zaltools::ExitStatus::Warning;
        return CommandOutcome{fatal ? static_cast<int>(status) : 0, result.text};
    };
}
