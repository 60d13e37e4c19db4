// The parameters of the selected processor with their values and descriptions, editable where settable.
#pragma once

#include <QStringList>
#include <QTableWidget>
#include <QVector>

#include "zaltools/parameterdescription.h"

namespace zalmonitor {

class ParameterTable : public QTableWidget {
    Q_OBJECT
public:
    explicit ParameterTable(QWidget* parent = nullptr);

    // Shows the values read for `id`; a cell being edited keeps what the user is typing.
    void show(const QString& id, const QVector<zaltools::ParameterDescription>& descriptions,
              const QStringList& values);

signals:
    // The user entered `value` for `parameter` of the processor shown.
    void edited(const QString& id, const QString& parameter, const QString& value);

private:
    void onChanged(QTableWidgetItem* item);

    QString shown;  // the processor's id
    bool filling = false;
};

}  // namespace zalmonitor
