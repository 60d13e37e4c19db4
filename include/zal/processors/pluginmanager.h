// Finds the plug-in for a processor type, loading plug-in libraries by name on first use.
#pragma once

#include <QHash>
#include <QJsonArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <mutex>

#include "zal/processors/plugindescription.h"

namespace zal {

class Plugin;
class ProcessorBase;
struct ProcessorInfo;

// A bare type ("QtBridge") is looked up among the plug-ins already known; a qualified type
// ("demo.Generator") names its plug-in left of the first full stop, which is loaded from
// "<name>.so" in the application directory on first use (then from the installed plug-in folder,
// the extra directories and ZAL_PLUGIN_PATH). A failed load is retried on the next request. One
// manager serves every group of an environment, each from its own thread, so its list is guarded
// by a mutex. A create that no plug-in serves says why: the reason goes to the caller and, under
// trace bit 0x20, to the trace.
class PluginManager {
public:
    PluginManager();
    explicit PluginManager(const QStringList& extraDirectories);
    // Deletes the built-in plug-in only: loaded plug-ins belong to their libraries' loaders.
    virtual ~PluginManager();

    // A new processor the caller owns, or null (unknown type, missing library, declined).
    ProcessorBase* createProcessor(const ProcessorInfo& info) const;
    // The same, with why there is none in reason: the loader's error, the folders searched for a
    // missing library, or the types the plug-in found offers.
    ProcessorBase* createProcessor(const ProcessorInfo& info, QString& reason) const;
    Plugin* getPlugin(const QString& type) const;
    QList<Plugin*> getPlugins() const;
    // Adds a plug-in the caller keeps owning; false for null or a name already known.
    bool registerPlugin(Plugin* plugin);

    // Where plug-in libraries are looked for, in order: the application directory, the folder the
    // package installs plug-ins to (as reached from an installed program, when it exists), the
    // extra directories, then the folders of ZAL_PLUGIN_PATH.
    QStringList searchDirectories() const;
    // Every plug-in a create could use: the built-in first, then each library of the search
    // directories that is a zal plug-in (the first of a name wins, as for loading), described by
    // its metadata. No plug-in code is loaded.
    QList<PluginDescription> describePlugins() const;
    // The parameter descriptions of a type whose plug-in is known (as after its create); empty when
    // the type describes none.
    QJsonArray describeParameters(const QString& type) const;

    PluginManager(const PluginManager&) = delete;
    PluginManager& operator=(const PluginManager&) = delete;

private:
    Plugin* findPlugin(QString name) const;
    Plugin* loadPlugin(const QString& name) const;
    QString whyNotCreated(const Plugin* plugin) const;

    QStringList directories;
    mutable std::recursive_mutex mutex;
    // Guarded by mutex; only grows. The first entry is the built-in plug-in.
    mutable QList<Plugin*> plugins;
    // Guarded by mutex: the metadata of the built-in and of each plug-in loaded from a library.
    mutable QHash<const Plugin*, PluginDescription> descriptions;
    // Guarded by mutex: why the last load failed, read by the create that caused it.
    mutable QString loadFailure;
};

}  // namespace zal
