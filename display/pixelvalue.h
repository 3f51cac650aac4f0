#pragma once

// The pixel under the mouse as the status bar shows it: the displayed colour, whether the
// display is grey, and the camera's own samples behind it.
// Thread: a value.

#include "display/rawpixel.h"

#include <QRgb>

struct PixelValue
{
    QRgb rgb = 0;      // as displayed
    bool grey = false; // the displayed image is 8-bit grey: one value, not three
    RawPixel raw;      // from the source frame; invalid when the frame cannot be read
};
