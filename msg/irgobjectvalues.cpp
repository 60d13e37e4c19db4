// IRGObject's value rules: which plain values count as invalid, and the names of enum values.
#include <zal/msg/irgobject.h>

#include <QCoreApplication>
#include <QDateTime>

#include <cmath>
#include <limits>

namespace REPORTGENERATOR {

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

}  // namespace REPORTGENERATOR
