// One parsed command: where it goes, what it asks, and how its reply is shown.
#pragma once

#include <QString>
#include <string>
#include <vector>

#include "zal/msg/controlmessage.h"

namespace zaltools {

// Which part of a reply carries the value a user asked for.
enum class Presentation {
    Nothing,         // result and text only
    CommaList,       // Parameter "a,b", shown one item per line
    ParameterNames,  // as CommaList, each name with its description where the processor's type gives one
    Value,           // Parameter as it is
    DataSources,     // DataSource list
    DataStreams,     // DataStream list
    ResolvedName,    // ProcessorName and StreamAddresses
};

// How results are shown: for people, as the reply's XML, or as one JSON object for scripts.
enum class Form { Text, Xml, Json };

// The kinds of service a command may ask.
enum class Service { GroupManager, Group, NameService, Processor };

struct Command {
    QString name;  // the sub-command, e.g. "create-group"
    // The identity of the service asked, without its terminating zero byte.
    std::string destination;
    // The same service by kind and names, so that its silence can be explained by asking the
    // services that know those names. `group` is empty for the group manager, `processor` is set
    // for a processor only.
    Service service = Service::GroupManager;
    QString group;
    QString processor;
    zalmsg::ControlMessage request;
    // Set only for a connect by stream name, whose address is known only after resolving: then
    // `request` is the ResolveStream for this name service, and the Connect for `destination` is
    // made from the first address resolved, `streamName` and `filters`.
    std::string resolveAt;
    QString streamName;
    // For a connect by stream name: the group whose name service resolves it, and the host that
    // group lives at when that is another than the consumer's (`--from @NAME[/GROUP]`, without '@').
    QString resolveGroup;
    QString fromHost;
    std::vector<std::string> filters;
    Presentation presentation = Presentation::Nothing;
    bool xml = false;   // show the raw reply instead of the formatted one
    bool json = false;  // show what became of the command as one JSON object
};

}  // namespace zaltools
