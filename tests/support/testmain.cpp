// GoogleTest entry point with a QCoreApplication, so code that asks Qt for the application
// directory or posts queued signals behaves as it does in a host program.
#include <gtest/gtest.h>

#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
