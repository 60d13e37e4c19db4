#include "pipelinefile.h"

#include <QFile>

#include "zal/transport/constants.h"
#include "zaltools/commandparser.h"
#include "zaltools/linesplitter.h"

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
            error = QStringLiteral("%1:%2: %3").arg(path).arg(line.number).arg(problem);
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

QString PipelineFile::watchUsage() {
    return QStringLiteral("usage: watch GROUP PROCESSOR PARAM[,PARAM...]");
}

QString PipelineFile::tapUsage() {
    return QStringLiteral("usage: tap GROUP BRIDGE");
}

QString PipelineFile::check(const QStringList& words) {
    if (words.front() == QLatin1String("watch")) {
        return words.size() == 4 ? QString() : watchUsage();
    }
    if (words.front() == QLatin1String("tap")) {
        return words.size() == 3 ? QString() : tapUsage();
    }
    try {
        zaltools::CommandParser(zal::internalAddressPrefixDefault).parse(words);
    } catch (const std::exception& e) {
        return QString::fromUtf8(e.what());
    }
    return QString();
}
