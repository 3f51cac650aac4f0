#include "display/tiffimagewriter.h"

#include "tarpo/pixelunpack.h"
#include "viewersdk/streambuffer.h"

#include <QFile>
#include <QtEndian>

#include <tiffio.h>

#include <cstring>
#include <memory>
#include <vector>

namespace {

// The samples of one image ready for libtiff: lines of width x samples values, 8- or 16-bit in
// the machine's byte order.
struct Raster
{
    int width = 0;
    int height = 0;
    int samples = 0;
    int bits = 8;
    uint32_t maxValue = 255;
    std::vector<uint16_t> words; // 16-bit rasters
    std::vector<uint8_t> bytes;  // 8-bit rasters

    const void* line(int y) const
    {
        const size_t offset = size_t(y) * size_t(width) * size_t(samples);
        return bits == 16 ? static_cast<const void*>(words.data() + offset)
                          : static_cast<const void*>(bytes.data() + offset);
    }
};

// The source frame, when it holds more than 8 bits per sample of a kind we write deep.
const TarpoViewerSdk::StreamBuffer* deepSource(const TarpoViewerSdk::Image& image,
                                               Tarpo::SSampleFormat& format)
{
    const TarpoViewerSdk::StreamBuffer* buffer = image.buffer();
    if (!buffer || !buffer->data() || buffer->width() != image.width() ||
        buffer->height() != image.height() || image.width() <= 0 || image.height() <= 0)
        return nullptr;
    const Tarpo::EPixelType type = buffer->pixelType();
    if (Tarpo::BitDepth(type) <= 8 || !Tarpo::GetSampleFormat(type, format))
        return nullptr;
    // A truncated frame is not read past its buffer: it is written from the display instead.
    const size_t samplesPerLine = size_t(image.width()) * Tarpo::SamplesPerPixel(type);
    const size_t needed = buffer->lineOffset() * size_t(image.height() - 1) +
                          Tarpo::PackedLineBytes(format, samplesPerLine);
    return needed <= buffer->size() ? buffer : nullptr;
}

// The samples of one frame line as 16-bit values.
void unpackLine(const TarpoViewerSdk::StreamBuffer& buffer, const Tarpo::SSampleFormat& format,
                int y, size_t count, uint16_t* dst)
{
    const uint8_t* src = buffer.data() + buffer.lineOffset() * size_t(y);
    Tarpo::UnpackLineTo16(src, format, count, 0, reinterpret_cast<uint8_t*>(dst));
    for (size_t i = 0; i < count; ++i)
        dst[i] = qFromLittleEndian(dst[i]);
}

// Bilinear demosaicing: each missing colour is the mean of the pixels of that colour among the
// eight neighbours (two or four of them, fewer at the border).
void demosaic(const std::vector<uint16_t>& bayer, int width, int height, Tarpo::EBayerOrder order,
              std::vector<uint16_t>& rgb)
{
    static const char tiles[4][5] = {"RGGB", "GBRG", "GRBG", "BGGR"};
    const auto channelAt = [&](int x, int y) {
        const char c = tiles[order][(y & 1) * 2 + (x & 1)];
        return c == 'R' ? 0 : c == 'G' ? 1 : 2;
    };
    rgb.assign(size_t(width) * height * 3, 0);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint32_t sum[3] = {0, 0, 0};
            uint32_t count[3] = {0, 0, 0};
            const int own = channelAt(x, y);
            for (int dy = -1; dy <= 1; ++dy) {
                const int yy = y + dy;
                if (yy < 0 || yy >= height)
                    continue;
                for (int dx = -1; dx <= 1; ++dx) {
                    const int xx = x + dx;
                    if (xx < 0 || xx >= width || (dx == 0 && dy == 0))
                        continue;
                    const int c = channelAt(xx, yy);
                    sum[c] += bayer[size_t(yy) * width + xx];
                    ++count[c];
                }
            }
            uint16_t* out = rgb.data() + (size_t(y) * width + x) * 3;
            for (int c = 0; c < 3; ++c) {
                if (c == own)
                    out[c] = bayer[size_t(y) * width + x];
                else
                    out[c] =
                        count[c] ? static_cast<uint16_t>((sum[c] + count[c] / 2) / count[c]) : 0;
            }
        }
    }
}

Raster deepRaster(const TarpoViewerSdk::StreamBuffer& buffer, const Tarpo::SSampleFormat& format)
{
    Raster raster;
    raster.width = buffer.width();
    raster.height = buffer.height();
    raster.bits = 16;
    raster.maxValue = (1u << format.bitDepth) - 1;
    const Tarpo::EPixelType type = buffer.pixelType();
    const size_t pixels = size_t(raster.width) * raster.height;
    if (Tarpo::IsMono(type)) {
        raster.samples = 1;
        raster.words.resize(pixels);
        for (int y = 0; y < raster.height; ++y)
            unpackLine(buffer, format, y, size_t(raster.width),
                       raster.words.data() + size_t(y) * raster.width);
    } else if (Tarpo::IsBayer(type)) {
        raster.samples = 3;
        std::vector<uint16_t> bayer(pixels);
        for (int y = 0; y < raster.height; ++y)
            unpackLine(buffer, format, y, size_t(raster.width),
                       bayer.data() + size_t(y) * raster.width);
        demosaic(bayer, raster.width, raster.height, Tarpo::GetBayerOrder(type), raster.words);
    } else {
        // RGB or BGR, with or without alpha: written as R, G, B.
        raster.samples = 3;
        const size_t samples = Tarpo::SamplesPerPixel(type);
        const bool bgr = Tarpo::IsBGR(type) || Tarpo::IsBGRA(type);
        std::vector<uint16_t> line(size_t(raster.width) * samples);
        raster.words.resize(pixels * 3);
        for (int y = 0; y < raster.height; ++y) {
            unpackLine(buffer, format, y, line.size(), line.data());
            uint16_t* out = raster.words.data() + size_t(y) * raster.width * 3;
            for (int x = 0; x < raster.width; ++x)
                for (int c = 0; c < 3; ++c)
                    out[3 * x + c] = line[size_t(x) * samples + (bgr ? 2 - c : c)];
        }
    }
    return raster;
}

Raster displayedRaster(const TarpoViewerSdk::Image& image)
{
    Raster raster;
    raster.width = image.width();
    raster.height = image.height();
    const bool grey = image.format() == TarpoViewerSdk::Image::Mono8;
    raster.samples = grey ? 1 : 3;
    raster.bytes.resize(size_t(raster.width) * raster.height * raster.samples);
    for (int y = 0; y < raster.height; ++y) {
        const uint8_t* src = image.pixelData() + size_t(y) * image.lineOffset();
        uint8_t* out = raster.bytes.data() + size_t(y) * raster.width * raster.samples;
        if (grey) {
            std::memcpy(out, src, size_t(raster.width));
            continue;
        }
        for (int x = 0; x < raster.width; ++x) { // B G R A in memory
            out[3 * x] = src[4 * x + 2];
            out[3 * x + 1] = src[4 * x + 1];
            out[3 * x + 2] = src[4 * x];
        }
    }
    return raster;
}

struct TiffCloser
{
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

bool writeRaster(const QString& fileName, const Raster& raster)
{
    std::unique_ptr<TIFF, TiffCloser> tiff(TIFFOpen(QFile::encodeName(fileName).constData(), "w"));
    if (!tiff)
        return false;
    TIFF* t = tiff.get();
    bool ok = TIFFSetField(t, TIFFTAG_IMAGEWIDTH, uint32_t(raster.width)) &&
              TIFFSetField(t, TIFFTAG_IMAGELENGTH, uint32_t(raster.height)) &&
              TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, uint16_t(raster.bits)) &&
              TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, uint16_t(raster.samples)) &&
              TIFFSetField(t, TIFFTAG_PHOTOMETRIC,
                           raster.samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB) &&
              TIFFSetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
              TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
              TIFFSetField(t, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
              TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(t, 0)) &&
              TIFFSetField(t, TIFFTAG_SOFTWARE, "Tarpo Viewer");
    if (ok && raster.bits == 16)
        ok = TIFFSetField(t, TIFFTAG_MAXSAMPLEVALUE, uint16_t(raster.maxValue));
    for (int y = 0; ok && y < raster.height; ++y)
        ok = TIFFWriteScanline(t, const_cast<void*>(raster.line(y)), uint32_t(y), 0) >= 0;
    if (ok)
        ok = TIFFFlush(t) == 1;
    tiff.reset();
    if (!ok)
        QFile::remove(fileName);
    return ok;
}

} // namespace

int TiffImageWriter::bitsPerSample(const TarpoViewerSdk::Image& image)
{
    Tarpo::SSampleFormat format;
    return deepSource(image, format) ? 16 : 8;
}

bool TiffImageWriter::write(const QString& fileName, const TarpoViewerSdk::Image& image)
{
    if (!image.isValid())
        return false;
    Tarpo::SSampleFormat format;
    if (const TarpoViewerSdk::StreamBuffer* buffer = deepSource(image, format))
        return writeRaster(fileName, deepRaster(*buffer, format));
    if (!image.pixelData() || image.format() == TarpoViewerSdk::Image::NoPixels)
        return false;
    return writeRaster(fileName, displayedRaster(image));
}
