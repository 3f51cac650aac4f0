#include "tarpo/imagepersistence.h"

#include "genapi/genicamexception.h"
#include "tarpo/bayerdemosaicer.h"
#include "tarpo/imageformatconverter.h"
#include "tarpo/pixelunpack.h"

#include <QFile>
#include <QImage>
#include <QImageWriter>
#include <QVector>

#include <tiffio.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <string>

namespace Tarpo {

namespace {

// Colour sources whose samples are deeper than 8 bits: they keep their depth in 16-bit RGB.
bool isDeepColor(EPixelType type)
{
    return (IsBayer(type) || IsRGB(type) || IsBGR(type)) && BitDepth(type) > 8;
}

// The outer ring of a demosaiced image, where interpolation lacks neighbours on one side: each
// missing colour becomes the mean of the neighbours of that colour that exist, and each site
// keeps its own sample, as it does inside.
void demosaicBorder(const uint16_t* bayer, int width, int height, EBayerOrder order, uint16_t* rgb)
{
    const auto channelAt = [order](int x, int y) {
        const char c = BayerFilterAt(order, x, y);
        return c == 'R' ? 0 : c == 'G' ? 1 : 2;
    };
    const auto fill = [&](int x, int y) {
        uint32_t sum[3] = {0, 0, 0};
        uint32_t count[3] = {0, 0, 0};
        for (int yy = std::max(y - 1, 0); yy <= std::min(y + 1, height - 1); ++yy)
            for (int xx = std::max(x - 1, 0); xx <= std::min(x + 1, width - 1); ++xx) {
                if (xx == x && yy == y)
                    continue;
                const int c = channelAt(xx, yy);
                sum[c] += bayer[size_t(yy) * width + xx];
                ++count[c];
            }
        const int own = channelAt(x, y);
        uint16_t* out = rgb + (size_t(y) * width + x) * 3;
        for (int c = 0; c < 3; ++c)
            out[c] = c == own   ? bayer[size_t(y) * width + x]
                     : count[c] ? static_cast<uint16_t>((sum[c] + count[c] / 2) / count[c])
                                : 0;
    };
    for (int x = 0; x < width; ++x) {
        fill(x, 0);
        fill(x, height - 1);
    }
    for (int y = 1; y + 1 < height; ++y) {
        fill(0, y);
        fill(width - 1, y);
    }
}

const QVector<QRgb>& greyPalette()
{
    static const QVector<QRgb> palette = [] {
        QVector<QRgb> colors(256);
        for (int i = 0; i < 256; ++i)
            colors[i] = qRgb(i, i, i);
        return colors;
    }();
    return palette;
}

size_t align4(size_t bytes)
{
    return (bytes + 3) / 4 * 4;
}

int tiffError(TIFF*, void* userData, const char* module, const char* format, va_list args)
{
    char text[512];
    std::vsnprintf(text, sizeof(text), format, args);
    auto* error = static_cast<std::string*>(userData);
    if (error->empty())
        *error = std::string(module ? module : "libtiff") + ": " + text;
    return 1; // handled: nothing on stderr
}

int tiffWarning(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

// Removes a file that could not be written completely and throws why. Only regular files are
// removed: a name may just as well be a device.
[[noreturn]] void failWrite(const char* kind, const GenICam::gcstring& filename,
                            const std::string& reason)
{
    struct stat status;
    if (::stat(filename.c_str(), &status) == 0 && S_ISREG(status.st_mode))
        ::unlink(filename.c_str());
    throw RUNTIME_EXCEPTION("Could not write the %s file '%s': %s", kind, filename.c_str(),
                            reason.c_str());
}

} // namespace

CImagePersistence::CImagePersistence() : m_converter(std::make_unique<CImageFormatConverter>()) {}

CImagePersistence::~CImagePersistence() = default;

void CImagePersistence::Save(EImageFileFormat format, const GenICam::gcstring& filename,
                             const IImage& image)
{
    Save(format, filename, image.GetBuffer(), image.GetImageSize(), image.GetPixelType(),
         image.GetWidth(), image.GetHeight(), image.GetPaddingX(), image.GetOrientation());
}

void CImagePersistence::Save(EImageFileFormat format, const GenICam::gcstring& filename,
                             const void* buffer, size_t bufferSize, EPixelType pixelType,
                             uint32_t width, uint32_t height, size_t paddingX,
                             EImageOrientation orientation)
{
    if (!buffer || width == 0 || height == 0)
        throw INVALID_ARGUMENT_EXCEPTION("Cannot save an image of %u x %u pixels without data "
                                         "to '%s'",
                                         width, height, filename.c_str());
    if (format == ImageFileFormat_Bmp)
        saveBmp(filename, buffer, bufferSize, pixelType, width, height, paddingX, orientation);
    else if (format == ImageFileFormat_Tiff)
        saveTiff(filename, buffer, bufferSize, pixelType, width, height, paddingX, orientation);
    else
        throw INVALID_ARGUMENT_EXCEPTION("Unknown image file format %d", int(format));
}

bool CImagePersistence::CanSaveWithoutConversion(EImageFileFormat format, EPixelType pixelType,
                                                 uint32_t width, uint32_t height, size_t paddingX,
                                                 EImageOrientation orientation)
{
    (void)height;
    if (pixelType != PixelType_Mono8 || orientation != TopDown)
        return false;
    return format == ImageFileFormat_Tiff ? paddingX == 0 : width + paddingX == align4(width);
}

void CImagePersistence::convert(EPixelType outputType, uint32_t outputPaddingX, const void* buffer,
                                size_t bufferSize, EPixelType pixelType, uint32_t width,
                                uint32_t height, size_t paddingX, EImageOrientation orientation)
{
    // The setters write the converter's node map; a stream of frames of one kind sets them once.
    if (m_converter->outputPixelFormat() != outputType)
        m_converter->setOutputPixelFormat(outputType);
    if (m_converter->outputPaddingX() != outputPaddingX)
        m_converter->setOutputPaddingX(outputPaddingX);
    // Deeper mono data keeps its values: a 12-bit white stays 4095.
    if (m_converter->outputBitAlignment() != OutputBitAlignment_LsbAligned)
        m_converter->setOutputBitAlignment(OutputBitAlignment_LsbAligned);
    m_scratch.resize(m_converter->GetBufferSizeForConversion(pixelType, width, height));
    m_converter->Convert(m_scratch.data(), m_scratch.size(), buffer, bufferSize, pixelType, width,
                         height, uint32_t(paddingX), orientation);
}

void CImagePersistence::unpackRgb16(const void* buffer, size_t bufferSize, EPixelType pixelType,
                                    uint32_t width, uint32_t height, size_t paddingX,
                                    EImageOrientation orientation)
{
    SSampleFormat format;
    if (!GetSampleFormat(pixelType, format))
        throw INVALID_ARGUMENT_EXCEPTION("Cannot save %s as 16-bit RGB",
                                         GetPixelTypeName(pixelType));
    const size_t samplesPerLine = IsBayer(pixelType) ? width : size_t(width) * 3;
    const size_t lineBytes = PackedLineBytes(format, samplesPerLine) + paddingX;
    if (bufferSize < lineBytes * height)
        throw OUT_OF_RANGE_EXCEPTION("The %s image of %u x %u pixels needs %zu bytes; the buffer "
                                     "holds %zu",
                                     GetPixelTypeName(pixelType), width, height, lineBytes * height,
                                     bufferSize);
    const auto* source = static_cast<const uint8_t*>(buffer);
    auto sourceLine = [&](uint32_t y) {
        return source + lineBytes * (orientation == BottomUp ? height - 1 - y : y);
    };
    m_scratch.resize(size_t(width) * height * 3 * sizeof(uint16_t));
    if (IsBayer(pixelType)) {
        m_bayer16.resize(size_t(width) * height);
        for (uint32_t y = 0; y < height; ++y)
            UnpackLineTo16(sourceLine(y), format, width, 0,
                           reinterpret_cast<uint8_t*>(m_bayer16.data() + size_t(y) * width));
        const cv::Mat bayer(int(height), int(width), CV_16UC1, m_bayer16.data());
        cv::Mat rgb(int(height), int(width), CV_16UC3, m_scratch.data());
        CBayerDemosaicer().demosaic(bayer, GetBayerOrder(pixelType), rgb,
                                    CBayerDemosaicer::Output_Rgb, DemosaicingMethod_Simple,
                                    InconvertibleEdgeHandling_Extend);
        demosaicBorder(m_bayer16.data(), int(width), int(height), GetBayerOrder(pixelType),
                       reinterpret_cast<uint16_t*>(m_scratch.data()));
        return;
    }
    auto* rgb = reinterpret_cast<uint16_t*>(m_scratch.data());
    for (uint32_t y = 0; y < height; ++y) {
        uint16_t* line = rgb + size_t(y) * width * 3;
        UnpackLineTo16(sourceLine(y), format, samplesPerLine, 0, reinterpret_cast<uint8_t*>(line));
        if (IsBGR(pixelType)) {
            for (uint32_t x = 0; x < width; ++x)
                std::swap(line[3 * x], line[3 * x + 2]);
        }
    }
}

void CImagePersistence::saveBmp(const GenICam::gcstring& filename, const void* buffer,
                                size_t bufferSize, EPixelType pixelType, uint32_t width,
                                uint32_t height, size_t paddingX, EImageOrientation orientation)
{
    QImage image;
    if (IsMono(pixelType)) {
        // The BMP writer copies whole 4-byte-aligned lines, so the source is only used as it is
        // when its lines are exactly that long.
        const size_t stride = align4(width);
        if (CanSaveWithoutConversion(ImageFileFormat_Bmp, pixelType, width, height, paddingX,
                                     orientation) &&
            bufferSize >= stride * height) {
            image = QImage(static_cast<const uchar*>(buffer), int(width), int(height), int(stride),
                           QImage::Format_Indexed8);
        } else {
            // Deeper mono data keeps its top 8 bits here: BMP has no deeper grey.
            convert(PixelType_Mono8, uint32_t(stride - width), buffer, bufferSize, pixelType, width,
                    height, paddingX, orientation);
            image = QImage(m_scratch.data(), int(width), int(height), int(stride),
                           QImage::Format_Indexed8);
        }
        image.setColorTable(greyPalette());
    } else {
        // 32-bit BGRA in memory is QImage's RGB32; the BMP writer stores it as 24-bit colour.
        convert(PixelType_BGRA8packed, 0, buffer, bufferSize, pixelType, width, height, paddingX,
                orientation);
        image =
            QImage(m_scratch.data(), int(width), int(height), int(width * 4), QImage::Format_RGB32);
    }

    QFile file(QString::fromStdString(filename));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        throw RUNTIME_EXCEPTION("Could not create the BMP file '%s': %s", filename.c_str(),
                                file.errorString().toLocal8Bit().constData());
    QImageWriter writer(&file, "bmp");
    // QImageWriter does not see a failed flush at close; flush and close, and check both.
    bool written = writer.write(image);
    written = file.flush() && written;
    QString error = file.error() != QFileDevice::NoError ? file.errorString() : QString();
    file.close();
    if (error.isEmpty() && file.error() != QFileDevice::NoError)
        error = file.errorString();
    if (!written || !error.isEmpty())
        failWrite("BMP", filename,
                  (error.isEmpty() ? writer.errorString() : error).toLocal8Bit().constData());
}

void CImagePersistence::saveTiff(const GenICam::gcstring& filename, const void* buffer,
                                 size_t bufferSize, EPixelType pixelType, uint32_t width,
                                 uint32_t height, size_t paddingX, EImageOrientation orientation)
{
    uint16_t samplesPerPixel = 1;
    uint16_t bitsPerSample = 8;
    const uint8_t* lines = nullptr;
    size_t lineBytes = 0;
    if (pixelType == PixelType_Mono8) {
        lineBytes = width;
        if (CanSaveWithoutConversion(ImageFileFormat_Tiff, pixelType, width, height, paddingX,
                                     orientation) &&
            bufferSize >= size_t(width) * height) {
            lines = static_cast<const uint8_t*>(buffer);
        } else {
            convert(PixelType_Mono8, 0, buffer, bufferSize, pixelType, width, height, paddingX,
                    orientation);
            lines = m_scratch.data();
        }
    } else if (IsMono(pixelType)) {
        const bool deep = BitDepth(pixelType) > 8;
        bitsPerSample = deep ? 16 : 8;
        lineBytes = size_t(width) * (deep ? 2 : 1);
        convert(deep ? PixelType_Mono16 : PixelType_Mono8, 0, buffer, bufferSize, pixelType, width,
                height, paddingX, orientation);
        lines = m_scratch.data();
    } else if (isDeepColor(pixelType)) {
        samplesPerPixel = 3;
        bitsPerSample = 16;
        lineBytes = size_t(width) * 6;
        unpackRgb16(buffer, bufferSize, pixelType, width, height, paddingX, orientation);
        lines = m_scratch.data();
    } else {
        samplesPerPixel = 3;
        lineBytes = size_t(width) * 3;
        convert(PixelType_RGB8packed, 0, buffer, bufferSize, pixelType, width, height, paddingX,
                orientation);
        lines = m_scratch.data();
    }

    std::string error;
    errno = 0;
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options, tiffError, &error);
    TIFFOpenOptionsSetWarningHandlerExtR(options, tiffWarning, nullptr);
    TIFF* tiff = TIFFOpenExt(filename.c_str(), "w", options);
    TIFFOpenOptionsFree(options);
    if (!tiff)
        throw RUNTIME_EXCEPTION("Could not create the TIFF file '%s': %s", filename.c_str(),
                                errno ? std::strerror(errno) : error.c_str());

    // Strips of about 1 MiB: few large writes, and any reader copes with them.
    const uint32_t rowsPerStrip =
        std::max<uint32_t>(1, std::min<uint32_t>(height, uint32_t((1u << 20) / lineBytes)));
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samplesPerPixel);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, bitsPerSample);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                 samplesPerPixel == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    TIFFSetField(tiff, TIFFTAG_SOFTWARE, "Tarpo Viewer");
    const uint32_t depth = BitDepth(pixelType);
    if (bitsPerSample == 16 && depth > 8)
        TIFFSetField(tiff, TIFFTAG_MAXSAMPLEVALUE, uint16_t((1u << depth) - 1));

    errno = 0;
    bool written = true;
    for (uint32_t row = 0, strip = 0; written && row < height; row += rowsPerStrip, ++strip) {
        const uint32_t rows = std::min(rowsPerStrip, height - row);
        // Uncompressed strips of native-order samples are copied by libtiff, never modified.
        void* data = const_cast<uint8_t*>(lines + lineBytes * row);
        written = TIFFWriteEncodedStrip(tiff, strip, data, tmsize_t(lineBytes * rows)) >= 0;
    }
    written = written && TIFFFlush(tiff) == 1;
    const int writeErrno = errno;
    TIFFClose(tiff);
    if (!written)
        failWrite("TIFF", filename, writeErrno ? std::strerror(writeErrno) : error);
}

} // namespace Tarpo
