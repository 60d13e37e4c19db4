#include "zal/processors/plugin.h"

namespace zal {

Plugin::Plugin(QObject* parent) : QObject(parent) {}

Plugin::~Plugin() = default;

ProcessorBase* Plugin::createProcessor(const ProcessorInfo& /*info*/) {
    return nullptr;
}

}  // namespace zal
