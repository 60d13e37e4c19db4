#include "xmltextwriter.h"

namespace REPORTGENERATOR {

void XmlTextWriter::closeStartTag() {
    if (startTagOpen) {
        out += QLatin1Char('>');
        startTagOpen = false;
    }
}

void XmlTextWriter::writeStartElement(const QString& name) {
    if (depth == static_cast<int>(sizeof openNames / sizeof openNames[0])) {
        gaveUp = true;
        return;
    }
    closeStartTag();
    out += QLatin1Char('<');
    out += name;
    openNames[depth++] = name;
    startTagOpen = true;
}

void XmlTextWriter::writeEndElement() {
    if (depth == 0) {
        gaveUp = true;
        return;
    }
    const QString& name = openNames[--depth];
    if (startTagOpen) {
        out += QLatin1String("/>");
        startTagOpen = false;
        return;
    }
    out += QLatin1String("</");
    out += name;
    out += QLatin1Char('>');
}

void XmlTextWriter::writeTextElement(QLatin1String name, const QString& text) {
    closeStartTag();
    out += QLatin1Char('<');
    out += name;
    out += QLatin1Char('>');
    appendEscaped(text);
    out += QLatin1String("</");
    out += name;
    out += QLatin1Char('>');
}

void XmlTextWriter::appendEscaped(const QString& text) {
    qsizetype plainFrom = 0;
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t c = text[i].unicode();
        const char* entity = nullptr;
        switch (c) {
            case u'<':
                entity = "&lt;";
                break;
            case u'>':
                entity = "&gt;";
                break;
            case u'&':
                entity = "&amp;";
                break;
            case u'"':
                entity = "&quot;";
                break;
            case u'\r':
                entity = "&#13;";
                break;
            default:
                if ((c < 0x20 && c != u'\t' && c != u'\n') || (c >= 0xD800 && c <= 0xDFFF) || c == 0xFFFE ||
                    c == 0xFFFF) {
                    gaveUp = true;
                    return;
                }
                continue;
        }
        out.append(text.constData() + plainFrom, i - plainFrom);
        out += QLatin1String(entity);
        plainFrom = i + 1;
    }
    out.append(text.constData() + plainFrom, size - plainFrom);
}

}  // namespace REPORTGENERATOR
