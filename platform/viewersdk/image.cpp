#include "viewersdk/image.h"

#include "viewersdk/streambuffer.h"

#include <cstring>

namespace TarpoViewerSdk {

Image::Data::~Data()
{
    if (buffer)
        buffer->unlock();
}

Image::Image(int width, int height, int format, StreamBuffer* buffer)
    : m_data(std::make_shared<Data>())
{
    m_data->width = std::max(width, 0);
    m_data->height = std::max(height, 0);
    m_data->format = format == Mono8 || format == BGRA32 ? format : NoPixels;
    if (m_data->format != NoPixels) {
        const int bytesPerPixel = m_data->format == Mono8 ? 1 : 4;
        // QImage needs 32-bit aligned lines.
        m_data->lineOffset = (m_data->width * bytesPerPixel + 3) & ~3;
        const size_t size = static_cast<size_t>(m_data->lineOffset) * m_data->height;
        if (size > 0)
            m_data->pixels.reset(new uint8_t[size]);
    }
    if (buffer) {
        buffer->lock();
        m_data->buffer = buffer;
    }
}

Image Image::ImageFromBuffer(int format, StreamBuffer* buffer)
{
    if (!buffer)
        return Image();
    return Image(buffer->width(), buffer->height(), format, buffer);
}

size_t Image::sizeInBytes() const
{
    return m_data ? static_cast<size_t>(m_data->lineOffset) * m_data->height : 0;
}

QImage Image::qimage() const
{
    if (!pixelData() || !isValid())
        return QImage();
    return QImage(pixelData(), width(), height(), lineOffset(),
                  format() == Mono8 ? QImage::Format_Grayscale8 : QImage::Format_RGB32);
}

Image Image::deepCopy() const
{
    if (!m_data)
        return Image();
    Image copy(width(), height(), format());
    if (pixelData() && copy.pixelData())
        std::memcpy(copy.pixelData(), pixelData(), sizeInBytes());
    return copy;
}

} // namespace TarpoViewerSdk
