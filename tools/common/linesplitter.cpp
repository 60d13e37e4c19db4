#include "zaltools/linesplitter.h"

#include <algorithm>

namespace zaltools {

bool LineSplitter::split(const QString& line, QStringList& words, QString& error) {
    words.clear();
    QString word;
    // A word exists once anything, even an empty pair of quotes, has been read for it.
    bool inWord = false;
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line[i];
        if (quoted) {
            if (c == QLatin1Char('\\') && i + 1 < line.size() &&
                (line[i + 1] == QLatin1Char('"') || line[i + 1] == QLatin1Char('\\'))) {
                word += line[++i];
            } else if (c == QLatin1Char('"')) {
                quoted = false;
            } else {
                word += c;
            }
        } else if (c.isSpace()) {
            if (inWord) {
                words << word;
                word.clear();
                inWord = false;
            }
        } else if (c == QLatin1Char('#') && !inWord) {
            break;
        } else if (c == QLatin1Char('"')) {
            quoted = true;
            inWord = true;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (quoted) {
        words.clear();
        error = QStringLiteral("unterminated double quote");
        return false;
    }
    if (inWord) {
        words << word;
    }
    return true;
}

QVector<ScriptLine> LineSplitter::splitScript(const QString& text) {
    QVector<ScriptLine> lines;
    const QStringList rawLines = text.split(QLatin1Char('\n'));
    for (qsizetype i = 0; i < rawLines.size(); ++i) {
        ScriptLine line;
        line.number = static_cast<int>(i + 1);
        line.split = split(rawLines[i], line.words, line.error);
        if (!line.split || !line.words.isEmpty()) {
            lines << line;
        }
    }
    return lines;
}

QString LineSplitter::join(const QStringList& words) {
    QStringList line;
    for (const QString& word : words) {
        const bool plain = !word.isEmpty() && !word.startsWith(QLatin1Char('#')) &&
                           std::none_of(word.begin(), word.end(), [](QChar c) {
                               return c.isSpace() || c == QLatin1Char('"') || c == QLatin1Char('\\');
                           });
        if (plain) {
            line << word;
            continue;
        }
        QString escaped = word;
        escaped.replace(QLatin1Char('\\'), QLatin1String("\\\\"))
            .replace(QLatin1Char('"'), QLatin1String("\\\""));
        line << QLatin1Char('"') + escaped + QLatin1Char('"');
    }
    return line.join(QLatin1Char(' '));
}

}  // namespace zaltools
