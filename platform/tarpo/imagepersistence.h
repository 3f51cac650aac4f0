#pragma once

// Saves one image as a BMP or TIFF file. BMP goes through QImage: 8-bit grey with a grey palette
// for mono sources (deeper mono data keeps its top 8 bits), 24-bit colour for everything else.
// TIFF goes through libtiff and keeps the raw depth: Mono8 as 8-bit grey; Mono10, 12, 14 and 16
// (packed or not) as 16-bit grey holding the camera's values unscaled, with MaxSampleValue
// telling the depth; colour sources with more than 8 bits per sample (Bayer 10 to 16, RGB/BGR
// 10 to 16) as 16-bit RGB, likewise unscaled; every other colour source as 8-bit RGB.
// A file that could not be written completely is removed, so that a folder of recorded frames
// only ever holds whole images.
// Thread: one thread at a time per instance (it keeps a converter and scratch memory between
// calls, so that a stream of frames allocates once); instances are independent.

#include "genapi/gcstring.h"
#include "tarpo/iimage.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Tarpo {

enum EImageFileFormat
{
    ImageFileFormat_Bmp = 0,
    ImageFileFormat_Tiff = 1
};

class CImageFormatConverter;

class CImagePersistence
{
public:
    CImagePersistence();
    ~CImagePersistence();
    CImagePersistence(const CImagePersistence&) = delete;
    CImagePersistence& operator=(const CImagePersistence&) = delete;

    // Writes the image to `filename` (the extension is not added). Throws a RuntimeException
    // when the file cannot be written, and the converter's exceptions for pixel data it cannot
    // read (an unsupported type, a buffer smaller than the image).
    void Save(EImageFileFormat format, const GenICam::gcstring& filename, const void* buffer,
              size_t bufferSize, EPixelType pixelType, uint32_t width, uint32_t height,
              size_t paddingX, EImageOrientation orientation);
    void Save(EImageFileFormat format, const GenICam::gcstring& filename, const IImage& image);

    // True when the file's samples are the source's bytes as they are (8-bit mono for both
    // formats, without padding and top-down).
    static bool CanSaveWithoutConversion(EImageFileFormat format, EPixelType pixelType,
                                         uint32_t width, uint32_t height, size_t paddingX,
                                         EImageOrientation orientation);

private:
    void saveBmp(const GenICam::gcstring& filename, const void* buffer, size_t bufferSize,
                 EPixelType pixelType, uint32_t width, uint32_t height, size_t paddingX,
                 EImageOrientation orientation);
    void saveTiff(const GenICam::gcstring& filename, const void* buffer, size_t bufferSize,
                  EPixelType pixelType, uint32_t width, uint32_t height, size_t paddingX,
                  EImageOrientation orientation);
    // 16-bit RGB of a deep colour source, values unscaled, top line first.
    void unpackRgb16(const void* buffer, size_t bufferSize, EPixelType pixelType, uint32_t width,
                     uint32_t height, size_t paddingX, EImageOrientation orientation);
    // Converts into m_scratch: lines of outputType plus outputPaddingX bytes, top line first.
    void convert(EPixelType outputType, uint32_t outputPaddingX, const void* buffer,
                 size_t bufferSize, EPixelType pixelType, uint32_t width, uint32_t height,
                 size_t paddingX, EImageOrientation orientation);

    std::unique_ptr<CImageFormatConverter> m_converter;
    std::vector<uint8_t> m_scratch;  // converted samples, lines without padding
    std::vector<uint16_t> m_bayer16; // unpacked Bayer samples of a deep colour source
};

} // namespace Tarpo
