#include "zal/processors/pluginmanager.h"

#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>

#include "zal/platform/applicationdirectory.h"
#include "zal/processors/baseplugin.h"
#include "zal/platform/errorhandler.h"
#include "zal/processors/plugin.h"
#include "zal/processors/processorinfo.h"

namespace zal {

namespace {

const char* const pluginPathVariable = "ZAL_PLUGIN_PATH";

// The application directory always comes first; the extra places only widen the search.
QStringList candidatePaths(const QString& fileName, const QStringList& extraDirectories) {
    QStringList directories{applicationDirectory()};
    directories += extraDirectories;
    directories +=
        QString::fromLocal8Bit(qgetenv(pluginPathVariable)).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    QStringList paths;
    for (const QString& directory : directories) {
        // QPluginLoader takes a relative name as a name to search for, not as a path.
        paths << QDir(directory).absoluteFilePath(fileName);
    }
    return paths;
}

}  // namespace

PluginManager::PluginManager() : PluginManager(QStringList()) {}

PluginManager::PluginManager(const QStringList& extraDirectories) : directories(extraDirectories) {
    plugins.append(new BasePlugin());
}

PluginManager::~PluginManager() {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    if (!plugins.isEmpty()) {
        delete plugins.first();
    }
    plugins.clear();
}

// The lock is held across the plug-in's own createProcessor, so plug-ins need not be thread-safe.
ProcessorBase* PluginManager::createProcessor(const ProcessorInfo& info) const {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    Plugin* plugin = getPlugin(QString::fromStdString(info.type));
    return plugin != nullptr ? plugin->createProcessor(info) : nullptr;
}

Plugin* PluginManager::getPlugin(const QString& type) const {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    const qsizetype dot = type.indexOf(QLatin1Char('.'));
    if (dot < 0) {
        for (Plugin* plugin : plugins) {
            if (plugin->getProcessorTypes().contains(type)) {
                return plugin;
            }
        }
        return nullptr;
    }
    const QString pluginName = type.left(dot);
    Plugin* plugin = findPlugin(pluginName);
    return plugin != nullptr ? plugin : loadPlugin(pluginName);
}

QList<Plugin*> PluginManager::getPlugins() const {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    return plugins;
}

bool PluginManager::registerPlugin(Plugin* plugin) {
    if (plugin == nullptr) {
        return false;
    }
    std::lock_guard<std::recursive_mutex> lock(mutex);
    if (findPlugin(plugin->getName()) != nullptr) {
        return false;
    }
    plugins.append(plugin);
    return true;
}

Plugin* PluginManager::findPlugin(QString name) const {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    for (Plugin* plugin : plugins) {
        if (plugin->getName() == name) {
            return plugin;
        }
    }
    return nullptr;
}

// The first existing file wins; when there is none, the application directory's path is tried
// so that the loader's error names the place looked in first. The loader object goes out of
// scope, but the library stays loaded and keeps owning its root object.
Plugin* PluginManager::loadPlugin(const QString& name) const {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    const QStringList paths = candidatePaths(QStringLiteral("%1.so").arg(name), directories);
    QString path = paths.first();
    for (const QString& candidate : paths) {
        if (QFileInfo::exists(candidate)) {
            path = candidate;
            break;
        }
    }
    QPluginLoader loader(path);
    QObject* root = loader.instance();
    Plugin* plugin = root != nullptr ? qobject_cast<Plugin*>(root) : nullptr;
    if (plugin != nullptr) {
        // A library whose plug-in names itself differently is found again on every request, and
        // the loader then hands out the same root object: keep it listed once.
        if (!plugins.contains(plugin)) {
            plugins.append(plugin);
        }
        return plugin;
    }
    if (ErrorHandler::isTracing()) {
        _Q_Trace(QStringLiteral("Could not load plugin: %1").arg(loader.errorString()), "impl\\pluginmanager",
                 113);
    }
    return nullptr;
}

}  // namespace zal
