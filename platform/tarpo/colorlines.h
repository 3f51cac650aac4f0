#pragma once

// Per-line colour work that needs no neighbourhood: grey widened to colour, and YUV 4:2:2 to
// colour or luma. The YUV is full-range ITU-R BT.601 (JFIF): Y, U and V all span 0..255 and
// U = V = 128 is grey, which is what cameras and our emulator deliver as YUV422_8 and
// YCbCr422_8.
// Thread-safe: pure functions.

#include "tarpo/pixeltype.h"

#include <cstddef>
#include <cstdint>

namespace Tarpo {

// `output` is BGR8packed, RGB8packed or BGRA8packed (alpha 255).
void GreyLineToColor(const uint8_t* grey, size_t width, EPixelType output, uint8_t* dst);

// Widens 8-bit samples to little-endian 16-bit words shifted left by shiftLeft.
void WidenLineTo16(const uint8_t* src, size_t count, uint32_t shiftLeft, uint8_t* dst);

// A 4:2:2 line: UYVY, or YUYV when lumaFirst. A pixel pair shares its U and V. The last pixel of
// an odd width comes as U Y (Y U) without a V; it takes the V of the pair before it, or grey in
// a one-pixel line.
void Yuv422LineToColor(const uint8_t* src, size_t width, bool lumaFirst, EPixelType output,
                       uint8_t* dst);
void Yuv422LineToLuma(const uint8_t* src, size_t width, bool lumaFirst, uint8_t* dst);

} // namespace Tarpo
