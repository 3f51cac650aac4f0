// An extension colour converter: marks the pixels whose raw sample is at the top of the
// camera's range in red, so over-exposed areas stand out while the exposure is set. Loaded by
// name, "SaturationHighlight" (TARPO_EXTENSION_PLUGIN), from the plug-in folder.
// Thread: one converter's thread at a time, as every colour converter.

#include "tarpo/pixeltype.h"
#include "viewersdk/plugin.h"

#include <cstring>

namespace {

const char* const kName = "SaturationHighlight";

// The largest sample of a raw format's depth, and whether its samples take two bytes.
bool rawDepth(Tarpo::EPixelType type, uint32_t* maxSample, bool* wide)
{
    if (Tarpo::IsPacked(type))
        return false;
    const uint32_t bits = Tarpo::BitDepth(type);
    const uint32_t bytes = Tarpo::BitPerPixel(type) / 8;
    if ((bytes != 1 && bytes != 2) || bits == 0 || bits > 16 || Tarpo::BitPerPixel(type) % 8)
        return false;
    if (!Tarpo::IsMono(type) && !Tarpo::IsBayer(type))
        return false;
    *maxSample = (1u << bits) - 1u;
    *wide = bytes == 2;
    return true;
}

class SaturationHighlight : public TarpoViewerSdk::IColorConverterPlugin
{
public:
    QString name() const override { return kName; }
    GenApi::INodeMap* nodeMap() override { return nullptr; }
    bool isUsable() const override { return true; }
    bool isSupported(Tarpo::EPixelType type) override
    {
        uint32_t maxSample = 0;
        bool wide = false;
        return rawDepth(type, &maxSample, &wide);
    }
    // The default converter makes the image; this one only marks it.
    TarpoViewerSdk::Image convert(TarpoViewerSdk::StreamBuffer*) override
    {
        return TarpoViewerSdk::Image();
    }
    void process(const void* rawData, const TarpoViewerSdk::StreamBuffer::SImageFormatEx& format,
                 uint8_t* imageData, int lineOffset, size_t imageSize) override
    {
        uint32_t maxSample = 0;
        bool wide = false;
        if (!rawData || !imageData || !rawDepth(format.pixelType, &maxSample, &wide))
            return;
        if (format.width <= 0 || format.height <= 0)
            return;
        const size_t width = size_t(format.width);
        const size_t height = size_t(format.height);
        const size_t rawLine = format.lineOffset ? format.lineOffset
                                                 : width * (wide ? 2 : 1) + size_t(format.paddingX);
        if (size_t(lineOffset) < width * 4 || size_t(lineOffset) * height > imageSize)
            return;
        const auto* raw = static_cast<const uint8_t*>(rawData);
        for (size_t y = 0; y < height; ++y) {
            const uint8_t* in = raw + y * rawLine;
            uint8_t* out = imageData + y * size_t(lineOffset);
            for (size_t x = 0; x < width; ++x) {
                uint32_t sample = in[x];
                if (wide) {
                    uint16_t value;
                    std::memcpy(&value, in + 2 * x, 2);
                    sample = value;
                }
                if (sample >= maxSample) {
                    out[4 * x] = 0;       // blue
                    out[4 * x + 1] = 0;   // green
                    out[4 * x + 2] = 255; // red
                }
            }
        }
    }
};

} // namespace

extern "C" __attribute__((visibility("default"))) TarpoViewerSdk::IPlugin*
tarpoCreatePlugin(const char* name)
{
    return std::strcmp(name, kName) == 0 ? new SaturationHighlight : nullptr;
}

extern "C" __attribute__((visibility("default"))) void
tarpoDestroyPlugin(TarpoViewerSdk::IPlugin* plugin)
{
    delete plugin;
}
