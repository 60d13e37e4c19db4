// The host framework's general exception: a std::exception that carries a QString message.
#pragma once

#include <QByteArray>
#include <QString>
#include <exception>

class QVException : public std::exception {
public:
    explicit QVException(const QString& message) : message(message), utf8(message.toUtf8()) {}

    const QString& getMessage() const { return message; }
    const char* what() const noexcept override { return utf8.constData(); }

private:
    QString message;
    QByteArray utf8;  // kept so that what() can hand out a pointer that outlives the call
};
