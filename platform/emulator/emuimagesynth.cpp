#include "emulator/emuimagesynth.h"

#include "emulator/emuimagefile.h"
#include "emulator/emutestpattern.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace Emulator {

using Tarpo::EPixelType;

// Everything one set of parameters renders. setParameters() builds a new one and swaps it in,
// so a refused change leaves the frames of the previous parameters in place.
struct EmuImageSynth::Frames
{
    enum class Source
    {
        Still,
        Stripes,
        FrameCounter,
        Files
    };

    explicit Frames(const EmuImageParameters& p)
        : parameters(p), writer(p.pixelType), lineBytes(writer.lineBytes(p.width)),
          payloadSize(lineBytes * p.height), lastByteMask(writer.lastByteMask(p.width))
    {
    }

    EmuImageParameters parameters;
    EmuPixelWriter writer;
    size_t lineBytes;
    size_t payloadSize;
    uint8_t lastByteMask;
    Source source = Source::Still;

    std::vector<uint8_t> frame;     // the still frame, or the frame counter's background
    std::vector<EmuRgb> pixels;     // one line of the region of interest, for drawing
    std::vector<EmuRgb> rampPixels; // the frame counter's background line (the same for all)

    // Moving stripes: for each Bayer row parity and each pixel phase within the writer's
    // alignment, one line of a stripe period plus the image width, starting at that phase.
    std::vector<uint8_t> phaseRows;
    size_t phaseRowBytes = 0;
    uint32_t rowParities = 1;

    std::vector<std::string> files;
    std::vector<std::vector<uint8_t>> fileFrames; // one per file, or empty: convert per frame
    size_t convertedIndex = SIZE_MAX;             // the file in frame while converting per frame

    void renderStill(EmuTestImage image);
    void renderPhaseRows();
    void convertFile(const std::string& path, std::vector<uint8_t>& out);
    void blackFrame(std::vector<uint8_t>& out);
};

namespace {

// The parameters that decide the frames' content for the given source, besides geometry.
bool sameContent(const EmuImageParameters& a, const EmuImageParameters& b)
{
    if (a.width != b.width || a.height != b.height || a.offsetX != b.offsetX ||
        a.offsetY != b.offsetY || a.sensorWidth != b.sensorWidth ||
        a.sensorHeight != b.sensorHeight || a.pixelType != b.pixelType ||
        a.testImage != b.testImage)
        return false;
    if (a.testImage != EmuTestImage::Off)
        return true;
    if (!a.imageFilename.empty() || !b.imageFilename.empty())
        return a.imageFilename == b.imageFilename;
    return a.exposureTimeUs == b.exposureTimeUs && a.gainDb == b.gainDb &&
           a.blackLevel == b.blackLevel && a.gamma == b.gamma &&
           a.balanceRatioRed == b.balanceRatioRed && a.balanceRatioGreen == b.balanceRatioGreen &&
           a.balanceRatioBlue == b.balanceRatioBlue;
}

void checkGeometry(const EmuImageParameters& p)
{
    if (uint64_t(p.offsetX) + p.width > p.sensorWidth ||
        uint64_t(p.offsetY) + p.height > p.sensorHeight) {
        throw std::invalid_argument(
            "The region of interest of " + std::to_string(p.width) + " x " +
            std::to_string(p.height) + " pixels at " + std::to_string(p.offsetX) + ", " +
            std::to_string(p.offsetY) + " does not fit on the sensor of " +
            std::to_string(p.sensorWidth) + " x " + std::to_string(p.sensorHeight) + " pixels.");
    }
}

} // namespace

void EmuImageSynth::Frames::renderStill(EmuTestImage image)
{
    const EmuImageParameters& p = parameters;
    frame.resize(payloadSize);
    for (uint32_t y = 0; y < p.height; ++y) {
        for (uint32_t x = 0; x < p.width; ++x)
            pixels[x] = EmuTestPattern::pixel(image, p.offsetX + x, p.offsetY + y, p.sensorWidth,
                                              writer.maxValue());
        writer.writeLine(pixels.data(), p.width, y, frame.data() + y * lineBytes);
    }
}

void EmuImageSynth::Frames::renderPhaseRows()
{
    const uint32_t period = EmuTestPattern::kStripePeriodPx;
    const uint32_t alignment = writer.pixelAlignment();
    const uint32_t rowPixels = period + parameters.width;
    std::vector<EmuRgb> row(rowPixels);
    rowParities = Tarpo::IsBayer(parameters.pixelType) ? 2 : 1;
    phaseRowBytes = writer.lineBytes(rowPixels);
    phaseRows.assign(rowParities * alignment * phaseRowBytes, 0);
    for (uint32_t parity = 0; parity < rowParities; ++parity) {
        for (uint32_t phase = 0; phase < alignment; ++phase) {
            for (uint32_t x = 0; x < rowPixels; ++x)
                row[x] = EmuTestPattern::stripe((phase + x) % period, writer.maxValue());
            uint8_t* out = phaseRows.data() + (parity * alignment + phase) * phaseRowBytes;
            writer.writeLine(row.data(), rowPixels, parity, out);
        }
    }
}

void EmuImageSynth::Frames::convertFile(const std::string& path, std::vector<uint8_t>& out)
{
    const EmuImageFile file(path);
    const EmuImageParameters& p = parameters;
    const uint32_t columns = std::min(p.width, file.width());
    out.resize(payloadSize);
    for (uint32_t y = 0; y < p.height; ++y) {
        std::fill(pixels.begin(), pixels.end(), EmuRgb{0, 0, 0});
        if (y < file.height())
            file.readLine(y, columns, writer.bitDepth(), pixels.data());
        writer.writeLine(pixels.data(), p.width, y, out.data() + y * lineBytes);
    }
}

void EmuImageSynth::Frames::blackFrame(std::vector<uint8_t>& out)
{
    out.resize(payloadSize);
    std::fill(pixels.begin(), pixels.end(), EmuRgb{0, 0, 0});
    for (uint32_t y = 0; y < parameters.height; ++y)
        writer.writeLine(pixels.data(), parameters.width, y, out.data() + y * lineBytes);
}

EmuImageSynth::EmuImageSynth()
{
    EmuImageParameters defaults;
    defaults.testImage = EmuTestImage::GreyRamp;
    m_frames = std::make_unique<Frames>(defaults);
    m_frames->pixels.resize(defaults.width);
    m_frames->renderStill(defaults.testImage);
}

EmuImageSynth::~EmuImageSynth() = default;

bool EmuImageSynth::isSupported(EPixelType type)
{
    return EmuPixelWriter::isSupported(type);
}

const std::vector<EPixelType>& EmuImageSynth::supportedPixelTypes()
{
    return EmuPixelWriter::supportedPixelTypes();
}

const EmuImageParameters& EmuImageSynth::parameters() const
{
    return m_frames->parameters;
}

size_t EmuImageSynth::payloadSize() const
{
    return m_frames->payloadSize;
}

void EmuImageSynth::setParameters(const EmuImageParameters& p)
{
    if (sameContent(p, m_frames->parameters)) {
        m_frames->parameters = p;
        return;
    }
    checkGeometry(p);
    auto frames = std::make_unique<Frames>(p); // throws for a pixel type not offered
    Frames& f = *frames;
    f.pixels.resize(p.width);

    switch (p.testImage) {
    case EmuTestImage::GreyRamp:
    case EmuTestImage::ColorBars:
    case EmuTestImage::Checkerboard:
        f.renderStill(p.testImage);
        break;
    case EmuTestImage::MovingStripes:
        f.source = Frames::Source::Stripes;
        f.renderPhaseRows();
        break;
    case EmuTestImage::FrameCounter:
        f.source = Frames::Source::FrameCounter;
        f.renderStill(EmuTestImage::GreyRamp);
        f.rampPixels.resize(p.width);
        for (uint32_t x = 0; x < p.width; ++x)
            f.rampPixels[x] = EmuTestPattern::pixel(EmuTestImage::GreyRamp, p.offsetX + x, 0,
                                                    p.sensorWidth, f.writer.maxValue());
        break;
    case EmuTestImage::Off:
        if (p.imageFilename.empty()) {
            f.frame.resize(f.payloadSize);
            m_scene.render(p, f.writer, f.frame.data());
            break;
        }
        f.source = Frames::Source::Files;
        f.files = EmuImageFile::imagesOf(p.imageFilename);
        if (f.files.size() * f.payloadSize <= m_fileCacheBytes) {
            f.fileFrames.resize(f.files.size());
            for (size_t i = 0; i < f.files.size(); ++i)
                f.convertFile(f.files[i], f.fileFrames[i]);
        } else {
            // Too many to keep: convert the first now, so that a bad file shows at once,
            // and the others when their frame comes.
            f.convertFile(f.files.front(), f.frame);
            f.convertedIndex = 0;
        }
        break;
    }
    m_frames = std::move(frames);
}

size_t EmuImageSynth::render(uint64_t frameId, uint8_t* dst, size_t dstSize)
{
    Frames& f = *m_frames;
    if (!dst || dstSize < f.payloadSize || f.payloadSize == 0)
        return 0;
    switch (f.source) {
    case Frames::Source::Still:
        std::memcpy(dst, f.frame.data(), f.payloadSize);
        break;
    case Frames::Source::Stripes:
        renderStripes(frameId, dst);
        break;
    case Frames::Source::FrameCounter:
        renderFrameCounter(frameId, dst);
        break;
    case Frames::Source::Files:
        renderFile(frameId, dst);
        break;
    }
    return f.payloadSize;
}

void EmuImageSynth::renderStripes(uint64_t frameId, uint8_t* dst) const
{
    // Each line is a cut of the phase row whose phase matches the line's first pixel; the
    // diagonal advances that phase by one per line, the frame id moves it back by one per frame.
    const Frames& f = *m_frames;
    const EmuImageParameters& p = f.parameters;
    const uint32_t period = EmuTestPattern::kStripePeriodPx;
    const uint32_t alignment = f.writer.pixelAlignment();
    const size_t groupBytes = f.writer.lineBytes(alignment);
    uint32_t phase = EmuTestPattern::stripePhase(p.offsetX, p.offsetY, frameId);
    for (uint32_t y = 0; y < p.height; ++y, dst += f.lineBytes) {
        const uint32_t parity = f.rowParities == 2 ? (y & 1) : 0;
        const uint8_t* row = f.phaseRows.data() +
                             (parity * alignment + phase % alignment) * f.phaseRowBytes +
                             (phase / alignment) * groupBytes;
        std::memcpy(dst, row, f.lineBytes);
        if (f.lastByteMask != 0xFF)
            dst[f.lineBytes - 1] &= f.lastByteMask;
        phase = phase + 1 == period ? 0 : phase + 1;
    }
}

void EmuImageSynth::renderFrameCounter(uint64_t frameId, uint8_t* dst)
{
    // Only the counter's box is written again, widened to the writer's alignment so that it
    // ends on a byte boundary; the pixels it takes in beyond the box are background.
    Frames& f = *m_frames;
    const EmuImageParameters& p = f.parameters;
    std::memcpy(dst, f.frame.data(), f.payloadSize);
    const uint32_t alignment = f.writer.pixelAlignment();
    const uint32_t box = EmuTestPattern::frameCounterWidth(frameId, p.width, p.height);
    const uint32_t columns = std::min(p.width, (box + alignment - 1) / alignment * alignment);
    const uint32_t lines = EmuTestPattern::frameCounterLines(p.width, p.height);
    for (uint32_t y = 0; y < lines; ++y) {
        std::copy(f.rampPixels.begin(), f.rampPixels.begin() + columns, f.pixels.begin());
        EmuTestPattern::drawFrameCounter(frameId, p.width, p.height, y, f.writer.maxValue(),
                                         f.pixels.data());
        f.writer.writeLine(f.pixels.data(), columns, y, dst + y * f.lineBytes);
    }
}

void EmuImageSynth::renderFile(uint64_t frameId, uint8_t* dst)
{
    Frames& f = *m_frames;
    const size_t index = static_cast<size_t>(frameId % f.files.size());
    if (!f.fileFrames.empty()) {
        std::memcpy(dst, f.fileFrames[index].data(), f.payloadSize);
        return;
    }
    if (index != f.convertedIndex) {
        // No exception may leave the frame thread: a file that went bad since the folder was
        // chosen delivers a black frame.
        try {
            f.convertFile(f.files[index], f.frame);
        } catch (const std::exception&) {
            f.blackFrame(f.frame);
        }
        f.convertedIndex = index;
    }
    std::memcpy(dst, f.frame.data(), f.payloadSize);
}

} // namespace Emulator
