#pragma once

// The SDK's view of one image in memory: what the media writers and the image persistence
// accept besides raw pixel pointers.
// Thread: an interface; each implementation states its own contract.

#include "tarpo/imageorientation.h"
#include "tarpo/pixeltype.h"

#include <cstddef>
#include <cstdint>

namespace Tarpo {

class IImage
{
public:
    virtual ~IImage() = default;

    // False for an image without pixels.
    virtual bool IsValid() const = 0;
    virtual EPixelType GetPixelType() const = 0;
    virtual uint32_t GetWidth() const = 0;
    virtual uint32_t GetHeight() const = 0;
    // Bytes after each line's pixels.
    virtual size_t GetPaddingX() const = 0;
    virtual EImageOrientation GetOrientation() const = 0;
    virtual const void* GetBuffer() const = 0;
    // Bytes at GetBuffer().
    virtual size_t GetImageSize() const = 0;
};

} // namespace Tarpo
