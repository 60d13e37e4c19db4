#include "pipelinefile.h"

#include <QFile>

#include "zal/transport/constants.h"
#include "zaltools/commandparser.h"
#include "zaltools/linesplitter.h"
#include "zaltools/parameterpoll.h"

PipelineFile::Problem PipelineFile::read(const QString& filePath, QString& error) {
    path = filePath;
    content.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        error = QStringLiteral("%1: cannot read pipeline: %2").arg(path, file.errorString());
        return Problem::Unreadable;
    }
    for (const zaltools::ScriptLine& line :
         zaltools::LineSplitter::splitScript(QString::fromUtf8(file.readAll()))) {
        const QString problem = line.split ? check(line.words) : line.error;
        if (!problem.isEmpty()) {
            error = place({line.number, {}}) + QStringLiteral(": ") + problem;
            content.clear();
            return Problem::BadLine;
        }
        content.append({line.number, line.words});
    }
    return Problem::None;
}

QString PipelineFile::place(const PipelineLine& line) const {
    return QStringLiteral("%1:%2").arg(path).arg(line.number);
}

QString PipelineFile::check(const QStringList& words) {
    if (words.front() == QLatin1String("tap")) {
        return words.size() == 3 ? QString() : QStringLiteral("usage: tap GROUP BRIDGE");
    }
    try {
        if (words.front() == QLatin1String("watch")) {
            zaltools::ParameterPoll{words};
        } else {
            zaltools::CommandParser(zal::internalAddressPrefixDefault).parse(words);
        }
    } catch (const std::exception& e) {
        return QString::fromUtf8(e.what());
    }
    return QString();
}
