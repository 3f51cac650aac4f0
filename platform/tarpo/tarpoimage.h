#pragma once

// An image that owns its pixels. CopyImage() makes a private copy of raw frame memory; copying
// a CTarpoImage shares those pixels by reference count, so handing an image from one queue to
// the next costs no pixel copy. The pixels are never written after CopyImage(), which is what
// makes the sharing safe.
// Thread: one instance per thread at a time; instances that share pixels may live on different
// threads.

#include "tarpo/iimage.h"

#include <memory>

namespace Tarpo {

class CTarpoImage : public IImage
{
public:
    CTarpoImage() = default;

    // Copies `bufferSize` bytes from `buffer` into new memory of this image. Throws std::bad_alloc
    // when that memory cannot be had; the image is unchanged then.
    void CopyImage(const void* buffer, size_t bufferSize, EPixelType pixelType, uint32_t width,
                   uint32_t height, size_t paddingX, EImageOrientation orientation);
    void CopyImage(const IImage& image);
    // Drops this image's share of the pixels.
    void Release();

    bool IsValid() const override { return m_buffer != nullptr; }
    EPixelType GetPixelType() const override { return m_pixelType; }
    uint32_t GetWidth() const override { return m_width; }
    uint32_t GetHeight() const override { return m_height; }
    size_t GetPaddingX() const override { return m_paddingX; }
    EImageOrientation GetOrientation() const override { return m_orientation; }
    const void* GetBuffer() const override { return m_buffer.get(); }
    size_t GetImageSize() const override { return m_imageSize; }

private:
    std::shared_ptr<const uint8_t[]> m_buffer;
    size_t m_imageSize = 0;
    EPixelType m_pixelType = PixelType_Undefined;
    uint32_t m_width = 0;
    uint32_t m_height = 0;
    size_t m_paddingX = 0;
    EImageOrientation m_orientation = TopDown;
};

} // namespace Tarpo
