#include "zaltools/optionwords.h"

#include "zaltools/commandparser.h"

namespace zaltools {

OptionWords::OptionWords(const QString& command, const QStringList& words, const QStringList& valueOptions,
                         const QStringList& flagNames)
    : command(command) {
    bool optionsEnded = false;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (optionsEnded || !word.startsWith(QLatin1String("--"))) {
            positional << word;
            continue;
        }
        if (word == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        const qsizetype equals = word.indexOf(QLatin1Char('='));
        const QString option = equals < 0 ? word : word.left(equals);
        if (equals < 0 && flagNames.contains(option)) {
            flags << option;
            continue;
        }
        if (!valueOptions.contains(option)) {
            throw UsageError(QStringLiteral("%1: unknown option '%2'.").arg(command, option).toStdString());
        }
        if (equals >= 0) {
            options.append({option, word.mid(equals + 1)});
        } else if (i + 1 < words.size()) {
            options.append({option, words[++i]});
        } else {
            throw UsageError(
                QStringLiteral("%1: option %2 needs a value.").arg(command, option).toStdString());
        }
    }
}

QString OptionWords::single(const QString& option) const {
    QString value;
    int count = 0;
    for (const auto& [name, v] : options) {
        if (name == option) {
            value = v;
            ++count;
        }
    }
    if (count > 1) {
        throw UsageError(
            QStringLiteral("%1: option %2 may be given only once.").arg(command, option).toStdString());
    }
    return value;
}

bool OptionWords::has(const QString& option) const {
    for (const auto& entry : options) {
        if (entry.first == option) {
            return true;
        }
    }
    return false;
}

QString OptionWords::optionalGroup(const QString& usage) const {
    if (positional.size() > 1) {
        throw UsageError(QStringLiteral("%1: unexpected argument '%2'. Usage: %3")
                             .arg(command, positional[1], usage)
                             .toStdString());
    }
    const QString group = positional.value(0);
    if (positional.size() == 1 && (group.isEmpty() || group.contains(QLatin1Char('/')))) {
        throw UsageError(QStringLiteral("%1: GROUP '%2' must not be empty or contain '/'.")
                             .arg(command, group)
                             .toStdString());
    }
    return group;
}

}  // namespace zaltools
