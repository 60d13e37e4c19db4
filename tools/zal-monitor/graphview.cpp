#include "graphview.h"

#include <QGraphicsRectItem>
#include <QGraphicsScene>
#include <QGraphicsSimpleTextItem>
#include <QMouseEvent>
#include <QPainterPath>
#include <QtMath>

#include "graphlayout.h"

namespace zalmonitor {

namespace {

constexpr double nodeWidth = 170;
constexpr double nodeHeight = 50;
constexpr int idRole = 0;

}  // namespace

GraphView::GraphView(QWidget* parent) : QGraphicsView(parent) {
    setScene(new QGraphicsScene(this));
    setRenderHint(QPainter::Antialiasing);
    setMinimumSize(360, 220);
}

QColor GraphView::colour(Health health) {
    switch (health) {
        case Health::Running:
            return QColor(0x8b, 0xd6, 0x8b);
        case Health::Idle:
            return QColor(0xf3, 0xe0, 0x8a);
        case Health::Losing:
            return QColor(0xf2, 0x6d, 0x6d);
        case Health::Dangling:
            return QColor(0xf5, 0xa6, 0x4f);
        case Health::Unknown:
            break;
    }
    return QColor(0xc8, 0xc8, 0xc8);
}

void GraphView::show(const MonitorModel& model, const QString& selected) {
    scene()->clear();
    shownNodes = 0;
    addLegend();
    if (model.graph() == nullptr) {
        return;
    }
    const GraphLayout layout(*model.graph());
    const QPointF origin(0, 40);
    for (const LayoutEdge& edge : layout.edges()) {
        addEdge(origin + layout.nodes()[edge.from].position, origin + layout.nodes()[edge.to].position,
                edge.stream);
    }
    for (const LayoutNode& node : layout.nodes()) {
        const zaltools::ProcessorSample& sample = model.graph()->snapshot().processors[node.processor];
        const QString type = sample.status ? sample.status->type : QStringLiteral("?");
        addNode(node.id, type, model.health(node.id), origin + node.position, node.id == selected);
        ++shownNodes;
    }
    fit();
}

void GraphView::addLegend() {
    double x = 0;
    for (Health health : {Health::Running, Health::Idle, Health::Losing, Health::Dangling, Health::Unknown}) {
        scene()->addRect(x, 0, 14, 14, QPen(Qt::black), colour(health));
        QGraphicsSimpleTextItem* label = scene()->addSimpleText(HealthClassifier::name(health));
        label->setPos(x + 18, -1);
        x += 30 + label->boundingRect().width();
    }
}

void GraphView::addNode(const QString& id, const QString& type, Health health, QPointF at, bool selected) {
    const QRectF box(at.x() - nodeWidth / 2, at.y() - nodeHeight / 2, nodeWidth, nodeHeight);
    QGraphicsRectItem* rect = scene()->addRect(box, QPen(Qt::black, selected ? 3 : 1), colour(health));
    rect->setData(idRole, id);
    QGraphicsSimpleTextItem* text =
        scene()->addSimpleText(QStringLiteral("%1\n%2 · %3").arg(id, type, HealthClassifier::name(health)));
    text->setParentItem(rect);
    text->setPos(box.x() + 6, box.y() + 6);
}

void GraphView::addEdge(QPointF from, QPointF to, const QString& stream) {
    const QPointF start = from + QPointF(nodeWidth / 2, 0);
    const QPointF end = to - QPointF(nodeWidth / 2, 0);
    QPainterPath path(start);
    // A stream back to an earlier layer bends below, so it is not drawn over the nodes between.
    const double bend = end.x() > start.x() ? 0 : nodeHeight;
    path.cubicTo(QPointF((start.x() + end.x()) / 2, start.y() + bend),
                 QPointF((start.x() + end.x()) / 2, end.y() + bend), end);
    scene()->addPath(path, QPen(Qt::darkGray, 1.5));
    const double angle =
        qAtan2(end.y() - path.pointAtPercent(0.95).y(), end.x() - path.pointAtPercent(0.95).x());
    QPolygonF head;
    head << end << end - QPointF(qCos(angle - 0.4) * 10, qSin(angle - 0.4) * 10)
         << end - QPointF(qCos(angle + 0.4) * 10, qSin(angle + 0.4) * 10);
    scene()->addPolygon(head, QPen(Qt::darkGray), QBrush(Qt::darkGray));
    QGraphicsSimpleTextItem* label = scene()->addSimpleText(stream);
    label->setPos(path.pointAtPercent(0.5) + QPointF(-label->boundingRect().width() / 2, -18));
}

void GraphView::fit() {
    const QRectF bounds = scene()->itemsBoundingRect().adjusted(-10, -10, 10, 10);
    setSceneRect(bounds);
    if (bounds.width() > viewport()->width() || bounds.height() > viewport()->height()) {
        fitInView(bounds, Qt::KeepAspectRatio);
    } else {
        resetTransform();
    }
}

void GraphView::resizeEvent(QResizeEvent* event) {
    QGraphicsView::resizeEvent(event);
    fit();
}

void GraphView::mousePressEvent(QMouseEvent* event) {
    for (QGraphicsItem* item = itemAt(event->pos()); item != nullptr; item = item->parentItem()) {
        const QString id = item->data(idRole).toString();
        if (!id.isEmpty()) {
            emit chosen(id);
            break;
        }
    }
    QGraphicsView::mousePressEvent(event);
}

}  // namespace zalmonitor
