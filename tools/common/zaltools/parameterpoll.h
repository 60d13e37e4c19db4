// Chosen parameters of one processor, asked for a round at a time for a live display.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "zaltools/commandrunner.h"

namespace zaltools {

// What `watch GROUP PROCESSOR PARAM[,PARAM...]` asks, in zalctl and in pipeline files alike: each
// parameter through the command layer's own `get`, so a mistake reads as that command's would.
class ParameterPoll {
public:
    // Throws UsageError when the words are not "watch GROUP PROCESSOR PARAM[,PARAM...]".
    explicit ParameterPoll(const QStringList& words);

    static QString usage();

    // One round through `runner`: "GROUP/PROCESSOR: a=1 b=2", with "?" for a value not given, or
    // with `json` one JSON object whose value is {"group", "processor", "parameters": {"a": "1",
    // "b": null}}. The result of the first get that did not succeed goes to `failed`.
    QString round(CommandRunner& runner, std::optional<CommandResult>& failed, bool json = false) const;

private:
    QString group;
    QString processor;
    QStringList parameters;
};

}  // namespace zaltools
