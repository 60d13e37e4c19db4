// The outcome classes of one command, shared by zalctl's exit status and the pipeline runner.
#pragma once

namespace zaltools {

// The values are zalctl's exit statuses and are documented to users: never renumber them.
// 64 is EX_USAGE of sysexits.h, so that scripts can tell a mistyped command from a refused one.
enum class ExitStatus : int {
    Success = 0,
    Warning = 1,
    Error = 2,
    Timeout = 3,
    Usage = 64,
    CannotWrite = 73,  // EX_CANTCREAT: zalctl keygen could not write a key file
};

}  // namespace zaltools
