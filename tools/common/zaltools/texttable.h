// Lays out rows of cells in columns as wide as their widest cell, for terminals.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace zaltools {

class TextTable {
public:
    // `rightAligned[i]` right-aligns column i (numbers); columns past it are left-aligned.
    explicit TextTable(QVector<bool> rightAligned);

    void add(const QStringList& cells);
    // The rows, two spaces between columns, without trailing blanks or a final newline.
    QString render() const;

private:
    QVector<bool> rightAligned;
    QVector<QStringList> rows;
};

}  // namespace zaltools
