// Typed views of the untyped fields a generated block hands out, for IRGObject's algorithms and codecs.
#pragma once

#include <QString>
#include <QVector>
#include <QtGlobal>

namespace REPORTGENERATOR {

// The caller knows the type from the property's PropertyKind (see RGObjectData::Field).
inline QString& AsString(void* field) {
    return *static_cast<QString*>(field);
}
inline qint32& AsEnum(void* field) {
    return *static_cast<qint32*>(field);
}
inline bool& AsBool(void* field) {
    return *static_cast<bool*>(field);
}
inline QVector<QString>& AsStrings(void* field) {
    return *static_cast<QVector<QString>*>(field);
}

}  // namespace REPORTGENERATOR
