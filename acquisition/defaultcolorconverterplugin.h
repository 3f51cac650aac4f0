#pragma once

// The program's own colour converter: turns a camera buffer into 8-bit grey (true mono types)
// or BGRA (everything else) with the camera layer's image format converter.
// Thread: used by one thread at a time (the decoupler's); its node map is thread-safe.

#include "viewersdk/plugin.h"

#include <memory>
#include <string>

namespace Tarpo {
class CImageFormatConverter;
}

class DefaultColorConverterPlugin : public TarpoViewerSdk::IColorConverterPlugin
{
public:
    DefaultColorConverterPlugin();
    ~DefaultColorConverterPlugin() override;

    QString name() const override { return "Color Converter"; }
    GenApi::INodeMap* nodeMap() override;
    bool isUsable() const override { return true; }
    void process(const void*, const TarpoViewerSdk::StreamBuffer::SImageFormatEx&, uint8_t*, int,
                 size_t) override
    {
    }
    bool isSupported(Tarpo::EPixelType pixelType) override;
    TarpoViewerSdk::Image convert(TarpoViewerSdk::StreamBuffer* buffer) override;

    // Colour-filter order of a Bayer type: GR 2, RG 0, GB 1, BG 3, anything else 4.
    static int bayerClassification(Tarpo::EPixelType pixelType);
    // True mono: the PFNC mono bit set and not a Bayer type.
    static bool isTrueMono(Tarpo::EPixelType pixelType);

private:
    template <class F>
    void reportFailure(const std::string& text, F&& show);

    std::unique_ptr<Tarpo::CImageFormatConverter> m_formatConverter;
    std::string m_lastFailure; // the failure shown last, not shown again
};
