#include "recording/tiffmediawriter.h"

CTiffMediaWriter::CTiffMediaWriter() : CStillImageMediaWriter(Tarpo::ImageFileFormat_Tiff, ".tiff")
{
}
