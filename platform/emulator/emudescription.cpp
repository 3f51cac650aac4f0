#include "emulator/emudescription.h"

#include "genapi/genicamexception.h"

#include <QFile>

// Q_INIT_RESOURCE declares the resource's initialiser where it is used, so it must stand
// outside any namespace (an anonymous one included). The emulator is a static library: without
// this call a linker that drops the resource's own initialiser would lose the XML.
static void initEmulatorResources()
{
    Q_INIT_RESOURCE(emulator);
}

namespace Emulator {

const std::string& EmuDescription::cameraXml()
{
    static const std::string xml = [] {
        initEmulatorResources();
        QFile file(QStringLiteral(":/emulator/emucamera.xml"));
        if (!file.open(QIODevice::ReadOnly))
            return std::string();
        const QByteArray bytes = file.readAll();
        return std::string(bytes.constData(), size_t(bytes.size()));
    }();
    if (xml.empty())
        throw RUNTIME_EXCEPTION("The emulated camera's description (emucamera.xml) is missing");
    return xml;
}

} // namespace Emulator
