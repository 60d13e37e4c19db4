// zal-host's tap attaching to Qt bridges while their processor threads end and destroy them.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "bridgetap.h"
#include "zal/processors/qtbridge.h"

using namespace zal;

// The bridge registers in initialize and leaves in release, in its own thread, and is destroyed
// right after; the tap looks it up and connects from the host's thread in between. Under
// ThreadSanitizer or AddressSanitizer a lookup that is not safe against that destruction shows.
TEST(BridgeTap, AttachesSafelyWhileBridgesAreDestroyed) {
    QString text;
    QTextStream out(&text);
    BridgeTap tap("raced", out);
    const QString endpoint = QStringLiteral("inproc://race/g/raced");
    std::atomic<int> attempts{0};
    std::atomic<bool> done{false};
    std::thread owner([&] {
        for (int i = 0; i < 200; ++i) {
            auto* bridge = new QtBridge(zalmsg::Processor(), "raced", "g", "inproc://race");
            ProcessorBase& processor = *bridge;
            processor.initialize();
            // Let the tap find it at least once, then take it away while the tap keeps trying.
            const int seen = attempts.load();
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
            while (attempts.load() < seen + 2 && std::chrono::steady_clock::now() < deadline) {
                std::this_thread::yield();
            }
            processor.release();
            delete bridge;
        }
        done = true;
    });
    int attached = 0;
    while (!done) {
        attached += tap.attach(endpoint) ? 1 : 0;
        ++attempts;
    }
    owner.join();
    EXPECT_GT(attached, 0) << "the tap never met a live bridge, so nothing was tested";
}
