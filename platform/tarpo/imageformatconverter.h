#pragma once

// Converts camera buffers of every pixel type the cameras and the emulator deliver into the
// images the viewer displays (Mono8, BGRA8packed) and the recorders write (BGR8packed, Mono16,
// RGB8packed). Packed samples are unpacked here; demosaicing and colour conversion are
// OpenCV's. The parameters are a GenApi node map, so the feature tree shows and edits them; the
// typed setters and getters below go through that same node map.
// Thread: Convert() from one thread at a time (it reuses scratch memory). The parameters, by
// node map or by the setters and getters, may be used from any thread meanwhile: the node map's
// lock serialises them, and Convert() copies them under that lock when it starts.

#include "genapi/nodemapref.h"
#include "genapi/pointer.h"
#include "tarpo/imageformatconverterport.h"
#include "tarpo/imageformatconvertersettings.h"
#include "tarpo/imageorientation.h"
#include "tarpo/pixeltype.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Tarpo {

class CBayerDemosaicer;
struct SSampleFormat;

class CImageFormatConverter
{
public:
    CImageFormatConverter();
    ~CImageFormatConverter();
    CImageFormatConverter(const CImageFormatConverter&) = delete;
    CImageFormatConverter& operator=(const CImageFormatConverter&) = delete;

    // The parameters' node map, owned by the converter; its "Root" category lists the features
    // OutputPixelFormat, OutputPaddingX, OutputBitAlignment, MonoConversionMethod, Gamma,
    // DemosaicingMethod and InconvertibleEdgeHandling.
    GenApi::INodeMap* GetNodeMap() const;

    // Each setter writes the node map's feature and throws its GenICam exception for a value
    // the feature refuses (an output format that is not one, a padding above 1 MiB, ...).
    void setOutputPixelFormat(EPixelType type);
    EPixelType outputPixelFormat() const;
    void setOutputPaddingX(uint32_t paddingBytes);
    uint32_t outputPaddingX() const;
    void setOutputBitAlignment(EOutputBitAlignment alignment);
    EOutputBitAlignment outputBitAlignment() const;
    void setInconvertibleEdgeHandling(EInconvertibleEdgeHandling handling);
    EInconvertibleEdgeHandling inconvertibleEdgeHandling() const;
    void setMonoConversionMethod(EMonoConversionMethod method);
    EMonoConversionMethod monoConversionMethod() const;
    void setGamma(double gamma);
    double gamma() const;
    void setDemosaicingMethod(EDemosaicingMethod method);
    EDemosaicingMethod demosaicingMethod() const;

    static bool IsSupportedInputFormat(EPixelType type);
    static bool IsSupportedOutputFormat(EPixelType type);

    // Bytes Convert() writes an image of this size into: lines of the output format plus
    // OutputPaddingX, the last line's padding included. Throws an InvalidArgumentException for
    // an unsupported input type and an OutOfRangeException when the size does not fit in memory.
    size_t GetBufferSizeForConversion(EPixelType inType, uint32_t width, uint32_t height) const;

    // Converts the image at src (lines of ceil(width * bits per pixel / 8) bytes plus
    // srcPaddingX, the first line the top one unless orientation is BottomUp) into dst in the
    // output format, top line first. Output padding bytes are never written. src and dst must
    // not overlap. Before touching dst it refuses, with a GenICam exception:
    // InvalidArgumentException for an unsupported type, a zero width or height or a null buffer;
    // OutOfRangeException for a source smaller than the image (a truncated frame), a
    // destination smaller than GetBufferSizeForConversion() or an image too large to address.
    // A failure inside OpenCV or out of memory gives a RuntimeException.
    void Convert(void* dst, size_t dstSize, const void* src, size_t srcSize, EPixelType srcType,
                 uint32_t width, uint32_t height, uint32_t srcPaddingX,
                 EImageOrientation orientation = TopDown);

private:
    struct SJob;

    SImageFormatConverterSettings settingsSnapshot() const;
    void convertMono(const SJob& job);
    void convertBayer(const SJob& job);
    void convertRgb(const SJob& job);
    void convertYuv(const SJob& job);
    // Unpacks one line to 8 bits: truncation, or the gamma table when the job asks for it.
    void unpackTo8(const SJob& job, const SSampleFormat& format, const uint8_t* src, size_t count,
                   uint8_t* dst);
    void prepareGammaTable(const SJob& job, const SSampleFormat& format);
    void flipLines(const SJob& job);

    CImageFormatConverterPort m_port; // the parameters; before the node map that reads them
    GenApi::CNodeMapRef m_nodeMapRef;
    GenApi::CEnumerationPtr m_outputPixelFormat;
    GenApi::CIntegerPtr m_outputPaddingX;
    GenApi::CEnumerationPtr m_outputBitAlignment;
    GenApi::CEnumerationPtr m_inconvertibleEdgeHandling;
    GenApi::CEnumerationPtr m_monoConversionMethod;
    GenApi::CFloatPtr m_gamma;
    GenApi::CEnumerationPtr m_demosaicingMethod;

    // Used by the converting thread only; kept between calls so that a stream of frames of one
    // size allocates once.
    std::unique_ptr<CBayerDemosaicer> m_demosaicer;
    std::vector<uint8_t> m_scratch8;
    std::vector<uint16_t> m_scratch16;
    std::vector<uint16_t> m_grey16;
    std::vector<uint8_t> m_line;
    std::vector<uint8_t> m_gammaTable; // 2^m_gammaTableBitDepth entries for m_gammaTableGamma
    uint32_t m_gammaTableBitDepth = 0;
    double m_gammaTableGamma = 0.0;
};

} // namespace Tarpo
