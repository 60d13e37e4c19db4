// The trace switch and sink. CTest starts this binary with ZAL_TRACE_MASK=0x21.
#include <gtest/gtest.h>

#include "support/tracecapture.h"
#include "zal/platform/errorhandler.h"

TEST(ErrorHandler, MaskComesFromTheEnvironmentAndGatesTracing) {
    EXPECT_EQ(ErrorHandler::getTraceMask(), 0x21u);
    EXPECT_TRUE(ErrorHandler::isTracing());
    ErrorHandler::setTraceMask(0x01);
    EXPECT_FALSE(ErrorHandler::isTracing());
    EXPECT_TRUE(ErrorHandler::isTracing(0x01));
    {
        zaltest::TraceCapture capture;
        EXPECT_TRUE(ErrorHandler::isTracing());
        _Q_Trace(QStringLiteral("Could not load plugin: x"), "pluginmanager", 113);
        EXPECT_EQ(capture.lines(), QStringList{"pluginmanager:113 Could not load plugin: x"});
    }
    EXPECT_EQ(ErrorHandler::getTraceMask(), 0x01u);
}
