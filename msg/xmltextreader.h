// Reads the XML form of data objects with the part of QXmlStreamReader's interface the objects use.
#pragma once

#include <QString>
#include <QStringView>
#include <QXmlStreamReader>
#include <vector>

namespace REPORTGENERATOR {

// Every control message that arrives is read through here, so it avoids QXmlStreamReader's
// general machinery (about ten times the instructions for a message of a few hundred bytes). The
// whole text is checked when the reader is made, and the reader gives up (usable() false) on
// anything it cannot read exactly as QXmlStreamReader would: comments, processing instructions
// other than a plain declaration, CDATA, DOCTYPE, attributes, carriage returns, names outside
// ASCII letters, digits and "_.-", characters XML forbids, unknown entities, mismatched tags,
// content after the root element, nesting deeper than maxDepth. The caller then reads with Qt,
// which also gives the error texts for malformed input.
class XmlTextReader {
public:
    static constexpr int maxDepth = 64;

    explicit XmlTextReader(const QString& xml);

    bool usable() const { return ok; }

    QXmlStreamReader::TokenType readNext();
    // Reads on to the next start element (true) or the end of the current element (false).
    bool readNextStartElement();
    QStringView name() const;
    // The text up to the end of the current element; a child element is an error, as with
    // QXmlStreamReader::ErrorOnUnexpectedElement, and the reader then stays in error.
    QString readElementText(QXmlStreamReader::ReadElementTextBehaviour behaviour);
    bool atEnd() const;
    bool hasError() const { return failed; }
    QString errorString() const;
    qint64 lineNumber() const;
    qint64 columnNumber() const;

private:
    struct Token {
        QXmlStreamReader::TokenType type;
        QStringView name;
        QString text;
        qsizetype offset;
    };

    bool parse();
    bool parseDeclaration();
    bool parseTag(std::vector<QStringView>& open);
    bool parseText();
    bool parseReference(QString& text);
    bool parseName(QStringView& name);
    void skipSpace();
    bool skip(QLatin1String literal);
    const Token* current() const;

    const QString& xml;
    qsizetype pos = 0;
    std::vector<Token> tokens;
    // Index of the token readNext() returned last; -1 before the first.
    qsizetype at = -1;
    bool ok = false;
    bool failed = false;
};

}  // namespace REPORTGENERATOR
