// Splits the words after a sub-command into its arguments, its options with values and its flags.
#pragma once

#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

namespace zaltools {

// Options take their value as the next word or after '=' (--count=3), may stand anywhere after the
// sub-command, and "--" ends them, so that an argument starting with "--" can still be passed.
// Only words that begin with "--" are options, so a negative number is an ordinary argument.
class OptionWords {
public:
    // `words` follow the sub-command named `command`. Throws UsageError for an option that is
    // neither in `valueOptions` nor in `flags`, and for a value option without its value.
    OptionWords(const QString& command, const QStringList& words, const QStringList& valueOptions,
                const QStringList& flags);

    // The value of an option that may be given once; empty when it is not given. Throws UsageError
    // when it is given twice.
    QString single(const QString& option) const;
    bool has(const QString& option) const;
    bool flag(const QString& name) const { return flags.contains(name); }
    // The one optional GROUP argument of a command that looks at one group or all (empty). Throws
    // UsageError for more arguments or for a name that cannot be a group's.
    QString optionalGroup(const QString& usage) const;

    QStringList positional;
    QVector<QPair<QString, QString>> options;  // in the order given
    QStringList flags;

private:
    QString command;
};

}  // namespace zaltools
