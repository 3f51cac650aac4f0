#include "tarpo/pixeltype.h"

#include <cstdio>
#include <limits>
#include <stdexcept>

namespace Tarpo {

namespace {

enum class Kind : uint8_t
{
    Mono,
    BayerRG,
    BayerGB,
    BayerGR,
    BayerBG,
    RGB,
    BGR,
    RGBA,
    BGRA,
    YUV
};
enum class Packing : uint8_t
{
    None,
    Pfnc,
    GigE
};

struct PixelTypeInfo
{
    EPixelType type;
    const char* name;       // the PixelFormat name current cameras use
    const char* legacyName; // the GigE Vision 1.x name where it differs, else nullptr
    uint8_t bitDepth;
    uint8_t samplesPerPixel;
    Kind kind;
    Packing packing;
};

const PixelTypeInfo kPixelTypes[] = {
    {PixelType_Mono1p, "Mono1p", nullptr, 1, 1, Kind::Mono, Packing::Pfnc},
    {PixelType_Mono2p, "Mono2p", nullptr, 2, 1, Kind::Mono, Packing::Pfnc},
    {PixelType_Mono4p, "Mono4p", nullptr, 4, 1, Kind::Mono, Packing::Pfnc},
    {PixelType_Mono8, "Mono8", nullptr, 8, 1, Kind::Mono, Packing::None},
    {PixelType_Mono8signed, "Mono8s", "Mono8Signed", 8, 1, Kind::Mono, Packing::None},
    {PixelType_Mono10, "Mono10", nullptr, 10, 1, Kind::Mono, Packing::None},
    {PixelType_Mono10packed, "Mono10Packed", nullptr, 10, 1, Kind::Mono, Packing::GigE},
    {PixelType_Mono10p, "Mono10p", nullptr, 10, 1, Kind::Mono, Packing::Pfnc},
    {PixelType_Mono12, "Mono12", nullptr, 12, 1, Kind::Mono, Packing::None},
    {PixelType_Mono12packed, "Mono12Packed", nullptr, 12, 1, Kind::Mono, Packing::GigE},
    {PixelType_Mono12p, "Mono12p", nullptr, 12, 1, Kind::Mono, Packing::Pfnc},
    {PixelType_Mono14, "Mono14", nullptr, 14, 1, Kind::Mono, Packing::None},
    {PixelType_Mono16, "Mono16", nullptr, 16, 1, Kind::Mono, Packing::None},
    {PixelType_BayerGR8, "BayerGR8", nullptr, 8, 1, Kind::BayerGR, Packing::None},
    {PixelType_BayerGR10, "BayerGR10", nullptr, 10, 1, Kind::BayerGR, Packing::None},
    {PixelType_BayerGR10packed, "BayerGR10Packed", nullptr, 10, 1, Kind::BayerGR, Packing::GigE},
    {PixelType_BayerGR10p, "BayerGR10p", nullptr, 10, 1, Kind::BayerGR, Packing::Pfnc},
    {PixelType_BayerGR12, "BayerGR12", nullptr, 12, 1, Kind::BayerGR, Packing::None},
    {PixelType_BayerGR12packed, "BayerGR12Packed", nullptr, 12, 1, Kind::BayerGR, Packing::GigE},
    {PixelType_BayerGR12p, "BayerGR12p", nullptr, 12, 1, Kind::BayerGR, Packing::Pfnc},
    {PixelType_BayerGR16, "BayerGR16", nullptr, 16, 1, Kind::BayerGR, Packing::None},
    {PixelType_BayerRG8, "BayerRG8", nullptr, 8, 1, Kind::BayerRG, Packing::None},
    {PixelType_BayerRG10, "BayerRG10", nullptr, 10, 1, Kind::BayerRG, Packing::None},
    {PixelType_BayerRG10packed, "BayerRG10Packed", nullptr, 10, 1, Kind::BayerRG, Packing::GigE},
    {PixelType_BayerRG10p, "BayerRG10p", nullptr, 10, 1, Kind::BayerRG, Packing::Pfnc},
    {PixelType_BayerRG12, "BayerRG12", nullptr, 12, 1, Kind::BayerRG, Packing::None},
    {PixelType_BayerRG12packed, "BayerRG12Packed", nullptr, 12, 1, Kind::BayerRG, Packing::GigE},
    {PixelType_BayerRG12p, "BayerRG12p", nullptr, 12, 1, Kind::BayerRG, Packing::Pfnc},
    {PixelType_BayerRG16, "BayerRG16", nullptr, 16, 1, Kind::BayerRG, Packing::None},
    {PixelType_BayerGB8, "BayerGB8", nullptr, 8, 1, Kind::BayerGB, Packing::None},
    {PixelType_BayerGB10, "BayerGB10", nullptr, 10, 1, Kind::BayerGB, Packing::None},
    {PixelType_BayerGB10packed, "BayerGB10Packed", nullptr, 10, 1, Kind::BayerGB, Packing::GigE},
    {PixelType_BayerGB10p, "BayerGB10p", nullptr, 10, 1, Kind::BayerGB, Packing::Pfnc},
    {PixelType_BayerGB12, "BayerGB12", nullptr, 12, 1, Kind::BayerGB, Packing::None},
    {PixelType_BayerGB12packed, "BayerGB12Packed", nullptr, 12, 1, Kind::BayerGB, Packing::GigE},
    {PixelType_BayerGB12p, "BayerGB12p", nullptr, 12, 1, Kind::BayerGB, Packing::Pfnc},
    {PixelType_BayerGB16, "BayerGB16", nullptr, 16, 1, Kind::BayerGB, Packing::None},
    {PixelType_BayerBG8, "BayerBG8", nullptr, 8, 1, Kind::BayerBG, Packing::None},
    {PixelType_BayerBG10, "BayerBG10", nullptr, 10, 1, Kind::BayerBG, Packing::None},
    {PixelType_BayerBG10packed, "BayerBG10Packed", nullptr, 10, 1, Kind::BayerBG, Packing::GigE},
    {PixelType_BayerBG10p, "BayerBG10p", nullptr, 10, 1, Kind::BayerBG, Packing::Pfnc},
    {PixelType_BayerBG12, "BayerBG12", nullptr, 12, 1, Kind::BayerBG, Packing::None},
    {PixelType_BayerBG12packed, "BayerBG12Packed", nullptr, 12, 1, Kind::BayerBG, Packing::GigE},
    {PixelType_BayerBG12p, "BayerBG12p", nullptr, 12, 1, Kind::BayerBG, Packing::Pfnc},
    {PixelType_BayerBG16, "BayerBG16", nullptr, 16, 1, Kind::BayerBG, Packing::None},
    {PixelType_RGB8packed, "RGB8", "RGB8Packed", 8, 3, Kind::RGB, Packing::None},
    {PixelType_BGR8packed, "BGR8", "BGR8Packed", 8, 3, Kind::BGR, Packing::None},
    {PixelType_RGBA8packed, "RGBa8", "RGBA8Packed", 8, 4, Kind::RGBA, Packing::None},
    {PixelType_BGRA8packed, "BGRa8", "BGRA8Packed", 8, 4, Kind::BGRA, Packing::None},
    {PixelType_RGB10packed, "RGB10", "RGB10Packed", 10, 3, Kind::RGB, Packing::None},
    {PixelType_BGR10packed, "BGR10", "BGR10Packed", 10, 3, Kind::BGR, Packing::None},
    {PixelType_RGB12packed, "RGB12", "RGB12Packed", 12, 3, Kind::RGB, Packing::None},
    {PixelType_BGR12packed, "BGR12", "BGR12Packed", 12, 3, Kind::BGR, Packing::None},
    {PixelType_RGB16packed, "RGB16", "RGB16Packed", 16, 3, Kind::RGB, Packing::None},
    {PixelType_BGR16packed, "BGR16", "BGR16Packed", 16, 3, Kind::BGR, Packing::None},
    {PixelType_YUV411packed, "YUV411_8_UYYVYY", "YUV411Packed", 8, 2, Kind::YUV, Packing::None},
    // 0x0210001F is UYVY and 0x02100032 is YUYV; the current names say so ("YUV422_8" without
    // a suffix is the YUYV one), the 1.x name "YUV422Packed" is the UYVY one.
    {PixelType_YUV422packed, "YUV422_8_UYVY", "YUV422Packed", 8, 2, Kind::YUV, Packing::None},
    {PixelType_YUV422_YUYV_Packed, "YUV422_8", "YUV422_YUYV_Packed", 8, 2, Kind::YUV,
     Packing::None},
    {PixelType_YUV444packed, "YUV8_UYV", "YUV444Packed", 8, 3, Kind::YUV, Packing::None},
    {PixelType_YCbCr422_8, "YCbCr422_8", nullptr, 8, 2, Kind::YUV, Packing::None},
};

const PixelTypeInfo* findInfo(EPixelType type)
{
    for (const PixelTypeInfo& info : kPixelTypes) {
        if (info.type == type)
            return &info;
    }
    return nullptr;
}

bool hasKind(EPixelType type, Kind kind)
{
    const PixelTypeInfo* info = findInfo(type);
    return info && info->kind == kind;
}

bool hasPacking(EPixelType type, Packing packing)
{
    const PixelTypeInfo* info = findInfo(type);
    return info && info->packing == packing;
}

std::string hexCode(EPixelType type)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(type));
    return text;
}

// The one place that raises pixel-type errors, so the SDK's exception family can replace the
// standard exception without touching the callers.
[[noreturn]] void throwInvalidArgument(const std::string& text)
{
    throw std::invalid_argument(text);
}

uint64_t packedLineBytes(const char* function, EPixelType type, uint32_t width)
{
    const uint32_t bitsPerPixel = BitPerPixel(type);
    if (bitsPerPixel == 0) {
        const char* what = type == PixelType_Undefined ? "is undefined" : "has no bits per pixel";
        throwInvalidArgument(std::string(function) + ": the pixel type " + hexCode(type) + " " +
                             what + ".");
    }
    return (static_cast<uint64_t>(width) * bitsPerPixel + 7) / 8;
}

} // namespace

const char* GetPixelTypeName(EPixelType type)
{
    const PixelTypeInfo* info = findInfo(type);
    return info ? info->name : "";
}

EPixelType GetPixelTypeFromName(const std::string& name)
{
    for (const PixelTypeInfo& info : kPixelTypes) {
        if (name == info.name || (info.legacyName && name == info.legacyName))
            return info.type;
    }
    return PixelType_Undefined;
}

const std::vector<EPixelType>& GetKnownPixelTypes()
{
    static const std::vector<EPixelType> types = [] {
        std::vector<EPixelType> list;
        for (const PixelTypeInfo& info : kPixelTypes)
            list.push_back(info.type);
        return list;
    }();
    return types;
}

uint32_t BitPerPixel(EPixelType type)
{
    if (type == PixelType_Undefined)
        return 0;
    return (static_cast<uint32_t>(type) >> 16) & 0xFFu;
}

uint32_t BitDepth(EPixelType type)
{
    const PixelTypeInfo* info = findInfo(type);
    return info ? info->bitDepth : 0;
}

uint32_t SamplesPerPixel(EPixelType type)
{
    const PixelTypeInfo* info = findInfo(type);
    return info ? info->samplesPerPixel : 0;
}

bool IsMono(EPixelType type)
{
    return hasKind(type, Kind::Mono);
}

bool IsBayer(EPixelType type)
{
    return GetBayerOrder(type) != BayerOrder_None;
}

bool IsRGB(EPixelType type)
{
    return hasKind(type, Kind::RGB);
}

bool IsBGR(EPixelType type)
{
    return hasKind(type, Kind::BGR);
}

bool IsRGBA(EPixelType type)
{
    return hasKind(type, Kind::RGBA);
}

bool IsBGRA(EPixelType type)
{
    return hasKind(type, Kind::BGRA);
}

bool IsYUV(EPixelType type)
{
    return hasKind(type, Kind::YUV);
}

bool IsColor(EPixelType type)
{
    const PixelTypeInfo* info = findInfo(type);
    return info && info->kind != Kind::Mono;
}

bool IsPFNCPacked(EPixelType type)
{
    return hasPacking(type, Packing::Pfnc);
}

bool IsGigELegacyPacked(EPixelType type)
{
    return hasPacking(type, Packing::GigE);
}

bool IsPacked(EPixelType type)
{
    const PixelTypeInfo* info = findInfo(type);
    return info && info->packing != Packing::None;
}

bool IsMonoPacked(EPixelType type)
{
    return IsMono(type) && IsPacked(type);
}

EBayerOrder GetBayerOrder(EPixelType type)
{
    const PixelTypeInfo* info = findInfo(type);
    if (!info)
        return BayerOrder_None;
    switch (info->kind) {
    case Kind::BayerRG:
        return BayerOrder_RG;
    case Kind::BayerGB:
        return BayerOrder_GB;
    case Kind::BayerGR:
        return BayerOrder_GR;
    case Kind::BayerBG:
        return BayerOrder_BG;
    default:
        return BayerOrder_None;
    }
}

char BayerFilterAt(EBayerOrder order, int x, int y)
{
    // The 2 x 2 tile of each order, row by row.
    static const char tiles[4][5] = {"RGGB", "GBRG", "GRBG", "BGGR"};
    if (order < BayerOrder_RG || order > BayerOrder_BG)
        return 0;
    return tiles[order][(y & 1) * 2 + (x & 1)];
}

size_t ComputeBufferSize(EPixelType type, uint32_t width, uint32_t height, uint32_t paddingX)
{
    const uint64_t lineBytes = packedLineBytes("ComputeBufferSize", type, width) + paddingX;
    if (height != 0 && lineBytes > std::numeric_limits<size_t>::max() / height)
        throwInvalidArgument("ComputeBufferSize: an image of " + std::to_string(height) +
                             " lines of " + std::to_string(lineBytes) +
                             " bytes does not fit into memory.");
    return static_cast<size_t>(lineBytes * height);
}

uint32_t ComputePaddingX(size_t lineOffsetBytes, EPixelType type, uint32_t width)
{
    const uint64_t lineBytes = packedLineBytes("ComputePaddingX", type, width);
    if (lineOffsetBytes < lineBytes) {
        throwInvalidArgument("ComputePaddingX: a line of " + std::to_string(width) + " pixels of " +
                             GetPixelTypeName(type) + " (" + hexCode(type) + ") needs " +
                             std::to_string(lineBytes) + " bytes; the line offset of " +
                             std::to_string(lineOffsetBytes) + " bytes is too short.");
    }
    const uint64_t padding = lineOffsetBytes - lineBytes;
    if (padding > std::numeric_limits<uint32_t>::max())
        throwInvalidArgument("ComputePaddingX: the line offset of " +
                             std::to_string(lineOffsetBytes) + " bytes is too long.");
    return static_cast<uint32_t>(padding);
}

} // namespace Tarpo
