// Draws the stream graph of the latest sweep, processors coloured by health; a click selects one.
#pragma once

#include <QColor>
#include <QGraphicsView>
#include <QString>

#include "health.h"
#include "monitormodel.h"

namespace zalmonitor {

class GraphView : public QGraphicsView {
    Q_OBJECT
public:
    explicit GraphView(QWidget* parent = nullptr);

    // Redraws from the model's latest sweep, outlining `selected`.
    void show(const MonitorModel& model, const QString& selected);
    int nodes() const { return shownNodes; }

    static QColor colour(Health health);

signals:
    void chosen(const QString& id);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void addLegend();
    void addNode(const QString& id, const QString& type, Health health, QPointF at, bool selected);
    void addEdge(QPointF from, QPointF to, const QString& stream);
    void fit();

    int shownNodes = 0;
};

}  // namespace zalmonitor
