// A process-wide directory of Qt objects by name, through which host code finds the bridges.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>

namespace zal {

// Written by processor threads, read by host threads. The guarded pointers read null once their
// object is destroyed, so a caller must test what it gets even for a name that is registered.
class QtRepository {
public:
    // Null when the name is unknown or its object is gone.
    static QPointer<QObject> getQObject(const QString& name);
    // Inserts, or replaces what the name held.
    static void setQObject(const QString& name, QPointer<QObject> object);
    // An unknown name is no error.
    static void removeQObject(const QString& name);
    // Runs `use` with the object registered under `name`, or null, while no entry can change. An
    // owner that removes its object before destroying it (a Qt bridge does, in release) therefore
    // cannot destroy it before `use` returns, which a guarded pointer alone does not promise: it
    // may read non-null just before the object goes. `use` must not call the repository.
    static void visitQObject(const QString& name, const std::function<void(QObject*)>& use);

    QtRepository() = delete;
};

}  // namespace zal
