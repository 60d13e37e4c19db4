#include "pipelinefile.h"

#include <QFile>
#include <QFileInfo>

#include "zal/transport/constants.h"
#include "zaltools/commandparser.h"
#include "zaltools/linesplitter.h"
#include "zaltools/parameterpoll.h"

PipelineFile::Problem PipelineFile::read(const QString& filePath, QString& error) {
    path = filePath;
    content.clear();
    table = {};
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        error = QStringLiteral("%1: cannot read pipeline: %2").arg(path, file.errorString());
        return Problem::Unreadable;
    }
    for (const zaltools::ScriptLine& script :
         zaltools::LineSplitter::splitScript(QString::fromUtf8(file.readAll()))) {
        PipelineLine line{script.number, script.words, {}};
        const QString problem = !script.split                                   ? script.error
                                : zaltools::HostTable::isHostLine(script.words) ? checkHostLine(script.words)
                                                                                : check(line);
        if (!problem.isEmpty()) {
            error = place(line) + QStringLiteral(": ") + problem;
            content.clear();
            return Problem::BadLine;
        }
        if (!zaltools::HostTable::isHostLine(script.words)) {
            content.append(line);
        }
    }
    return Problem::None;
}

QString PipelineFile::place(const PipelineLine& line) const {
    return QStringLiteral("%1:%2").arg(path).arg(line.number);
}

QString PipelineFile::checkHostLine(const QStringList& words) {
    if (!content.isEmpty()) {
        return QStringLiteral("host lines belong at the top, before the first command");
    }
    try {
        table.add(words, QFileInfo(path).absolutePath());
    } catch (const zaltools::UsageError& e) {
        return QString::fromUtf8(e.what());
    }
    return QString();
}

QString PipelineFile::check(PipelineLine& line) const {
    if (line.words.front().startsWith(QLatin1Char('@'))) {
        line.host = line.words.takeFirst().mid(1);
        if (table.find(line.host) == nullptr) {
            return table.unknown(line.host);
        }
        if (line.words.isEmpty()) {
            return QStringLiteral("@%1 needs a command after it").arg(line.host);
        }
    }
    const QStringList& words = line.words;
    if (words.front() == QLatin1String("tap")) {
        if (!line.host.isEmpty()) {
            return QStringLiteral("tap takes no @HOST: a Qt bridge delivers only inside its own host");
        }
        return words.size() == 3 ? QString() : QStringLiteral("usage: tap GROUP BRIDGE");
    }
    try {
        if (words.front() == QLatin1String("watch")) {
            zaltools::ParameterPoll{words};
            return QString();
        }
        const zaltools::Command command =
            zaltools::CommandParser(zal::internalAddressPrefixDefault).parse(words);
        if (!command.fromHost.isEmpty() && table.find(command.fromHost) == nullptr) {
            return QStringLiteral("connect: --from: %1").arg(table.unknown(command.fromHost));
        }
    } catch (const std::exception& e) {
        return QString::fromUtf8(e.what());
    }
    return QString();
}
