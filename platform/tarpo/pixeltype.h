#pragma once

// Pixel types of the SDK: the GigE Vision / PFNC pixel format codes, their names in camera
// node maps, and the memory layout facts that buffer allocation and conversion depend on.
// Thread-safe: every function is a pure function of its arguments.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Tarpo {

// A code carries its own layout facts: bits 24..31 say mono (0x01) or colour (0x02), bits
// 16..23 the bits one pixel occupies in memory, bits 0..15 the format's id.
enum EPixelType : uint32_t
{
    PixelType_Undefined = 0xFFFFFFFFu,

    PixelType_Mono1p = 0x01010037u,
    PixelType_Mono2p = 0x01020038u,
    PixelType_Mono4p = 0x01040039u,
    PixelType_Mono8 = 0x01080001u,
    PixelType_Mono8signed = 0x01080002u,
    PixelType_Mono10 = 0x01100003u,
    PixelType_Mono10packed = 0x010C0004u,
    PixelType_Mono10p = 0x010A0046u,
    PixelType_Mono12 = 0x01100005u,
    PixelType_Mono12packed = 0x010C0006u,
    PixelType_Mono12p = 0x010C0047u,
    PixelType_Mono14 = 0x01100025u,
    PixelType_Mono16 = 0x01100007u,

    PixelType_BayerGR8 = 0x01080008u,
    PixelType_BayerRG8 = 0x01080009u,
    PixelType_BayerGB8 = 0x0108000Au,
    PixelType_BayerBG8 = 0x0108000Bu,
    PixelType_BayerGR10 = 0x0110000Cu,
    PixelType_BayerRG10 = 0x0110000Du,
    PixelType_BayerGB10 = 0x0110000Eu,
    PixelType_BayerBG10 = 0x0110000Fu,
    PixelType_BayerGR10packed = 0x010C0026u,
    PixelType_BayerRG10packed = 0x010C0027u,
    PixelType_BayerGB10packed = 0x010C0028u,
    PixelType_BayerBG10packed = 0x010C0029u,
    PixelType_BayerGR10p = 0x010A0056u,
    PixelType_BayerRG10p = 0x010A0058u,
    PixelType_BayerGB10p = 0x010A0054u,
    PixelType_BayerBG10p = 0x010A0052u,
    PixelType_BayerGR12 = 0x01100010u,
    PixelType_BayerRG12 = 0x01100011u,
    PixelType_BayerGB12 = 0x01100012u,
    PixelType_BayerBG12 = 0x01100013u,
    PixelType_BayerGR12packed = 0x010C002Au,
    PixelType_BayerRG12packed = 0x010C002Bu,
    PixelType_BayerGB12packed = 0x010C002Cu,
    PixelType_BayerBG12packed = 0x010C002Du,
    PixelType_BayerGR12p = 0x010C0057u,
    PixelType_BayerRG12p = 0x010C0059u,
    PixelType_BayerGB12p = 0x010C0055u,
    PixelType_BayerBG12p = 0x010C0053u,
    PixelType_BayerGR16 = 0x0110002Eu,
    PixelType_BayerRG16 = 0x0110002Fu,
    PixelType_BayerGB16 = 0x01100030u,
    PixelType_BayerBG16 = 0x01100031u,

    PixelType_RGB8packed = 0x02180014u,
    PixelType_BGR8packed = 0x02180015u,
    PixelType_RGBA8packed = 0x02200016u,
    PixelType_BGRA8packed = 0x02200017u,
    PixelType_RGB10packed = 0x02300018u,
    PixelType_BGR10packed = 0x02300019u,
    PixelType_RGB12packed = 0x0230001Au,
    PixelType_BGR12packed = 0x0230001Bu,
    PixelType_RGB16packed = 0x02300033u,
    PixelType_BGR16packed = 0x0230004Bu,

    PixelType_YUV411packed = 0x020C001Eu,       // U Y Y V Y Y per 4 pixels
    PixelType_YUV422packed = 0x0210001Fu,       // U Y V Y per 2 pixels
    PixelType_YUV422_YUYV_Packed = 0x02100032u, // Y U Y V per 2 pixels
    PixelType_YUV444packed = 0x02180020u,       // U Y V per pixel
    PixelType_YCbCr422_8 = 0x0210003Bu          // Y Cb Y Cr per 2 pixels
};

// The colour of the first pixel pair of a Bayer image. The numbers are those the colour
// converter classifies Bayer types with; BayerOrder_None marks every type that is not Bayer.
enum EBayerOrder
{
    BayerOrder_RG = 0, // R G / G B
    BayerOrder_GB = 1, // G B / R G
    BayerOrder_GR = 2, // G R / B G
    BayerOrder_BG = 3, // B G / G R
    BayerOrder_None = 4
};

// The name a camera's PixelFormat enumeration uses for the type ("Mono12p", "BayerRG8", "RGB8",
// "BGRa8", "YCbCr422_8"); an empty text for PixelType_Undefined and codes this table lacks.
const char* GetPixelTypeName(EPixelType type);

// The type for a PixelFormat name; takes the current names and the GigE Vision 1.x names
// ("RGB8Packed", "YUV422Packed", "Mono8Signed"). PixelType_Undefined for any other text.
EPixelType GetPixelTypeFromName(const std::string& name);

// Every type this table knows, in code order of its declaration.
const std::vector<EPixelType>& GetKnownPixelTypes();

// Bits one pixel occupies in memory (bits 16..23 of the code: Mono12p 12, Mono12 16, RGB8 24,
// YUV422 16, YUV411 12); 0 for PixelType_Undefined.
uint32_t BitPerPixel(EPixelType type);

// Significant bits of one sample (Mono12p and Mono12 12, RGB8 and YUV422 8); 0 when unknown.
uint32_t BitDepth(EPixelType type);

// Samples stored per pixel: 1 for mono and Bayer, 3 for RGB and YUV 4:4:4, 4 with alpha, 2 for
// YUV 4:2:2 (Y plus one of U/V) and for YUV 4:1:1 (1.5 rounded up); 0 when unknown.
uint32_t SamplesPerPixel(EPixelType type);

bool IsMono(EPixelType type);  // one grey sample per pixel; Bayer types are not mono
bool IsBayer(EPixelType type); // one colour-filtered sample per pixel
bool IsRGB(EPixelType type);   // R G B order, without alpha
bool IsBGR(EPixelType type);   // B G R order, without alpha
bool IsRGBA(EPixelType type);
bool IsBGRA(EPixelType type);
bool IsYUV(EPixelType type);   // any YUV or YCbCr type
bool IsColor(EPixelType type); // Bayer, RGB/BGR with or without alpha, YUV

// PFNC "p" packing: one continuous little-endian bit stream, each pixel's LSB first.
bool IsPFNCPacked(EPixelType type);
// GigE Vision 1.x "Packed": two 10- or 12-bit pixels in three bytes, B0 = p0 high bits,
// B1 = p1 low bits << 4 | p0 low bits, B2 = p1 high bits.
bool IsGigELegacyPacked(EPixelType type);
// Samples share bytes: either of the two packings above.
bool IsPacked(EPixelType type);
bool IsMonoPacked(EPixelType type); // IsMono and IsPacked

EBayerOrder GetBayerOrder(EPixelType type);
// The colour filter over pixel (x, y) of a sensor with this order: 'R', 'G' or 'B'; 0 for
// BayerOrder_None.
char BayerFilterAt(EBayerOrder order, int x, int y);

// Bytes of an image whose lines each start on a byte boundary and carry paddingX extra bytes:
// (ceil(width * BitPerPixel / 8) + paddingX) * height. Throws std::invalid_argument for
// PixelType_Undefined or a code without bits per pixel.
size_t ComputeBufferSize(EPixelType type, uint32_t width, uint32_t height, uint32_t paddingX = 0);

// The padding that makes a line lineOffsetBytes long: lineOffsetBytes - ceil(width * bpp / 8).
// Throws std::invalid_argument when the type is undefined or the line offset cannot hold the line.
uint32_t ComputePaddingX(size_t lineOffsetBytes, EPixelType type, uint32_t width);

} // namespace Tarpo
