// How zalctl answers: text on its standard streams, or, when --json is asked for, one JSON object a
// line on standard output.
#pragma once

#include <QString>
#include <cstdio>

#include "zaltools/commandrunner.h"

class Console {
public:
    // Set once, before anything is printed.
    static void useJson(bool json);
    static bool json();

    // `text` and a newline.
    static void print(std::FILE* stream, const QString& text);
    // A usage error, with a pointer to the help on standard error, or as a JSON object; the status.
    static int usage(const QString& text);
    // A command's result as zalctl shows every reply; its exit status. The runner's texts are
    // already JSON when JSON is asked for.
    static int report(const zaltools::CommandResult& result);
    // The same for a result whose text is never JSON (that of a command zalctl runs itself).
    static int reportText(const zaltools::CommandResult& result);
    // A failure of zalctl's own with its reason, on standard error or as a JSON object; the status.
    static int fail(zaltools::ExitStatus status, const QString& text);
};
