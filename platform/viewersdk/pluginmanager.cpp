#include "viewersdk/pluginmanager.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>
#include <QMutex>
#include <QMutexLocker>

#include <map>
#include <memory>

namespace TarpoViewerSdk {

namespace {

struct Registry
{
    QMutex mutex;                                          // guards modules, owners and lastError
    std::map<QString, std::unique_ptr<QLibrary>> modules;  // loaded modules by file
    std::map<IPlugin*, TarpoDestroyPluginFunction> owners; // who destroys each instance
    QString lastError;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

} // namespace

QString PluginManager::pluginFolder()
{
    const QString configured = qEnvironmentVariable("TARPO_PLUGIN_PATH");
    if (!configured.isEmpty())
        return configured;
    // Beside the executable in a build tree; under lib/ in an installation.
    const QString beside = QCoreApplication::applicationDirPath() + "/plugins";
    const QString installed =
        QCoreApplication::applicationDirPath() + "/../lib/tarpo-viewer/plugins";
    if (!QDir(beside).exists() && QDir(installed).exists())
        return QDir(installed).canonicalPath();
    return beside;
}

QStringList PluginManager::moduleFiles()
{
    QDir folder(pluginFolder());
    QStringList files;
    for (const QString& entry : folder.entryList({"*.so"}, QDir::Files, QDir::Name))
        files << folder.absoluteFilePath(entry);
    return files;
}

IPlugin* PluginManager::createInstance(const QString& name)
{
    Registry& r = registry();
    QMutexLocker locker(&r.mutex);
    const QStringList files = moduleFiles();
    for (const QString& file : files) {
        auto& module = r.modules[file];
        if (!module) {
            module = std::make_unique<QLibrary>(file);
            if (!module->load()) {
                r.lastError = module->errorString();
                continue;
            }
        }
        auto create =
            reinterpret_cast<TarpoCreatePluginFunction>(module->resolve("tarpoCreatePlugin"));
        auto destroy =
            reinterpret_cast<TarpoDestroyPluginFunction>(module->resolve("tarpoDestroyPlugin"));
        if (!create || !destroy)
            continue;
        if (IPlugin* plugin = create(name.toUtf8().constData())) {
            r.owners[plugin] = destroy;
            return plugin;
        }
    }
    r.lastError = QString("No plug-in named '%1' in %2").arg(name, pluginFolder());
    return nullptr;
}

void PluginManager::destroyInstance(IPlugin* plugin)
{
    if (!plugin)
        return;
    Registry& r = registry();
    QMutexLocker locker(&r.mutex);
    const auto it = r.owners.find(plugin);
    if (it == r.owners.end())
        return;
    TarpoDestroyPluginFunction destroy = it->second;
    r.owners.erase(it);
    destroy(plugin);
}

QString PluginManager::lastError()
{
    Registry& r = registry();
    QMutexLocker locker(&r.mutex);
    return r.lastError;
}

} // namespace TarpoViewerSdk
