// Live charts of one processor's messages/s and MB/s, in and out, over the minutes kept.
#pragma once

#include <QString>
#include <QVector>
#include <QWidget>

#include "monitormodel.h"

class QChart;
class QLineSeries;
class QValueAxis;

namespace zalmonitor {

class RateCharts : public QWidget {
public:
    explicit RateCharts(QWidget* parent = nullptr);

    // Plots `points` of the processor `id`, seconds before the latest on the x axis.
    void show(const QString& id, const QVector<RatePoint>& points);
    int points() const { return shownPoints; }

private:
    struct Plot {
        QChart* chart = nullptr;
        QLineSeries* in = nullptr;
        QLineSeries* out = nullptr;
        QValueAxis* x = nullptr;
        QValueAxis* y = nullptr;
    };
    Plot makePlot(const QString& unit);
    static void fill(Plot& plot, const QVector<RatePoint>& points, double scale, bool messages);

    Plot messages;
    Plot megabytes;
    int shownPoints = 0;
};

}  // namespace zalmonitor
