// What a processor type says of one of its parameters, as its reserved parameter zal.parameters gives it.
#pragma once

#include <QString>
#include <QVector>

namespace zaltools {

struct ParameterDescription {
    QString name;
    QString description;
    QString type;  // "number", "text", ...
    QString defaultValue;
    bool hasDefault = false;  // an empty default is a default too
    QString access;           // "read-write", "read-only" or "write-only"
    QString unit;

    // The name of the reserved parameter that holds the descriptions of a processor's type.
    static QString parameterName() { return QStringLiteral("zal.parameters"); }
    // The descriptions a zal.parameters value holds, in its order; none when it is not a JSON array
    // (an entry without a name is left out).
    static QVector<ParameterDescription> listFrom(const QString& json);
    // "number, read-write, default 100, messages/s: messages a second", leaving out what is not given.
    QString summary() const;
};

}  // namespace zaltools
