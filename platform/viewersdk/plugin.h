#pragma once

// Plug-in interfaces of the viewer. A plug-in module is a shared library in the application's
// "plugins" folder that exports
//     extern "C" TarpoViewerSdk::IPlugin* tarpoCreatePlugin(const char* name);
//     extern "C" void tarpoDestroyPlugin(TarpoViewerSdk::IPlugin* plugin);
// Thread: a plug-in instance is used by one thread at a time.

#include "tarpo/pixeltype.h"
#include "viewersdk/image.h"
#include "viewersdk/streambuffer.h"

#include <QString>

namespace GenApi {
class INodeMap;
}

namespace TarpoViewerSdk {

class IPlugin
{
public:
    virtual ~IPlugin() = default;
    virtual QString name() const = 0;
    // The plug-in's parameters, shown in the feature tree; may be null.
    virtual GenApi::INodeMap* nodeMap() = 0;
    // False when the plug-in cannot work here (a missing licence, device or library).
    virtual bool isUsable() const = 0;
};

class IColorConverterPlugin : public IPlugin
{
public:
    // Extension plug-ins: post-process the converted image in place, given the raw frame.
    virtual void process(const void* rawData, const StreamBuffer::SImageFormatEx& format,
                         uint8_t* imageData, int lineOffset, size_t imageSize) = 0;
    virtual bool isSupported(Tarpo::EPixelType pixelType) = 0;
    // An empty (invalid) image when the buffer cannot be converted.
    virtual Image convert(StreamBuffer* buffer) = 0;
};

} // namespace TarpoViewerSdk

extern "C" {
typedef TarpoViewerSdk::IPlugin* (*TarpoCreatePluginFunction)(const char* name);
typedef void (*TarpoDestroyPluginFunction)(TarpoViewerSdk::IPlugin* plugin);
}
