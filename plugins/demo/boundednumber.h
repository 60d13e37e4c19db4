// Reads a parameter's text as a whole number within the range a processor accepts.
#pragma once

#include <QString>

namespace demo {

// False, with `number` untouched, unless `text` is a whole number from 0 to `maximum`.
inline bool readBoundedNumber(const QString& text, int maximum, int& number) {
    bool ok = false;
    const int read = text.toInt(&ok);
    if (!ok || read < 0 || read > maximum) {
        return false;
    }
    number = read;
    return true;
}

}  // namespace demo
