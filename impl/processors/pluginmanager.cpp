#include "zal/processors/pluginmanager.h"

#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>
#include <QSet>

#include "zal/platform/applicationdirectory.h"
#include "zal/platform/errorhandler.h"
#include "zal/processors/baseplugin.h"
#include "zal/processors/plugin.h"
#include "zal/processors/processorinfo.h"

namespace zal {

namespace {

const char* const pluginPathVariable = "ZAL_PLUGIN_PATH";

const QString builtInName = QStringLiteral("base");

// The metadata of a library that is a zal plug-in, read without loading its code; false for
// anything else (another library, a file no loader reads).
bool readMetaData(const QString& path, QJsonObject& metaData) {
    const QJsonObject all = QPluginLoader(path).metaData();
    if (all.value(QStringLiteral("IID")).toString() != QLatin1String(ZalPlugin_iid)) {
        return false;
    }
    metaData = all.value(QStringLiteral("MetaData")).toObject();
    return true;
}

QString typesOf(const PluginDescription& plugin) {
    QStringList types;
    for (const PluginDescription::Type& type : plugin.types) {
        types << plugin.qualified(type);
    }
    const QString where = plugin.isBuiltIn() ? QStringLiteral("built-in") : plugin.file;
    return types.isEmpty() ? QStringLiteral("%1.* (describes no types; %2)").arg(plugin.name, where)
                           : QStringLiteral("%1 (%2)").arg(types.join(QStringLiteral(", ")), where);
}

}  // namespace

PluginManager::PluginManager() : PluginManager(QStringList()) {}

PluginManager::PluginManager(const QStringList& extraDirectories) : directories(extraDirectories) {
    plugins.append(new BasePlugin());
    descriptions.insert(plugins.first(),
                        PluginDescription::fromMetaData(builtInName, QString(), BasePlugin::metaData()));
}

PluginManager::~PluginManager() {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    if (!plugins.isEmpty()) {
        delete plugins.first();
    }
    plugins.clear();
}

ProcessorBase* PluginManager::createProcessor(const ProcessorInfo& info) const {
    QString reason;
    return createProcessor(info, reason);
}

// The lock is held across the plug-in's own createProcessor, so plug-ins need not be thread-safe.
ProcessorBase* PluginManager::createProcessor(const ProcessorInfo& info, QString& reason) const {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    const QString type = QString::fromStdString(info.type);
    loadFailure.clear();
    Plugin* plugin = getPlugin(type);
    ProcessorBase* processor = plugin != nullptr ? plugin->createProcessor(info) : nullptr;
    if (processor == nullptr) {
        reason = loadFailure.isEmpty() ? whyNotCreated(plugin) : loadFailure;
        if (ErrorHandler::isTracing()) {
            _Q_Trace(QStringLiteral("No plug-in creates the type '%1' (%2)").arg(type, reason),
                     "impl\\pluginmanager", __LINE__);
        }
    }
    return processor;
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
    const QString fileName = QStringLiteral("%1.so").arg(name);
    const QStringList directoryList = searchDirectories();
    QString found;
    for (const QString& directory : directoryList) {
        // QPluginLoader takes a relative name as a name to search for, not as a path.
        const QString candidate = QDir(directory).absoluteFilePath(fileName);
        if (QFileInfo::exists(candidate)) {
            found = candidate;
            break;
        }
    }
    const QString path = found.isEmpty() ? QDir(directoryList.first()).absoluteFilePath(fileName) : found;
    QPluginLoader loader(path);
    QObject* root = loader.instance();
    Plugin* plugin = root != nullptr ? qobject_cast<Plugin*>(root) : nullptr;
    if (plugin != nullptr) {
        // A library whose plug-in names itself differently is found again on every request, and
        // the loader then hands out the same root object: keep it listed once.
        if (!plugins.contains(plugin)) {
            plugins.append(plugin);
            descriptions.insert(
                plugin, PluginDescription::fromMetaData(
                            name, path, loader.metaData().value(QStringLiteral("MetaData")).toObject()));
        }
        return plugin;
    }
    loadFailure = found.isEmpty() ? QStringLiteral("no plug-in library '%1' in %2; set %3")
                                        .arg(fileName, directoryList.join(QStringLiteral(", ")),
                                             QLatin1String(pluginPathVariable))
                  : root == nullptr ? loader.errorString()
                                    : QStringLiteral("%1 is not a zal plug-in").arg(path);
    if (ErrorHandler::isTracing()) {
        _Q_Trace(QStringLiteral("Could not load plugin: %1").arg(loader.errorString()), "impl\\pluginmanager",
                 113);
    }
    return nullptr;
}

// The application directory always comes first; the extra places only widen the search.
QStringList PluginManager::searchDirectories() const {
    QStringList found{applicationDirectory()};
    const QString installed = QDir::cleanPath(found.first() + QStringLiteral("/" ZAL_INSTALLED_PLUGIN_DIR));
    if (QFileInfo(installed).isDir()) {
        found << installed;
    }
    found += directories;
    found += QString::fromLocal8Bit(qgetenv(pluginPathVariable)).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    return found;
}

QList<PluginDescription> PluginManager::describePlugins() const {
    QList<PluginDescription> found{
        PluginDescription::fromMetaData(builtInName, QString(), BasePlugin::metaData())};
    QSet<QString> names{builtInName};
    for (const QString& directory : searchDirectories()) {
        const QFileInfoList files =
            QDir(directory).entryInfoList({QStringLiteral("*.so")}, QDir::Files, QDir::Name);
        for (const QFileInfo& file : files) {
            // A plug-in is asked for as NAME.Type, so a name with a full stop is none.
            const QString name = file.completeBaseName();
            QJsonObject metaData;
            if (name.contains(QLatin1Char('.')) || names.contains(name) ||
                !readMetaData(file.absoluteFilePath(), metaData)) {
                continue;
            }
            names.insert(name);
            found << PluginDescription::fromMetaData(name, file.absoluteFilePath(), metaData);
        }
    }
    return found;
}

QJsonArray PluginManager::describeParameters(const QString& type) const {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    const Plugin* plugin = getPlugin(type);
    const auto described = descriptions.constFind(plugin);
    if (plugin == nullptr || described == descriptions.constEnd()) {
        return QJsonArray();
    }
    const PluginDescription::Type* found = described->find(type);
    return found != nullptr ? found->parameters : QJsonArray();
}

// A plug-in that was found declined: what it offers. None was found: where the search went and
// every type there.
QString PluginManager::whyNotCreated(const Plugin* plugin) const {
    if (plugin != nullptr) {
        const auto described = descriptions.constFind(plugin);
        const QString where = described != descriptions.constEnd() && !described->file.isEmpty()
                                  ? QStringLiteral(" (%1)").arg(described->file)
                                  : QString();
        QStringList types;
        for (const QString& offered : plugin->getProcessorTypes()) {
            types << plugin->getName() + QLatin1Char('.') + offered;
        }
        return QStringLiteral("plug-in '%1'%2 offers %3")
            .arg(plugin->getName(), where,
                 types.isEmpty() ? QStringLiteral("no types") : types.join(QStringLiteral(", ")));
    }
    QStringList found;
    for (const PluginDescription& described : describePlugins()) {
        found << typesOf(described);
    }
    return QStringLiteral("no plug-in offers it; searched %1; found %2")
        .arg(searchDirectories().join(QStringLiteral(", ")), found.join(QStringLiteral("; ")));
}

}  // namespace zal
