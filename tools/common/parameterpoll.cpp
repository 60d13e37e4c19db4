#include "zaltools/parameterpoll.h"

#include <QJsonObject>

#include "zaltools/commandparser.h"
#include "zaltools/jsonreply.h"

namespace zaltools {

namespace {

// Names become path segments of identities, as every command's do.
QString checkedName(const QString& what, const QString& value) {
    if (value.isEmpty() || value.contains(QLatin1Char('/'))) {
        throw UsageError(QStringLiteral("watch: %1 '%2' must not be empty or contain '/'.")
                             .arg(what, value)
                             .toStdString());
    }
    return value;
}

}  // namespace

ParameterPoll::ParameterPoll(const QStringList& words) {
    if (words.size() != 4 || words[0] != QLatin1String("watch")) {
        throw UsageError(QStringLiteral("usage: %1").arg(usage()).toStdString());
    }
    group = checkedName(QStringLiteral("GROUP"), words[1]);
    processor = checkedName(QStringLiteral("PROCESSOR"), words[2]);
    parameters = words[3].split(QLatin1Char(','), Qt::SkipEmptyParts);
    if (parameters.isEmpty()) {
        throw UsageError(QStringLiteral("watch: no parameter named. Usage: %1").arg(usage()).toStdString());
    }
}

QString ParameterPoll::usage() {
    return QStringLiteral("watch GROUP PROCESSOR PARAM[,PARAM...]");
}

QString ParameterPoll::round(CommandRunner& runner, std::optional<CommandResult>& failed, bool json) const {
    QStringList values;
    QJsonObject given;
    for (const QString& name : parameters) {
        const CommandResult result =
            runner.execute(QStringList{QStringLiteral("get"), group, processor, name});
        const bool answered = result.outcome == Outcome::Replied && result.status() == ExitStatus::Success;
        if (!answered && !failed) {
            failed = result;
        }
        values << name + QLatin1Char('=') + (answered ? result.reply.GetParameter() : QStringLiteral("?"));
        given.insert(name, answered ? QJsonValue(result.reply.GetParameter()) : QJsonValue());
    }
    if (json) {
        return JsonReply::envelope(ExitStatus::Success, QString(),
                                   QJsonObject{{QStringLiteral("group"), group},
                                               {QStringLiteral("processor"), processor},
                                               {QStringLiteral("parameters"), given}});
    }
    return group + QLatin1Char('/') + processor + QStringLiteral(": ") + values.join(QLatin1Char(' '));
}

}  // namespace zaltools
