#include "ratecharts.h"

#include <QChart>
#include <QChartView>
#include <QHBoxLayout>
#include <QLineSeries>
#include <QValueAxis>
#include <algorithm>

namespace zalmonitor {

RateCharts::RateCharts(QWidget* parent) : QWidget(parent) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    messages = makePlot(QStringLiteral("messages/s"));
    megabytes = makePlot(QStringLiteral("MB/s"));
    for (QChart* chart : {messages.chart, megabytes.chart}) {
        auto* view = new QChartView(chart, this);
        view->setRenderHint(QPainter::Antialiasing);
        view->setMinimumSize(280, 200);
        layout->addWidget(view);
    }
}

RateCharts::Plot RateCharts::makePlot(const QString& unit) {
    Plot plot;
    plot.chart = new QChart;
    plot.chart->setTitle(unit);
    plot.chart->setMargins(QMargins(2, 2, 2, 2));
    plot.in = new QLineSeries;
    plot.in->setName(QStringLiteral("in"));
    plot.out = new QLineSeries;
    plot.out->setName(QStringLiteral("out"));
    plot.x = new QValueAxis;
    plot.x->setTitleText(QStringLiteral("seconds"));
    plot.x->setLabelFormat(QStringLiteral("%d"));
    plot.y = new QValueAxis;
    plot.y->setLabelFormat(QStringLiteral("%g"));
    plot.chart->addAxis(plot.x, Qt::AlignBottom);
    plot.chart->addAxis(plot.y, Qt::AlignLeft);
    for (QLineSeries* series : {plot.in, plot.out}) {
        plot.chart->addSeries(series);
        series->attachAxis(plot.x);
        series->attachAxis(plot.y);
    }
    return plot;
}

void RateCharts::show(const QString& id, const QVector<RatePoint>& points) {
    messages.chart->setTitle(QStringLiteral("%1  messages/s").arg(id));
    megabytes.chart->setTitle(QStringLiteral("%1  MB/s").arg(id));
    fill(messages, points, 1, true);
    fill(megabytes, points, 1e-6, false);
    shownPoints = static_cast<int>(points.size());
}

void RateCharts::fill(Plot& plot, const QVector<RatePoint>& points, double scale, bool messages) {
    QList<QPointF> in;
    QList<QPointF> out;
    double top = 0;
    const double latestMs = points.isEmpty() ? 0 : points.last().atMs;
    for (const RatePoint& point : points) {
        const double x = (point.atMs - latestMs) / 1000;
        const double inValue = scale * (messages ? point.rates.inMessages : point.rates.inBytes);
        const double outValue = scale * (messages ? point.rates.outMessages : point.rates.outBytes);
        in.append(QPointF(x, inValue));
        out.append(QPointF(x, outValue));
        top = std::max({top, inValue, outValue});
    }
    plot.in->replace(in);
    plot.out->replace(out);
    const double oldest = points.isEmpty() ? 0 : (points.first().atMs - latestMs) / 1000;
    plot.x->setRange(std::min(-60.0, oldest), 0);
    plot.y->setRange(0, top > 0 ? top * 1.15 : 1);
    plot.y->applyNiceNumbers();
}

}  // namespace zalmonitor
