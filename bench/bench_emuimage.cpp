// Frames per second the emulator's image synthesiser fills, against memcpy of the same bytes
// into the same buffer in the same run. The emulator must never be what limits a benchmark:
// at least 1000 frames/s at 1920 x 1200 Mono8 and 20000 frames/s at 64 x 64, on one core.

#include "emulator/emuimagesynth.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

using namespace Emulator;
using namespace Tarpo;

namespace {

struct Case
{
    const char* name;
    EPixelType pixelType;
    uint32_t width;
    uint32_t height;
    EmuTestImage testImage;
    double targetFramesPerSecond; // 0: no target
};

// Keeps the compiler from dropping writes nobody reads.
void escape(void* pointer)
{
    asm volatile("" : : "g"(pointer) : "memory");
}

// Calls frame(n) with n = 0, 1, ... for about measureSeconds and returns the calls per second.
double framesPerSecond(const std::function<void(uint64_t)>& frame, double measureSeconds = 1.0)
{
    using Clock = std::chrono::steady_clock;
    for (uint64_t n = 0; n < 20; ++n) // warm the caches
        frame(n);
    const Clock::time_point start = Clock::now();
    uint64_t frames = 0;
    double elapsedSeconds = 0.0;
    while (elapsedSeconds < measureSeconds) {
        for (int i = 0; i < 16; ++i)
            frame(frames++);
        elapsedSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    }
    return frames / elapsedSeconds;
}

} // namespace

int main()
{
    const Case cases[] = {
        {"1920x1200 Mono8 moving stripes", PixelType_Mono8, 1920, 1200, EmuTestImage::MovingStripes,
         1000.0},
        {"1920x1200 BayerRG8 moving stripes", PixelType_BayerRG8, 1920, 1200,
         EmuTestImage::MovingStripes, 0.0},
        {"2448x2048 Mono12p moving stripes", PixelType_Mono12p, 2448, 2048,
         EmuTestImage::MovingStripes, 0.0},
        {"64x64 Mono8 moving stripes", PixelType_Mono8, 64, 64, EmuTestImage::MovingStripes,
         20000.0},
        {"1920x1200 BayerRG8 scene", PixelType_BayerRG8, 1920, 1200, EmuTestImage::Off, 0.0},
        {"1920x1200 Mono8 frame counter", PixelType_Mono8, 1920, 1200, EmuTestImage::FrameCounter,
         0.0},
    };

    std::printf("%-36s %12s %12s %8s  %s\n", "case", "emulator/s", "memcpy/s", "ratio", "target");
    int failures = 0;
    for (const Case& c : cases) {
        EmuImageParameters parameters;
        parameters.width = parameters.sensorWidth = c.width;
        parameters.height = parameters.sensorHeight = c.height;
        parameters.pixelType = c.pixelType;
        parameters.testImage = c.testImage;
        EmuImageSynth synth;
        synth.setParameters(parameters);

        const size_t payload = synth.payloadSize();
        std::vector<uint8_t> dst(payload);
        std::vector<uint8_t> src(payload, 0x5A);
        const double emulator = framesPerSecond([&](uint64_t frameId) {
            synth.render(frameId, dst.data(), dst.size());
            escape(dst.data());
        });
        const double reference = framesPerSecond([&](uint64_t) {
            std::memcpy(dst.data(), src.data(), payload);
            escape(dst.data());
        });

        char target[48] = "-";
        if (c.targetFramesPerSecond > 0.0) {
            const bool met = emulator >= c.targetFramesPerSecond;
            failures += met ? 0 : 1;
            std::snprintf(target, sizeof target, ">= %.0f %s", c.targetFramesPerSecond,
                          met ? "met" : "MISSED");
        }
        std::printf("%-36s %12.0f %12.0f %8.2f  %s\n", c.name, emulator, reference,
                    emulator / reference, target);
    }
    return failures == 0 ? 0 : 1;
}
