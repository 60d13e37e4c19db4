#include "mainwindow.h"

#include <QHeaderView>
#include <QLabel>
#include <QSplitter>
#include <QStatusBar>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <cstdio>

#include "actionbar.h"
#include "graphview.h"
#include "parametertable.h"
#include "ratecharts.h"

namespace zalmonitor {

namespace {

constexpr int idRole = Qt::UserRole;

}  // namespace

MainWindow::MainWindow(MonitorPoller& poller, const QString& endpoint)
    : poller(poller),
      endpoint(endpoint),
      tree(new QTreeWidget),
      graph(new GraphView),
      charts(new RateCharts),
      parameters(new ParameterTable),
      answer(new QLabel),
      connection(new QLabel),
      disconnected(new QLabel),
      actions(new ActionBar(this)) {
    setWindowTitle(QStringLiteral("zal-monitor — %1").arg(endpoint));
    tree->setHeaderLabels({tr("Name"), tr("Type / address"), tr("Health")});
    tree->setMinimumWidth(330);
    disconnected->setStyleSheet(QStringLiteral("color: white; background: #b00020; padding: 4px;"));
    disconnected->hide();
    auto* middle = new QSplitter(Qt::Vertical);
    auto* top = new QWidget;
    auto* topLayout = new QVBoxLayout(top);
    topLayout->setContentsMargins(0, 0, 0, 0);
    topLayout->addWidget(disconnected);
    topLayout->addWidget(graph);
    middle->addWidget(top);
    middle->addWidget(makeDetails());
    auto* main = new QSplitter(Qt::Horizontal);
    main->addWidget(tree);
    main->addWidget(middle);
    main->setStretchFactor(1, 1);
    setCentralWidget(main);
    addToolBar(actions);
    statusBar()->addWidget(connection, 1);
    connection->setText(tr("connecting to %1 …").arg(endpoint));
    connect(&poller, &MonitorPoller::swept, this, &MainWindow::onSwept);
    connect(&poller, &MonitorPoller::lost, this, &MainWindow::onLost);
    connect(&poller, &MonitorPoller::answered, this, &MainWindow::onAnswered);
    // Values read for the processor selected before are dropped rather than shown under another name.
    connect(&poller, &MonitorPoller::parameters, this,
            [this](const QString& id, const auto& descriptions, const QStringList& values) {
                if (id == selected) {
                    parameters->show(id, descriptions, values);
                    parametersRead = true;
                }
            });
    connect(
        parameters, &ParameterTable::edited, this,
        [this](const QString& id, const QString& name, const QString& value) {
            this->poller.run({QStringLiteral("set"), id.section('/', 0, 0), id.section('/', 1), name, value});
        });
    connect(actions, &ActionBar::request, &poller, &MonitorPoller::run);
    connect(graph, &GraphView::chosen, this, [this](const QString& id) {
        userChose = true;
        choose(id);
    });
    connect(tree, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* item) {
        userChose = true;
        choose(item->data(0, idRole).toString());
    });
    resize(1280, 820);
}

QWidget* MainWindow::makeDetails() {
    auto* details = new QSplitter(Qt::Horizontal);
    details->addWidget(charts);
    auto* right = new QWidget;
    auto* layout = new QVBoxLayout(right);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(parameters);
    answer->setWordWrap(true);
    answer->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(answer);
    details->addWidget(right);
    details->setStretchFactor(0, 1);
    details->setStretchFactor(1, 1);
    return details;
}

bool MainWindow::showsData() const {
    return graph->nodes() > 0 && charts->points() >= 2 && parametersRead;
}

void MainWindow::onSwept(const zaltools::SystemSnapshot& snapshot) {
    state.update(snapshot);
    tell(true);
    disconnected->hide();
    const zaltools::TopReport& report = state.report();
    connection->setText(tr("%1: %2 group(s), %3 processor(s); %4 request(s) in %5 ms")
                            .arg(endpoint)
                            .arg(report.groups)
                            .arg(report.rows.size())
                            .arg(report.requests)
                            .arg(qRound(report.sweepMs)));
    chooseDefault();
    fillTree();
    showSelected();
}

void MainWindow::onLost(const QString& reason) {
    state.lose();
    tell(false, reason);
    disconnected->setText(tr("disconnected — reconnecting to %1").arg(endpoint));
    disconnected->show();
    connection->setText(tr("disconnected: %1").arg(reason));
}

void MainWindow::tell(bool now, const QString& reason) {
    if (answering == now) {
        return;
    }
    answering = now;
    const QString line =
        now ? QStringLiteral("zal-monitor: connected to %1\n").arg(endpoint)
            : QStringLiteral("zal-monitor: disconnected from %1: %2\n").arg(endpoint, reason);
    std::fputs(qPrintable(line), stderr);
}

void MainWindow::onAnswered(const QStringList& words, bool success, const QString& text) {
    const QString shown = text.isEmpty() ? (success ? tr("Success") : tr("failed")) : text;
    answer->setStyleSheet(success ? QString() : QStringLiteral("color: #b00020;"));
    answer->setText(QStringLiteral("%1: %2").arg(words.join(' '), shown));
}

void MainWindow::choose(const QString& id) {
    if (id.isEmpty() || id == selected) {
        return;
    }
    selected = id;
    actions->setSelection(id);
    parameters->setRowCount(0);
    parametersRead = false;
    answer->clear();
    poller.select(id.contains('/') ? id : QString());
    showSelected();
}

void MainWindow::chooseDefault() {
    if (userChose || state.report().rows.isEmpty()) {
        return;
    }
    const QVector<zaltools::TopRow>& rows = state.report().rows;
    QString pick = rows.first().sample.id();
    for (const zaltools::TopRow& row : rows) {
        if (state.health(row.sample.id()) == Health::Losing) {
            pick = row.sample.id();
            break;
        }
    }
    if (state.health(pick) != Health::Losing) {
        for (const zaltools::TopRow& row : rows) {
            if (row.sample.status && !row.sample.status->sources.isEmpty()) {
                pick = row.sample.id();
                break;
            }
        }
    }
    choose(pick);
}

void MainWindow::showSelected() {
    graph->show(state, selected);
    charts->show(selected, state.history(selected));
}

void MainWindow::fillTree() {
    tree->clear();
    const zaltools::TopReport& report = state.report();
    QTreeWidgetItem* group = nullptr;
    for (const zaltools::TopRow& row : report.rows) {
        if (group == nullptr || group->text(0) != row.sample.group) {
            group = new QTreeWidgetItem(tree, {row.sample.group, tr("group")});
            group->setData(0, idRole, row.sample.group);
            group->setExpanded(true);
        }
        group->addChild(processorItem(row));
    }
    for (QTreeWidgetItemIterator it(tree); *it != nullptr; ++it) {
        (*it)->setExpanded(true);
        (*it)->setSelected(!selected.isEmpty() && (*it)->data(0, idRole).toString() == selected);
    }
    tree->resizeColumnToContents(0);
}

QTreeWidgetItem* MainWindow::processorItem(const zaltools::TopRow& row) {
    const QString id = row.sample.id();
    const Health health = state.health(id);
    const QString type = row.sample.status ? row.sample.status->type : row.sample.problem;
    auto* item = new QTreeWidgetItem({row.sample.name, type, HealthClassifier::name(health)});
    item->setData(0, idRole, id);
    item->setBackground(2, GraphView::colour(health));
    if (!row.sample.status) {
        return item;
    }
    const int processor = state.graph()->snapshot().indexOf(id);
    for (const zaltools::StreamInfo& stream : row.sample.status->streams) {
        auto* child =
            new QTreeWidgetItem(item, {tr("stream %1").arg(stream.name), stream.addresses.join(", ")});
        child->setData(0, idRole, id);
        for (const zaltools::StreamEdge& edge : state.graph()->outOf(processor)) {
            if (edge.stream == stream.name) {
                new QTreeWidgetItem(
                    child,
                    {tr("→ %1").arg(state.graph()->snapshot().processors[edge.consumer].id()), QString()});
            }
        }
    }
    for (const zaltools::SourceInfo& source : row.sample.status->sources) {
        const zaltools::SourceState fed = state.graph()->state(processor, source.address);
        const QString from = fed == zaltools::SourceState::Dangling    ? tr("dangling")
                             : fed == zaltools::SourceState::Fed       ? tr("fed")
                             : fed == zaltools::SourceState::Elsewhere ? tr("elsewhere")
                                                                       : tr("not seen");
        auto* child = new QTreeWidgetItem(item, {tr("source"), source.address, from});
        child->setData(0, idRole, id);
    }
    return item;
}

}  // namespace zalmonitor
