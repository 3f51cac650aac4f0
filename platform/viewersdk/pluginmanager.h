#pragma once

// Loads plug-in modules from the application's "plugins" folder and creates instances by name.
// Thread-safe: one lock around the module table.

#include "viewersdk/plugin.h"

#include <QString>
#include <QStringList>

namespace TarpoViewerSdk {

class PluginManager
{
public:
    // Null (with a warning on the debug output) when no module offers a plug-in of that name.
    static IPlugin* createInstance(const QString& name);
    // Returns an instance to the module that made it; null is ignored.
    static void destroyInstance(IPlugin* plugin);
    // The folder named by TARPO_PLUGIN_PATH; else "<application folder>/plugins", or in an
    // installation "<application folder>/../lib/tarpo-viewer/plugins".
    static QString pluginFolder();
    // The module files found there.
    static QStringList moduleFiles();
    // The text of the last failure (for messages and tests).
    static QString lastError();
};

} // namespace TarpoViewerSdk
