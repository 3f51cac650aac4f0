#include "tarpo/tarpoimage.h"

#include <cstring>

namespace Tarpo {

void CTarpoImage::CopyImage(const void* buffer, size_t bufferSize, EPixelType pixelType,
                            uint32_t width, uint32_t height, size_t paddingX,
                            EImageOrientation orientation)
{
    // Not value-initialised: the copy overwrites every byte, and zeroing a frame first would
    // double the memory traffic of the recording's producer.
    std::shared_ptr<uint8_t[]> copy(new uint8_t[bufferSize ? bufferSize : 1]);
    if (bufferSize)
        std::memcpy(copy.get(), buffer, bufferSize);
    m_buffer = std::move(copy);
    m_imageSize = bufferSize;
    m_pixelType = pixelType;
    m_width = width;
    m_height = height;
    m_paddingX = paddingX;
    m_orientation = orientation;
}

void CTarpoImage::CopyImage(const IImage& image)
{
    CopyImage(image.GetBuffer(), image.GetImageSize(), image.GetPixelType(), image.GetWidth(),
              image.GetHeight(), image.GetPaddingX(), image.GetOrientation());
}

void CTarpoImage::Release()
{
    *this = CTarpoImage();
}

} // namespace Tarpo
