#include "xmltextwriter.h"

#include <algorithm>
#include <cstring>

namespace REPORTGENERATOR {

namespace {

// Enough for a control message with a few parameters, so that most are written without growing.
constexpr qsizetype initialCapacity = 512;
// The longest a UTF-16 unit becomes: "&quot;".
constexpr qsizetype maxBytesPerUnit = 6;

// The entity a character is written as, or null for one written as it is.
const char* entityFor(char16_t c) {
    switch (c) {
        case u'<':
            return "&lt;";
        case u'>':
            return "&gt;";
        case u'&':
            return "&amp;";
        case u'"':
            return "&quot;";
        case u'\r':
            return "&#13;";
        default:
            return nullptr;
    }
}

}  // namespace

XmlTextWriter::XmlTextWriter() : out(initialCapacity, Qt::Uninitialized) {}

char* XmlTextWriter::room(qsizetype size) {
    if (used + size > out.size()) {
        out.resize(std::max(2 * out.size(), used + size));
    }
    return out.data() + used;
}

QByteArray XmlTextWriter::text() const {
    if (used == 0) {
        return QByteArray();
    }
    out.resize(used);
    return out;
}

char* XmlTextWriter::put(char* to, const char* text, qsizetype size) {
    std::memcpy(to, text, static_cast<size_t>(size));
    return to + size;
}

char* XmlTextWriter::closeStartTag(char* to) {
    if (startTagOpen) {
        *to++ = '>';
        startTagOpen = false;
    }
    return to;
}

bool XmlTextWriter::putName(char*& to, const QString& name) {
    char* at = to;
    for (const QChar c : name) {
        if (c.unicode() >= 0x80) {
            return false;
        }
        *at++ = static_cast<char>(c.unicode());
    }
    to = at;
    return true;
}

void XmlTextWriter::writeStartElement(const QString& name) {
    if (openNames.size() == maxDepth) {
        gaveUp = true;
        return;
    }
    char* to = closeStartTag(room(2 + name.size()));
    *to++ = '<';
    if (!putName(to, name)) {
        gaveUp = true;
        return;
    }
    finish(to);
    openNames.append(name);
    startTagOpen = true;
}

void XmlTextWriter::writeEndElement() {
    if (openNames.isEmpty()) {
        gaveUp = true;
        return;
    }
    if (startTagOpen) {
        finish(put(room(2), "/>", 2));
        startTagOpen = false;
    } else {
        const QString& name = openNames.back();
        char* to = put(room(3 + name.size()), "</", 2);
        putName(to, name);  // it went into the start tag, so it is ASCII
        *to++ = '>';
        finish(to);
    }
    openNames.removeLast();
}

void XmlTextWriter::writeTextElement(QLatin1String name, const QString& text) {
    char* to = closeStartTag(room(6 + 2 * name.size() + maxBytesPerUnit * text.size()));
    *to++ = '<';
    to = put(to, name.data(), name.size());
    *to++ = '>';
    if (!putEscaped(to, text)) {
        gaveUp = true;
        return;
    }
    to = put(to, "</", 2);
    to = put(to, name.data(), name.size());
    *to++ = '>';
    finish(to);
}

bool XmlTextWriter::putEscaped(char*& to, const QString& text) {
    char* at = to;
    for (const QChar character : text) {
        const char16_t c = character.unicode();
        if (c < 0x80) {
            if (const char* entity = entityFor(c)) {
                at = put(at, entity, qstrlen(entity));
            } else if (c < 0x20 && c != u'\t' && c != u'\n') {
                return false;
            } else {
                *at++ = static_cast<char>(c);
            }
        } else if (c < 0x800) {
            *at++ = static_cast<char>(0xC0 | (c >> 6));
            *at++ = static_cast<char>(0x80 | (c & 0x3F));
        } else if ((c >= 0xD800 && c <= 0xDFFF) || c == 0xFFFE || c == 0xFFFF) {
            return false;
        } else {
            *at++ = static_cast<char>(0xE0 | (c >> 12));
            *at++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            *at++ = static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    to = at;
    return true;
}

}  // namespace REPORTGENERATOR
