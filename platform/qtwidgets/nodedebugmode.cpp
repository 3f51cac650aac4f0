#include "qtwidgets/nodedebugmode.h"

#include <QByteArray>
#include <QtGlobal>

bool isNodeDebugModeEnabled()
{
    static const bool enabled = qgetenv("TARPO_NODE_DEBUG").trimmed() == "1";
    return enabled;
}
