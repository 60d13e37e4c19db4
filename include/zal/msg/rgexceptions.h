// Exception types of the data objects: one base that carries the message, one type per kind of failure.
#pragma once

#include <QByteArray>
#include <QString>
#include <exception>

namespace REPORTGENERATOR {

class RGException : public std::exception {
public:
    explicit RGException(const QString& message);
    ~RGException() override;

    const QString& GetMessage() const { return message; }
    const char* what() const noexcept override { return utf8.constData(); }

private:
    QString message;
    QByteArray utf8;  // kept so that what() can hand out a pointer that lives as long as the exception
};

// Every failure of a data object; catch this to handle all of them alike.
class ReportException : public RGException {
public:
    using RGException::RGException;
    ~ReportException() override;
};

// An enum outside its name table, or a property that must be set and is not.
class OutOfRangeException : public ReportException {
public:
    using ReportException::ReportException;
    ~OutOfRangeException() override;
};

// An invalid item offered to a list while validation is on.
class IncompleteDefinitionException : public ReportException {
public:
    using ReportException::ReportException;
    ~IncompleteDefinitionException() override;
};

// Binary data whose lengths do not add up, that is cut short, or that holds another object.
class BinaryParsingException : public ReportException {
public:
    using ReportException::ReportException;
    ~BinaryParsingException() override;
};

// XML text that is not well-formed, nests too deeply or holds an unusable value.
class InvalidXmlException : public ReportException {
public:
    using ReportException::ReportException;
    ~InvalidXmlException() override;
};

}  // namespace REPORTGENERATOR
