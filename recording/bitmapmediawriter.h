#pragma once

// Records every frame as a numbered BMP file ("<base>_0001.bmp", ...).
// Thread: as IMediaWriter.

#include "recording/stillimagemediawriter.h"

class CBitmapMediaWriter : public CStillImageMediaWriter
{
public:
    CBitmapMediaWriter();
};
