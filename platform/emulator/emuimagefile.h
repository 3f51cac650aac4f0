#pragma once

// One BMP, PNG or TIFF picture the emulator replays: grey or colour, 8 or 16 bits per sample.
// TIFF goes through libtiff so that 16-bit samples keep their depth; the rest through QImage,
// which also keeps 16-bit PNG samples.
// Thread: any thread, one at a time per object (QImage decoding needs no GUI thread).

#include "emulator/emupixelwriter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Emulator {

class EmuImageFile
{
public:
    // Loads the whole picture. Throws std::runtime_error naming the file and the reason.
    explicit EmuImageFile(const std::string& path);

    // The pictures a file name stands for: the file itself, or the BMP, PNG and TIFF files of a
    // folder in name order. Throws std::runtime_error for a missing path or an empty folder.
    static std::vector<std::string> imagesOf(const std::string& fileOrFolder);

    uint32_t width() const { return m_width; }
    uint32_t height() const { return m_height; }
    uint32_t bitDepth() const { return m_bitDepth; } // 8 or 16

    // The first count pixels of line y with samples of bitDepth bits: a shallower depth keeps
    // the high bits, a deeper one repeats the bits so that full scale stays full scale.
    void readLine(uint32_t y, uint32_t count, uint32_t bitDepth, EmuRgb* pixels) const;

    static uint16_t scaleSample(uint32_t value, uint32_t fromBits, uint32_t toBits);

private:
    void loadTiff(const std::string& path);
    void loadWithQImage(const std::string& path);
    void allocate(const std::string& path, uint32_t width, uint32_t height, uint32_t bitDepth);

    uint32_t m_width = 0;
    uint32_t m_height = 0;
    uint32_t m_bitDepth = 8;
    std::vector<uint16_t> m_samples; // R, G, B per pixel, line by line
};

} // namespace Emulator
