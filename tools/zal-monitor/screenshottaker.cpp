#include "screenshottaker.h"

#include <QCoreApplication>
#include <QPixmap>
#include <cstdio>

#include "mainwindow.h"

namespace zalmonitor {

ScreenshotTaker::ScreenshotTaker(MainWindow& window, QString file, double afterSeconds)
    : window(window), file(std::move(file)), afterMs(static_cast<qint64>(afterSeconds * 1000)) {
    since.start();
    connect(&timer, &QTimer::timeout, this, &ScreenshotTaker::check);
    timer.start(200);
}

void ScreenshotTaker::check() {
    if (since.elapsed() < afterMs) {
        return;
    }
    if (!window.showsData()) {
        if (since.elapsed() > afterMs + graceMs) {
            timer.stop();
            std::fprintf(stderr, "zal-monitor: no graph and chart data within %lld s; no screenshot taken\n",
                         static_cast<long long>((afterMs + graceMs) / 1000));
            QCoreApplication::exit(1);
        }
        return;
    }
    timer.stop();
    if (!window.grab().save(file, "PNG")) {
        std::fprintf(stderr, "zal-monitor: cannot write the screenshot '%s'\n", qPrintable(file));
        QCoreApplication::exit(1);
        return;
    }
    for (const QString& line : window.model().describe()) {
        std::printf("%s\n", qPrintable(line));
    }
    std::fflush(stdout);
    QCoreApplication::exit(0);
}

}  // namespace zalmonitor
