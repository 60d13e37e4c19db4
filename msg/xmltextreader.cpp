#include "xmltextreader.h"

namespace REPORTGENERATOR {

namespace {

bool isNameStart(char16_t c) {
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
}

bool isNameChar(char16_t c) {
    return isNameStart(c) || (c >= u'0' && c <= u'9') || c == u'.' || c == u'-';
}

bool isSpace(char16_t c) {
    return c == u' ' || c == u'\t' || c == u'\n';
}

bool isXmlCodePoint(uint c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

int digitValue(char16_t c, bool hex) {
    if (c >= u'0' && c <= u'9') {
        return c - u'0';
    }
    if (hex && c >= u'a' && c <= u'f') {
        return c - u'a' + 10;
    }
    if (hex && c >= u'A' && c <= u'F') {
        return c - u'A' + 10;
    }
    return -1;
}

}  // namespace

XmlTextReader::XmlTextReader(const QString& xml) : xml(xml) {
    tokens.reserve(static_cast<size_t>(xml.size() / 16 + 4));
    ok = parse();
}

bool XmlTextReader::parse() {
    if (xml.startsWith(QLatin1String("<?xml")) && !parseDeclaration()) {
        return false;
    }
    skipSpace();
    std::vector<QStringView> open;
    if (pos >= xml.size() || xml.at(pos) != u'<' || !parseTag(open)) {
        return false;
    }
    while (!open.empty()) {
        if (pos >= xml.size()) {
            return false;
        }
        if (xml.at(pos) == u'<') {
            if (!parseTag(open)) {
                return false;
            }
        } else if (!parseText()) {
            return false;
        }
    }
    skipSpace();
    if (pos != xml.size()) {
        return false;
    }
    tokens.push_back({QXmlStreamReader::EndDocument, {}, {}, pos});
    return true;
}

// Only the declaration this library and Qt's writer produce: version 1.0, optionally UTF-8.
bool XmlTextReader::parseDeclaration() {
    pos = 5;
    const auto quoted = [this](QLatin1String value) {
        if (pos >= xml.size()) {
            return false;
        }
        const QChar quote = xml.at(pos);
        if (quote != u'"' && quote != u'\'') {
            return false;
        }
        ++pos;
        if (!skip(value) || pos >= xml.size() || xml.at(pos) != quote) {
            return false;
        }
        ++pos;
        return true;
    };
    skipSpace();
    if (!skip(QLatin1String("version=")) || !quoted(QLatin1String("1.0"))) {
        return false;
    }
    skipSpace();
    if (skip(QLatin1String("encoding=")) && !quoted(QLatin1String("UTF-8"))) {
        return false;
    }
    skipSpace();
    return skip(QLatin1String("?>"));
}

bool XmlTextReader::parseTag(std::vector<QStringView>& open) {
    const qsizetype start = pos++;
    const bool closing = pos < xml.size() && xml.at(pos) == u'/';
    if (closing) {
        ++pos;
    }
    QStringView name;
    if (!parseName(name)) {
        return false;
    }
    skipSpace();
    if (closing) {
        if (!skip(QLatin1String(">")) || open.empty() || open.back() != name) {
            return false;
        }
        open.pop_back();
        tokens.push_back({QXmlStreamReader::EndElement, name, {}, start});
        return true;
    }
    const bool empty = skip(QLatin1String("/>"));
    if (!empty && !skip(QLatin1String(">"))) {
        return false;
    }
    tokens.push_back({QXmlStreamReader::StartElement, name, {}, start});
    if (empty) {
        tokens.push_back({QXmlStreamReader::EndElement, name, {}, start});
        return true;
    }
    if (open.size() >= size_t(maxDepth)) {
        return false;
    }
    open.push_back(name);
    return true;
}

bool XmlTextReader::parseText() {
    const qsizetype start = pos;
    QString text;
    qsizetype plainFrom = pos;
    const auto flush = [&] { text.append(QStringView(xml).mid(plainFrom, pos - plainFrom)); };
    while (pos < xml.size()) {
        const char16_t c = xml.at(pos).unicode();
        if (c == u'<') {
            break;
        }
        if (c == u'&') {
            flush();
            if (!parseReference(text)) {
                return false;
            }
            plainFrom = pos;
            continue;
        }
        if (c < 0x20 && c != u'\t' && c != u'\n') {
            return false;
        }
        if (c == 0xFFFE || c == 0xFFFF || QChar::isLowSurrogate(c)) {
            return false;
        }
        if (QChar::isHighSurrogate(c)) {
            if (pos + 1 >= xml.size() || !xml.at(pos + 1).isLowSurrogate()) {
                return false;
            }
            ++pos;
        } else if (c == u'>' && pos >= 2 && xml.at(pos - 1) == u']' && xml.at(pos - 2) == u']') {
            return false;
        }
        ++pos;
    }
    flush();
    tokens.push_back({QXmlStreamReader::Characters, {}, std::move(text), start});
    return true;
}

bool XmlTextReader::parseReference(QString& text) {
    ++pos;
    static const struct {
        QLatin1String name;
        char16_t value;
    } entities[] = {{QLatin1String("lt;"), u'<'},
                    {QLatin1String("gt;"), u'>'},
                    {QLatin1String("amp;"), u'&'},
                    {QLatin1String("quot;"), u'"'},
                    {QLatin1String("apos;"), u'\''}};
    for (const auto& entity : entities) {
        if (skip(entity.name)) {
            text.append(QChar(entity.value));
            return true;
        }
    }
    if (!skip(QLatin1String("#"))) {
        return false;
    }
    const bool hex = skip(QLatin1String("x"));
    uint value = 0;
    int digits = 0;
    for (; pos < xml.size() && xml.at(pos) != u';'; ++pos, ++digits) {
        const int digit = digitValue(xml.at(pos).unicode(), hex);
        if (digit < 0 || digits >= 8) {
            return false;
        }
        value = value * (hex ? 16 : 10) + uint(digit);
    }
    if (digits == 0 || !skip(QLatin1String(";")) || !isXmlCodePoint(value)) {
        return false;
    }
    const char32_t codePoint = value;
    text.append(QString::fromUcs4(&codePoint, 1));
    return true;
}

bool XmlTextReader::parseName(QStringView& name) {
    const QChar* const begin = xml.constData();
    const QChar* const end = begin + xml.size();
    const QChar* at = begin + pos;
    if (at == end || !isNameStart(at->unicode())) {
        return false;
    }
    while (at != end && isNameChar(at->unicode())) {
        ++at;
    }
    name = QStringView(begin + pos, at);
    pos = at - begin;
    return true;
}

void XmlTextReader::skipSpace() {
    while (pos < xml.size() && isSpace(xml.at(pos).unicode())) {
        ++pos;
    }
}

// Literals are a few ASCII characters, mostly one or two, so a plain loop beats Qt's comparison.
bool XmlTextReader::skip(QLatin1String literal) {
    const qsizetype size = literal.size();
    if (xml.size() - pos < size) {
        return false;
    }
    const QChar* at = xml.constData() + pos;
    for (qsizetype i = 0; i < size; ++i) {
        if (at[i] != literal[i]) {
            return false;
        }
    }
    pos += size;
    return true;
}

const XmlTextReader::Token* XmlTextReader::current() const {
    return at >= 0 && at < qsizetype(tokens.size()) ? &tokens[size_t(at)] : nullptr;
}

QXmlStreamReader::TokenType XmlTextReader::readNext() {
    if (failed || at + 1 >= qsizetype(tokens.size())) {
        return QXmlStreamReader::Invalid;
    }
    return tokens[size_t(++at)].type;
}

bool XmlTextReader::readNextStartElement() {
    for (;;) {
        switch (readNext()) {
            case QXmlStreamReader::StartElement:
                return true;
            case QXmlStreamReader::EndElement:
            case QXmlStreamReader::EndDocument:
            case QXmlStreamReader::Invalid:
                return false;
            default:
                break;
        }
    }
}

QStringView XmlTextReader::name() const {
    const Token* token = current();
    return token != nullptr ? token->name : QStringView();
}

QString XmlTextReader::readElementText(QXmlStreamReader::ReadElementTextBehaviour /*behaviour*/) {
    QString text;
    for (;;) {
        switch (readNext()) {
            case QXmlStreamReader::Characters:
                text.append(current()->text);
                break;
            case QXmlStreamReader::EndElement:
                return text;
            default:
                failed = true;
                return QString();
        }
    }
}

bool XmlTextReader::atEnd() const {
    return failed || (at >= 0 && tokens[size_t(at)].type == QXmlStreamReader::EndDocument);
}

QString XmlTextReader::errorString() const {
    return failed ? QStringLiteral("Expected character data.") : QString();
}

qint64 XmlTextReader::lineNumber() const {
    const Token* token = current();
    return token != nullptr ? QStringView(xml).left(token->offset).count(u'\n') + 1 : 0;
}

qint64 XmlTextReader::columnNumber() const {
    const Token* token = current();
    return token != nullptr ? token->offset - QStringView(xml).left(token->offset).lastIndexOf(u'\n') - 1 : 0;
}

}  // namespace REPORTGENERATOR
