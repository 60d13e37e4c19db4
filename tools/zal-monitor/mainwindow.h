// The monitor's window: the tree of groups and processors, the graph, and the selected processor's
// charts and parameters, kept up to date from the poller's sweeps.
#pragma once

#include <QMainWindow>
#include <QString>

#include "monitormodel.h"
#include "monitorpoller.h"

class QLabel;
class QTreeWidget;
class QTreeWidgetItem;

namespace zalmonitor {

class ActionBar;
class GraphView;
class ParameterTable;
class RateCharts;

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(MonitorPoller& poller, const QString& endpoint);

    const MonitorModel& model() const { return state; }
    // The graph has nodes and the selected processor's charts have points to draw a line through.
    bool showsData() const;

private:
    void onSwept(const zaltools::SystemSnapshot& snapshot);
    void onLost(const QString& reason);
    void onAnswered(const QStringList& words, bool success, const QString& text);
    void choose(const QString& id);
    // With nothing chosen, the first processor that loses, else the first consumer, else the first.
    void chooseDefault();
    void fillTree();
    QTreeWidgetItem* processorItem(const zaltools::TopRow& row);
    void showSelected();
    QWidget* makeDetails();

    MonitorPoller& poller;
    QString endpoint;
    MonitorModel state;
    QString selected;  // GROUP/PROCESSOR, or empty
    QTreeWidget* tree;
    GraphView* graph;
    RateCharts* charts;
    ParameterTable* parameters;
    QLabel* answer;        // the reply to the last request made from the window
    QLabel* connection;    // in the status bar
    QLabel* disconnected;  // over the graph while the host does not answer
    ActionBar* actions;
};

}  // namespace zalmonitor
