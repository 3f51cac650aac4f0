#include "emulator/emutestpattern.h"

#include <algorithm>
#include <string>

namespace Emulator {

namespace {

// 5 x 7 digit glyphs, one row per byte, bit 4 the leftmost pixel.
const uint8_t kDigitGlyphs[10][7] = {
    {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}, {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E},
    {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}, {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E},
    {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}, {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E},
    {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}, {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08},
    {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}, {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}};

const uint32_t kGlyphWidth = 5;
const uint32_t kGlyphHeight = 7;
const uint32_t kCellWidth = kGlyphWidth + 1;
const uint32_t kBoxHeight = kGlyphHeight + 2; // one glyph pixel of margin above and below

// Glyph pixels grow with the image, from 1 to 8 image pixels.
uint32_t counterScale(uint32_t width, uint32_t height)
{
    return std::clamp(std::min(width / 128, height / 32), 1u, 8u);
}

EmuRgb grey(uint32_t value)
{
    const uint16_t v = static_cast<uint16_t>(value);
    return {v, v, v};
}

} // namespace

EmuRgb EmuTestPattern::pixel(EmuTestImage image, uint32_t sensorX, uint32_t sensorY,
                             uint32_t sensorWidth, uint32_t maxValue)
{
    switch (image) {
    case EmuTestImage::GreyRamp:
    case EmuTestImage::FrameCounter:
        if (sensorWidth < 2)
            return grey(0);
        return grey(static_cast<uint32_t>(uint64_t(sensorX) * maxValue / (sensorWidth - 1)));
    case EmuTestImage::ColorBars: {
        // Bits: red 4, green 2, blue 1; in the order of falling luma.
        static const uint8_t kBars[8] = {7, 6, 3, 2, 5, 4, 1, 0};
        const uint8_t bar = kBars[uint64_t(sensorX) * 8 / std::max(sensorWidth, 1u)];
        const auto on = [maxValue](bool lit) { return static_cast<uint16_t>(lit ? maxValue : 0); };
        return {on(bar & 4), on(bar & 2), on(bar & 1)};
    }
    case EmuTestImage::Checkerboard:
        return grey(((sensorX / kCheckerSquarePx + sensorY / kCheckerSquarePx) & 1) ? 0 : maxValue);
    case EmuTestImage::Off:
    case EmuTestImage::MovingStripes:
        break;
    }
    return grey(0);
}

uint32_t EmuTestPattern::stripePhase(uint32_t sensorX, uint32_t sensorY, uint64_t frameId)
{
    const uint64_t shift = frameId % kStripePeriodPx;
    return static_cast<uint32_t>((uint64_t(sensorX) + sensorY + kStripePeriodPx - shift) %
                                 kStripePeriodPx);
}

EmuRgb EmuTestPattern::stripe(uint32_t phase, uint32_t maxValue)
{
    return grey(phase * maxValue / (kStripePeriodPx - 1));
}

uint32_t EmuTestPattern::frameCounterLines(uint32_t width, uint32_t height)
{
    return std::min(height, kBoxHeight * counterScale(width, height));
}

uint32_t EmuTestPattern::frameCounterWidth(uint64_t frameId, uint32_t width, uint32_t height)
{
    const uint64_t digits = std::to_string(frameId).size();
    return static_cast<uint32_t>(
        std::min<uint64_t>(width, (1 + kCellWidth * digits) * counterScale(width, height)));
}

void EmuTestPattern::drawFrameCounter(uint64_t frameId, uint32_t width, uint32_t height,
                                      uint32_t line, uint32_t maxValue, EmuRgb* pixels)
{
    const uint32_t scale = counterScale(width, height);
    if (line >= kBoxHeight * scale)
        return;
    const std::string digits = std::to_string(frameId);
    const uint32_t boxWidth = frameCounterWidth(frameId, width, height);
    std::fill(pixels, pixels + boxWidth, grey(0));

    const uint32_t glyphRow = line / scale;
    if (glyphRow < 1 || glyphRow > kGlyphHeight)
        return;
    for (size_t cell = 0; cell < digits.size(); ++cell) {
        const uint8_t bits = kDigitGlyphs[digits[cell] - '0'][glyphRow - 1];
        for (uint32_t column = 0; column < kGlyphWidth; ++column) {
            if (!(bits & (0x10 >> column)))
                continue;
            const uint64_t left = (1 + kCellWidth * cell + column) * scale;
            for (uint64_t x = left; x < left + scale && x < boxWidth; ++x)
                pixels[x] = grey(maxValue);
        }
    }
}

} // namespace Emulator
