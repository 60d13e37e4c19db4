// IRGObject's XML form: one element per object, written and read by property table through Qt's
// stream classes or the direct writer and reader of the wire form.
#include <zal/msg/irgobject.h>

#include <QFile>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <type_traits>
#include "irgobjectfields.h"
#include "xmltextreader.h"
#include "xmltextwriter.h"

namespace REPORTGENERATOR {

namespace {

// Bounds how deeply XML may nest, counting nested objects and skipped unknown elements alike; the
// schema itself needs only a handful of levels.
constexpr int kMaxXmlDepth = 64;

thread_local int xmlDepth = 0;

class XmlDepthGuard {
public:
    explicit XmlDepthGuard(bool& tooDeep) { tooDeep = ++xmlDepth > kMaxXmlDepth; }
    ~XmlDepthGuard() { --xmlDepth; }
    XmlDepthGuard(const XmlDepthGuard&) = delete;
    XmlDepthGuard& operator=(const XmlDepthGuard&) = delete;
};

// Switches an object's validation for one operation and back, also when the operation throws.
class ValidationSwitch {
public:
    ValidationSwitch(const IRGObject& object, bool on) : object(object), saved(object.GetValidate()) {
        object.SetValidate(on);
    }
    ~ValidationSwitch() { object.SetValidate(saved); }
    ValidationSwitch(const ValidationSwitch&) = delete;
    ValidationSwitch& operator=(const ValidationSwitch&) = delete;

private:
    const IRGObject& object;
    const bool saved;
};

}  // namespace

bool IRGObject::GetXml(QXmlStreamWriter& writer) const {
    return WriteXmlTo(writer, GetValidate());
}

// One walk for both writers: Qt's, and the direct one the wire form uses.
template <class Writer>
bool IRGObject::WriteXmlTo(Writer& writer, bool validating) const {
    if (!ReadyToWrite(validating)) {
        return false;
    }
    RGObjectData* block = Block();
    writer.writeStartElement(GetObjectName());
    for (int i = 0; i < GetClassInfo().count; ++i) {
        WriteXmlElement(writer, i, block, validating);
    }
    writer.writeEndElement();
    return true;
}

template <class Writer>
void IRGObject::WriteXmlElement(Writer& writer, int index, RGObjectData* block, bool validating) const {
    const PropertyInfo& p = GetClassInfo().properties[index];
    const bool set = block->set.testBit(index);
    void* value = block->Field(index, FieldRole::Value);
    const QLatin1String name(p.element);
    switch (p.kind) {
        case PropertyKind::String:
            if (set || p.key) {
                writer.writeTextElement(name, AsString(value));
            }
            break;
        case PropertyKind::Enum:
            if (set || p.key) {
                writer.writeTextElement(name, EnumToName(*p.names, AsEnum(value)));
            }
            break;
        case PropertyKind::Bool:
            if (set) {
                writer.writeTextElement(name,
                                        AsBool(value) ? QStringLiteral("true") : QStringLiteral("false"));
            }
            break;
        case PropertyKind::Object:
            if (set) {
                p.ops->object(value).WriteXmlTo(writer, validating);
            }
            break;
        case PropertyKind::StringList:
            for (const QString& item : AsStrings(value)) {
                writer.writeTextElement(name, item);
            }
            break;
        case PropertyKind::ObjectList:
            for (qsizetype k = 0, n = p.ops->count(value); k < n; ++k) {
                p.ops->item(value, k).WriteXmlTo(writer, validating);
            }
            break;
    }
}

template <class Reader>
void IRGObject::ThrowXmlErrorFrom(Reader& reader, const QString& text) const {
    if (reader.hasError()) {
        Note(Logger::Warning, GetObjectName() + QStringLiteral(": XML error at line ") +
                                  QString::number(reader.lineNumber()) + QStringLiteral(", column ") +
                                  QString::number(reader.columnNumber()) + QStringLiteral(": ") +
                                  reader.errorString());
    }
    throw InvalidXmlException(GetObjectName() + QStringLiteral(": ") + text);
}

template <class Reader>
QString IRGObject::TextValueFrom(Reader& reader) const {
    const QString text = reader.readElementText(QXmlStreamReader::ErrorOnUnexpectedElement);
    if (reader.hasError()) {
        ThrowXmlErrorFrom(reader, QStringLiteral("The XML text is malformed"));
    }
    return text.isNull() ? QString(QLatin1String("")) : text;
}

QString IRGObject::GetTextValue(QXmlStreamReader& reader) const {
    return TextValueFrom(reader);
}

template <class Reader>
void IRGObject::SkipXmlElementFrom(Reader& reader) const {
    Note(Logger::Debug,
         GetObjectName() + QStringLiteral(": skipping unknown element ") + reader.name().toString());
    int depth = 1;
    while (depth > 0) {
        switch (reader.readNext()) {
            case QXmlStreamReader::StartElement:
                if (++depth + xmlDepth > kMaxXmlDepth) {
                    ThrowXmlErrorFrom(reader, QStringLiteral("The XML text is nested too deeply"));
                }
                break;
            case QXmlStreamReader::EndElement:
                --depth;
                break;
            case QXmlStreamReader::Invalid:
                ThrowXmlErrorFrom(reader, QStringLiteral("The XML text is malformed"));
            default:
                break;
        }
    }
}

// Qt's reader goes through the virtual operations, so that a class overriding them still reads
// nested objects its own way; the direct reader exists for speed and calls the base's walk.
template <class Reader>
void IRGObject::ProcessXmlFrom(Reader& reader) {
    Block();
    bool tooDeep = false;
    XmlDepthGuard guard(tooDeep);
    if (tooDeep) {
        ThrowXmlErrorFrom(reader, QStringLiteral("The XML text is nested too deeply"));
    }
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::StartElement) {
            if constexpr (std::is_same_v<Reader, QXmlStreamReader>) {
                ProcessXmlStartElement(reader);
            } else {
                ProcessXmlStartElementFrom(reader);
            }
        } else if (token == QXmlStreamReader::EndElement) {
            return;
        }
    }
    ThrowXmlErrorFrom(reader, QStringLiteral("The XML text is malformed"));
}

void IRGObject::ProcessXml(QXmlStreamReader& reader) {
    ProcessXmlFrom(reader);
}

template <class Reader>
void IRGObject::ProcessXmlStartElementFrom(Reader& reader) {
    const ClassInfo& info = GetClassInfo();
    int index = -1;
    for (int i = 0; i < info.count && index < 0; ++i) {
        index = reader.name() == QLatin1String(info.properties[i].element) ? i : -1;
    }
    if (index < 0) {
        SkipXmlElementFrom(reader);
        return;
    }
    const PropertyInfo& p = info.properties[index];
    switch (p.kind) {
        case PropertyKind::String:
            AssignString(index, TextValueFrom(reader));
            break;
        case PropertyKind::Enum:
            AssignEnum(index, NameToEnum(*p.names, TextValueFrom(reader)));
            break;
        case PropertyKind::Bool: {
            const QString text = TextValueFrom(reader).toLower();
            if (text.isEmpty() && GetValidate()) {
                throw InvalidXmlException(
                    QStringLiteral("Please set a value or a default for the boolean '") +
                    QLatin1String(p.element) + QStringLiteral("' in '") + GetObjectName() +
                    QStringLiteral("'."));
            }
            AssignBool(index,
                       !text.isEmpty() && text != QLatin1String("0") && text != QLatin1String("false"));
            break;
        }
        case PropertyKind::StringList:
            AppendString(index, TextValueFrom(reader));
            break;
        case PropertyKind::Object:
        case PropertyKind::ObjectList: {
            std::unique_ptr<IRGObject> item = NewNested(p);
            if constexpr (std::is_same_v<Reader, QXmlStreamReader>) {
                item->ProcessXml(reader);
            } else {
                item->ProcessXmlFrom(reader);
            }
            if (p.kind == PropertyKind::Object) {
                AssignObject(index, *item);
            } else {
                AppendObject(index, *item);
            }
            break;
        }
    }
}

void IRGObject::ProcessXmlStartElement(QXmlStreamReader& reader) {
    ProcessXmlStartElementFrom(reader);
}

template <class Reader>
void IRGObject::ReadXmlDocumentFrom(Reader& reader) {
    bool atRoot = false;
    if constexpr (std::is_same_v<Reader, QXmlStreamReader>) {
        // A data object's XML never needs a document type declaration, and one may declare entities
        // that a small text expands into gigabytes: it is refused before anything is expanded.
        while (!atRoot && !reader.atEnd()) {
            const QXmlStreamReader::TokenType token = reader.readNext();
            if (token == QXmlStreamReader::DTD) {
                ThrowXmlErrorFrom(reader, QStringLiteral("A document type declaration is not accepted"));
            }
            atRoot = token == QXmlStreamReader::StartElement;
        }
    } else {
        atRoot = reader.readNextStartElement();
    }
    if (!atRoot) {
        ThrowXmlErrorFrom(reader, QStringLiteral("The XML text holds no element"));
    }
    if (reader.name() != GetObjectName()) {
        ThrowXmlErrorFrom(
            reader, QStringLiteral("The XML text holds no ") + GetObjectName() + QStringLiteral(" element"));
    }
    if constexpr (std::is_same_v<Reader, QXmlStreamReader>) {
        ProcessXml(reader);
    } else {
        ProcessXmlFrom(reader);
    }
    // Whatever follows the element must still be well-formed.
    while (!reader.atEnd()) {
        reader.readNext();
    }
    if (reader.hasError()) {
        ThrowXmlErrorFrom(reader, QStringLiteral("The XML text is malformed"));
    }
}

QString IRGObject::GetXmlString() const {
    XmlTextWriter direct;
    WriteXmlTo(direct, GetValidate());
    return direct.failed() ? GetXmlStringFromQt() : QString::fromUtf8(direct.text());
}

QByteArray IRGObject::GetXmlUtf8(bool validateWrite) const {
    XmlTextWriter direct;
    WriteXmlTo(direct, validateWrite);
    if (!direct.failed()) {
        return direct.text();
    }
    const ValidationSwitch validation(*this, validateWrite);
    return GetXmlStringFromQt().toUtf8();
}

QString IRGObject::GetXmlStringFromQt() const {
    QString xml;
    QXmlStreamWriter writer(&xml);
    GetXml(writer);
    // Qt writes a carriage return in text as it is, and every XML reader turns it into a line feed; outside
    // text Qt's writer emits none, so escaping them all is exact.
    return xml.replace(QLatin1Char('\r'), QLatin1String("&#13;"));
}

void IRGObject::SetXmlString(const QString& xml, bool validateParse) {
    const ValidationSwitch validation(*this, validateParse);
    XmlTextReader direct(xml);
    if (direct.usable()) {
        ReadXmlDocumentFrom(direct);
        return;
    }
    QXmlStreamReader reader(xml);
    ReadXmlDocumentFrom(reader);
}

void IRGObject::LoadXml(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        throw ReportException(GetObjectName() + QStringLiteral("::LoadXml(...): Cannot open ") + fileName);
    }
    QXmlStreamReader reader(&file);
    ReadXmlDocumentFrom(reader);
}

void IRGObject::SaveXml(const QString& fileName) const {
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        throw ReportException(GetObjectName() + QStringLiteral("::SaveXml(...): Cannot write ") + fileName);
    }
    QXmlStreamWriter writer(&file);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    GetXml(writer);
    writer.writeEndDocument();
    if (writer.hasError() || !file.commit()) {
        throw ReportException(GetObjectName() + QStringLiteral("::SaveXml(...): Cannot write ") + fileName);
    }
}

}  // namespace REPORTGENERATOR
