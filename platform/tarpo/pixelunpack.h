#pragma once

// Unpacks the samples of one image line of a mono, Bayer or RGB pixel type into plain 8- or
// 16-bit samples: the first step of every conversion of such a source. The loops are written so
// that the compiler can vectorise them; they read only the bytes the line's pixels occupy.
// Thread-safe: pure functions.

#include "tarpo/pixeltype.h"

#include <cstddef>
#include <cstdint>

namespace Tarpo {

// How the samples of a line lie in memory.
enum class ESampleLayout : uint8_t
{
    Byte,       // one byte per sample
    Word16,     // little-endian 16-bit words, the value in the low bitDepth bits
    PfncPacked, // one little-endian bit stream, each sample's least significant bit first
    GigEPacked  // two samples in three bytes: high bits in bytes 0 and 2, low bits in byte 1
};

struct SSampleFormat
{
    ESampleLayout layout = ESampleLayout::Byte;
    uint32_t bitDepth = 8;
};

// The sample layout of a mono, Bayer or RGB/BGR(A) type. False for every other type (YUV,
// types of fewer than 8 bits, unknown codes).
bool GetSampleFormat(EPixelType type, SSampleFormat& format);

// Bytes that `count` samples occupy in a line, without padding.
size_t PackedLineBytes(const SSampleFormat& format, size_t count);

// Writes `count` 8-bit samples: the top 8 of bitDepth bits (value >> (bitDepth - 8)). A word
// holding a value above the bit depth's maximum gives 255.
void UnpackLineTo8(const uint8_t* src, const SSampleFormat& format, size_t count, uint8_t* dst);

// Writes `count` little-endian 16-bit words (dst needs no alignment): each value, clamped to
// the bit depth's maximum, shifted left by shiftLeft (0 keeps it in the low bits).
void UnpackLineTo16(const uint8_t* src, const SSampleFormat& format, size_t count,
                    uint32_t shiftLeft, uint8_t* dst);

// Writes `count` 8-bit samples looked up in `table`, which has 2^bitDepth entries; values above
// the bit depth's maximum take the last entry.
void UnpackLineThroughTable(const uint8_t* src, const SSampleFormat& format, size_t count,
                            const uint8_t* table, uint8_t* dst);

} // namespace Tarpo
