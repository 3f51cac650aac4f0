#include "recording/bitmapmediawriter.h"

CBitmapMediaWriter::CBitmapMediaWriter()
    : CStillImageMediaWriter(Tarpo::ImageFileFormat_Bmp, ".bmp")
{
}
