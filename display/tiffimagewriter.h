#pragma once

// Writes a displayed image as an uncompressed TIFF file. A camera frame of more than 8 bits per
// sample keeps its depth: 16-bit grey for mono, 16-bit RGB for colour and Bayer sources (Bayer
// demosaiced bilinearly), read from the raw frame the image holds locked, with the values as the
// camera sent them (a 12-bit white is 4095, and the file's MaxSampleValue says so). Everything
// else is written from the displayed pixels as 8-bit grey or RGB. The file itself is written by
// the recorder's image persistence, so saved and recorded TIFFs are alike.
// Thread-safe: no state.

#include "viewersdk/image.h"

#include <QString>

class TiffImageWriter
{
public:
    // False when the file cannot be written (the reason goes to the warning log).
    static bool write(const QString& fileName, const TarpoViewerSdk::Image& image);
    // The bits per sample write() uses for this image: 16 or 8.
    static int bitsPerSample(const TarpoViewerSdk::Image& image);
};
