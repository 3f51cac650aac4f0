// A plug-in module for the plug-in manager test: offers one colour converter named
// "InvertingConverter" that converts Mono8 buffers into inverted grey images.

#include "viewersdk/plugin.h"

#include <cstring>

namespace {

class InvertingConverter : public TarpoViewerSdk::IColorConverterPlugin
{
public:
    QString name() const override { return "InvertingConverter"; }
    GenApi::INodeMap* nodeMap() override { return nullptr; }
    bool isUsable() const override { return true; }
    void process(const void*, const TarpoViewerSdk::StreamBuffer::SImageFormatEx&, uint8_t*, int,
                 size_t) override
    {
    }
    bool isSupported(Tarpo::EPixelType type) override { return type == Tarpo::PixelType_Mono8; }
    TarpoViewerSdk::Image convert(TarpoViewerSdk::StreamBuffer* buffer) override
    {
        auto image = TarpoViewerSdk::Image::ImageFromBuffer(0, buffer);
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                image.pixelData()[y * image.lineOffset() + x] =
                    static_cast<uint8_t>(255 - buffer->data()[y * buffer->lineOffset() + x]);
        return image;
    }
};

} // namespace

extern "C" __attribute__((visibility("default"))) TarpoViewerSdk::IPlugin*
tarpoCreatePlugin(const char* name)
{
    return std::strcmp(name, "InvertingConverter") == 0 ? new InvertingConverter : nullptr;
}

extern "C" __attribute__((visibility("default"))) void
tarpoDestroyPlugin(TarpoViewerSdk::IPlugin* plugin)
{
    delete plugin;
}
