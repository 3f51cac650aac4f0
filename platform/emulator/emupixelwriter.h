#pragma once

// Turns lines of RGB samples into the bytes of one pixel type, laid out as a sensor delivers
// them: mosaicked for Bayer, bit-packed for packed types, YUV for YUV types.
// Thread-safe: a writer is immutable after construction.

#include "tarpo/pixeltype.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Emulator {

// One pixel's samples at the writer's bit depth (0 .. 2^bitDepth - 1).
struct EmuRgb
{
    uint16_t red;
    uint16_t green;
    uint16_t blue;
};

class EmuPixelWriter
{
public:
    // Throws std::invalid_argument for a type the emulator does not offer.
    explicit EmuPixelWriter(Tarpo::EPixelType type);

    static bool isSupported(Tarpo::EPixelType type);
    static const std::vector<Tarpo::EPixelType>& supportedPixelTypes();

    Tarpo::EPixelType pixelType() const { return m_pixelType; }
    uint32_t bitDepth() const { return m_bitDepth; }
    uint32_t maxValue() const { return (1u << m_bitDepth) - 1; }
    bool isMono() const
    {
        return m_layout != Layout::Rgb && m_layout != Layout::Yuv422 && !m_bayer;
    }

    // Bytes of one line of width pixels, without padding.
    size_t lineBytes(uint32_t width) const;

    // The pixel step after which a line's bytes repeat their layout: a line may be cut at any
    // multiple of it and the rest still reads as a line that starts there (Mono12p 2, Mono10p 4,
    // YUV 4:2:2 2, Bayer at least 2).
    uint32_t pixelAlignment() const { return m_pixelAlignment; }

    // The mask for the last byte of a line whose bits end inside that byte (0xFF otherwise):
    // the unused high bits of a packed line are zero, as the sensor sends them.
    uint8_t lastByteMask(uint32_t width) const;

    // Writes lineBytes(width) bytes for the pixels of one line. lineIndex is the line's row in
    // the delivered image; its parity picks the Bayer row. Mono types take the pixels' luma.
    void writeLine(const EmuRgb* pixels, uint32_t width, uint32_t lineIndex, uint8_t* dst) const;

    // The grey a mono sensor sees for these samples: BT.601 luma, rounded.
    static uint16_t luma(const EmuRgb& pixel);

private:
    enum class Layout
    {
        Byte,
        Word16,
        PfncPacked,
        GigEPacked,
        Rgb,
        Yuv422
    };

    uint16_t sampleAt(const EmuRgb& pixel, uint32_t x, uint32_t lineIndex) const;
    void writeRgb(const EmuRgb* pixels, uint32_t width, uint8_t* dst) const;
    void writeYuv422(const EmuRgb* pixels, uint32_t width, uint8_t* dst) const;

    Tarpo::EPixelType m_pixelType;
    Layout m_layout = Layout::Byte;
    uint32_t m_bitDepth = 8;
    uint32_t m_bitsPerPixel = 8;
    uint32_t m_pixelAlignment = 1;
    bool m_bayer = false;
    // Bayer: which channel (0 red, 1 green, 2 blue) sits at [row parity][column parity].
    uint8_t m_bayerChannel[2][2] = {{1, 1}, {1, 1}};
    bool m_blueFirst = false; // BGR order
    bool m_withAlpha = false; // a fourth byte of 255
    bool m_lumaFirst = false; // YUYV rather than UYVY
};

} // namespace Emulator
