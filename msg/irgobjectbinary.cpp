// IRGObject's binary form: tagged elements with back-patched lengths, written and read by property table.
#include <zal/msg/irgobject.h>

#include <QBuffer>
#include <QDataStream>

#include "irgobjectfields.h"

namespace REPORTGENERATOR {

namespace {

constexpr quint32 kNullStringCount = 0xFFFFFFFFu;
// zlib cannot expand data by more than about 1032:1; a larger announced size is a lie, not data.
constexpr qint64 kMaxCompressionRatio = 1100;
constexpr qint64 kReadChunk = 64 * 1024;

// Overwrites the qint32 at `at` and returns to where the stream was. The device is seeked directly
// because QDataStream cannot skip backwards in Qt 6.
void PatchQint32(QDataStream& stream, qint64 at, qint32 value) {
    QIODevice* device = stream.device();
    const qint64 end = device->pos();
    device->seek(at);
    stream << value;
    device->seek(end);
}

// Opens a qint32 length field; Close writes the number of bytes written since.
class LengthField {
public:
    LengthField(QDataStream& stream) : stream(stream) {
        stream << qint32(0);
        start = stream.device()->pos();
    }
    void Close() { PatchQint32(stream, start - 4, qint32(stream.device()->pos() - start)); }

private:
    QDataStream& stream;
    qint64 start = 0;
};

void WriteUtf8(QDataStream& stream, const QString& text) {
    if (text.isNull()) {
        stream << kNullStringCount;
        return;
    }
    const QByteArray bytes = text.toUtf8();
    stream << quint32(bytes.size());
    stream.writeRawData(bytes.constData(), int(bytes.size()));
}

void WriteTextElement(QDataStream& stream, qint32 tag, const QString& text) {
    stream << tag;
    LengthField length(stream);
    WriteUtf8(stream, text);
    length.Close();
}

void WriteBoolElement(QDataStream& stream, qint32 tag, bool value) {
    stream << tag;
    LengthField length(stream);
    stream << value;
    length.Close();
}

// An empty list is not written at all.
void WriteStringListElement(QDataStream& stream, qint32 tag, const QVector<QString>& items) {
    if (items.isEmpty()) {
        return;
    }
    stream << tag;
    LengthField length(stream);
    stream << qint32(items.size());
    for (const QString& item : items) {
        LengthField itemLength(stream);
        WriteUtf8(stream, item);
        itemLength.Close();
    }
    length.Close();
}

void WriteObjectListElement(QDataStream& stream, const PropertyInfo& p, void* list) {
    const qsizetype n = p.ops->count(list);
    if (n == 0) {
        return;
    }
    stream << p.tag;
    LengthField length(stream);
    const qint64 countPos = stream.device()->pos();
    stream << qint32(n);
    qint32 written = 0;
    for (qsizetype k = 0; k < n; ++k) {
        written += p.ops->item(list, k).GetBinary(stream, p.tag, false) ? 1 : 0;
    }
    // An item without data writes nothing under validation; the count must say so.
    if (written != n) {
        PatchQint32(stream, countPos, written);
    }
    length.Close();
}

}  // namespace

bool IRGObject::GetBinary(QDataStream& stream, int id, bool writeHeader) const {
    if (!ReadyToWrite(GetValidate())) {
        return false;
    }
    RGObjectData* block = Block();
    if (!stream.device() || stream.device()->isSequential()) {
        throw ReportException(GetObjectName() +
                              QStringLiteral("::GetBinary(...): The stream must write to a seekable device"));
    }
    if (writeHeader) {
        stream << qint32(id);
    }
    LengthField length(stream);
    for (int i = 0; i < GetClassInfo().count; ++i) {
        WriteElement(stream, i, block);
    }
    length.Close();
    return true;
}

void IRGObject::WriteElement(QDataStream& stream, int index, RGObjectData* block) const {
    const PropertyInfo& p = GetClassInfo().properties[index];
    const bool set = block->set.testBit(index);
    void* value = block->Field(index, FieldRole::Value);
    switch (p.kind) {
        case PropertyKind::String:
            if (set || p.key) {
                WriteTextElement(stream, p.tag, AsString(value));
            }
            return;
        case PropertyKind::Enum:
            if (set || p.key) {
                WriteTextElement(stream, p.tag, EnumToName(*p.names, AsEnum(value)));
            }
            return;
        case PropertyKind::Bool:
            if (set) {
                WriteBoolElement(stream, p.tag, AsBool(value));
            }
            return;
        case PropertyKind::Object:
            if (set) {
                p.ops->object(value).GetBinary(stream, p.tag, true);
            }
            return;
        case PropertyKind::StringList:
            WriteStringListElement(stream, p.tag, AsStrings(value));
            return;
        case PropertyKind::ObjectList:
            WriteObjectListElement(stream, p, value);
            return;
    }
}

void IRGObject::ThrowLengthError() const {
    throw BinaryParsingException(
        GetObjectName() +
        QStringLiteral("::SetBinary(...): Length error occurred during processing of binary representation"));
}

QString IRGObject::ReadUtf8(QDataStream& stream, qint64& budget) const {
    if (budget < 4) {
        ThrowLengthError();
    }
    quint32 count = 0;
    stream >> count;
    budget -= 4;
    if (stream.status() != QDataStream::Ok) {
        ThrowLengthError();
    }
    if (count == kNullStringCount) {
        return QString();
    }
    if (qint64(count) > budget) {
        ThrowLengthError();
    }
    // Read in chunks so that a count that lies about the stream never allocates more than arrived.
    QByteArray bytes;
    for (qint64 done = 0; done < qint64(count);) {
        const qint64 chunk = qMin(qint64(count) - done, kReadChunk);
        bytes.resize(done + chunk);
        if (stream.readRawData(bytes.data() + done, int(chunk)) != int(chunk)) {
            ThrowLengthError();
        }
        done += chunk;
    }
    budget -= count;
    return count == 0 ? QString(QLatin1String("")) : QString::fromUtf8(bytes);
}

void IRGObject::skipCurrentElement(QDataStream& stream, int tag, int length) const {
    Note(Logger::Debug, GetObjectName() + QStringLiteral(": skipping unknown element with tag 0x") +
                            QString::number(quint32(tag), 16));
    if (length < 0 || stream.skipRawData(length) != length) {
        ThrowLengthError();
    }
}

void IRGObject::SetBinary(QDataStream& stream, int length) {
    PropagateSettings();
    Block();
    const ClassInfo& info = GetClassInfo();
    while (length > 0 && !stream.atEnd()) {
        if (length < 8) {
            ThrowLengthError();
        }
        qint32 tag = 0;
        qint32 n = 0;
        stream >> tag >> n;
        // An element longer than what is left of the object is the length error; reading it anyway
        // would run into whatever follows the object in the stream.
        if (stream.status() != QDataStream::Ok || n < 0 || n > length - 8) {
            ThrowLengthError();
        }
        length -= 8 + n;
        int index = -1;
        for (int i = 0; i < info.count && index < 0; ++i) {
            index = info.properties[i].tag == tag ? i : -1;
        }
        if (index < 0) {
            skipCurrentElement(stream, tag, n);
        } else {
            ReadElement(stream, index, n);
        }
    }
    if (length != 0) {
        ThrowLengthError();
    }
}

// Every element must consume exactly its announced length; otherwise the next tag would be read from the
// middle of this one.
void IRGObject::ReadElement(QDataStream& stream, int index, qint64 length) {
    const PropertyInfo& p = GetClassInfo().properties[index];
    qint64 budget = length;
    switch (p.kind) {
        case PropertyKind::String:
            AssignString(index, ReadUtf8(stream, budget));
            break;
        case PropertyKind::Enum:
            AssignEnum(index, NameToEnum(*p.names, ReadUtf8(stream, budget)));
            break;
        case PropertyKind::Bool:
            AssignBool(index, ReadBool(stream, budget));
            break;
        case PropertyKind::Object: {
            std::unique_ptr<IRGObject> item = NewNested(p);
            item->SetBinary(stream, int(budget));
            budget = 0;
            AssignObject(index, *item);
            break;
        }
        case PropertyKind::StringList:
        case PropertyKind::ObjectList:
            ReadListElement(stream, index, budget);
            break;
    }
    if (budget != 0) {
        ThrowLengthError();
    }
}

bool IRGObject::ReadBool(QDataStream& stream, qint64& budget) const {
    if (budget < 1) {
        ThrowLengthError();
    }
    bool value = false;
    stream >> value;
    budget -= 1;
    if (stream.status() != QDataStream::Ok) {
        ThrowLengthError();
    }
    return value;
}

qint32 IRGObject::ReadLength(QDataStream& stream, qint64& budget, qint64 most) const {
    if (budget < 4) {
        ThrowLengthError();
    }
    qint32 value = 0;
    stream >> value;
    budget -= 4;
    if (stream.status() != QDataStream::Ok || value < 0 || value > most) {
        ThrowLengthError();
    }
    return value;
}

// A count, then per item its length and its bytes; lists are appended to.
void IRGObject::ReadListElement(QDataStream& stream, int index, qint64& budget) {
    const PropertyInfo& p = GetClassInfo().properties[index];
    // Each item carries at least its 4-byte length, which bounds what the count may claim.
    const qint32 count = ReadLength(stream, budget, (budget - 4) / 4);
    void* list = Block()->Field(index, FieldRole::Value);
    if (p.kind == PropertyKind::StringList) {
        AsStrings(list).reserve(AsStrings(list).size() + count);
    } else {
        p.ops->reserve(list, p.ops->count(list) + count);
    }
    for (qint32 k = 0; k < count; ++k) {
        const qint32 itemLength = ReadLength(stream, budget, budget - 4);
        budget -= itemLength;
        if (p.kind == PropertyKind::StringList) {
            qint64 itemBudget = itemLength;
            const QString item = ReadUtf8(stream, itemBudget);
            if (itemBudget != 0) {
                ThrowLengthError();
            }
            AppendString(index, item);
        } else {
            std::unique_ptr<IRGObject> item = NewNested(p);
            item->SetBinary(stream, itemLength);
            AppendObject(index, *item);
        }
    }
}

QByteArray IRGObject::GetBinaryRepresentation() const {
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    GetBinary(stream, int(qint32(GetClassId())), true);
    return data;
}

void IRGObject::SetBinaryRepresentation(const QByteArray& data) {
    const QString where = GetObjectName() + QStringLiteral("::SetBinaryRepresentation(...): ");
    QDataStream stream(data);
    qint32 id = 0;
    qint32 length = 0;
    stream >> id >> length;
    if (stream.status() != QDataStream::Ok || length < 0 || length > data.size() - 8) {
        throw BinaryParsingException(where + QStringLiteral("The binary representation is too short"));
    }
    if (id != qint32(GetClassId())) {
        throw BinaryParsingException(where +
                                     QStringLiteral("The binary representation holds another object"));
    }
    SetBinary(stream, length);
}

QByteArray IRGObject::GetCompressedBinaryRepresentation() const {
    return qCompress(GetBinaryRepresentation());
}

void IRGObject::SetCompressedBinaryRepresentation(const QByteArray& data) {
    const QString where = GetObjectName() + QStringLiteral("::SetCompressedBinaryRepresentation(...): ");
    // qUncompress allocates the size the first four bytes announce before it inflates anything.
    if (data.size() < 4) {
        throw BinaryParsingException(where + QStringLiteral("The compressed representation is too short"));
    }
    const quint32 announced = (quint32(quint8(data[0])) << 24) | (quint32(quint8(data[1])) << 16) |
                              (quint32(quint8(data[2])) << 8) | quint32(quint8(data[3]));
    if (qint64(announced) > (data.size() - 4) * kMaxCompressionRatio + 64) {
        throw BinaryParsingException(where + QStringLiteral("The compressed representation is corrupt"));
    }
    const QByteArray plain = qUncompress(data);
    if (plain.isEmpty()) {
        throw BinaryParsingException(where + QStringLiteral("The compressed representation is corrupt"));
    }
    SetBinaryRepresentation(plain);
}

}  // namespace REPORTGENERATOR
