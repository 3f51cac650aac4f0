#include "app/librarycheck.h"

#include "acquisition/converter.h"
#include "viewersdk/pluginmanager.h"

#include <QFileInfo>
#include <QLibrary>

QString findMissingLibrary()
{
    for (const QString& file : TarpoViewerSdk::PluginManager::moduleFiles()) {
        QLibrary module(file);
        if (!module.load())
            return QFileInfo(file).fileName();
        module.unload();
    }
    const QString extension = Converter::extensionPluginName();
    if (!extension.isEmpty()) {
        TarpoViewerSdk::IPlugin* plugin = TarpoViewerSdk::PluginManager::createInstance(extension);
        if (!plugin)
            return extension;
        TarpoViewerSdk::PluginManager::destroyInstance(plugin);
    }
    return QString();
}

QString missingLibraryText(const QString& library)
{
    return QString("The DLL '%1' or one of its dependencies could not be found.\n\nIf this happens "
                   "immediately after the tarpo installation you may need to log off and on "
                   "again, or reboot your system.\n\nPlease check your setup or try to repair "
                   "your installation.\nIf this doesn't help please contact Morvex support.\n\n"
                   "The application will exit.")
        .arg(library);
}
