// What the fuzz targets share: a check that fails the run with its reason, and a silenced Qt log.
#pragma once

#include <QString>
#include <QtGlobal>
#include <cstdio>
#include <cstdlib>

// libFuzzer reports a crash only for a signal; an oracle that merely returned would go unnoticed.
#define ZAL_FUZZ_CHECK(condition)                                                                   \
    do {                                                                                            \
        if (!(condition)) {                                                                         \
            std::fprintf(stderr, "%s:%d: fuzz check failed: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                           \
        }                                                                                           \
    } while (0)

namespace zalfuzz {

// qUncompress and QXmlStreamReader warn on standard error about each corrupt input; at thousands of
// inputs a second that output would cost more than the parsing. Fatal messages still abort.
inline void silenceQtWarnings() {
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type == QtFatalMsg) {
            std::fprintf(stderr, "Qt fatal: %s\n", qPrintable(text));
        }
    });
}

}  // namespace zalfuzz
