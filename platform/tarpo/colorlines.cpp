#include "tarpo/colorlines.h"

namespace Tarpo {

namespace {

// Colour offsets of one output pixel.
struct SColorLayout
{
    uint32_t bytesPerPixel;
    uint32_t red;
    uint32_t blue;
};

SColorLayout layoutOf(EPixelType output)
{
    switch (output) {
    case PixelType_RGB8packed:
        return {3, 0, 2};
    case PixelType_BGRA8packed:
        return {4, 2, 0};
    default:
        return {3, 2, 0};
    }
}

// Fixed point with 16 fraction bits; t holds the sample times 65536 plus a half for rounding.
uint8_t clampToByte(int32_t t)
{
    if (t <= 0)
        return 0;
    if (t >= (255 << 16))
        return 255;
    return static_cast<uint8_t>(t >> 16);
}

// Inverse of Y = 0.299 R + 0.587 G + 0.114 B, U = 0.564 (B - Y) + 128, V = 0.713 (R - Y) + 128.
void yuvToPixel(int32_t y, int32_t u, int32_t v, const SColorLayout& layout, uint8_t* dst)
{
    const int32_t base = (y << 16) + 32768;
    const int32_t du = u - 128;
    const int32_t dv = v - 128;
    dst[layout.red] = clampToByte(base + 91881 * dv);
    dst[1] = clampToByte(base - 22554 * du - 46802 * dv);
    dst[layout.blue] = clampToByte(base + 116130 * du);
    if (layout.bytesPerPixel == 4)
        dst[3] = 255;
}

} // namespace

void GreyLineToColor(const uint8_t* grey, size_t width, EPixelType output, uint8_t* dst)
{
    if (output == PixelType_BGRA8packed) {
        for (size_t x = 0; x < width; ++x) {
            dst[4 * x] = grey[x];
            dst[4 * x + 1] = grey[x];
            dst[4 * x + 2] = grey[x];
            dst[4 * x + 3] = 255;
        }
        return;
    }
    for (size_t x = 0; x < width; ++x) {
        dst[3 * x] = grey[x];
        dst[3 * x + 1] = grey[x];
        dst[3 * x + 2] = grey[x];
    }
}

void WidenLineTo16(const uint8_t* src, size_t count, uint32_t shiftLeft, uint8_t* dst)
{
    for (size_t i = 0; i < count; ++i) {
        const uint32_t value = uint32_t(src[i]) << shiftLeft;
        dst[2 * i] = static_cast<uint8_t>(value);
        dst[2 * i + 1] = static_cast<uint8_t>(value >> 8);
    }
}

void Yuv422LineToColor(const uint8_t* src, size_t width, bool lumaFirst, EPixelType output,
                       uint8_t* dst)
{
    const SColorLayout layout = layoutOf(output);
    const size_t yOffset = lumaFirst ? 0 : 1;
    const size_t uOffset = lumaFirst ? 1 : 0;
    int32_t v = 128;
    size_t x = 0;
    for (; x + 1 < width; x += 2, src += 4) {
        const int32_t u = src[uOffset];
        v = src[uOffset + 2];
        yuvToPixel(src[yOffset], u, v, layout, dst + x * layout.bytesPerPixel);
        yuvToPixel(src[yOffset + 2], u, v, layout, dst + (x + 1) * layout.bytesPerPixel);
    }
    if (x < width)
        yuvToPixel(src[yOffset], src[uOffset], v, layout, dst + x * layout.bytesPerPixel);
}

void Yuv422LineToLuma(const uint8_t* src, size_t width, bool lumaFirst, uint8_t* dst)
{
    const size_t yOffset = lumaFirst ? 0 : 1;
    for (size_t x = 0; x < width; ++x)
        dst[x] = src[2 * x + yOffset];
}

} // namespace Tarpo
