#pragma once

// Records into one AVI video through the SDK's AVI writer ("<base>.avi"). It chooses the video's
// pixel type when it opens (the codec's choice among candidates, see chooseOutputPixelType) and
// stops the recording when the file's image data passes 2,100,000,000 bytes, safely below the
// 2 GiB that AVI readers cope with, leaving room for the index.
// Thread: as IMediaWriter.

#include "recording/imediawriter.h"
#include "tarpo/avicompressionoptions.h"
#include "tarpo/aviwriter.h"

#include <functional>
#include <memory>

class CAviMediaWriterAdapter : public IMediaWriter
{
public:
    static constexpr int64_t MaxImageDataBytes = 2100000000;

    // inputPixelType, width and height are the camera's. compressionOptions is borrowed for the
    // writer's lifetime; null (or a record naming no codec) writes uncompressed video.
    // imageDataLimitBytes is MaxImageDataBytes in the product; tests reach the limit sooner.
    CAviMediaWriterAdapter(double framesPerSecondPlayback, Tarpo::EPixelType inputPixelType,
                           uint32_t width, uint32_t height, Tarpo::EImageOrientation orientation,
                           const Tarpo::SAviCompressionOptions* compressionOptions,
                           int64_t imageDataLimitBytes = MaxImageDataBytes);
    ~CAviMediaWriterAdapter() override;

    // Opens basePath + ".avi". Throws a GenICam RuntimeException when the codec takes none of
    // the candidate pixel types, or when the file cannot be created.
    void Open(const GenICam::gcstring& basePath) override;
    bool IsOpen() const override;
    void Close() override;
    void Add(const Tarpo::IImage& image) override;
    void Add(const void* buffer, size_t bufferSize, Tarpo::EPixelType pixelType, uint32_t width,
             uint32_t height, size_t paddingX, Tarpo::EImageOrientation orientation) override;
    bool CanAddWithoutConversion(const Tarpo::IImage& image) const override;
    bool CanAddWithoutConversion(Tarpo::EPixelType pixelType, uint32_t width, uint32_t height,
                                 size_t paddingX,
                                 Tarpo::EImageOrientation orientation) const override;
    size_t GetCountOfAddedImages() const override;
    int64_t GetImageDataBytesWritten() const override;

    // PixelType_Undefined until Open has chosen it.
    Tarpo::EPixelType outputPixelType() const { return m_outputPixelType; }

    // The pixel type an AVI recording of a camera delivering inputPixelType is written in.
    // Uncompressed: Mono8 for a Mono8 camera, BGR8packed for any other. Compressed: the first
    // candidate the codec accepts, from Mono8, BGR8packed, BGRA8packed for a Mono8 camera and
    // BGR8packed, Mono8, BGRA8packed for any other; none accepted throws a RuntimeException
    // "Failed to start recording, because the codec doesn<U+FFFD>t support the pixel format or
    // image size.".
    static Tarpo::EPixelType
    chooseOutputPixelType(Tarpo::EPixelType inputPixelType, bool compressed,
                          const std::function<bool(Tarpo::EPixelType candidate)>& codecAccepts);

private:
    bool compressed() const;
    void checkLimit();

    std::unique_ptr<Tarpo::CAviWriter> m_aviWriter;
    double m_framesPerSecondPlayback;
    Tarpo::EPixelType m_inputPixelType;
    Tarpo::EPixelType m_outputPixelType = Tarpo::PixelType_Undefined;
    uint32_t m_width;
    uint32_t m_height;
    Tarpo::EImageOrientation m_orientation;
    const Tarpo::SAviCompressionOptions* m_compressionOptions; // borrowed; null = uncompressed
    const int64_t m_imageDataLimitBytes;
};
