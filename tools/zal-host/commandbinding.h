// Binds the pipeline runner to the command layer that zalctl uses, so a pipeline line means what the same
// zalctl command means.
#pragma once

#include <string>

#include "pipelinerunner.h"

PipelineRunner::Executor makeCommandExecutor(const std::string& frontend);
