// Writes the XML form of data objects straight into UTF-8, byte for byte as QXmlStreamWriter would.
#pragma once

#include <QByteArray>
#include <QLatin1String>
#include <QString>
#include <QVarLengthArray>

namespace REPORTGENERATOR {

// The wire form of every control message goes through here, so it avoids QXmlStreamWriter's
// character-by-character path and the detour through UTF-16: the text is UTF-8 as it is written.
// It escapes what that writer escapes (< > & ") and, unlike it, a carriage return, which an XML
// reader would otherwise turn into a line feed. It gives up (failed() turns true) on any character
// that writer treats specially (control characters other than tab, newline and carriage return,
// surrogates, U+FFFE and U+FFFF): the caller then writes with Qt instead.
class XmlTextWriter {
public:
    XmlTextWriter();

    void writeStartElement(const QString& name);
    void writeTextElement(QLatin1String name, const QString& text);
    void writeEndElement();

    bool failed() const { return gaveUp; }
    // What has been written, in UTF-8; empty (and null) when nothing was.
    QByteArray text() const;

private:
    // Makes room for `size` more bytes and hands out where they start; finish() records where
    // writing ended. Writing through the pointer avoids a size check per byte, and the array is
    // only ever grown, never trimmed, until text() hands it out.
    char* room(qsizetype size);
    void finish(const char* end) { used = end - out.constData(); }
    static char* put(char* to, const char* text, qsizetype size);
    char* closeStartTag(char* to);
    // Names are written as they are, as Qt's writer does; false for a name outside ASCII.
    static bool putName(char*& to, const QString& name);
    // False when the text holds a character left to Qt's writer.
    static bool putEscaped(char*& to, const QString& text);

    static constexpr int maxDepth = 64;

    mutable QByteArray out;
    qsizetype used = 0;
    // Names of the open elements; an element closed with nothing inside is written as <Name/>.
    QVarLengthArray<QString, 8> openNames;
    bool startTagOpen = false;
    bool gaveUp = false;
};

}  // namespace REPORTGENERATOR
