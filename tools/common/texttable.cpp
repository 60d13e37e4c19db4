#include "zaltools/texttable.h"

#include <algorithm>

namespace zaltools {

TextTable::TextTable(QVector<bool> rightAligned) : rightAligned(std::move(rightAligned)) {}

void TextTable::add(const QStringList& cells) {
    rows << cells;
}

QString TextTable::render() const {
    QVector<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    QStringList lines;
    for (const QStringList& row : rows) {
        QStringList cells;
        for (qsizetype i = 0; i < row.size(); ++i) {
            const bool right = i < rightAligned.size() && rightAligned[i];
            cells << (right ? row[i].rightJustified(widths[i]) : row[i].leftJustified(widths[i]));
        }
        QString line = cells.join(QStringLiteral("  "));
        while (line.endsWith(QLatin1Char(' '))) {
            line.chop(1);
        }
        lines << line;
    }
    return lines.join(QLatin1Char('\n'));
}

}  // namespace zaltools
