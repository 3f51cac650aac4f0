#pragma once

// Turns the stream of recorded frames into files: one AVI video or one still image per frame.
// The recording controller opens and closes a writer; the buffered sink's writer thread adds
// frames.
// Thread: Open and Close on the controller's threads, Add on the sink's writer thread; they
// never overlap, because the controller closes the writer only after the sink's thread has been
// joined. The two counters may be read from any thread.

#include "genapi/gcstring.h"
#include "tarpo/iimage.h"

#include <cstddef>
#include <cstdint>

class IMediaWriter
{
public:
    virtual ~IMediaWriter() = default;

    // Starts a recording; the writer adds its own numbering and extension to basePath.
    virtual void Open(const GenICam::gcstring& basePath) = 0;
    virtual bool IsOpen() const = 0;
    // Finishes the file(s).
    virtual void Close() = 0;
    // Writes one frame. Throws FatalMediaWriterException when the encoder failed,
    // MediaFileLimitReachedException when the file is full, and the SDK's GenICam exceptions for
    // any other failure.
    virtual void Add(const Tarpo::IImage& image) = 0;
    virtual void Add(const void* buffer, size_t bufferSize, Tarpo::EPixelType pixelType,
                     uint32_t width, uint32_t height, size_t paddingX,
                     Tarpo::EImageOrientation orientation) = 0;
    virtual bool CanAddWithoutConversion(const Tarpo::IImage& image) const = 0;
    virtual bool CanAddWithoutConversion(Tarpo::EPixelType pixelType, uint32_t width,
                                         uint32_t height, size_t paddingX,
                                         Tarpo::EImageOrientation orientation) const = 0;
    // Frames written so far.
    virtual size_t GetCountOfAddedImages() const = 0;
    virtual int64_t GetImageDataBytesWritten() const = 0;
};
