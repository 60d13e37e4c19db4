// Renders one sweep of `zalctl top`: a table for people, or one line of JSON for scripts.
#pragma once

#include <QString>

#include "zaltools/topreport.h"

namespace zaltools {

class TopFormatter {
public:
    // A heading line, the table with a row a processor, then a line per problem of the sweep.
    // No final newline.
    static QString table(const TopReport& report);
    // One JSON object as every zalctl --json answer is; its value holds the sweep (docs/observability.md).
    static QString json(const TopReport& report);
};

}  // namespace zaltools
