#include "emulator/emuimagefile.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>

#include <tiffio.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace Emulator {

namespace {

// Larger pictures are refused rather than risking a huge allocation on a broken header.
const uint64_t kMaxPixels = uint64_t(1) << 28;

[[noreturn]] void throwUnreadable(const std::string& path, const std::string& reason)
{
    throw std::runtime_error("Cannot read the image file '" + path + "': " + reason);
}

bool isTiffName(const QString& name)
{
    const QString suffix = QFileInfo(name).suffix().toLower();
    return suffix == "tif" || suffix == "tiff";
}

// libtiff reports through these per-file handlers instead of printing to stderr. The module
// is left out: it is mostly the file name, which the message already carries.
int collectTiffError(TIFF*, void* userData, const char*, const char* format, va_list args)
{
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    std::string& errors = *static_cast<std::string*>(userData);
    if (!errors.empty())
        errors += "; ";
    errors += text;
    return 1;
}

int ignoreTiffWarning(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

struct TiffCloser
{
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

} // namespace

std::vector<std::string> EmuImageFile::imagesOf(const std::string& fileOrFolder)
{
    const QString path = QString::fromStdString(fileOrFolder);
    const QFileInfo info(path);
    if (!info.exists())
        throw std::runtime_error("The image file or folder '" + fileOrFolder + "' does not exist.");
    if (!info.isDir())
        return {fileOrFolder};

    const QStringList filters = {"*.bmp", "*.png", "*.tif", "*.tiff"};
    const QFileInfoList entries = QDir(path).entryInfoList(filters, QDir::Files, QDir::Name);
    if (entries.isEmpty())
        throw std::runtime_error("The folder '" + fileOrFolder +
                                 "' holds no BMP, PNG or TIFF image.");
    std::vector<std::string> files;
    for (const QFileInfo& entry : entries)
        files.push_back(entry.filePath().toStdString());
    return files;
}

EmuImageFile::EmuImageFile(const std::string& path)
{
    if (isTiffName(QString::fromStdString(path)))
        loadTiff(path);
    else
        loadWithQImage(path);
}

uint16_t EmuImageFile::scaleSample(uint32_t value, uint32_t fromBits, uint32_t toBits)
{
    if (toBits <= fromBits)
        return static_cast<uint16_t>(value >> (fromBits - toBits));
    int shift = int(toBits - fromBits);
    uint32_t result = value << shift;
    while (shift > 0) {
        shift -= int(fromBits);
        result |= shift >= 0 ? value << shift : value >> -shift;
    }
    return static_cast<uint16_t>(result);
}

void EmuImageFile::readLine(uint32_t y, uint32_t count, uint32_t bitDepth, EmuRgb* pixels) const
{
    const uint16_t* in = m_samples.data() + size_t(y) * m_width * 3;
    for (uint32_t x = 0; x < count; ++x, in += 3) {
        pixels[x] = {scaleSample(in[0], m_bitDepth, bitDepth),
                     scaleSample(in[1], m_bitDepth, bitDepth),
                     scaleSample(in[2], m_bitDepth, bitDepth)};
    }
}

void EmuImageFile::allocate(const std::string& path, uint32_t width, uint32_t height,
                            uint32_t bitDepth)
{
    if (width == 0 || height == 0 || uint64_t(width) * height > kMaxPixels)
        throwUnreadable(path, "the picture of " + std::to_string(width) + " x " +
                                  std::to_string(height) + " pixels is empty or too large.");
    m_width = width;
    m_height = height;
    m_bitDepth = bitDepth;
    m_samples.assign(size_t(width) * height * 3, 0);
}

void EmuImageFile::loadWithQImage(const std::string& path)
{
    QImageReader reader(QString::fromStdString(path));
    QImage image = reader.read();
    if (image.isNull())
        throwUnreadable(path, reader.errorString().toStdString() + ".");

    switch (image.format()) {
    case QImage::Format_Grayscale16: {
        allocate(path, image.width(), image.height(), 16);
        for (uint32_t y = 0; y < m_height; ++y) {
            const auto* in = reinterpret_cast<const quint16*>(image.constScanLine(y));
            uint16_t* out = m_samples.data() + size_t(y) * m_width * 3;
            for (uint32_t x = 0; x < m_width; ++x, out += 3)
                out[0] = out[1] = out[2] = in[x];
        }
        return;
    }
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
    case QImage::Format_RGBA64_Premultiplied: {
        image = image.convertToFormat(QImage::Format_RGBX64);
        allocate(path, image.width(), image.height(), 16);
        for (uint32_t y = 0; y < m_height; ++y) {
            const auto* in = reinterpret_cast<const QRgba64*>(image.constScanLine(y));
            uint16_t* out = m_samples.data() + size_t(y) * m_width * 3;
            for (uint32_t x = 0; x < m_width; ++x, out += 3) {
                out[0] = in[x].red();
                out[1] = in[x].green();
                out[2] = in[x].blue();
            }
        }
        return;
    }
    default:
        break;
    }

    image = image.convertToFormat(QImage::Format_RGB888);
    allocate(path, image.width(), image.height(), 8);
    for (uint32_t y = 0; y < m_height; ++y) {
        const uchar* in = image.constScanLine(y);
        std::copy(in, in + size_t(m_width) * 3, m_samples.begin() + size_t(y) * m_width * 3);
    }
}

void EmuImageFile::loadTiff(const std::string& path)
{
    std::string errors;
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options, &collectTiffError, &errors);
    TIFFOpenOptionsSetWarningHandlerExtR(options, &ignoreTiffWarning, nullptr);
    std::unique_ptr<TIFF, TiffCloser> tiff(TIFFOpenExt(path.c_str(), "r", options));
    TIFFOpenOptionsFree(options);
    if (!tiff)
        throwUnreadable(path, errors.empty() ? "not a TIFF file." : errors + ".");

    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t bitsPerSample = 1;
    uint16_t samplesPerPixel = 1;
    uint16_t planar = PLANARCONFIG_CONTIG;
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bitsPerSample);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samplesPerPixel);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &photometric);

    const bool grey =
        photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
    const bool rgb = photometric == PHOTOMETRIC_RGB && samplesPerPixel >= 3;
    const bool direct = (bitsPerSample == 8 || bitsPerSample == 16) && (grey || rgb) &&
                        planar == PLANARCONFIG_CONTIG && !TIFFIsTiled(tiff.get());

    if (!direct) {
        // Palettes, tiles, 1-bit, YCbCr and the like: libtiff's 8-bit RGBA reader handles them.
        allocate(path, width, height, 8);
        std::vector<uint32_t> raster(size_t(width) * height);
        if (!TIFFReadRGBAImageOriented(tiff.get(), width, height, raster.data(),
                                       ORIENTATION_TOPLEFT, 0))
            throwUnreadable(path, errors.empty() ? "unsupported TIFF layout." : errors + ".");
        for (size_t i = 0; i < raster.size(); ++i) {
            m_samples[3 * i] = TIFFGetR(raster[i]);
            m_samples[3 * i + 1] = TIFFGetG(raster[i]);
            m_samples[3 * i + 2] = TIFFGetB(raster[i]);
        }
        return;
    }

    allocate(path, width, height, bitsPerSample);
    const uint32_t maxValue = (1u << bitsPerSample) - 1;
    std::vector<uint8_t> scanline(TIFFScanlineSize(tiff.get()));
    for (uint32_t y = 0; y < height; ++y) {
        if (TIFFReadScanline(tiff.get(), scanline.data(), y, 0) < 0)
            throwUnreadable(path, errors.empty() ? "line " + std::to_string(y) + " is damaged."
                                                 : errors + ".");
        uint16_t* out = m_samples.data() + size_t(y) * width * 3;
        for (uint32_t x = 0; x < width; ++x, out += 3) {
            // libtiff delivers 16-bit samples in host byte order.
            const auto sample = [&](uint32_t channel) -> uint32_t {
                const size_t index = size_t(x) * samplesPerPixel + channel;
                if (bitsPerSample == 8)
                    return scanline[index];
                uint16_t word;
                std::memcpy(&word, scanline.data() + 2 * index, sizeof word);
                return word;
            };
            if (rgb) {
                out[0] = uint16_t(sample(0));
                out[1] = uint16_t(sample(1));
                out[2] = uint16_t(sample(2));
            } else {
                const uint32_t value =
                    photometric == PHOTOMETRIC_MINISWHITE ? maxValue - sample(0) : sample(0);
                out[0] = out[1] = out[2] = uint16_t(value);
            }
        }
    }
}

} // namespace Emulator
