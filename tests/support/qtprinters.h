// Readable GoogleTest output for Qt strings and byte arrays.
#pragma once

#include <QByteArray>
#include <QString>
#include <ostream>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray& bytes, std::ostream* out) {
    *out << '"' << bytes.toStdString() << "\" (" << bytes.size() << " bytes)";
}
QT_END_NAMESPACE
