#pragma once

// The emulated camera's GenICam description, emucamera.xml, compiled into the library as a Qt
// resource.
// Thread-safe: the text is read once and never changes.

#include <string>

namespace Emulator {

class EmuDescription
{
public:
    // The whole XML text; throws a GenICam RuntimeException if the resource is missing.
    static const std::string& cameraXml();
};

} // namespace Emulator
