#include "tarpo/imageformatconverter.h"

#include "genapi/genicamexception.h"
#include "tarpo/bayerdemosaicer.h"
#include "tarpo/colorlines.h"
#include "tarpo/pixelunpack.h"

#include <opencv2/imgproc.hpp>

#include <climits>
#include <cmath>
#include <cstring>
#include <new>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "16-bit samples are copied between our scratch and little-endian images as is");

namespace Tarpo {

namespace {

const char* const kNodeNames[] = {
    "OutputPixelFormat",    "OutputPaddingX", "OutputBitAlignment", "InconvertibleEdgeHandling",
    "MonoConversionMethod", "Gamma",          "DemosaicingMethod"};

// OpenCV keeps steps and sizes in int; lines and heights beyond it cannot be handed over.
const uint64_t kMaxLineBytes = INT_MAX;

bool isYuv422(EPixelType type)
{
    return type == PixelType_YUV422packed || type == PixelType_YUV422_YUYV_Packed ||
           type == PixelType_YCbCr422_8;
}

uint32_t outputBytesPerPixel(EPixelType output)
{
    return BitPerPixel(output) / 8;
}

uint64_t outputLineBytes(const SImageFormatConverterSettings& settings, uint32_t width)
{
    return uint64_t(width) * outputBytesPerPixel(settings.outputPixelFormat) +
           settings.outputPaddingX;
}

// Line bytes times height, refused when it does not fit in memory.
size_t imageBytes(uint64_t lineBytes, uint32_t height, const char* what)
{
    if (height != 0 && lineBytes > SIZE_MAX / height)
        throw OUT_OF_RANGE_EXCEPTION("Image format converter: the %s of %u lines of %llu bytes "
                                     "does not fit in memory",
                                     what, height, static_cast<unsigned long long>(lineBytes));
    return static_cast<size_t>(lineBytes * height);
}

CBayerDemosaicer::EOutput demosaicOutputOf(EPixelType output)
{
    switch (output) {
    case PixelType_BGR8packed:
        return CBayerDemosaicer::Output_Bgr;
    case PixelType_RGB8packed:
        return CBayerDemosaicer::Output_Rgb;
    case PixelType_BGRA8packed:
        return CBayerDemosaicer::Output_Bgra;
    default:
        return CBayerDemosaicer::Output_Grey;
    }
}

// cvtColor codes from an 8-bit colour source (rows: RGB, BGR, RGBA, BGRA) to each output
// (columns: grey, BGR, RGB, BGRA); -1 where the layouts agree and lines are copied.
const int kColorCodes[4][4] = {
    {cv::COLOR_RGB2GRAY, cv::COLOR_RGB2BGR, -1, cv::COLOR_RGB2BGRA},
    {cv::COLOR_BGR2GRAY, -1, cv::COLOR_BGR2RGB, cv::COLOR_BGR2BGRA},
    {cv::COLOR_RGBA2GRAY, cv::COLOR_RGBA2BGR, cv::COLOR_RGBA2RGB, cv::COLOR_RGBA2BGRA},
    {cv::COLOR_BGRA2GRAY, cv::COLOR_BGRA2BGR, cv::COLOR_BGRA2RGB, -1}};

int colorSourceRow(EPixelType type)
{
    if (IsRGB(type))
        return 0;
    if (IsBGR(type))
        return 1;
    return IsRGBA(type) ? 2 : 3;
}

} // namespace

// One conversion: the caller's buffers, checked, and the parameters snapshot it runs with.
struct CImageFormatConverter::SJob
{
    const uint8_t* src;
    size_t srcStride;
    EPixelType srcType;
    uint8_t* dst;
    size_t dstStride;
    uint32_t width;
    uint32_t height;
    EImageOrientation orientation;
    SImageFormatConverterSettings settings;

    // The source line that becomes output line y.
    const uint8_t* srcLine(uint32_t y) const { return src + outputLineOf(y) * srcStride; }
    // Source line y in memory order.
    const uint8_t* srcMemoryLine(uint32_t y) const { return src + size_t(y) * srcStride; }
    uint8_t* dstLine(uint32_t y) const { return dst + size_t(y) * dstStride; }
    // The output line that source memory line y becomes (and the reverse: it is symmetric).
    uint32_t outputLineOf(uint32_t y) const { return orientation == BottomUp ? height - 1 - y : y; }
    uint32_t outputShift(uint32_t bitDepth) const
    {
        return settings.outputBitAlignment == OutputBitAlignment_MsbAligned ? 16 - bitDepth : 0;
    }
    bool usesGammaTable(const SSampleFormat& format) const
    {
        return settings.monoConversionMethod == MonoConversionMethod_Gamma && format.bitDepth > 8;
    }
};

CImageFormatConverter::CImageFormatConverter()
    : m_nodeMapRef("ImageFormatConverter"), m_demosaicer(std::make_unique<CBayerDemosaicer>())
{
    m_nodeMapRef._LoadXMLFromString(CImageFormatConverterPort::xml());
    if (!m_nodeMapRef._Connect(&m_port))
        throw LOGICAL_ERROR_EXCEPTION("Image format converter: the parameter port does not "
                                      "connect");
    for (const char* name : kNodeNames) {
        if (!m_nodeMapRef._GetNode(name))
            throw LOGICAL_ERROR_EXCEPTION("Image format converter: the node map lacks %s", name);
    }
    m_outputPixelFormat = m_nodeMapRef._GetNode("OutputPixelFormat");
    m_outputPaddingX = m_nodeMapRef._GetNode("OutputPaddingX");
    m_outputBitAlignment = m_nodeMapRef._GetNode("OutputBitAlignment");
    m_inconvertibleEdgeHandling = m_nodeMapRef._GetNode("InconvertibleEdgeHandling");
    m_monoConversionMethod = m_nodeMapRef._GetNode("MonoConversionMethod");
    m_gamma = m_nodeMapRef._GetNode("Gamma");
    m_demosaicingMethod = m_nodeMapRef._GetNode("DemosaicingMethod");
}

CImageFormatConverter::~CImageFormatConverter() = default;

GenApi::INodeMap* CImageFormatConverter::GetNodeMap() const
{
    return m_nodeMapRef._GetNodeMap();
}

void CImageFormatConverter::setOutputPixelFormat(EPixelType type)
{
    m_outputPixelFormat->SetIntValue(static_cast<int64_t>(type));
}

EPixelType CImageFormatConverter::outputPixelFormat() const
{
    return static_cast<EPixelType>(m_outputPixelFormat->GetIntValue());
}

void CImageFormatConverter::setOutputPaddingX(uint32_t paddingBytes)
{
    m_outputPaddingX->SetValue(static_cast<int64_t>(paddingBytes));
}

uint32_t CImageFormatConverter::outputPaddingX() const
{
    return static_cast<uint32_t>(m_outputPaddingX->GetValue());
}

void CImageFormatConverter::setOutputBitAlignment(EOutputBitAlignment alignment)
{
    m_outputBitAlignment->SetIntValue(alignment);
}

EOutputBitAlignment CImageFormatConverter::outputBitAlignment() const
{
    return static_cast<EOutputBitAlignment>(m_outputBitAlignment->GetIntValue());
}

void CImageFormatConverter::setInconvertibleEdgeHandling(EInconvertibleEdgeHandling handling)
{
    m_inconvertibleEdgeHandling->SetIntValue(handling);
}

EInconvertibleEdgeHandling CImageFormatConverter::inconvertibleEdgeHandling() const
{
    return static_cast<EInconvertibleEdgeHandling>(m_inconvertibleEdgeHandling->GetIntValue());
}

void CImageFormatConverter::setMonoConversionMethod(EMonoConversionMethod method)
{
    m_monoConversionMethod->SetIntValue(method);
}

EMonoConversionMethod CImageFormatConverter::monoConversionMethod() const
{
    return static_cast<EMonoConversionMethod>(m_monoConversionMethod->GetIntValue());
}

void CImageFormatConverter::setGamma(double gamma)
{
    m_gamma->SetValue(gamma);
}

double CImageFormatConverter::gamma() const
{
    return m_gamma->GetValue();
}

void CImageFormatConverter::setDemosaicingMethod(EDemosaicingMethod method)
{
    m_demosaicingMethod->SetIntValue(method);
}

EDemosaicingMethod CImageFormatConverter::demosaicingMethod() const
{
    return static_cast<EDemosaicingMethod>(m_demosaicingMethod->GetIntValue());
}

bool CImageFormatConverter::IsSupportedInputFormat(EPixelType type)
{
    SSampleFormat format;
    return isYuv422(type) || GetSampleFormat(type, format);
}

bool CImageFormatConverter::IsSupportedOutputFormat(EPixelType type)
{
    return type == PixelType_Mono8 || type == PixelType_Mono16 || type == PixelType_BGR8packed ||
           type == PixelType_BGRA8packed || type == PixelType_RGB8packed;
}

SImageFormatConverterSettings CImageFormatConverter::settingsSnapshot() const
{
    GenApi::AutoLock lock(GetNodeMap()->GetLock());
    return m_port.settings();
}

size_t CImageFormatConverter::GetBufferSizeForConversion(EPixelType inType, uint32_t width,
                                                         uint32_t height) const
{
    if (!IsSupportedInputFormat(inType))
        throw INVALID_ARGUMENT_EXCEPTION("Image format converter: the pixel type %s (0x%08X) "
                                         "cannot be converted",
                                         GetPixelTypeName(inType), static_cast<unsigned>(inType));
    return imageBytes(outputLineBytes(settingsSnapshot(), width), height, "destination");
}

void CImageFormatConverter::Convert(void* dst, size_t dstSize, const void* src, size_t srcSize,
                                    EPixelType srcType, uint32_t width, uint32_t height,
                                    uint32_t srcPaddingX, EImageOrientation orientation)
{
    const SImageFormatConverterSettings settings = settingsSnapshot();
    const EPixelType output = settings.outputPixelFormat;

    if (!IsSupportedInputFormat(srcType))
        throw INVALID_ARGUMENT_EXCEPTION("Image format converter: the source pixel type %s "
                                         "(0x%08X) cannot be converted",
                                         GetPixelTypeName(srcType), static_cast<unsigned>(srcType));
    if (!IsSupportedOutputFormat(output))
        throw INVALID_ARGUMENT_EXCEPTION("Image format converter: the output pixel type %s "
                                         "(0x%08X) cannot be produced",
                                         GetPixelTypeName(output), static_cast<unsigned>(output));
    if (width == 0 || height == 0)
        throw INVALID_ARGUMENT_EXCEPTION("Image format converter: cannot convert an image of "
                                         "%u x %u pixels; width and height must not be zero",
                                         width, height);
    if (!src || !dst)
        throw INVALID_ARGUMENT_EXCEPTION("Image format converter: the %s buffer is null",
                                         src ? "destination" : "source");

    const uint64_t srcLineBytes =
        (uint64_t(width) * BitPerPixel(srcType) + 7) / 8 + uint64_t(srcPaddingX);
    const uint64_t dstLineBytes = outputLineBytes(settings, width);
    if (srcLineBytes > kMaxLineBytes || dstLineBytes > kMaxLineBytes || height > INT_MAX)
        throw OUT_OF_RANGE_EXCEPTION("Image format converter: an image of %u x %u pixels is too "
                                     "large to convert",
                                     width, height);
    const size_t srcNeeded = imageBytes(srcLineBytes, height, "source");
    if (srcSize < srcNeeded)
        throw OUT_OF_RANGE_EXCEPTION("Image format converter: the source buffer holds %zu bytes, "
                                     "but a %u x %u %s image with %u bytes of line padding needs "
                                     "%zu; the frame is truncated",
                                     srcSize, width, height, GetPixelTypeName(srcType), srcPaddingX,
                                     srcNeeded);
    const size_t dstNeeded = imageBytes(dstLineBytes, height, "destination");
    if (dstSize < dstNeeded)
        throw OUT_OF_RANGE_EXCEPTION("Image format converter: the destination buffer holds %zu "
                                     "bytes, but a %u x %u %s image with %u bytes of line padding "
                                     "needs %zu",
                                     dstSize, width, height, GetPixelTypeName(output),
                                     settings.outputPaddingX, dstNeeded);

    const SJob job{static_cast<const uint8_t*>(src),
                   static_cast<size_t>(srcLineBytes),
                   srcType,
                   static_cast<uint8_t*>(dst),
                   static_cast<size_t>(dstLineBytes),
                   width,
                   height,
                   orientation,
                   settings};
    try {
        if (isYuv422(srcType))
            convertYuv(job);
        else if (IsBayer(srcType))
            convertBayer(job);
        else if (IsMono(srcType))
            convertMono(job);
        else
            convertRgb(job);
    } catch (const cv::Exception& e) {
        throw RUNTIME_EXCEPTION("Image format converter: OpenCV failed to convert %s to %s: %s",
                                GetPixelTypeName(srcType), GetPixelTypeName(output), e.what());
    } catch (const std::bad_alloc&) {
        throw RUNTIME_EXCEPTION("Image format converter: out of memory converting a %u x %u "
                                "image",
                                width, height);
    }
}

void CImageFormatConverter::prepareGammaTable(const SJob& job, const SSampleFormat& format)
{
    if (!job.usesGammaTable(format))
        return;
    if (m_gammaTableBitDepth == format.bitDepth && m_gammaTableGamma == job.settings.gamma)
        return;
    const uint32_t maximum = (1u << format.bitDepth) - 1;
    m_gammaTable.resize(size_t(maximum) + 1);
    const double exponent = 1.0 / job.settings.gamma;
    for (uint32_t value = 0; value <= maximum; ++value)
        m_gammaTable[value] =
            static_cast<uint8_t>(std::lround(255.0 * std::pow(double(value) / maximum, exponent)));
    m_gammaTableBitDepth = format.bitDepth;
    m_gammaTableGamma = job.settings.gamma;
}

void CImageFormatConverter::unpackTo8(const SJob& job, const SSampleFormat& format,
                                      const uint8_t* src, size_t count, uint8_t* dst)
{
    if (job.usesGammaTable(format))
        UnpackLineThroughTable(src, format, count, m_gammaTable.data(), dst);
    else
        UnpackLineTo8(src, format, count, dst);
}

void CImageFormatConverter::flipLines(const SJob& job)
{
    if (job.orientation != BottomUp)
        return;
    const size_t lineBytes =
        size_t(job.width) * outputBytesPerPixel(job.settings.outputPixelFormat);
    m_line.resize(lineBytes);
    for (uint32_t top = 0, bottom = job.height - 1; top < bottom; ++top, --bottom) {
        std::memcpy(m_line.data(), job.dstLine(top), lineBytes);
        std::memcpy(job.dstLine(top), job.dstLine(bottom), lineBytes);
        std::memcpy(job.dstLine(bottom), m_line.data(), lineBytes);
    }
}

void CImageFormatConverter::convertMono(const SJob& job)
{
    SSampleFormat format;
    GetSampleFormat(job.srcType, format);
    const EPixelType output = job.settings.outputPixelFormat;
    if (output == PixelType_Mono16) {
        const uint32_t shift = job.outputShift(format.bitDepth);
        for (uint32_t y = 0; y < job.height; ++y)
            UnpackLineTo16(job.srcLine(y), format, job.width, shift, job.dstLine(y));
        return;
    }
    prepareGammaTable(job, format);
    if (output == PixelType_Mono8) {
        const bool unpadded = job.srcStride == job.width && job.dstStride == job.width;
        if (format.layout == ESampleLayout::Byte && unpadded && job.orientation == TopDown) {
            std::memcpy(job.dst, job.src, size_t(job.width) * job.height); // one block
            return;
        }
        for (uint32_t y = 0; y < job.height; ++y)
            unpackTo8(job, format, job.srcLine(y), job.width, job.dstLine(y));
        return;
    }
    m_line.resize(job.width);
    for (uint32_t y = 0; y < job.height; ++y) {
        const uint8_t* grey = job.srcLine(y);
        if (format.layout != ESampleLayout::Byte) {
            unpackTo8(job, format, grey, job.width, m_line.data());
            grey = m_line.data();
        }
        GreyLineToColor(grey, job.width, output, job.dstLine(y));
    }
}

void CImageFormatConverter::convertBayer(const SJob& job)
{
    SSampleFormat format;
    GetSampleFormat(job.srcType, format);
    const EBayerOrder order = GetBayerOrder(job.srcType);
    const EPixelType output = job.settings.outputPixelFormat;
    const int width = static_cast<int>(job.width);
    const int height = static_cast<int>(job.height);
    const size_t pixels = size_t(job.width) * job.height;

    if (output == PixelType_Mono16) {
        // Aligned before demosaicing: interpolation and luminance are linear, so shifting first
        // keeps the precision of the full 16 bits.
        m_scratch16.resize(pixels);
        m_grey16.resize(pixels);
        const uint32_t shift = job.outputShift(format.bitDepth);
        for (uint32_t y = 0; y < job.height; ++y)
            UnpackLineTo16(job.srcMemoryLine(y), format, job.width, shift,
                           reinterpret_cast<uint8_t*>(m_scratch16.data() + size_t(y) * job.width));
        const cv::Mat bayer(height, width, CV_16UC1, m_scratch16.data());
        cv::Mat grey(height, width, CV_16UC1, m_grey16.data());
        m_demosaicer->demosaic(bayer, order, grey, CBayerDemosaicer::Output_Grey,
                               job.settings.demosaicingMethod,
                               job.settings.inconvertibleEdgeHandling);
        for (uint32_t y = 0; y < job.height; ++y)
            std::memcpy(job.dstLine(job.outputLineOf(y)), m_grey16.data() + size_t(y) * job.width,
                        size_t(job.width) * 2);
        return;
    }

    prepareGammaTable(job, format);
    cv::Mat bayer;
    if (format.layout == ESampleLayout::Byte) {
        // OpenCV only reads the source; the header is not const because cv::Mat has no such kind.
        bayer = cv::Mat(height, width, CV_8UC1, const_cast<uint8_t*>(job.src), job.srcStride);
    } else {
        m_scratch8.resize(pixels);
        for (uint32_t y = 0; y < job.height; ++y)
            unpackTo8(job, format, job.srcMemoryLine(y), job.width,
                      m_scratch8.data() + size_t(y) * job.width);
        bayer = cv::Mat(height, width, CV_8UC1, m_scratch8.data());
    }
    const int channels = static_cast<int>(outputBytesPerPixel(output));
    cv::Mat dst(height, width, CV_8UC(channels), job.dst, job.dstStride);
    m_demosaicer->demosaic(bayer, order, dst, demosaicOutputOf(output),
                           job.settings.demosaicingMethod, job.settings.inconvertibleEdgeHandling);
    flipLines(job);
}

void CImageFormatConverter::convertRgb(const SJob& job)
{
    SSampleFormat format;
    GetSampleFormat(job.srcType, format);
    const EPixelType output = job.settings.outputPixelFormat;
    const int width = static_cast<int>(job.width);
    const int height = static_cast<int>(job.height);
    const int channels = static_cast<int>(SamplesPerPixel(job.srcType));
    const size_t samplesPerLine = size_t(job.width) * channels;
    const int* codes = kColorCodes[colorSourceRow(job.srcType)];

    if (output == PixelType_Mono16) {
        // Luminance on the unshifted samples, aligned when written out.
        m_scratch16.resize(samplesPerLine * job.height);
        m_grey16.resize(size_t(job.width) * job.height);
        for (uint32_t y = 0; y < job.height; ++y)
            UnpackLineTo16(job.srcMemoryLine(y), format, samplesPerLine, 0,
                           reinterpret_cast<uint8_t*>(m_scratch16.data() + y * samplesPerLine));
        const cv::Mat color(height, width, CV_16UC(channels), m_scratch16.data());
        cv::Mat grey(height, width, CV_16UC1, m_grey16.data());
        CBayerDemosaicer::convertInto(color, grey, codes[0]);
        const uint32_t shift = job.outputShift(format.bitDepth);
        for (uint32_t y = 0; y < job.height; ++y) {
            const uint16_t* line = m_grey16.data() + size_t(y) * job.width;
            uint8_t* out = job.dstLine(job.outputLineOf(y));
            for (uint32_t x = 0; x < job.width; ++x) {
                const uint32_t value = uint32_t(line[x]) << shift;
                out[2 * x] = static_cast<uint8_t>(value);
                out[2 * x + 1] = static_cast<uint8_t>(value >> 8);
            }
        }
        return;
    }

    prepareGammaTable(job, format);
    cv::Mat color;
    if (format.layout == ESampleLayout::Byte) {
        color =
            cv::Mat(height, width, CV_8UC(channels), const_cast<uint8_t*>(job.src), job.srcStride);
    } else {
        m_scratch8.resize(samplesPerLine * job.height);
        for (uint32_t y = 0; y < job.height; ++y)
            unpackTo8(job, format, job.srcMemoryLine(y), samplesPerLine,
                      m_scratch8.data() + y * samplesPerLine);
        color = cv::Mat(height, width, CV_8UC(channels), m_scratch8.data());
    }
    const int column = output == PixelType_Mono8        ? 0
                       : output == PixelType_BGR8packed ? 1
                       : output == PixelType_RGB8packed ? 2
                                                        : 3;
    if (codes[column] < 0) {
        for (uint32_t y = 0; y < job.height; ++y)
            std::memcpy(job.dstLine(job.outputLineOf(y)), color.ptr(static_cast<int>(y)),
                        samplesPerLine);
        return;
    }
    const int outputChannels = static_cast<int>(outputBytesPerPixel(output));
    cv::Mat dst(height, width, CV_8UC(outputChannels), job.dst, job.dstStride);
    CBayerDemosaicer::convertInto(color, dst, codes[column]);
    flipLines(job);
}

void CImageFormatConverter::convertYuv(const SJob& job)
{
    const bool lumaFirst = job.srcType != PixelType_YUV422packed;
    const EPixelType output = job.settings.outputPixelFormat;
    if (output == PixelType_Mono8) {
        for (uint32_t y = 0; y < job.height; ++y)
            Yuv422LineToLuma(job.srcLine(y), job.width, lumaFirst, job.dstLine(y));
        return;
    }
    if (output == PixelType_Mono16) {
        m_line.resize(job.width);
        for (uint32_t y = 0; y < job.height; ++y) {
            Yuv422LineToLuma(job.srcLine(y), job.width, lumaFirst, m_line.data());
            WidenLineTo16(m_line.data(), job.width, job.outputShift(8), job.dstLine(y));
        }
        return;
    }
    for (uint32_t y = 0; y < job.height; ++y)
        Yuv422LineToColor(job.srcLine(y), job.width, lumaFirst, output, job.dstLine(y));
}

} // namespace Tarpo
