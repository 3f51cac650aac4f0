#pragma once

// A displayable image: 8-bit grey (format 0) or 32-bit BGRA (format 1), or, with format -1, no
// pixels at all but still the buffer it came from. Copies are cheap and share the pixels and the
// source buffer, which stays locked while any copy lives (so the raw values under the cursor can
// still be read).
// Thread: an Image may be copied and destroyed in any thread; its pixels are written only by the
// thread that made it, before it is handed on.

#include <QImage>
#include <QMetaType>

#include <cstdint>
#include <memory>

namespace TarpoViewerSdk {

class StreamBuffer;

class Image
{
public:
    enum Format
    {
        Mono8 = 0,
        BGRA32 = 1,
        NoPixels = -1
    };

    Image() = default;
    // Allocates the pixels for format 0 or 1; lines are 4-byte aligned. Locks `buffer`.
    Image(int width, int height, int format, StreamBuffer* buffer = nullptr);

    // An image of the buffer's size in the given format.
    static Image ImageFromBuffer(int format, StreamBuffer* buffer);

    bool isValid() const { return m_data && m_data->width > 0 && m_data->height > 0; }
    int width() const { return m_data ? m_data->width : 0; }
    int height() const { return m_data ? m_data->height : 0; }
    int format() const { return m_data ? m_data->format : NoPixels; }
    // Bytes per line.
    int lineOffset() const { return m_data ? m_data->lineOffset : 0; }
    uint8_t* pixelData() const { return m_data ? m_data->pixels.get() : nullptr; }
    size_t sizeInBytes() const;
    StreamBuffer* buffer() const { return m_data ? m_data->buffer : nullptr; }

    // A QImage over the same pixels, no copy (valid while this image or a copy lives).
    QImage qimage() const;
    // A copy with its own pixels and no source buffer.
    Image deepCopy() const;

private:
    struct Data
    {
        ~Data();
        int width = 0;
        int height = 0;
        int format = NoPixels;
        int lineOffset = 0;
        std::unique_ptr<uint8_t[]> pixels;
        StreamBuffer* buffer = nullptr; // locked while the data lives
    };
    std::shared_ptr<Data> m_data;
};

} // namespace TarpoViewerSdk

Q_DECLARE_METATYPE(TarpoViewerSdk::Image)
