#pragma once

// Records every frame as a numbered TIFF file ("<base>_0001.tiff", ...), keeping the camera's
// bit depth.
// Thread: as IMediaWriter.

#include "recording/stillimagemediawriter.h"

class CTiffMediaWriter : public CStillImageMediaWriter
{
public:
    CTiffMediaWriter();
};
