// zal-monitor: a window on a running zal system, polling its frontend as zalctl top does.
#include <QApplication>
#include <cstdio>
#include <memory>

#include "mainwindow.h"
#include "monitoroptions.h"
#include "monitorpoller.h"
#include "screenshottaker.h"

int main(int argc, char* argv[]) {
    // Read before the application exists, so that --help and usage errors need no display.
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    QString message;
    int status = 0;
    const std::optional<zalmonitor::MonitorOptions> options =
        zalmonitor::MonitorOptions::parse(arguments, message, status);
    if (!options) {
        std::fprintf(status == 0 ? stdout : stderr, "%s%s",
                     status == 0 ? "" : "zal-monitor: ", qPrintable(message));
        if (status != 0) {
            std::fprintf(stderr, "\n");
        }
        return status;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("zal-monitor"));
    zalmonitor::MonitorPoller poller(*options);
    zalmonitor::MainWindow window(poller, QString::fromStdString(options->endpoint));
    std::unique_ptr<zalmonitor::ScreenshotTaker> screenshot;
    if (!options->screenshot.isEmpty()) {
        screenshot =
            std::make_unique<zalmonitor::ScreenshotTaker>(window, options->screenshot, options->afterSeconds);
    }
    window.show();
    poller.start();
    return QApplication::exec();
}
