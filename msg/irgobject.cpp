// IRGObject's property algorithms: the shared block and its settings, assignment, reset, checks, comparison.
#include <zal/msg/irgobject.h>

#include <algorithm>
#include "irgobjectfields.h"

namespace REPORTGENERATOR {

namespace {

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

// A nested object read from either form starts with this object's settings.
std::unique_ptr<IRGObject> IRGObject::NewNested(const PropertyInfo& property) const {
    std::unique_ptr<IRGObject> item = property.ops->create();
    item->SetValidate(GetValidate());
    item->SetLogger(GetLogger());
    return item;
}

void IRGObject::Note(Logger::Level level, const QString& text) const {
    if (logger) {
        logger->Log(level, text);
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
