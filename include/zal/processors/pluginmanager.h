// Finds the plug-in for a processor type, loading plug-in libraries by name on first use.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <mutex>

namespace zal {

class Plugin;
class ProcessorBase;
struct ProcessorInfo;

// A bare type ("QtBridge") is looked up among the plug-ins already known; a qualified type
// ("demo.Generator") names its plug-in left of the first full stop, which is loaded from
// "<name>.so" in the application directory on first use (then from the extra directories and
// ZAL_PLUGIN_PATH). A failed load is retried on the next request. One manager serves every group
// of an environment, each from its own thread, so its list is guarded by a mutex.
class PluginManager {
public:
    PluginManager();
    explicit PluginManager(const QStringList& extraDirectories);
    // Deletes the built-in plug-in only: loaded plug-ins belong to their libraries' loaders.
    virtual ~PluginManager();

    // A new processor the caller owns, or null (unknown type, missing library, declined).
    ProcessorBase* createProcessor(const ProcessorInfo& info) const;
    Plugin* getPlugin(const QString& type) const;
    QList<Plugin*> getPlugins() const;
    // Adds a plug-in the caller keeps owning; false for null or a name already known.
    bool registerPlugin(Plugin* plugin);

    PluginManager(const PluginManager&) = delete;
    PluginManager& operator=(const PluginManager&) = delete;

private:
    Plugin* findPlugin(QString name) const;
    Plugin* loadPlugin(const QString& name) const;

    QStringList directories;
    mutable std::recursive_mutex mutex;
    // Guarded by mutex; only grows. The first entry is the built-in plug-in.
    mutable QList<Plugin*> plugins;
};

}  // namespace zal
