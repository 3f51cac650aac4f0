#pragma once

// Produces the emulated camera's frames, in every pixel type the emulator offers: exact test
// patterns, a synthetic scene behind a camera model, or replayed image files. Everything
// expensive happens in setParameters(), which renders into caches; render() then copies rows,
// so the emulator never limits a benchmark.
// Thread: one thread at a time (the emulated camera's frame thread); setParameters() and
// render() must not overlap.

#include "emulator/emuimageparameters.h"
#include "emulator/emupixelwriter.h"
#include "emulator/emuscene.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Emulator {

class EmuImageSynth
{
public:
    // Converted frames of a replayed folder are kept up to this size by default; beyond it
    // each frame is read and converted when it is rendered.
    static constexpr size_t kDefaultFileCacheBytes = size_t(256) << 20;

    EmuImageSynth();
    ~EmuImageSynth();
    EmuImageSynth(const EmuImageSynth&) = delete;
    EmuImageSynth& operator=(const EmuImageSynth&) = delete;

    // Takes new parameters and re-renders what they change. Throws std::invalid_argument for a
    // pixel type the emulator does not offer or a region outside the sensor, and
    // std::runtime_error for an unreadable image file or a folder without images; the previous
    // parameters then stay in use.
    void setParameters(const EmuImageParameters& parameters);
    const EmuImageParameters& parameters() const;

    // Tarpo::ComputeBufferSize(pixelType, width, height, 0).
    size_t payloadSize() const;

    // Writes the frame with this id into dst and returns the bytes written (payloadSize()).
    // A dst smaller than the payload is left alone and 0 is returned.
    size_t render(uint64_t frameId, uint8_t* dst, size_t dstSize);

    // Takes effect with the next setParameters() that changes the image.
    void setFileCacheBytes(size_t bytes) { m_fileCacheBytes = bytes; }

    static bool isSupported(Tarpo::EPixelType type);
    static const std::vector<Tarpo::EPixelType>& supportedPixelTypes();

private:
    struct Frames;

    void renderStripes(uint64_t frameId, uint8_t* dst) const;
    void renderFrameCounter(uint64_t frameId, uint8_t* dst);
    void renderFile(uint64_t frameId, uint8_t* dst);

    EmuScene m_scene; // keeps the scene's radiance across exposure changes
    size_t m_fileCacheBytes = kDefaultFileCacheBytes;
    std::unique_ptr<Frames> m_frames; // never null
};

} // namespace Emulator
