#pragma once

// One pixel of a camera frame as the camera sent it: its samples at the source's bit depth, read
// straight from the frame memory (packed layouts unpacked for this one pixel only). The status
// bar shows it beside the displayed value, so a Mono12 pixel reads 4095 where the screen shows
// 255.
// Thread-safe: a value; read() only reads the frame.

#include "tarpo/pixeltype.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>

namespace TarpoViewerSdk {
class StreamBuffer;
}

struct RawPixel
{
    enum Kind
    {
        None,  // no raw value: unknown type, or the pixel lies outside the frame or its memory
        Mono,  // values[0]
        Bayer, // values[0], seen through the colour filter `filter` ('R', 'G' or 'B')
        Rgb,   // values[0..2] = R, G, B whatever the order in memory
        Yuv    // values[0..2] = Y, U, V; U and V 0..255 with 128 for no colour
    };

    Kind kind = None;
    int count = 0;
    int32_t values[3] = {0, 0, 0};
    uint32_t bitDepth = 0;
    char filter = 0;

    bool isValid() const { return kind != None; }
    // "4095" or "4095, 2048, 0"; Bayer values carry their filter colour, "G 2048".
    QString text() const;

    // Pixel (x, y) of the frame the buffer holds now (its pixel type, size and padding).
    static RawPixel read(const TarpoViewerSdk::StreamBuffer& buffer, int x, int y);
    // Pixel (x, y) of a frame of `width` x `height` pixels whose lines are `lineOffset` bytes
    // apart in `dataSize` bytes at `data`; nothing is read outside those bytes.
    static RawPixel read(const uint8_t* data, size_t dataSize, Tarpo::EPixelType type, int width,
                         int height, size_t lineOffset, int x, int y);
};
