// The monitor's window: the tree of groups and processors, the graph, and the selected processor's
// charts and parameters, kept up to date from the poller's sweeps.
#pragma once

#include <QMainWindow>
#include <QString>
#include <optional>

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
    // The graph has nodes, and the selected processor's charts have points to draw a line through and
    // its parameters have been read.
    bool showsData() const;

private:
    void onSwept(const zaltools::SystemSnapshot& snapshot);
    void onLost(const QString& reason);
    void onAnswered(const QStringList& words, bool success, const QString& text);
    void choose(const QString& id);
    // Until the user chooses, the first processor that loses, else the first consumer, else the first.
    void chooseDefault();
    void fillTree();
    QTreeWidgetItem* processorItem(const zaltools::TopRow& row);
    void showSelected();
    // Writes a line to stderr when the host starts or stops answering, for logs of a long watch.
    void tell(bool answering, const QString& reason = QString());
    QWidget* makeDetails();

    MonitorPoller& poller;
    QString endpoint;
    MonitorModel state;
    QString selected;  // GROUP/PROCESSOR, or empty
    bool userChose = false;
    bool parametersRead = false;  // for `selected`, since it was chosen
    QTreeWidget* tree;
    GraphView* graph;
    RateCharts* charts;
    ParameterTable* parameters;
    QLabel* answer;        // the reply to the last request made from the window
    QLabel* connection;    // in the status bar
    QLabel* disconnected;  // over the graph while the host does not answer
    ActionBar* actions;
    std::optional<bool> answering;  // none before the first sweep ended
};

}  // namespace zalmonitor
