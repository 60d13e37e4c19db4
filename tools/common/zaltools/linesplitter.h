// Splits command lines, and whole pipeline files, into words.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace zaltools {

// One non-empty line of a pipeline file. When it cannot be split, `split` is false, `error` says
// why and `words` is empty.
struct ScriptLine {
    int number = 0;  // 1-based, counted over every line of the text, blank and comment lines included
    bool split = true;
    QStringList words;
    QString error;
};

// Words are separated by blanks. Double quotes group blanks into a word and may make an empty
// word (""); inside them \" and \\ stand for " and \. Quoted and unquoted parts that touch form
// one word. A '#' at the start of a word, outside quotes, comments out the rest of the line, so
// that a topic like "t#1" stays a word.
class LineSplitter {
public:
    // False when a double quote is not closed; `error` then says so and `words` is cleared.
    static bool split(const QString& line, QStringList& words, QString& error);

    // The lines that hold words or an error, in order; blank and comment-only lines are left out.
    static QVector<ScriptLine> splitScript(const QString& text);

    // One line that split() turns back into `words`: a word is quoted when it is empty, holds a
    // blank, a double quote or a backslash, or starts with '#'.
    static QString join(const QStringList& words);
};

}  // namespace zaltools
