#pragma once

// The emulated camera's view when no test image and no file is chosen: a smooth, colourful,
// warm-lit scene with a grey card and a white patch, seen through a simple camera model.
// Exposure time and gain scale the signal linearly, the balance ratios multiply R, G and B
// before the mosaic, gamma bends the signal normalised to full scale, the black level is added
// and the result is clipped to the pixel type's range. Mono types see the luma of the scene and
// ignore the balance ratios. The warm light makes a grey-world white balance need a red ratio
// below 1 and a blue ratio above 1.
// Thread: one thread at a time; the static functions from any thread.

#include "emulator/emuimageparameters.h"
#include "emulator/emupixelwriter.h"

#include <vector>

namespace Emulator {

class EmuScene
{
public:
    // The exposure at which a radiance of 1.0 reaches full scale at 0 dB gain.
    static constexpr double kReferenceExposureUs = 10000.0;

    struct Radiance
    {
        float red;
        float green;
        float blue;
    };

    // Mean output per channel as a fraction of full scale (0..1), and the mean's luma in grey.
    struct MeanSignal
    {
        double red;
        double green;
        double blue;
        double grey;
    };

    // Linear radiance at sensor pixel (x, y) of a sensor of the given size.
    static Radiance radiance(uint32_t sensorX, uint32_t sensorY, uint32_t sensorWidth,
                             uint32_t sensorHeight);

    // The mean the region of interest delivers with these parameters, from a sample grid; for
    // automatic exposure, gain and white balance.
    static MeanSignal meanSignal(const EmuImageParameters& parameters);

    // Writes the whole region of interest into frame (lineBytes per line, no padding). The
    // scene's radiance is kept between calls while the geometry stays the same, so a change
    // of exposure, gain or balance costs one pass of table look-ups.
    void render(const EmuImageParameters& parameters, const EmuPixelWriter& writer, uint8_t* frame);

private:
    void updateRadiance(const EmuImageParameters& parameters);

    std::vector<Radiance> m_radiance; // the region of interest, line by line
    uint32_t m_geometry[6] = {};      // width, height, offsets, sensor size of m_radiance
};

} // namespace Emulator
