// Failures of processors: a processor that cannot run, and a configuration it cannot be built from.
#pragma once

#include <stdexcept>
#include <string>

namespace zal {

class ProcessorError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Raised while a processor is being created from an invalid configuration.
class CreateProcessorError : public ProcessorError {
public:
    using ProcessorError::ProcessorError;
};

}  // namespace zal
