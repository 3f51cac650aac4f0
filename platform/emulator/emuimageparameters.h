#pragma once

// The emulated camera's image features as the image synthesiser reads them.
// Thread: a plain value; its owner copies it to whichever thread renders.

#include "tarpo/pixeltype.h"

#include <cstdint>
#include <string>

namespace Emulator {

// The camera's test images. Every one of them is an exact, known image that ignores exposure,
// gain, black level, gamma and white balance, so that conversion errors show.
enum class EmuTestImage
{
    Off,       // the synthetic scene, or the image file when one is named
    GreyRamp,  // horizontal ramp from 0 at the sensor's left to full scale at its right
    ColorBars, // eight bars over the sensor: white, yellow, cyan, green, magenta, red, blue, black
    MovingStripes, // diagonal grey saw-tooth stripes moving one pixel to the right per frame id
    Checkerboard,  // 16 x 16 sensor-pixel squares, white in the sensor's top-left corner
    FrameCounter   // the frame id in white digits on black, over the grey ramp
};

struct EmuImageParameters
{
    // The region of interest on the sensor. Test patterns and the scene are defined on the
    // sensor, so the offsets move the visible part; a replayed file starts at the image's
    // top-left corner whatever the offsets.
    uint32_t width = 640;
    uint32_t height = 480;
    uint32_t offsetX = 0;
    uint32_t offsetY = 0;
    uint32_t sensorWidth = 640;
    uint32_t sensorHeight = 480;
    Tarpo::EPixelType pixelType = Tarpo::PixelType_Mono8;
    EmuTestImage testImage = EmuTestImage::Off;

    // The camera model applied to the synthetic scene only.
    double exposureTimeUs = 10000.0;
    double gainDb = 0.0;
    double blackLevel = 0.0; // offset in steps of an 8-bit output; deeper formats scale it up
    double gamma = 1.0;      // output = signal^gamma on the signal normalised to full scale
    double balanceRatioRed = 1.0;
    double balanceRatioGreen = 1.0;
    double balanceRatioBlue = 1.0;

    // Empty, one BMP, PNG or TIFF file, or a folder whose images are replayed in name order, one
    // per frame id. Used when testImage is Off.
    std::string imageFilename;
};

} // namespace Emulator
