// Saves the window as a PNG once it shows data, prints what it shows, and ends the program.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

namespace zalmonitor {

class MainWindow;

// Ends the event loop with 0 once the PNG is written and the lines printed, or with 1 when the
// window showed no data within the time allowed or the file cannot be written.
class ScreenshotTaker : public QObject {
public:
    // How long past `afterSeconds` the window may take to show a graph and a chart.
    static constexpr int graceMs = 60000;

    ScreenshotTaker(MainWindow& window, QString file, double afterSeconds);

private:
    void check();

    MainWindow& window;
    QString file;
    qint64 afterMs;
    QElapsedTimer since;
    QTimer timer;
};

}  // namespace zalmonitor
