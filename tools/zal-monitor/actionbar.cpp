#include "actionbar.h"

#include <QAction>
#include <QInputDialog>
#include <QRegularExpression>

#include "zaltools/commandparser.h"

namespace zalmonitor {

namespace {

// The command's line of zalctl's synopsis, so the dialog shows the usage the parser will check.
QString usageOf(const QString& command) {
    for (const QString& line : zaltools::CommandParser::synopsis().split('\n')) {
        if (line.startsWith(command + ' ')) {
            return line;
        }
    }
    return command;
}

}  // namespace

ActionBar::ActionBar(QWidget* parent) : QToolBar(tr("Actions"), parent) {
    static const Entry entries[] = {
        {"Create group", "create-group", false},
        {"Delete group", "delete-group", false},
        {"Create processor", "create", false},
        {"Delete processor", "delete", true},
        {"Connect", "connect", true},
        {"Start", "start", true},
        {"Stop", "stop", true},
        {"Record", "record", true},
    };
    for (const Entry& entry : entries) {
        QAction* action = addAction(tr(entry.label));
        action->setToolTip(usageOf(QString::fromLatin1(entry.command)));
        connect(action, &QAction::triggered, this, [this, &entry] { ask(entry); });
    }
}

void ActionBar::ask(const Entry& entry) {
    const QString group = selection.section('/', 0, 0);
    QString prefill = entry.needsProcessor && selection.contains('/') ? selection : group;
    prefill.replace('/', ' ');
    bool accepted = false;
    const QString command = QString::fromLatin1(entry.command);
    const QString typed =
        QInputDialog::getText(parentWidget(), tr(entry.label), usageOf(command), QLineEdit::Normal,
                              prefill.isEmpty() ? prefill : prefill + ' ', &accepted);
    const QStringList arguments = typed.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    if (accepted && !arguments.isEmpty()) {
        emit request(QStringList{command} + arguments);
    }
}

}  // namespace zalmonitor
