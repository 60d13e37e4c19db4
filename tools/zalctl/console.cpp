#include "console.h"

#include "zaltools/jsonreply.h"

namespace {

bool jsonOutput = false;

}  // namespace

void Console::useJson(bool json) {
    jsonOutput = json;
}

bool Console::json() {
    return jsonOutput;
}

void Console::print(std::FILE* stream, const QString& text) {
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fputc('\n', stream);
}

int Console::usage(const QString& text) {
    if (jsonOutput) {
        print(stdout, zaltools::JsonReply::ofOutcome(zaltools::ExitStatus::Usage, text));
    } else {
        print(stderr, QStringLiteral("zalctl: %1\nRun 'zalctl --help' for commands and options.").arg(text));
    }
    return static_cast<int>(zaltools::ExitStatus::Usage);
}

int Console::report(const zaltools::CommandResult& result) {
    if (jsonOutput) {
        print(stdout, result.text);
        return static_cast<int>(result.status());
    }
    switch (result.outcome) {
        case zaltools::Outcome::BadUsage:
            return usage(result.text);
        case zaltools::Outcome::NoReply:
        case zaltools::Outcome::NoSuchName:
            print(stderr, QStringLiteral("zalctl: %1").arg(result.text));
            break;
        default:
            print(stdout, result.text);
    }
    return static_cast<int>(result.status());
}

int Console::reportText(const zaltools::CommandResult& result) {
    if (!jsonOutput) {
        return report(result);
    }
    print(stdout, zaltools::JsonReply::ofOutcome(result.status(), result.text));
    return static_cast<int>(result.status());
}

int Console::fail(zaltools::ExitStatus status, const QString& text) {
    print(jsonOutput ? stdout : stderr,
          jsonOutput ? zaltools::JsonReply::ofOutcome(status, text) : QStringLiteral("zalctl: ") + text);
    return static_cast<int>(status);
}
