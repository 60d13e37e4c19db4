#include <zal/msg/irgobject.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QDataStream>
#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include "xmltextreader.h"
#include "xmltextwriter.h"

namespace REPORTGENERATOR {

namespace {

constexpr quint32 kNullStringCount = 0xFFFFFFFFu;
// Bounds how deeply XML may nest, counting nested objects and skipped unknown elements alike; the
// schema itself needs only a handful of levels.
constexpr int kMaxXmlDepth = 64;
// zlib cannot expand data by more than about 1032:1; a larger announced size is a lie, not data.
constexpr qint64 kMaxCompressionRatio = 1100;
constexpr qint64 kReadChunk = 64 * 1024;

thread_local int xmlDepth = 0;

class XmlDepthGuard {
public:
    explicit XmlDepthGuard(bool& tooDeep) { tooDeep = ++xmlDepth > kMaxXmlDepth; }
    ~XmlDepthGuard() { --xmlDepth; }
    XmlDepthGuard(const XmlDepthGuard&) = delete;
    XmlDepthGuard& operator=(const XmlDepthGuard&) = delete;
};

// Opens a qint32 length field; Close writes the number of bytes written since. The device is seeked
// directly because QDataStream cannot skip backwards in Qt 6.
class LengthField {
public:
    LengthField(QDataStream& stream) : stream(stream) {
        stream << qint32(0);
        start = stream.device()->pos();
    }
    void Close() {
        QIODevice* device = stream.device();
        const qint64 end = device->pos();
        device->seek(start - 4);
        stream << qint32(end - start);
        device->seek(end);
    }

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

// Strings keep the difference between null and empty, which QString's operator== does not.
bool SameString(const QString& a, const QString& b) {
    return a.isNull() == b.isNull() && a == b;
}

bool SameStrings(const QVector<QString>& a, const QVector<QString>& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (qsizetype i = 0; i < a.size(); ++i) {
        if (!SameString(a.at(i), b.at(i))) {
            return false;
        }
    }
    return true;
}

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

QString& AsString(void* field) {
    return *static_cast<QString*>(field);
}
qint32& AsEnum(void* field) {
    return *static_cast<qint32*>(field);
}
bool& AsBool(void* field) {
    return *static_cast<bool*>(field);
}
QVector<QString>& AsStrings(void* field) {
    return *static_cast<QVector<QString>*>(field);
}

}  // namespace

RGObjectData::~RGObjectData() = default;
Logger::~Logger() = default;

IRGObject::IRGObject() = default;

IRGObject::IRGObject(ObjectTypes type) : objectType(type) {}

IRGObject::IRGObject(const IRGObject& other)
    : objectName(other.objectName),
      objectType(other.objectType),
      validate(other.validate),
      logger(other.logger),
      d(other.d) {
    if (d) {
        d->ref.fetch_add(1, std::memory_order_relaxed);
    }
}

IRGObject::IRGObject(IRGObject&& other) noexcept
    : objectName(std::move(other.objectName)),
      objectType(other.objectType),
      validate(other.validate),
      logger(std::move(other.logger)),
      d(other.d) {
    other.d = nullptr;
}

IRGObject& IRGObject::operator=(const IRGObject& other) {
    if (other.d != d) {
        if (other.d) {
            other.d->ref.fetch_add(1, std::memory_order_relaxed);
        }
        ReleaseBlock();
        d = other.d;
    }
    return *this;
}

IRGObject& IRGObject::operator=(IRGObject&& other) noexcept {
    if (this != &other) {
        ReleaseBlock();
        d = other.d;
        other.d = nullptr;
    }
    return *this;
}

IRGObject::~IRGObject() {
    ReleaseBlock();
}

void IRGObject::ReleaseBlock() const {
    if (d && d->ref.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete d;
    }
    d = nullptr;
}

RGObjectData* IRGObject::Block() const {
    if (!d) {
        d = GetClassInfo().create();
        InitBlock();
    } else if (d->ref.load(std::memory_order_acquire) != 1) {
        // The old count is dropped only after the copy is complete, so a sharer that sees the count
        // fall to 1 never writes into a block that is still being copied.
        RGObjectData* copy = d->Clone();
        ReleaseBlock();
        d = copy;
    }
    return d;
}

// The generated members of a new block start where a reset to the defaults would put them (enums
// and booleans at the schema's defaults, strings null, lists and nested objects empty), so what
// is left is to record which properties have a default and to hand on the settings. A block is
// made for every message that arrives, so this matters.
void IRGObject::InitBlock() const {
    const ClassInfo& info = GetClassInfo();
    for (int i = 0; i < info.count; ++i) {
        if (info.properties[i].hasDefault) {
            d->hasDefault.setBit(i);
        }
    }
    PropagateSettings();
}

void IRGObject::PropagateSettings() const {
    SetValidate(GetValidate());
    SetLogger(GetLogger());
}

// Only nested properties are looked at, and the block is made private only when there are some:
// settings are handed on by this walk several times for every message read or written.
template <class F>
void IRGObject::ForEachNested(F&& f) const {
    if (!d) {
        return;
    }
    RGObjectData* block = nullptr;
    const ClassInfo& info = GetClassInfo();
    for (int i = 0; i < info.count; ++i) {
        const PropertyInfo& p = info.properties[i];
        if (p.kind != PropertyKind::Object && p.kind != PropertyKind::ObjectList) {
            continue;
        }
        if (block == nullptr) {
            block = Block();
        }
        void* value = block->Field(i, FieldRole::Value);
        if (p.kind == PropertyKind::Object) {
            f(p.ops->object(value));
        } else {
            for (qsizetype k = 0, n = p.ops->count(value); k < n; ++k) {
                f(p.ops->item(value, k));
            }
        }
    }
}

void IRGObject::SetValidate(bool on) const {
    validate = on;
    ForEachNested([on](const IRGObject& nested) { nested.SetValidate(on); });
}

bool IRGObject::GetValidate() const {
    return validate;
}

void IRGObject::SetLogger(std::shared_ptr<Logger> newLogger) const {
    logger = newLogger;
    ForEachNested([&newLogger](const IRGObject& nested) { nested.SetLogger(newLogger); });
}

std::shared_ptr<Logger> IRGObject::GetLogger() const {
    return logger;
}
void IRGObject::ResetLogger() const {
    SetLogger(nullptr);
}

QString IRGObject::GetObjectName() const {
    return objectName;
}
void IRGObject::SetObjectName(const QString& name) {
    objectName = name;
}
ObjectTypes IRGObject::GetObjectType() const {
    return objectType;
}
void IRGObject::SetObjectType(ObjectTypes type) {
    objectType = type;
}
QString IRGObject::GetVersion() {
    return QStringLiteral("1.0");
}
qint64 IRGObject::GetClassId() const {
    return GetClassInfo().id;
}

bool IRGObject::IsValid(bool) const {
    return true;
}
bool IRGObject::IsValid(int value) const {
    return value != std::numeric_limits<int>::min();
}
bool IRGObject::IsValid(unsigned int value) const {
    return value != std::numeric_limits<unsigned int>::max();
}
bool IRGObject::IsValid(qint64 value) const {
    return value != std::numeric_limits<qint64>::min();
}
bool IRGObject::IsValid(float value) const {
    return !std::isnan(value);
}
bool IRGObject::IsValid(double value) const {
    return !std::isnan(value);
}
bool IRGObject::IsValid(const QString& value) const {
    return !value.isNull();
}
bool IRGObject::IsValid(const QDateTime& value) const {
    return value.isValid();
}
void IRGObject::SetInvalid(int& value) const {
    value = std::numeric_limits<int>::min();
}
void IRGObject::SetInvalid(unsigned int& value) const {
    value = std::numeric_limits<unsigned int>::max();
}
void IRGObject::SetInvalid(qint64& value) const {
    value = std::numeric_limits<qint64>::min();
}
void IRGObject::SetInvalid(float& value) const {
    value = std::numeric_limits<float>::quiet_NaN();
}
void IRGObject::SetInvalid(double& value) const {
    value = std::numeric_limits<double>::quiet_NaN();
}
void IRGObject::SetInvalid(QString& value) const {
    value = QString();
}

bool IRGObject::IsMember(const QStringList& names, qint32 value) {
    return value >= 0 && value < names.size();
}

QString IRGObject::EnumToName(const QStringList& names, qint32 value) {
    return IsMember(names, value) ? names.at(value) : QString();
}

qint32 IRGObject::NameToEnum(const QStringList& names, const QString& name) {
    return qint32(names.indexOf(name));
}

QStringList IRGObject::TranslatedNames(const char* context, const QStringList& names) {
    QStringList translated;
    translated.reserve(names.size());
    for (const QString& name : names) {
        translated.append(QCoreApplication::translate(context, name.toUtf8().constData()));
    }
    return translated;
}

bool IRGObject::IsSet(int index) const {
    return d && Block()->set.testBit(index);
}
void IRGObject::MarkSet(int index) {
    Block()->set.setBit(index);
}
void IRGObject::MarkHasDefault(int index) {
    Block()->hasDefault.setBit(index);
}

QString IRGObject::PleaseSet(const char* property) const {
    return GetObjectName() + QStringLiteral(": Please set ") + QLatin1String(property) +
           QStringLiteral(" properly.");
}

void IRGObject::AssignString(int index, QString value) {
    RGObjectData* block = Block();
    if (value.isNull() && GetValidate()) {
        throw OutOfRangeException(PleaseSet(GetClassInfo().properties[index].name));
    }
    AsString(block->Field(index, FieldRole::Value)) = std::move(value);
    block->set.setBit(index);
}

void IRGObject::AssignEnum(int index, qint32 value) {
    RGObjectData* block = Block();
    const ClassInfo& info = GetClassInfo();
    const PropertyInfo& p = info.properties[index];
    if (!IsMember(*p.names, value) && GetValidate()) {
        throw OutOfRangeException(QStringLiteral("enum is not valid (classname=") + QLatin1String(info.name) +
                                  QStringLiteral(",membername=") + QLatin1String(p.memberName) +
                                  QStringLiteral(")"));
    }
    AsEnum(block->Field(index, FieldRole::Value)) = value;
    block->set.setBit(index);
}

void IRGObject::AssignBool(int index, bool value) {
    RGObjectData* block = Block();
    AsBool(block->Field(index, FieldRole::Value)) = value;
    block->set.setBit(index);
}

void IRGObject::AssignObject(int index, const IRGObject& value) {
    RGObjectData* block = Block();
    GetClassInfo().properties[index].ops->assign(block->Field(index, FieldRole::Value), value);
    block->set.setBit(index);
}

// Validation on refuses an invalid item; validation off takes it as it is. Callers rely on both.
void IRGObject::RefuseInvalidItem(int index, bool valid) const {
    if (!valid && GetValidate()) {
        throw IncompleteDefinitionException(
            GetObjectName() + QStringLiteral(": Tried to append not completely defined or invalid item ") +
            QLatin1String(GetClassInfo().properties[index].name) + QStringLiteral("."));
    }
}

void IRGObject::AppendString(int index, const QString& item) {
    RGObjectData* block = Block();
    RefuseInvalidItem(index, IsValid(item));
    AsStrings(block->Field(index, FieldRole::Value)).append(item);
    block->set.setBit(index);
}

void IRGObject::AppendObject(int index, const IRGObject& item) {
    RGObjectData* block = Block();
    RefuseInvalidItem(index, IsCompleteItem(item));
    GetClassInfo().properties[index].ops->append(block->Field(index, FieldRole::Value), item);
    block->set.setBit(index);
}

bool IRGObject::IsCompleteItem(const IRGObject& item) {
    return item.HasData() && item.CheckFailure(true).isNull();
}

// Strings and nested objects either take their default (a copy of the default object) or become null and
// reset; enums and booleans always take their default; lists are emptied either way.
void IRGObject::ResetValue(int index, bool toDefault) const {
    const PropertyInfo& p = GetClassInfo().properties[index];
    void* value = d->Field(index, FieldRole::Value);
    void* def = d->Field(index, FieldRole::Default);
    switch (p.kind) {
        case PropertyKind::String:
            AsString(value) = toDefault ? AsString(def) : QString();
            break;
        case PropertyKind::Enum:
            AsEnum(value) = AsEnum(def);
            break;
        case PropertyKind::Bool:
            AsBool(value) = AsBool(def);
            break;
        case PropertyKind::Object:
            if (toDefault) {
                p.ops->assign(value, p.ops->object(def));
            } else {
                p.ops->object(value).Reset();
            }
            break;
        case PropertyKind::StringList:
            AsStrings(value).clear();
            break;
        case PropertyKind::ObjectList:
            p.ops->clear(value);
            break;
    }
}

void IRGObject::ResetProperty(int index) {
    Block()->set.clearBit(index);
    ResetValue(index, false);
}

void IRGObject::Reset() {
    for (int i = 0; i < GetClassInfo().count; ++i) {
        ResetProperty(i);
    }
}

void IRGObject::ResetToDefault() {
    RGObjectData* block = Block();
    for (int i = 0; i < GetClassInfo().count; ++i) {
        ResetValue(i, true);
        block->set.setBit(i, block->hasDefault.testBit(i));
    }
    PropagateSettings();
}

bool IRGObject::HasData() const {
    const ClassInfo& info = GetClassInfo();
    if (info.keyIndex < 0) {
        return true;
    }
    if (!d) {
        return false;
    }
    RGObjectData* block = Block();
    if (info.properties[info.keyIndex].kind == PropertyKind::String) {
        return !AsString(block->Field(info.keyIndex, FieldRole::Value)).isNull();
    }
    return block->set.testBit(info.keyIndex);
}

bool IRGObject::AnyData() const {
    if (!d) {
        return false;
    }
    RGObjectData* block = Block();
    const ClassInfo& info = GetClassInfo();
    for (int i = 0; i < info.count; ++i) {
        const PropertyInfo& p = info.properties[i];
        void* value = block->Field(i, FieldRole::Value);
        const bool set = block->set.testBit(i);
        if ((p.key && set) || (i == info.lastEnumIndex && set)) {
            return true;
        }
        switch (p.kind) {
            case PropertyKind::String:
                if (!AsString(value).isNull()) {
                    return true;
                }
                break;
            case PropertyKind::Object:
                if (p.ops->object(value).AnyData()) {
                    return true;
                }
                break;
            case PropertyKind::StringList:
                if (!AsStrings(value).isEmpty()) {
                    return true;
                }
                break;
            case PropertyKind::ObjectList:
                if (p.ops->count(value) > 0) {
                    return true;
                }
                break;
            case PropertyKind::Enum:
            case PropertyKind::Bool:
                break;
        }
    }
    return false;
}

QString IRGObject::CheckFailure(bool deep) const {
    RGObjectData* block = Block();
    const ClassInfo& info = GetClassInfo();
    if (deep) {
        for (int i = 0; i < info.count; ++i) {
            const PropertyInfo& p = info.properties[i];
            if (!block->set.testBit(i)) {
                continue;
            }
            void* value = block->Field(i, FieldRole::Value);
            if (p.kind == PropertyKind::Object) {
                const QString failure = p.ops->object(value).CheckFailure(deep);
                if (!failure.isNull()) {
                    return failure;
                }
            } else if (p.kind == PropertyKind::ObjectList) {
                for (qsizetype k = 0, n = p.ops->count(value); k < n; ++k) {
                    const QString failure = p.ops->item(value, k).CheckFailure(deep);
                    if (!failure.isNull()) {
                        return failure;
                    }
                }
            }
        }
    }
    if (info.keyIndex >= 0 && info.properties[info.keyIndex].kind == PropertyKind::Enum) {
        const PropertyInfo& key = info.properties[info.keyIndex];
        if (!block->set.testBit(info.keyIndex) ||
            !IsMember(*key.names, AsEnum(block->Field(info.keyIndex, FieldRole::Value)))) {
            return PleaseSet(key.name);
        }
    }
    // Strings, then string lists, then the remaining enums: the order in which problems are reported.
    for (PropertyKind kind : {PropertyKind::String, PropertyKind::StringList, PropertyKind::Enum}) {
        for (int i = 0; i < info.count; ++i) {
            const PropertyInfo& p = info.properties[i];
            if (p.kind != kind || !block->set.testBit(i) || (p.key && kind == PropertyKind::Enum)) {
                continue;
            }
            void* value = block->Field(i, FieldRole::Value);
            const bool bad = (kind == PropertyKind::String && AsString(value).isNull()) ||
                             (kind == PropertyKind::StringList && p.checked &&
                              std::any_of(AsStrings(value).cbegin(), AsStrings(value).cend(),
                                          [](const QString& s) { return s.isNull(); })) ||
                             (kind == PropertyKind::Enum && !IsMember(*p.names, AsEnum(value)));
            if (bad) {
                return PleaseSet(p.name);
            }
        }
    }
    return QString();
}

void IRGObject::Check(bool deep) const {
    const QString failure = CheckFailure(deep);
    if (!failure.isNull()) {
        throw OutOfRangeException(failure);
    }
}

void IRGObject::Check() const {
    Check(false);
}

bool IRGObject::Equals(const IRGObject& other) const {
    if (!d && !other.d) {
        return true;
    }
    const ClassInfo& info = GetClassInfo();
    if (&info != &other.GetClassInfo()) {
        return false;
    }
    RGObjectData* mine = Block();
    RGObjectData* theirs = other.Block();
    if (mine == theirs) {
        return true;
    }
    for (int i = 0; i < info.count; ++i) {
        const bool set = mine->set.testBit(i);
        if (set != theirs->set.testBit(i)) {
            return false;
        }
        if (!set) {
            continue;
        }
        const PropertyInfo& p = info.properties[i];
        void* a = mine->Field(i, FieldRole::Value);
        void* b = theirs->Field(i, FieldRole::Value);
        bool same = true;
        switch (p.kind) {
            case PropertyKind::String:
                same = SameString(AsString(a), AsString(b));
                break;
            case PropertyKind::Enum:
                same = AsEnum(a) == AsEnum(b);
                break;
            case PropertyKind::Bool:
                same = AsBool(a) == AsBool(b);
                break;
            case PropertyKind::Object:
                same = p.ops->object(a).Equals(p.ops->object(b));
                break;
            case PropertyKind::StringList:
                same = SameStrings(AsStrings(a), AsStrings(b));
                break;
            case PropertyKind::ObjectList: {
                const qsizetype n = p.ops->count(a);
                same = n == p.ops->count(b);
                for (qsizetype k = 0; same && k < n; ++k) {
                    same = p.ops->item(a, k).Equals(p.ops->item(b, k));
                }
                break;
            }
        }
        if (!same) {
            return false;
        }
    }
    return true;
}

// ---- binary form ----

// The prelude of both writers: nested objects get this object's settings; under validation an object that
// fails its shallow check throws and one without data is not written at all.
bool IRGObject::ReadyToWrite(bool validating) const {
    PropagateSettings();
    if (validating) {
        Check();
        return HasData();
    }
    return true;
}

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
        case PropertyKind::Enum:
        case PropertyKind::Bool: {
            if (!set && !(p.key && p.kind != PropertyKind::Bool)) {
                return;
            }
            stream << p.tag;
            LengthField length(stream);
            if (p.kind == PropertyKind::String) {
                WriteUtf8(stream, AsString(value));
            } else if (p.kind == PropertyKind::Enum) {
                WriteUtf8(stream, EnumToName(*p.names, AsEnum(value)));
            } else {
                stream << AsBool(value);
            }
            length.Close();
            return;
        }
        case PropertyKind::Object:
            if (set) {
                p.ops->object(value).GetBinary(stream, p.tag, true);
            }
            return;
        case PropertyKind::StringList: {
            const QVector<QString>& items = AsStrings(value);
            if (items.isEmpty()) {
                return;
            }
            stream << p.tag;
            LengthField length(stream);
            stream << qint32(items.size());
            for (const QString& item : items) {
                LengthField itemLength(stream);
                WriteUtf8(stream, item);
                itemLength.Close();
            }
            length.Close();
            return;
        }
        case PropertyKind::ObjectList: {
            const qsizetype n = p.ops->count(value);
            if (n == 0) {
                return;
            }
            stream << p.tag;
            LengthField length(stream);
            const qint64 countPos = stream.device()->pos();
            stream << qint32(n);
            qint32 written = 0;
            for (qsizetype k = 0; k < n; ++k) {
                written += p.ops->item(value, k).GetBinary(stream, p.tag, false) ? 1 : 0;
            }
            // An item without data writes nothing under validation; the count must say so.
            if (written != n) {
                const qint64 end = stream.device()->pos();
                stream.device()->seek(countPos);
                stream << written;
                stream.device()->seek(end);
            }
            length.Close();
            return;
        }
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
        case PropertyKind::Bool: {
            if (budget < 1) {
                ThrowLengthError();
            }
            bool value = false;
            stream >> value;
            budget -= 1;
            if (stream.status() != QDataStream::Ok) {
                ThrowLengthError();
            }
            AssignBool(index, value);
            break;
        }
        case PropertyKind::Object: {
            std::unique_ptr<IRGObject> item = p.ops->create();
            item->SetValidate(GetValidate());
            item->SetLogger(GetLogger());
            item->SetBinary(stream, int(budget));
            budget = 0;
            AssignObject(index, *item);
            break;
        }
        case PropertyKind::StringList:
        case PropertyKind::ObjectList: {
            if (budget < 4) {
                ThrowLengthError();
            }
            qint32 count = 0;
            stream >> count;
            budget -= 4;
            // Each item carries at least its 4-byte length, which bounds what the count may claim.
            if (stream.status() != QDataStream::Ok || count < 0 || count > budget / 4) {
                ThrowLengthError();
            }
            void* list = Block()->Field(index, FieldRole::Value);
            if (p.kind == PropertyKind::StringList) {
                AsStrings(list).reserve(AsStrings(list).size() + count);
            } else {
                p.ops->reserve(list, p.ops->count(list) + count);
            }
            for (qint32 k = 0; k < count; ++k) {
                qint32 itemLength = 0;
                stream >> itemLength;
                budget -= 4;
                if (stream.status() != QDataStream::Ok || itemLength < 0 || itemLength > budget) {
                    ThrowLengthError();
                }
                budget -= itemLength;
                if (p.kind == PropertyKind::StringList) {
                    qint64 itemBudget = itemLength;
                    const QString item = ReadUtf8(stream, itemBudget);
                    if (itemBudget != 0) {
                        ThrowLengthError();
                    }
                    AppendString(index, item);
                } else {
                    std::unique_ptr<IRGObject> item = p.ops->create();
                    item->SetValidate(GetValidate());
                    item->SetLogger(GetLogger());
                    item->SetBinary(stream, itemLength);
                    AppendObject(index, *item);
                }
            }
            break;
        }
    }
    if (budget != 0) {
        ThrowLengthError();
    }
}

// ---- XML form ----

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

void IRGObject::Note(Logger::Level level, const QString& text) const {
    if (logger) {
        logger->Log(level, text);
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
            std::unique_ptr<IRGObject> item = p.ops->create();
            item->SetValidate(GetValidate());
            item->SetLogger(GetLogger());
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
    if (!reader.readNextStartElement()) {
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

// ---- representations ----

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

void IRGObject::MergeRGObject(const IRGObject& other) {
    if (&other.GetClassInfo() != &GetClassInfo()) {
        throw ReportException(GetObjectName() + QStringLiteral("::MergeRGObject(...): Cannot merge a ") +
                              other.GetObjectName());
    }
    const QByteArray data = other.GetBinaryRepresentation();
    if (!data.isEmpty()) {
        SetBinaryRepresentation(data);
    }
}

}  // namespace REPORTGENERATOR
