#pragma once

// The exact test images of the emulated camera. Grey ramp, colour bars, checkerboard and moving
// stripes are defined on sensor coordinates; the frame counter is drawn into the delivered
// image's top-left corner so that every region of interest shows it.
// Thread-safe: pure functions.

#include "emulator/emuimageparameters.h"
#include "emulator/emupixelwriter.h"

#include <cstdint>

namespace Emulator {

class EmuTestPattern
{
public:
    static constexpr uint32_t kStripePeriodPx = 64;
    static constexpr uint32_t kCheckerSquarePx = 16;

    // The pixel of a still test image (GreyRamp, ColorBars, Checkerboard) at a sensor position,
    // with samples at full scale maxValue. Other images give black.
    static EmuRgb pixel(EmuTestImage image, uint32_t sensorX, uint32_t sensorY,
                        uint32_t sensorWidth, uint32_t maxValue);

    // The moving stripes: a grey saw-tooth over kStripePeriodPx pixels along the diagonal,
    // shifted one pixel to the right per frame id.
    static uint32_t stripePhase(uint32_t sensorX, uint32_t sensorY, uint64_t frameId);
    static EmuRgb stripe(uint32_t phase, uint32_t maxValue);

    // The frame counter covers the first frameCounterLines() lines and frameCounterWidth()
    // pixels of the delivered image; drawFrameCounter() paints one of those lines over pixels
    // already holding the background.
    static uint32_t frameCounterLines(uint32_t width, uint32_t height);
    static uint32_t frameCounterWidth(uint64_t frameId, uint32_t width, uint32_t height);
    static void drawFrameCounter(uint64_t frameId, uint32_t width, uint32_t height, uint32_t line,
                                 uint32_t maxValue, EmuRgb* pixels);
};

} // namespace Emulator
