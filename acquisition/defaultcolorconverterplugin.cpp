#include "acquisition/defaultcolorconverterplugin.h"

#include "genapi/genapi.h"
#include "qtbase/messages.h"
#include "tarpo/imageformatconverter.h"
#include "trace/trace.h"

namespace {

struct BayerCodes
{
    int classification;
    uint32_t codes[7];
};

// The Bayer pixel types by colour-filter order: 8, 10p, 12packed, 12p, 10, 12 and 16 bits.
const BayerCodes kBayerTable[] = {
    {2, {0x01080008, 0x010A0056, 0x010C002A, 0x010C0057, 0x0110000C, 0x01100010, 0x0110002E}},
    {0, {0x01080009, 0x010A0058, 0x010C002B, 0x010C0059, 0x0110000D, 0x01100011, 0x0110002F}},
    {1, {0x0108000A, 0x010A0054, 0x010C002C, 0x010C0055, 0x0110000E, 0x01100012, 0x01100030}},
    {3, {0x0108000B, 0x010A0052, 0x010C002D, 0x010C0053, 0x0110000F, 0x01100013, 0x01100031}},
};

} // namespace

DefaultColorConverterPlugin::DefaultColorConverterPlugin()
    : m_formatConverter(std::make_unique<Tarpo::CImageFormatConverter>())
{
    GenApi::INodeMap* map = m_formatConverter->GetNodeMap();
    // Extend the last interpolated row and column at the image border; 3 bytes of output padding
    // until the first frame sets the real one; data moved to the top bits for 16-bit output;
    // deep samples reduced to 8 bits by truncation.
    GenApi::CEnumerationPtr(map->GetNode("InconvertibleEdgeHandling"))->SetIntValue(3);
    GenApi::CIntegerPtr(map->GetNode("OutputPaddingX"))->SetValue(3);
    GenApi::CEnumerationPtr(map->GetNode("OutputBitAlignment"))->SetIntValue(2);
    GenApi::CEnumerationPtr(map->GetNode("MonoConversionMethod"))->SetIntValue(1);
}

DefaultColorConverterPlugin::~DefaultColorConverterPlugin() = default;

GenApi::INodeMap* DefaultColorConverterPlugin::nodeMap()
{
    return m_formatConverter->GetNodeMap();
}

bool DefaultColorConverterPlugin::isSupported(Tarpo::EPixelType pixelType)
{
    return m_formatConverter->IsSupportedInputFormat(pixelType);
}

int DefaultColorConverterPlugin::bayerClassification(Tarpo::EPixelType pixelType)
{
    for (const BayerCodes& row : kBayerTable) {
        for (uint32_t code : row.codes) {
            if (code == static_cast<uint32_t>(pixelType))
                return row.classification;
        }
    }
    return 4;
}

bool DefaultColorConverterPlugin::isTrueMono(Tarpo::EPixelType pixelType)
{
    return (static_cast<uint32_t>(pixelType) & 0x01000000u) != 0 &&
           bayerClassification(pixelType) == 4;
}

template <class F>
void DefaultColorConverterPlugin::reportFailure(const std::string& text, F&& show)
{
    // The same failure on every frame of a live stream would flood the user with message
    // boxes: each distinct failure is shown once, repeats go to the trace.
    if (text == m_lastFailure) {
        TARPO_TRACE("DefaultColorConverterPlugin", "Failed to convert the image: %s", text.c_str());
        return;
    }
    m_lastFailure = text;
    show();
}

TarpoViewerSdk::Image DefaultColorConverterPlugin::convert(TarpoViewerSdk::StreamBuffer* buffer)
{
    if (!buffer || !isSupported(buffer->pixelType()))
        return TarpoViewerSdk::Image();
    try {
        const bool mono = isTrueMono(buffer->pixelType());
        TarpoViewerSdk::Image image = TarpoViewerSdk::Image::ImageFromBuffer(mono ? 0 : 1, buffer);
        if (!image.pixelData())
            return TarpoViewerSdk::Image();
        const Tarpo::EPixelType outputType =
            mono ? Tarpo::PixelType_Mono8 : Tarpo::PixelType_BGRA8packed;
        m_formatConverter->setOutputPixelFormat(outputType);
        m_formatConverter->setOutputPaddingX(Tarpo::ComputePaddingX(
            static_cast<size_t>(image.lineOffset()), outputType,
            static_cast<uint32_t>(buffer->width())));
        // The whole buffer is valid memory: a frame that arrived incomplete shows what came,
        // the rest keeps what the buffer held before.
        m_formatConverter->Convert(image.pixelData(), image.sizeInBytes(), buffer->data(),
                                   buffer->size(), buffer->pixelType(),
                                   static_cast<uint32_t>(buffer->width()),
                                   static_cast<uint32_t>(buffer->height()),
                                   static_cast<uint32_t>(buffer->paddingX()));
        return image;
    } catch (const GenICam::GenericException& e) {
        reportFailure(e.GetDescription(), [&] {
            showException(e, "DefaultColorConverterPlugin::convert", "Failed to convert the image");
        });
    } catch (const std::exception& e) {
        reportFailure(e.what(), [&] {
            showException(e, "DefaultColorConverterPlugin::convert", "Failed to convert the image");
        });
    }
    return TarpoViewerSdk::Image();
}
