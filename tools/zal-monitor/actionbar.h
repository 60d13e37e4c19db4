// The zalctl requests that make sense in a window, each asked for in a dialog prefilled from the selection.
#pragma once

#include <QString>
#include <QStringList>
#include <QToolBar>

namespace zalmonitor {

class ActionBar : public QToolBar {
    Q_OBJECT
public:
    explicit ActionBar(QWidget* parent = nullptr);

    // GROUP/PROCESSOR, a group alone, or empty: what the dialogs start from.
    void setSelection(const QString& id) { selection = id; }
signals:
    void request(const QStringList& words);

private:
    struct Entry {
        const char* label;
        const char* command;
        bool needsProcessor;  // prefill with GROUP PROCESSOR rather than GROUP
    };
    void ask(const Entry& entry);

    QString selection;
};

}  // namespace zalmonitor
