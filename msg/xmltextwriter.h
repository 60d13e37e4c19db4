// Writes the XML form of data objects straight into a string, byte for byte as QXmlStreamWriter would.
#pragma once

#include <QLatin1String>
#include <QString>

namespace REPORTGENERATOR {

// The wire form of every control message goes through here, so it avoids QXmlStreamWriter's
// character-by-character path. It escapes what that writer escapes (< > & ") and, unlike it, a
// carriage return, which an XML reader would otherwise turn into a line feed. It gives up (failed()
// turns true) on any character that writer treats specially (control characters other than tab,
// newline and carriage return, and surrogates): the caller then writes with Qt instead.
class XmlTextWriter {
public:
    void writeStartElement(const QString& name);
    void writeTextElement(QLatin1String name, const QString& text);
    void writeEndElement();

    bool failed() const { return gaveUp; }
    const QString& text() const { return out; }

private:
    void closeStartTag();
    void appendEscaped(const QString& text);

    QString out;
    // Names of the open elements; an element closed with nothing inside is written as <Name/>.
    QString openNames[64];
    int depth = 0;
    bool startTagOpen = false;
    bool gaveUp = false;
};

}  // namespace REPORTGENERATOR
