#pragma once

// Writes every frame of a recording as its own image file: basePath, the frame's number
// formatted "_%04d" (counting from 1 for the first frame of each writer; past 9999 the number
// simply grows) and the format's extension. No file is held open between frames. The BMP and
// TIFF writers are this class with their format and extension.
// Thread: as IMediaWriter; the counter is atomic so that any thread may read it.

#include "recording/imediawriter.h"
#include "tarpo/imagepersistence.h"

#include <atomic>
#include <string>

class CStillImageMediaWriter : public IMediaWriter
{
public:
    void Open(const GenICam::gcstring& basePath) override;
    bool IsOpen() const override { return m_open.load(); }
    void Close() override;
    void Add(const Tarpo::IImage& image) override;
    void Add(const void* buffer, size_t bufferSize, Tarpo::EPixelType pixelType, uint32_t width,
             uint32_t height, size_t paddingX, Tarpo::EImageOrientation orientation) override;
    bool CanAddWithoutConversion(const Tarpo::IImage&) const override { return true; }
    bool CanAddWithoutConversion(Tarpo::EPixelType, uint32_t, uint32_t, size_t,
                                 Tarpo::EImageOrientation) const override
    {
        return true;
    }
    size_t GetCountOfAddedImages() const override { return m_frameCounter.load(); }
    int64_t GetImageDataBytesWritten() const override { return 0; }

    // basePath + "_0001" + extension for frame 1.
    std::string fileNameOf(uint32_t frameNumber) const;

protected:
    CStillImageMediaWriter(Tarpo::EImageFileFormat format, const char* extension);

private:
    const Tarpo::EImageFileFormat m_format;
    const char* const m_extension;
    std::atomic<bool> m_open{false};
    GenICam::gcstring m_basePath;
    std::atomic<uint32_t> m_frameCounter{0};
    Tarpo::CImagePersistence m_persistence; // used by Add only
};
