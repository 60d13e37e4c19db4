// Base of every generated data object: the shared copy-on-write block and, driven by each class's property
// table, the algorithms that reset, check, compare and serialize it in binary and XML form.
#pragma once

#include <QBitArray>
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtGlobal>
#include <atomic>
#include <memory>

#include <zal/msg/rgexceptions.h>

class QDataStream;
class QDateTime;
class QXmlStreamReader;
class QXmlStreamWriter;

namespace REPORTGENERATOR {

enum ObjectTypes { UndefinedObjectType = 0, MessageObjectType = 1, ConfigurationObjectType = 2 };

// Receives the notes a data object makes while it reads (skipped elements, parser diagnostics).
// Shared by an object and everything nested in it, so implementations must tolerate calls from
// whichever thread is using one of those objects.
class Logger {
public:
    enum Level { Debug, Warning };
    virtual ~Logger();
    virtual void Log(Level level, const QString& text) = 0;
};

class IRGObject;

// What the base needs to know about one property of a generated class.
enum class PropertyKind : quint8 { String, Enum, Bool, Object, StringList, ObjectList };

// Which of a property's stored items a generated block hands out.
enum class FieldRole : quint8 { Value, Default, Invalid };

// The private block of one object. Copies of an object share it; the count is atomic so that copies may
// live on different threads, and whoever is about to touch a shared block first takes a private copy.
struct RGObjectData {
    explicit RGObjectData(int propertyCount) : set(propertyCount), hasDefault(propertyCount) {}
    RGObjectData(const RGObjectData& other) : set(other.set), hasDefault(other.hasDefault) {}
    RGObjectData& operator=(const RGObjectData&) = delete;
    virtual ~RGObjectData();

    virtual RGObjectData* Clone() const = 0;
    // Address of a property's value, default or invalid value, typed by its PropertyKind: QString, qint32,
    // bool, the nested class, QVector<QString> or QVector<nested class>. List defaults are one item.
    virtual void* Field(int index, FieldRole role) = 0;

    std::atomic<int> ref{1};
    QBitArray set;
    QBitArray hasDefault;
};

// Helper for RGObjectData::Field implementations.
inline void* PickField(FieldRole role, void* value, void* def, void* invalid = nullptr) {
    return role == FieldRole::Value ? value : role == FieldRole::Default ? def : invalid;
}

// Operations on a nested class T that the base cannot spell without knowing T.
struct ObjectOps {
    IRGObject& (*object)(void* value);
    std::unique_ptr<IRGObject> (*create)();
    void (*assign)(void* value, const IRGObject& from);
    qsizetype (*count)(const void* list);
    // Hands out a writable item so that a list shared with another block is copied before it is touched.
    IRGObject& (*item)(void* list, qsizetype index);
    void (*append)(void* list, const IRGObject& item);
    void (*reserve)(void* list, qsizetype size);
    void (*clear)(void* list);
};

template <class T>
struct ObjectOpsFor {
    static IRGObject& Object(void* value) { return *static_cast<T*>(value); }
    static std::unique_ptr<IRGObject> Create() { return std::make_unique<T>(); }
    static void Assign(void* value, const IRGObject& from) {
        *static_cast<T*>(value) = static_cast<const T&>(from);
    }
    static qsizetype Count(const void* list) { return static_cast<const QVector<T>*>(list)->size(); }
    static IRGObject& Item(void* list, qsizetype index) { return (*static_cast<QVector<T>*>(list))[index]; }
    static void Append(void* list, const IRGObject& item) {
        static_cast<QVector<T>*>(list)->append(static_cast<const T&>(item));
    }
    static void Reserve(void* list, qsizetype size) { static_cast<QVector<T>*>(list)->reserve(size); }
    static void Clear(void* list) { static_cast<QVector<T>*>(list)->clear(); }

    static constexpr ObjectOps ops{&Object, &Create, &Assign, &Count, &Item, &Append, &Reserve, &Clear};
};

struct PropertyInfo {
    PropertyKind kind;
    const char* name;          // property name: XML element of text properties, used in messages
    const char* element;       // XML element: the property name, or the nested class's object name
    qint32 tag;                // binary element tag
    bool key;                  // written even when unset; decides HasData
    bool checked;              // string lists only: Check refuses a null item
    bool hasDefault;           // the has-default bit is set when a block is created
    qint32 defaultValue;       // enums: index of the default name (-1 for none); booleans: 0 or 1
    const QStringList* names;  // enums: the name table
    const char* memberName;    // enums: the member variable named in the invalid-enum message
    const ObjectOps* ops;      // nested objects and lists of them
};

struct ClassInfo {
    const char* name;
    qint64 id;
    const PropertyInfo* properties;
    int count;
    int keyIndex;       // -1 for a class without a key property
    int lastEnumIndex;  // -1 for a class without enums
    RGObjectData* (*create)();
};

class IRGObject {
public:
    IRGObject();
    explicit IRGObject(ObjectTypes type);
    // A copy shares the block and takes over the validation switch, the logger and the object type.
    IRGObject(const IRGObject& other);
    IRGObject(IRGObject&& other) noexcept;
    // Assignment shares the other block; the switch, logger and type of this object stay as they are.
    IRGObject& operator=(const IRGObject& other);
    IRGObject& operator=(IRGObject&& other) noexcept;

    virtual bool HasData() const;
    virtual void Check(bool deep) const;
    virtual void Check() const;
    // Returns false when nothing was written (validation on and no data).
    virtual bool GetXml(QXmlStreamWriter& writer) const;
    // Writes [id] length elements; the stream's device must be seekable because lengths are back-patched.
    virtual bool GetBinary(QDataStream& stream, int id, bool writeHeader) const;
    virtual QString GetObjectName() const;
    // Reads the children of the element the reader stands on, up to and including its end element.
    virtual void ProcessXml(QXmlStreamReader& reader);
    virtual void SetValidate(bool validate) const;
    virtual bool GetValidate() const;
    virtual void SetLogger(std::shared_ptr<Logger> logger) const;
    virtual void ProcessXmlStartElement(QXmlStreamReader& reader);
    // Reads `length` bytes of elements on top of what the object holds; lists are appended to.
    virtual void SetBinary(QDataStream& stream, int length);
    virtual void SetObjectType(ObjectTypes type);
    virtual void Reset();
    virtual ~IRGObject();
    virtual ObjectTypes GetObjectType() const;

    virtual bool IsValid(bool value) const;
    virtual bool IsValid(int value) const;
    virtual bool IsValid(unsigned int value) const;
    virtual bool IsValid(qint64 value) const;
    virtual bool IsValid(float value) const;
    virtual bool IsValid(double value) const;
    virtual bool IsValid(const QString& value) const;
    virtual bool IsValid(const QDateTime& value) const;
    virtual void SetInvalid(int& value) const;
    virtual void SetInvalid(unsigned int& value) const;
    virtual void SetInvalid(qint64& value) const;
    virtual void SetInvalid(float& value) const;
    virtual void SetInvalid(double& value) const;
    virtual void SetInvalid(QString& value) const;

    // The whole object with its header under the class identifier; empty when nothing was written.
    virtual QByteArray GetBinaryRepresentation() const;
    // Reads on top of the current contents, as SetBinary does; call Reset() first for a fresh object.
    virtual void SetBinaryRepresentation(const QByteArray& data);
    virtual QByteArray GetCompressedBinaryRepresentation() const;
    virtual void SetCompressedBinaryRepresentation(const QByteArray& data);
    virtual QString GetXmlString() const;
    // GetXmlString's text in UTF-8, the form in which it travels, written without a detour through
    // UTF-16, and with validation switched to `validate` for the write only (as SetXmlString reads).
    QByteArray GetXmlUtf8(bool validate) const;
    // Reads with validation switched to `validate` for the parse only; the object's own switch is restored
    // afterwards, also when the parse throws. Reads on top of the current contents, as ProcessXml does.
    virtual void SetXmlString(const QString& xml, bool validate);
    virtual void LoadXml(const QString& fileName);
    virtual void SaveXml(const QString& fileName) const;
    // Copies the other object's set properties on top of this one (lists are appended); both must be
    // of the same class.
    virtual void MergeRGObject(const IRGObject& other);

    bool AnyData() const;
    void ResetToDefault();
    void SetObjectName(const QString& name);
    std::shared_ptr<Logger> GetLogger() const;
    void ResetLogger() const;
    static QString GetVersion();
    qint64 GetClassId() const;

    // Reads the text of the element the reader stands on, never null; a child element is malformed input.
    QString GetTextValue(QXmlStreamReader& reader) const;
    void skipCurrentElement(QDataStream& stream, int tag, int length) const;

protected:
    virtual const ClassInfo& GetClassInfo() const = 0;

    // Creates the block on first use and makes it private to this object; every access goes through here.
    RGObjectData* Block() const;
    bool IsSet(int index) const;
    void MarkSet(int index);
    void MarkHasDefault(int index);
    void AssignString(int index, QString value);
    void AssignEnum(int index, qint32 value);
    void AssignBool(int index, bool value);
    void AssignObject(int index, const IRGObject& value);
    void AppendString(int index, const QString& item);
    void AppendObject(int index, const IRGObject& item);
    void ResetProperty(int index);
    bool Equals(const IRGObject& other) const;
    // An item is valid when it has data and passes its deep check.
    static bool IsCompleteItem(const IRGObject& item);

    static bool IsMember(const QStringList& names, qint32 value);
    static QString EnumToName(const QStringList& names, qint32 value);
    static qint32 NameToEnum(const QStringList& names, const QString& name);
    static QStringList TranslatedNames(const char* context, const QStringList& names);

private:
    void InitBlock() const;
    void ReleaseBlock() const;
    void PropagateSettings() const;
    bool ReadyToWrite(bool validating) const;
    template <class F>
    void ForEachNested(F&& f) const;
    void ResetValue(int index, bool toDefault) const;
    void RefuseInvalidItem(int index, bool valid) const;
    QString CheckFailure(bool deep) const;
    QString PleaseSet(const char* property) const;
    [[noreturn]] void ThrowLengthError() const;
    // A nested object to read into, with this object's validation switch and logger.
    std::unique_ptr<IRGObject> NewNested(const PropertyInfo& property) const;
    void WriteElement(QDataStream& stream, int index, RGObjectData* d) const;
    // Defined and instantiated in irgobjectxml.cpp only, for QXmlStreamWriter and the direct writer.
    template <class Writer>
    bool WriteXmlTo(Writer& writer, bool validating) const;
    template <class Writer>
    void WriteXmlElement(Writer& writer, int index, RGObjectData* d, bool validating) const;
    // What Qt's writer makes of the object, for what the direct writer leaves to it.
    QString GetXmlStringFromQt() const;
    void ReadElement(QDataStream& stream, int index, qint64 length);
    // The readers take what they read from `budget`, the bytes left of the element, and throw the
    // length error rather than read past it.
    bool ReadBool(QDataStream& stream, qint64& budget) const;
    // A non-negative qint32 of at most `most` (a count or an item's length).
    qint32 ReadLength(QDataStream& stream, qint64& budget, qint64 most) const;
    void ReadListElement(QDataStream& stream, int index, qint64& budget);
    QString ReadUtf8(QDataStream& stream, qint64& budget) const;
    // Defined and instantiated in irgobjectxml.cpp only, for QXmlStreamReader and the direct reader.
    template <class Reader>
    [[noreturn]] void ThrowXmlErrorFrom(Reader& reader, const QString& text) const;
    template <class Reader>
    QString TextValueFrom(Reader& reader) const;
    template <class Reader>
    void SkipXmlElementFrom(Reader& reader) const;
    template <class Reader>
    void ProcessXmlFrom(Reader& reader);
    template <class Reader>
    void ProcessXmlStartElementFrom(Reader& reader);
    template <class Reader>
    void ReadXmlDocumentFrom(Reader& reader);
    void Note(Logger::Level level, const QString& text) const;

    QString objectName;
    ObjectTypes objectType = UndefinedObjectType;
    // The switch and logger are settings rather than contents: they may be changed on a const object,
    // and the serializers hand them on to every nested object before they use it.
    mutable bool validate = true;
    mutable std::shared_ptr<Logger> logger;
    mutable RGObjectData* d = nullptr;
};

}  // namespace REPORTGENERATOR
