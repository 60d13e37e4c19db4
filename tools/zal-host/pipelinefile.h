// A pipeline file, read and checked line by line before anything of it runs.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include "zaltools/hosttable.h"

// One line that holds a command.
struct PipelineLine {
    int number = 0;  // from 1, counting blank and comment lines
    QStringList words;
    QString host;  // the NAME of a line that begins with @NAME, without '@'; empty: this host
};

class PipelineFile {
public:
    enum class Problem { None, Unreadable, BadLine };

    // Reads `path` and checks that every line splits into words that make a command of zalctl's or
    // a watch or tap line, so that a mistake on the last line stops the host before the first runs.
    // Host lines (`host NAME ENDPOINT [CURVE options]`) may stand before the first command; every
    // @NAME and `--from @NAME` must name one of them.
    // `error` reads "FILE: reason" or "FILE:LINE: reason".
    Problem read(const QString& path, QString& error);

    const QVector<PipelineLine>& lines() const { return content; }
    const zaltools::HostTable& hosts() const { return table; }
    // "FILE:LINE", where messages about a line say it happened.
    QString place(const PipelineLine& line) const;

private:
    // Empty when the line can run; otherwise what is wrong with it. Takes a leading @NAME off.
    QString check(PipelineLine& line) const;
    QString checkHostLine(const QStringList& words);

    QString path;
    QVector<PipelineLine> content;
    zaltools::HostTable table;
};
