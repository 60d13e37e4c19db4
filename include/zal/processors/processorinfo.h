// What a group asks the plug-in manager for: a processor's configuration, type, name and place.
#pragma once

#include <string>

#include "zal/msg/processor.h"

namespace zal {

struct ProcessorInfo {
    ProcessorInfo(zalmsg::Processor processor, std::string type, std::string name, std::string group,
                  std::string prefix)
        : processor(std::move(processor)),
          type(std::move(type)),
          name(std::move(name)),
          group(std::move(group)),
          prefix(std::move(prefix)) {}

    zalmsg::Processor processor;
    // A bare type name, or a plug-in name and a type name joined by a full stop.
    std::string type;
    std::string name;
    std::string group;
    std::string prefix;
};

}  // namespace zal
