// A pipeline file, read and checked line by line before anything of it runs.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

// One line that holds a command.
struct PipelineLine {
    int number = 0;  // from 1, counting blank and comment lines
    QStringList words;
};

class PipelineFile {
public:
    enum class Problem { None, Unreadable, BadLine };

    // Reads `path` and checks that every line splits into words that make a command of zalctl's or
    // a watch or tap line, so that a mistake on the last line stops the host before the first runs.
    // `error` reads "FILE: reason" or "FILE:LINE: reason".
    Problem read(const QString& path, QString& error);

    const QVector<PipelineLine>& lines() const { return content; }
    // "FILE:LINE", where messages about a line say it happened.
    QString place(const PipelineLine& line) const;

private:
    // Empty when the words can run; otherwise what is wrong with them.
    static QString check(const QStringList& words);

    QString path;
    QVector<PipelineLine> content;
};
