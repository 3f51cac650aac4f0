#pragma once

// Writes one AVI video over FFmpeg's AVI muxer and encoders. Uncompressed video is written as
// Video for Windows writes it, so that every player opens it: BI_RGB frames, lines bottom-up
// and padded to four bytes, Mono8 as 8-bit palettised frames with a grey palette and every
// other output type as 24-bit BGR. With compression, the record's fccHandler picks an encoder of
// the FFmpeg build (CAviCodecCatalog), which gets quality, key-frame interval, data rate and the
// parameter block's options from the record.
//
// Frames of any pixel type the image format converter reads are converted to the output pixel
// type chosen at Open (Mono8, BGR8packed or BGRA8packed), and from there by swscale to the
// encoder's own format where the two differ.
//
// A full disk never costs the frames written before it: before each frame the writer reserves
// the frame's bytes plus the room the index needs at Close, and refuses a frame that does not
// fit with a RuntimeException, so the file can still be finished with a valid index.
// Thread: Open, Close and Add from one thread at a time (callers serialise them; a recorder
// opens and closes on its own threads and adds on its writer thread). The counters may be read
// from any thread.

#include "genapi/gcstring.h"
#include "tarpo/avicompressionoptions.h"
#include "tarpo/iimage.h"

#include <cstdint>
#include <memory>

namespace Tarpo {

// Which frames become key frames.
enum EKeyFrameSelection
{
    KeyFrameSelection_NoKeyFrame = 0, // the frame is not forced to be a key frame
    KeyFrameSelection_KeyFrame = 1,   // the frame is encoded as a key frame
    KeyFrameSelection_Auto = 2        // the codec decides, following the record's interval
};

class CAviWriter
{
public:
    CAviWriter();
    // Closes an open video; errors while finishing it are dropped here.
    ~CAviWriter();
    CAviWriter(const CAviWriter&) = delete;
    CAviWriter& operator=(const CAviWriter&) = delete;

    // Creates (or truncates) the file and writes the AVI header. outputPixelType is Mono8,
    // BGR8packed or BGRA8packed (BGRA only with compression). `orientation` is that of the
    // frames that will be added. compressionOptions null or uncompressed writes DIB frames.
    // Throws a RuntimeException when the file cannot be created or the codec refuses the format,
    // and a LogicalErrorException when the writer is open already.
    void Open(const GenICam::gcstring& filename, double framesPerSecondPlayBack,
              EPixelType outputPixelType, uint32_t width, uint32_t height,
              EImageOrientation orientation = TopDown,
              const SAviCompressionOptions* compressionOptions = nullptr);
    bool IsOpen() const;
    // Flushes the encoder, writes the index and closes the file. The writer is closed
    // afterwards in any case; a failure to finish the file is thrown as RuntimeException.
    void Close();

    // Appends one frame of the size given at Open. Throws AviWriterFatalException when the codec
    // fails, a RuntimeException when the file cannot take the frame (disk full, I/O error,
    // another frame size), the converter's exceptions for pixel data it cannot read, and a
    // LogicalErrorException when the writer is not open.
    void Add(const IImage& image, EKeyFrameSelection keyFrameSelection = KeyFrameSelection_Auto);
    void Add(const void* buffer, size_t bufferSize, EPixelType pixelType, uint32_t width,
             uint32_t height, size_t paddingX, EImageOrientation orientation,
             EKeyFrameSelection keyFrameSelection = KeyFrameSelection_Auto);

    // True when a frame of this description is written as it is, without a conversion.
    bool CanAddWithoutConversion(EPixelType pixelType, uint32_t width, uint32_t height,
                                 size_t paddingX, EImageOrientation orientation) const;

    // Frames accepted by Add since Open.
    size_t GetCountOfAddedImages() const;
    // Bytes of frame data in the file (encoded frames, without container overhead).
    int64_t GetImageDataBytesWritten() const;

    // Offers an output pixel type of this size to the record's codec, as a recording would open
    // it: true when the encoder takes it, directly or through a conversion to one of its own
    // formats. False for uncompressed records and for codecs this FFmpeg build lacks.
    static bool IsOutputFormatSupported(const SAviCompressionOptions& compressionOptions,
                                        EPixelType outputPixelType, uint32_t width,
                                        uint32_t height);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace Tarpo
