#include "parametertable.h"

#include <QHeaderView>

namespace zalmonitor {

ParameterTable::ParameterTable(QWidget* parent) : QTableWidget(0, 3, parent) {
    setHorizontalHeaderLabels({tr("Parameter"), tr("Value"), tr("Description")});
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->hide();
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                    QAbstractItemView::AnyKeyPressed);
    connect(this, &QTableWidget::itemChanged, this, &ParameterTable::onChanged);
}

void ParameterTable::show(const QString& id, const QVector<zaltools::ParameterDescription>& descriptions,
                          const QStringList& values) {
    const int editing = state() == QAbstractItemView::EditingState && id == shown ? currentRow() : -1;
    filling = true;
    shown = id;
    setRowCount(static_cast<int>(descriptions.size()));
    for (int row = 0; row < descriptions.size(); ++row) {
        const zaltools::ParameterDescription& description = descriptions[row];
        const bool settable = description.access != QLatin1String("read-only");
        auto* name = new QTableWidgetItem(description.name);
        name->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        setItem(row, 0, name);
        if (row != editing) {
            auto* value = new QTableWidgetItem(values.value(row));
            value->setFlags(settable ? value->flags() | Qt::ItemIsEditable : Qt::ItemIsEnabled);
            value->setToolTip(settable ? tr("Double-click to set") : tr("Read-only"));
            setItem(row, 1, value);
        }
        auto* summary = new QTableWidgetItem(description.summary());
        summary->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        summary->setToolTip(description.summary());
        setItem(row, 2, summary);
    }
    resizeColumnToContents(0);
    resizeColumnToContents(1);
    filling = false;
}

void ParameterTable::onChanged(QTableWidgetItem* item) {
    if (filling || item->column() != 1) {
        return;
    }
    emit edited(shown, this->item(item->row(), 0)->text(), item->text());
}

}  // namespace zalmonitor
