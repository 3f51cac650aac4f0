#pragma once

// The parameters of the image format converter, as its node map exposes them. The numeric
// values are the enumeration entries' values in that node map, so a client may set them by
// integer through GenApi as well as through the converter's typed setters.
// Thread: a plain value; the converter copies it under its node map's lock.

#include "tarpo/pixeltype.h"

#include <cstdint>

namespace Tarpo {

// Where the significant bits of 10-, 12- and 14-bit samples go in Mono16 output.
enum EOutputBitAlignment
{
    OutputBitAlignment_LsbAligned = 1, // keep the value: a 12-bit white is 4095
    OutputBitAlignment_MsbAligned = 2  // move it to the top bits: a 12-bit white is 65520
};

// What demosaicing does with the outermost rows and columns of a Bayer image, where the
// interpolation lacks neighbours on one side.
enum EInconvertibleEdgeHandling
{
    InconvertibleEdgeHandling_SetZero = 1, // black
    InconvertibleEdgeHandling_Clip = 2,    // interpolated from the neighbours that exist
    InconvertibleEdgeHandling_Extend = 3   // repeats the nearest fully interpolated row/column
};

// How samples deeper than 8 bits become 8-bit samples.
enum EMonoConversionMethod
{
    MonoConversionMethod_Truncation = 1, // the top 8 bits
    MonoConversionMethod_Gamma = 2       // 255 * (value / full scale) ^ (1 / Gamma), rounded
};

enum EDemosaicingMethod
{
    DemosaicingMethod_Simple = 1,   // bilinear interpolation
    DemosaicingMethod_EdgeAware = 2 // interpolates green along edges rather than across them
};

struct SImageFormatConverterSettings
{
    // BGRA keeps every colour and widens grey losslessly, so it is the safe default for display.
    EPixelType outputPixelFormat = PixelType_BGRA8packed;
    uint32_t outputPaddingX = 0; // bytes after each output line
    // Full scale stays full scale: a Mono16 image of 12-bit data looks as bright as the source.
    EOutputBitAlignment outputBitAlignment = OutputBitAlignment_MsbAligned;
    // No black frame around the image, and no stale bytes in reused buffers.
    EInconvertibleEdgeHandling inconvertibleEdgeHandling = InconvertibleEdgeHandling_Extend;
    EMonoConversionMethod monoConversionMethod = MonoConversionMethod_Truncation;
    double gamma = 1.0;
    EDemosaicingMethod demosaicingMethod = DemosaicingMethod_Simple;
};

} // namespace Tarpo
