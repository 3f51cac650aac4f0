#pragma once

// Camera frames for the display tests: a frame buffer as the camera fills it, and the image
// the converter makes of it. The frame's buffer outlives every copy of its image: the frame
// orphans it on destruction, as a camera that goes away does, and the last copy deletes it.

#include "tarpo/pixelunpack.h"
#include "viewersdk/image.h"
#include "viewersdk/streambuffer.h"

#include <QImage>

#include <cstring>
#include <memory>
#include <vector>

struct TestFrame
{
    TestFrame() = default;
    TestFrame(TestFrame&&) = default;
    TestFrame& operator=(TestFrame&& other)
    {
        if (this != &other) {
            release();
            buffer = std::move(other.buffer);
            image = std::move(other.image);
        }
        return *this;
    }
    ~TestFrame() { release(); }

    void release()
    {
        image = TarpoViewerSdk::Image();
        if (buffer)
            buffer.release()->orphan();
    }

    std::unique_ptr<TarpoViewerSdk::StreamBuffer> buffer;
    TarpoViewerSdk::Image image;
};

// An empty frame buffer of the given type and size, its frame fields set.
inline std::unique_ptr<TarpoViewerSdk::StreamBuffer> makeBuffer(Tarpo::EPixelType type, int width,
                                                                int height, int paddingX = 0)
{
    const size_t size =
        Tarpo::ComputeBufferSize(type, uint32_t(width), uint32_t(height), uint32_t(paddingX));
    auto buffer =
        std::make_unique<TarpoViewerSdk::StreamBuffer>(uint32_t(size), type, width, height, 1u);
    std::memset(buffer->data(), 0, size);
    buffer->setFrame(type, width, height, paddingX, int64_t(size), 1, 0);
    return buffer;
}

// The test pattern: a colour gradient under a checkerboard, a white frame and a black
// diagonal, so that scaling, offsets and mirror images all show.
inline QRgb patternPixel(int x, int y, int width, int height)
{
    if (x == 0 || y == 0 || x == width - 1 || y == height - 1)
        return qRgb(255, 255, 255);
    if (x == y)
        return qRgb(0, 0, 0);
    const int checker = ((x / 8) + (y / 8)) % 2 ? 48 : 0;
    return qRgb(x * 255 / width, y * 255 / height, 96 + checker + (x * 7 + y * 3) % 32);
}

inline QImage patternImage(int width, int height, bool grey)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const QRgb rgb = patternPixel(x, y, width, height);
            const int g = qGray(rgb);
            image.setPixel(x, y, grey ? qRgb(g, g, g) : rgb);
        }
    return image;
}

// The pattern as a BGRA8 camera frame shown as BGRA, or as a Mono8 frame shown as grey.
inline TestFrame patternFrame(int width, int height, bool grey = false)
{
    TestFrame frame;
    frame.buffer =
        makeBuffer(grey ? Tarpo::PixelType_Mono8 : Tarpo::PixelType_BGRA8packed, width, height);
    frame.image = TarpoViewerSdk::Image(
        width, height, grey ? TarpoViewerSdk::Image::Mono8 : TarpoViewerSdk::Image::BGRA32,
        frame.buffer.get());
    const QImage pattern = patternImage(width, height, grey);
    for (int y = 0; y < height; ++y) {
        uint8_t* raw = frame.buffer->data() + frame.buffer->lineOffset() * size_t(y);
        uint8_t* shown = frame.image.pixelData() + size_t(frame.image.lineOffset()) * y;
        for (int x = 0; x < width; ++x) {
            const QRgb rgb = pattern.pixel(x, y);
            if (grey) {
                raw[x] = shown[x] = uint8_t(qRed(rgb));
            } else {
                const uint8_t bgra[4] = {uint8_t(qBlue(rgb)), uint8_t(qGreen(rgb)),
                                         uint8_t(qRed(rgb)), 255};
                std::memcpy(raw + 4 * x, bgra, 4);
                std::memcpy(shown + 4 * x, bgra, 4);
            }
        }
    }
    return frame;
}

// Encodes a line's samples the way a camera sends them, written from the interface standards'
// descriptions rather than from our readers.
inline std::vector<uint8_t> encodeSamples(Tarpo::ESampleLayout layout, int depth,
                                          const std::vector<int>& samples)
{
    std::vector<uint8_t> bytes;
    switch (layout) {
    case Tarpo::ESampleLayout::Byte:
        for (int s : samples)
            bytes.push_back(uint8_t(s));
        break;
    case Tarpo::ESampleLayout::Word16:
        for (int s : samples) {
            bytes.push_back(uint8_t(s & 0xFF));
            bytes.push_back(uint8_t(s >> 8));
        }
        break;
    case Tarpo::ESampleLayout::PfncPacked: {
        // One bit stream, each sample's least significant bit first.
        bytes.assign((samples.size() * size_t(depth) + 7) / 8, 0);
        size_t bit = 0;
        for (int s : samples)
            for (int b = 0; b < depth; ++b, ++bit)
                if (s & (1 << b))
                    bytes[bit / 8] |= uint8_t(1u << (bit % 8));
        break;
    }
    case Tarpo::ESampleLayout::GigEPacked:
        // Pixel pairs in three bytes: high bits, both low-bit groups, high bits. A last pixel
        // without a partner takes a byte and a half.
        for (size_t i = 0; i < samples.size(); i += 2) {
            const int low = depth - 8;
            const int p0 = samples[i];
            const int p1 = i + 1 < samples.size() ? samples[i + 1] : 0;
            bytes.push_back(uint8_t(p0 >> low));
            bytes.push_back(uint8_t((p0 & ((1 << low) - 1)) | (p1 & ((1 << low) - 1)) << 4));
            if (i + 1 < samples.size())
                bytes.push_back(uint8_t(p1 >> low));
        }
        break;
    }
    return bytes;
}
