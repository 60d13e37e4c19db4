#include "bridgetap.h"

#include "zal/processors/qtbridge.h"
#include "zal/processors/qtrepository.h"

BridgeTap::BridgeTap(const QString& name, QTextStream& out, int linesPerSecond, QObject* parent)
    : QObject(parent), name(name), out(out), linesPerSecond(linesPerSecond) {
    second.start();
}

// The bridge lives in its processor's thread, which may end it at any moment; inside the visit it
// cannot, since it leaves the repository before it is destroyed.
bool BridgeTap::attach(const QString& endpoint) {
    bool attached = false;
    zal::QtRepository::visitQObject(endpoint, [&](QObject* object) {
        if (auto* bridge = qobject_cast<zal::QtBridge*>(object)) {
            attached = static_cast<bool>(connect(bridge, &zal::QtBridge::si_message, this,
                                                 &BridgeTap::onMessage, Qt::QueuedConnection));
        }
    });
    return attached;
}

void BridgeTap::onMessage(QByteArray type, QByteArray data) {
    ++count;
    if (second.elapsed() >= 1000) {
        if (suppressed > 0) {
            out << "tap " << name << ": (" << suppressed << " more)\n";
        }
        second.restart();
        printedThisSecond = 0;
        suppressed = 0;
    }
    if (printedThisSecond >= linesPerSecond) {
        ++suppressed;
        return;
    }
    ++printedThisSecond;
    out << "tap " << name << ": topic=" << QString::fromUtf8(type) << " size=" << data.size()
        << " data=" << data.left(16).toHex(' ') << (data.size() > 16 ? " ..." : "") << '\n';
    out.flush();
}
