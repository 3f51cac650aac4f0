#include "tarpo/pixelunpack.h"

#include <algorithm>
#include <cstring>

// The hot kernels are built twice, for AVX2 and for plain x86-64, and the loader picks the one
// the processor can run: the compiler vectorises the byte regrouping of packed samples only
// with AVX2's byte shuffles. Not under ThreadSanitizer: the loader runs the picking code before
// the sanitizer's runtime is up, and that crashes.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)
#define TARPO_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define TARPO_VECTOR_CLONES
#endif

namespace Tarpo {

namespace {

uint32_t maxValue(const SSampleFormat& format)
{
    return (1u << format.bitDepth) - 1;
}

// One sample of any layout, for line tails and the table path. Reads only the bytes that hold
// the sample's bits.
uint32_t sampleAt(const uint8_t* line, const SSampleFormat& format, size_t index)
{
    switch (format.layout) {
    case ESampleLayout::Byte:
        return line[index];
    case ESampleLayout::Word16: {
        const uint32_t value = line[2 * index] | uint32_t(line[2 * index + 1]) << 8;
        return std::min(value, maxValue(format));
    }
    case ESampleLayout::PfncPacked: {
        const uint64_t firstBit = uint64_t(index) * format.bitDepth;
        const uint8_t* bytes = line + firstBit / 8;
        const uint32_t shift = static_cast<uint32_t>(firstBit % 8);
        const uint32_t byteCount = (shift + format.bitDepth + 7) / 8;
        uint32_t bits = 0;
        for (uint32_t i = 0; i < byteCount; ++i)
            bits |= uint32_t(bytes[i]) << (8 * i);
        return (bits >> shift) & maxValue(format);
    }
    case ESampleLayout::GigEPacked: {
        const uint8_t* group = line + (index / 2) * 3;
        const uint32_t lowBits = format.bitDepth - 8;
        const uint32_t lowMask = (1u << lowBits) - 1;
        if (index % 2 == 0)
            return uint32_t(group[0]) << lowBits | (group[1] & lowMask);
        return uint32_t(group[2]) << lowBits | ((group[1] >> 4) & lowMask);
    }
    }
    return 0;
}

void store16(uint8_t* dst, size_t index, uint32_t value)
{
    dst[2 * index] = static_cast<uint8_t>(value);
    dst[2 * index + 1] = static_cast<uint8_t>(value >> 8);
}

// Each kernel converts the whole groups of a line (the pixel count after which the byte layout
// repeats) and returns the number of samples done; sampleAt() finishes the tail.

TARPO_VECTOR_CLONES size_t word16To8(const uint8_t* src, uint32_t bitDepth, size_t count,
                                     uint8_t* dst)
{
    if (bitDepth == 16) {
        for (size_t i = 0; i < count; ++i)
            dst[i] = src[2 * i + 1];
        return count;
    }
    const uint32_t shift = bitDepth - 8;
    for (size_t i = 0; i < count; ++i) {
        const uint32_t value = (src[2 * i] | uint32_t(src[2 * i + 1]) << 8) >> shift;
        dst[i] = static_cast<uint8_t>(std::min(value, 255u));
    }
    return count;
}

TARPO_VECTOR_CLONES size_t pfnc12To8(const uint8_t* src, size_t count, uint8_t* dst)
{
    const size_t pairs = count / 2;
    for (size_t k = 0; k < pairs; ++k) {
        const uint8_t* b = src + 3 * k;
        dst[2 * k] = static_cast<uint8_t>((b[0] >> 4) | (b[1] << 4));
        dst[2 * k + 1] = b[2];
    }
    return pairs * 2;
}

TARPO_VECTOR_CLONES size_t pfnc10To8(const uint8_t* src, size_t count, uint8_t* dst)
{
    const size_t quads = count / 4;
    for (size_t k = 0; k < quads; ++k) {
        const uint8_t* b = src + 5 * k;
        dst[4 * k] = static_cast<uint8_t>((b[0] >> 2) | (b[1] << 6));
        dst[4 * k + 1] = static_cast<uint8_t>((b[1] >> 4) | (b[2] << 4));
        dst[4 * k + 2] = static_cast<uint8_t>((b[2] >> 6) | (b[3] << 2));
        dst[4 * k + 3] = b[4];
    }
    return quads * 4;
}

TARPO_VECTOR_CLONES size_t gigEPackedTo8(const uint8_t* src, size_t count, uint8_t* dst)
{
    // Bytes 0 and 2 of each group are the samples' top 8 bits, whatever the bit depth.
    const size_t pairs = count / 2;
    for (size_t k = 0; k < pairs; ++k) {
        dst[2 * k] = src[3 * k];
        dst[2 * k + 1] = src[3 * k + 2];
    }
    return pairs * 2;
}

size_t pfnc12To16(const uint8_t* src, size_t count, uint32_t shift, uint8_t* dst)
{
    const size_t pairs = count / 2;
    for (size_t k = 0; k < pairs; ++k) {
        const uint8_t* b = src + 3 * k;
        store16(dst, 2 * k, (b[0] | uint32_t(b[1] & 0x0F) << 8) << shift);
        store16(dst, 2 * k + 1, (b[1] >> 4 | uint32_t(b[2]) << 4) << shift);
    }
    return pairs * 2;
}

size_t pfnc10To16(const uint8_t* src, size_t count, uint32_t shift, uint8_t* dst)
{
    const size_t quads = count / 4;
    for (size_t k = 0; k < quads; ++k) {
        const uint8_t* b = src + 5 * k;
        store16(dst, 4 * k, (b[0] | uint32_t(b[1] & 0x03) << 8) << shift);
        store16(dst, 4 * k + 1, (b[1] >> 2 | uint32_t(b[2] & 0x0F) << 6) << shift);
        store16(dst, 4 * k + 2, (b[2] >> 4 | uint32_t(b[3] & 0x3F) << 4) << shift);
        store16(dst, 4 * k + 3, (b[3] >> 6 | uint32_t(b[4]) << 2) << shift);
    }
    return quads * 4;
}

} // namespace

bool GetSampleFormat(EPixelType type, SSampleFormat& format)
{
    const bool oneSample = IsMono(type) || IsBayer(type);
    const bool rgb = IsRGB(type) || IsBGR(type) || IsRGBA(type) || IsBGRA(type);
    const uint32_t bitDepth = BitDepth(type);
    if ((!oneSample && !rgb) || bitDepth < 8 || bitDepth > 16 || type == PixelType_Mono8signed)
        return false;
    format.bitDepth = bitDepth;
    if (IsPFNCPacked(type))
        format.layout = ESampleLayout::PfncPacked;
    else if (IsGigELegacyPacked(type))
        format.layout = ESampleLayout::GigEPacked;
    else if (bitDepth == 8)
        format.layout = ESampleLayout::Byte;
    else
        format.layout = ESampleLayout::Word16;
    return true;
}

size_t PackedLineBytes(const SSampleFormat& format, size_t count)
{
    switch (format.layout) {
    case ESampleLayout::Byte:
        return count;
    case ESampleLayout::Word16:
        return 2 * count;
    case ESampleLayout::PfncPacked:
        return static_cast<size_t>((uint64_t(count) * format.bitDepth + 7) / 8);
    case ESampleLayout::GigEPacked:
        return (count * 12 + 7) / 8;
    }
    return 0;
}

void UnpackLineTo8(const uint8_t* src, const SSampleFormat& format, size_t count, uint8_t* dst)
{
    size_t done = 0;
    switch (format.layout) {
    case ESampleLayout::Byte:
        std::memcpy(dst, src, count);
        return;
    case ESampleLayout::Word16:
        done = word16To8(src, format.bitDepth, count, dst);
        break;
    case ESampleLayout::PfncPacked:
        if (format.bitDepth == 12)
            done = pfnc12To8(src, count, dst);
        else if (format.bitDepth == 10)
            done = pfnc10To8(src, count, dst);
        break;
    case ESampleLayout::GigEPacked:
        done = gigEPackedTo8(src, count, dst);
        break;
    }
    const uint32_t shift = format.bitDepth - 8;
    for (size_t i = done; i < count; ++i)
        dst[i] = static_cast<uint8_t>(sampleAt(src, format, i) >> shift);
}

void UnpackLineTo16(const uint8_t* src, const SSampleFormat& format, size_t count,
                    uint32_t shiftLeft, uint8_t* dst)
{
    size_t done = 0;
    switch (format.layout) {
    case ESampleLayout::Byte:
        for (size_t i = 0; i < count; ++i)
            store16(dst, i, uint32_t(src[i]) << shiftLeft);
        return;
    case ESampleLayout::Word16: {
        const uint32_t maximum = maxValue(format);
        for (size_t i = 0; i < count; ++i) {
            const uint32_t value = src[2 * i] | uint32_t(src[2 * i + 1]) << 8;
            store16(dst, i, std::min(value, maximum) << shiftLeft);
        }
        return;
    }
    case ESampleLayout::PfncPacked:
        if (format.bitDepth == 12)
            done = pfnc12To16(src, count, shiftLeft, dst);
        else if (format.bitDepth == 10)
            done = pfnc10To16(src, count, shiftLeft, dst);
        break;
    case ESampleLayout::GigEPacked:
        break;
    }
    for (size_t i = done; i < count; ++i)
        store16(dst, i, sampleAt(src, format, i) << shiftLeft);
}

void UnpackLineThroughTable(const uint8_t* src, const SSampleFormat& format, size_t count,
                            const uint8_t* table, uint8_t* dst)
{
    for (size_t i = 0; i < count; ++i)
        dst[i] = table[sampleAt(src, format, i)];
}

} // namespace Tarpo
