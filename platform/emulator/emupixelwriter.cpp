#include "emulator/emupixelwriter.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace Emulator {

using namespace Tarpo;

namespace {

// BT.601 full range (JFIF), the YUV every 8-bit YUV type of the emulator delivers: Y, U and V
// all use 0..255 and U = V = 128 is grey. Fixed point with 16 fraction bits, rounded; the
// offsets keep every sum positive before the shift.
uint8_t clampByte(int32_t value)
{
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

uint8_t yOf(const EmuRgb& p)
{
    return clampByte((19595 * p.red + 38470 * p.green + 7471 * p.blue + 32768) >> 16);
}

int32_t uOf(const EmuRgb& p)
{
    return std::min(
        255, (-11059 * p.red - 21709 * p.green + 32768 * p.blue + (128 << 16) + 32768) >> 16);
}

int32_t vOf(const EmuRgb& p)
{
    return std::min(255,
                    (32768 * p.red - 27439 * p.green - 5329 * p.blue + (128 << 16) + 32768) >> 16);
}

} // namespace

const std::vector<EPixelType>& EmuPixelWriter::supportedPixelTypes()
{
    static const std::vector<EPixelType> types = {
        PixelType_Mono8,           PixelType_Mono10,          PixelType_Mono10packed,
        PixelType_Mono10p,         PixelType_Mono12,          PixelType_Mono12packed,
        PixelType_Mono12p,         PixelType_Mono16,          PixelType_BayerGR8,
        PixelType_BayerRG8,        PixelType_BayerGB8,        PixelType_BayerBG8,
        PixelType_BayerGR10,       PixelType_BayerRG10,       PixelType_BayerGB10,
        PixelType_BayerBG10,       PixelType_BayerGR10p,      PixelType_BayerRG10p,
        PixelType_BayerGB10p,      PixelType_BayerBG10p,      PixelType_BayerGR12,
        PixelType_BayerRG12,       PixelType_BayerGB12,       PixelType_BayerBG12,
        PixelType_BayerGR12packed, PixelType_BayerRG12packed, PixelType_BayerGB12packed,
        PixelType_BayerBG12packed, PixelType_BayerGR12p,      PixelType_BayerRG12p,
        PixelType_BayerGB12p,      PixelType_BayerBG12p,      PixelType_BayerGR16,
        PixelType_BayerRG16,       PixelType_BayerGB16,       PixelType_BayerBG16,
        PixelType_RGB8packed,      PixelType_BGR8packed,      PixelType_RGBA8packed,
        PixelType_BGRA8packed,     PixelType_YUV422packed,    PixelType_YUV422_YUYV_Packed,
        PixelType_YCbCr422_8};
    return types;
}

bool EmuPixelWriter::isSupported(EPixelType type)
{
    const std::vector<EPixelType>& types = supportedPixelTypes();
    return std::find(types.begin(), types.end(), type) != types.end();
}

EmuPixelWriter::EmuPixelWriter(EPixelType type) : m_pixelType(type)
{
    if (!isSupported(type)) {
        char code[16];
        std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(type));
        const std::string name = GetPixelTypeName(type);
        throw std::invalid_argument("The emulator does not offer the pixel type " +
                                    (name.empty() ? std::string() : name + " ") + "(" + code +
                                    ").");
    }
    m_bitDepth = BitDepth(type);
    m_bitsPerPixel = BitPerPixel(type);
    m_bayer = IsBayer(type);

    if (IsYUV(type)) {
        m_layout = Layout::Yuv422;
        m_lumaFirst = type != PixelType_YUV422packed;
    } else if (IsColor(type) && !m_bayer) {
        m_layout = Layout::Rgb;
        m_blueFirst = IsBGR(type) || IsBGRA(type);
        m_withAlpha = IsRGBA(type) || IsBGRA(type);
    } else if (IsPFNCPacked(type)) {
        m_layout = Layout::PfncPacked;
    } else if (IsGigELegacyPacked(type)) {
        m_layout = Layout::GigEPacked;
    } else {
        m_layout = m_bitsPerPixel == 8 ? Layout::Byte : Layout::Word16;
    }

    // The smallest pixel count whose bits fill whole bytes; 4:2:2 pairs and the Bayer column
    // parity each need an even step as well.
    uint32_t alignment = 1;
    while ((alignment * m_bitsPerPixel) % 8 != 0)
        ++alignment;
    if (m_layout == Layout::GigEPacked || m_layout == Layout::Yuv422 || m_bayer)
        alignment = std::max(alignment, 2u);
    m_pixelAlignment = alignment;

    // The name gives the colours of the first two pixels of the first line; the two other
    // sites of the 2 x 2 cell stay green.
    const uint8_t red = 0;
    const uint8_t blue = 2;
    switch (GetBayerOrder(type)) {
    case BayerOrder_RG:
        m_bayerChannel[0][0] = red;
        m_bayerChannel[1][1] = blue;
        break;
    case BayerOrder_BG:
        m_bayerChannel[0][0] = blue;
        m_bayerChannel[1][1] = red;
        break;
    case BayerOrder_GR:
        m_bayerChannel[0][1] = red;
        m_bayerChannel[1][0] = blue;
        break;
    case BayerOrder_GB:
        m_bayerChannel[0][1] = blue;
        m_bayerChannel[1][0] = red;
        break;
    case BayerOrder_None:
        break;
    }
}

size_t EmuPixelWriter::lineBytes(uint32_t width) const
{
    return static_cast<size_t>((static_cast<uint64_t>(width) * m_bitsPerPixel + 7) / 8);
}

uint8_t EmuPixelWriter::lastByteMask(uint32_t width) const
{
    const uint32_t usedBits = static_cast<uint32_t>((uint64_t(width) * m_bitsPerPixel) % 8);
    return usedBits == 0 ? 0xFF : static_cast<uint8_t>((1u << usedBits) - 1);
}

uint16_t EmuPixelWriter::luma(const EmuRgb& p)
{
    return static_cast<uint16_t>((299u * p.red + 587u * p.green + 114u * p.blue + 500u) / 1000u);
}

uint16_t EmuPixelWriter::sampleAt(const EmuRgb& pixel, uint32_t x, uint32_t lineIndex) const
{
    if (!m_bayer)
        return luma(pixel);
    switch (m_bayerChannel[lineIndex & 1][x & 1]) {
    case 0:
        return pixel.red;
    case 1:
        return pixel.green;
    default:
        return pixel.blue;
    }
}

void EmuPixelWriter::writeLine(const EmuRgb* pixels, uint32_t width, uint32_t lineIndex,
                               uint8_t* dst) const
{
    switch (m_layout) {
    case Layout::Rgb:
        writeRgb(pixels, width, dst);
        return;
    case Layout::Yuv422:
        writeYuv422(pixels, width, dst);
        return;
    case Layout::Byte:
        for (uint32_t x = 0; x < width; ++x)
            dst[x] = static_cast<uint8_t>(sampleAt(pixels[x], x, lineIndex));
        return;
    case Layout::Word16:
        // Little-endian words with the value in the low bits.
        for (uint32_t x = 0; x < width; ++x) {
            const uint16_t value = sampleAt(pixels[x], x, lineIndex);
            dst[2 * x] = static_cast<uint8_t>(value);
            dst[2 * x + 1] = static_cast<uint8_t>(value >> 8);
        }
        return;
    case Layout::PfncPacked: {
        // One little-endian bit stream: each pixel's least significant bit comes first.
        uint32_t accumulator = 0;
        uint32_t bits = 0;
        size_t out = 0;
        for (uint32_t x = 0; x < width; ++x) {
            accumulator |= uint32_t(sampleAt(pixels[x], x, lineIndex)) << bits;
            bits += m_bitDepth;
            while (bits >= 8) {
                dst[out++] = static_cast<uint8_t>(accumulator);
                accumulator >>= 8;
                bits -= 8;
            }
        }
        if (bits > 0)
            dst[out] = static_cast<uint8_t>(accumulator);
        return;
    }
    case Layout::GigEPacked: {
        // Two pixels in three bytes: the high eight bits of each in bytes 0 and 2, the remaining
        // low bits of pixel 0 in the low nibble and of pixel 1 in the high nibble of byte 1.
        const uint32_t lowBits = m_bitDepth - 8;
        const uint32_t lowMask = (1u << lowBits) - 1;
        for (uint32_t x = 0; x < width; x += 2) {
            const uint32_t p0 = sampleAt(pixels[x], x, lineIndex);
            uint8_t* group = dst + (x / 2) * 3;
            group[0] = static_cast<uint8_t>(p0 >> lowBits);
            if (x + 1 < width) {
                const uint32_t p1 = sampleAt(pixels[x + 1], x + 1, lineIndex);
                group[1] = static_cast<uint8_t>(((p1 & lowMask) << 4) | (p0 & lowMask));
                group[2] = static_cast<uint8_t>(p1 >> lowBits);
            } else {
                group[1] = static_cast<uint8_t>(p0 & lowMask);
            }
        }
        return;
    }
    }
}

void EmuPixelWriter::writeRgb(const EmuRgb* pixels, uint32_t width, uint8_t* dst) const
{
    const size_t step = m_withAlpha ? 4 : 3;
    for (uint32_t x = 0; x < width; ++x, dst += step) {
        const EmuRgb& p = pixels[x];
        dst[0] = static_cast<uint8_t>(m_blueFirst ? p.blue : p.red);
        dst[1] = static_cast<uint8_t>(p.green);
        dst[2] = static_cast<uint8_t>(m_blueFirst ? p.red : p.blue);
        if (m_withAlpha)
            dst[3] = 0xFF;
    }
}

void EmuPixelWriter::writeYuv422(const EmuRgb* pixels, uint32_t width, uint8_t* dst) const
{
    // Each pixel pair shares the mean of its two chroma values. A last, unpaired pixel of an
    // odd width keeps its own chroma and writes only its first half (U Y or Y U).
    for (uint32_t x = 0; x < width; x += 2, dst += 4) {
        const EmuRgb& p0 = pixels[x];
        const EmuRgb& p1 = x + 1 < width ? pixels[x + 1] : p0;
        const uint8_t u = static_cast<uint8_t>((uOf(p0) + uOf(p1) + 1) / 2);
        const uint8_t v = static_cast<uint8_t>((vOf(p0) + vOf(p1) + 1) / 2);
        const bool paired = x + 1 < width;
        const uint8_t bytes[4] = {u, yOf(p0), v, yOf(p1)}; // U Y V Y
        if (m_lumaFirst) {
            dst[0] = bytes[1];
            dst[1] = bytes[0];
            if (paired) {
                dst[2] = bytes[3];
                dst[3] = bytes[2];
            }
        } else {
            std::copy(bytes, bytes + (paired ? 4 : 2), dst);
        }
    }
}

} // namespace Emulator
