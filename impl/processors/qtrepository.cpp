#include "zal/processors/qtrepository.h"

#include <QMap>
#include <mutex>

namespace zal {

namespace {

// Function-local statics: a bridge may register from a thread started while static objects of
// other translation units are still being constructed.
std::mutex& repositoryMutex() {
    static std::mutex mutex;
    return mutex;
}

// Guarded by repositoryMutex().
QMap<QString, QPointer<QObject>>& repositoryEntries() {
    static QMap<QString, QPointer<QObject>> entries;
    return entries;
}

}  // namespace

QPointer<QObject> QtRepository::getQObject(const QString& name) {
    std::lock_guard<std::mutex> lock(repositoryMutex());
    return repositoryEntries().value(name);
}

void QtRepository::setQObject(const QString& name, QPointer<QObject> object) {
    std::lock_guard<std::mutex> lock(repositoryMutex());
    repositoryEntries().insert(name, std::move(object));
}

void QtRepository::removeQObject(const QString& name) {
    std::lock_guard<std::mutex> lock(repositoryMutex());
    repositoryEntries().remove(name);
}

void QtRepository::visitQObject(const QString& name, const std::function<void(QObject*)>& use) {
    std::lock_guard<std::mutex> lock(repositoryMutex());
    use(repositoryEntries().value(name).data());
}

}  // namespace zal
