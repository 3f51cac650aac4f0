#include "acquisition/converter.h"

#include "acquisition/defaultcolorconverterplugin.h"
#include "viewersdk/pluginmanager.h"
#include "viewersdk/streambuffer.h"

#include <QDebug>

Converter::Converter() : m_colorConverter(std::make_unique<DefaultColorConverterPlugin>())
{
    qRegisterMetaType<TarpoViewerSdk::Image>("TarpoViewerSdk::Image");
    const QString name = extensionPluginName();
    if (!name.isEmpty()) {
        TarpoViewerSdk::IPlugin* plugin = TarpoViewerSdk::PluginManager::createInstance(name);
        m_extensionPlugin = dynamic_cast<TarpoViewerSdk::IColorConverterPlugin*>(plugin);
        if (!m_extensionPlugin) {
            TarpoViewerSdk::PluginManager::destroyInstance(plugin);
            qWarning("Didn't find the extension plugin %s", qPrintable(name));
        }
    }
}

Converter::~Converter()
{
    shutDown();
}

QString Converter::extensionPluginName()
{
    return qEnvironmentVariable("TARPO_EXTENSION_PLUGIN");
}

void Converter::shutDown()
{
    if (m_extensionPlugin) {
        TarpoViewerSdk::PluginManager::destroyInstance(m_extensionPlugin);
        m_extensionPlugin = nullptr;
    }
}

void Converter::announceNodemaps()
{
    if (m_extensionPlugin && m_extensionPlugin->isUsable())
        emit nodemapAvailable(m_extensionPlugin->nodeMap(), m_extensionPlugin->name(),
                              "ExtensionPlugin");
    if (m_colorConverter->isUsable())
        emit nodemapAvailable(m_colorConverter->nodeMap(), m_colorConverter->name(),
                              "ColorConverter");
}

bool Converter::isSupported(Tarpo::EPixelType pixelType)
{
    return pixelType == Tarpo::PixelType_Mono8 || m_colorConverter->isSupported(pixelType);
}

void Converter::setBuffer(TarpoViewerSdk::StreamBuffer* buffer)
{
    if (!buffer || (!buffer->display() && !buffer->data()))
        return;
    emit imageAvailable(convert(buffer));
}

TarpoViewerSdk::Image Converter::convert(TarpoViewerSdk::StreamBuffer* buffer)
{
    using TarpoViewerSdk::Image;
    const bool extensionActive = m_extensionPlugin && m_extensionPlugin->isUsable();
    // A speed-test frame: the buffer travels on, its pixels are not converted.
    if (!buffer->display() && buffer->data())
        return Image(buffer->width(), buffer->height(), Image::NoPixels, buffer);

    const Tarpo::EPixelType type = buffer->pixelType();
    const bool rgbForExtension = type == Tarpo::PixelType_RGB8packed ||
                                 type == Tarpo::PixelType_BGR8packed ||
                                 type == Tarpo::PixelType_RGB12packed ||
                                 type == Tarpo::PixelType_BGR12packed;
    Image image = extensionActive && rgbForExtension
                      ? Image(buffer->width() * 3, buffer->height(), Image::BGRA32, buffer)
                      : m_colorConverter->convert(buffer);
    if (extensionActive) {
        if (!image.isValid())
            image = Image::ImageFromBuffer(Image::BGRA32, buffer);
        else if (image.format() == Image::Mono8)
            image = mono8Image2RgbImage(image);
        auto format = TarpoViewerSdk::StreamBuffer::SImageFormatExFromBuffer(buffer);
        if (rgbForExtension) {
            format.width *= 3;
            format.pixelType = (type == Tarpo::PixelType_RGB8packed || type == Tarpo::PixelType_BGR8packed)
                                   ? Tarpo::PixelType_Mono8
                                   : Tarpo::PixelType_Mono16;
        }
        m_extensionPlugin->process(buffer->data(), format, image.pixelData(), image.lineOffset(),
                                   image.sizeInBytes());
    }
    return image;
}

TarpoViewerSdk::Image Converter::mono8Image2RgbImage(const TarpoViewerSdk::Image& image)
{
    using TarpoViewerSdk::Image;
    if (image.format() != Image::Mono8)
        return Image();
    if (!image.pixelData()) {
        qCritical("%s: pImage->pixelData() returned NULL pointer", "mono8Image2RgbImage");
        return Image();
    }
    Image rgb(image.width(), image.height(), Image::BGRA32, image.buffer());
    if (!rgb.pixelData()) {
        qCritical("%s: img.pixelData() returned NULL pointer", "mono8Image2RgbImage");
        return Image();
    }
    for (int y = 0; y < image.height(); ++y) {
        const uint8_t* source = image.pixelData() + static_cast<size_t>(y) * image.lineOffset();
        uint8_t* destination = rgb.pixelData() + static_cast<size_t>(y) * rgb.lineOffset();
        for (int x = 0; x < image.width(); ++x) {
            destination[4 * x] = destination[4 * x + 1] = destination[4 * x + 2] = source[x];
            destination[4 * x + 3] = 0xFF;
        }
    }
    return rgb;
}
