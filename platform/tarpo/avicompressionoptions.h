#pragma once

// The AVI compression record: which codec compresses a recording and how. Its 72 bytes keep the
// layout that recordings' settings store byte for byte (key "AviCompressionOptionsx64"): a
// 16-byte prefix that this SDK stores and passes on without reading, then the Video for Windows
// AVICOMPRESSOPTIONS structure in its 64-bit layout. Every padding byte is a named, zeroed
// field, so that two equal records serialise to equal bytes.
//
// How the AVI writer reads it: fccHandler names the codec by its FourCC (0 or "DIB " is
// uncompressed video); dwQuality (0..10000, or 0xFFFFFFFF for the codec's default, which is
// 7500 for JPEG-like codecs and x264's own for H.264) sets the quality of lossy codecs; dwKeyFrameEvery sets the key-frame interval when dwFlags has
// AVICOMPRESSF_KEYFRAMES; dwBytesPerSecond sets a data rate when dwFlags has
// AVICOMPRESSF_DATARATE. The parameter block (lpParms, cbParms) carries encoder options as text,
// one "name=value" per line (for example "preset=veryfast" for H.264); the format block
// (lpFormat, cbFormat) is kept and copied with the record but not read by this writer.
// Thread: a plain value.

#include <cstddef>
#include <cstdint>
#include <string>

namespace Tarpo {

// dwFlags bits of AVICOMPRESSOPTIONS.
constexpr uint32_t AVICOMPRESSF_INTERLEAVE = 0x00000001;
constexpr uint32_t AVICOMPRESSF_DATARATE = 0x00000002;
constexpr uint32_t AVICOMPRESSF_KEYFRAMES = 0x00000004;
constexpr uint32_t AVICOMPRESSF_VALID = 0x00000008;

// dwQuality that asks for the codec's own default.
constexpr uint32_t ICQUALITY_DEFAULT = 0xFFFFFFFFu;
constexpr uint32_t ICQUALITY_HIGH = 10000;

constexpr uint32_t MakeFourCC(char a, char b, char c, char d)
{
    return uint32_t(uint8_t(a)) | uint32_t(uint8_t(b)) << 8 | uint32_t(uint8_t(c)) << 16 |
           uint32_t(uint8_t(d)) << 24;
}
// "MJPG" for MakeFourCC('M','J','P','G'); characters outside printable ASCII become '?'.
std::string FourCCToString(uint32_t fourCC);
// The FourCC of a text of up to four characters, padded with blanks ("DIB" -> "DIB ").
uint32_t FourCCFromString(const std::string& text);

constexpr uint32_t streamtypeVIDEO = MakeFourCC('v', 'i', 'd', 's');

struct AVICOMPRESSOPTIONS
{
    uint32_t fccType = 0;
    uint32_t fccHandler = 0;
    uint32_t dwKeyFrameEvery = 0;
    uint32_t dwQuality = 0;
    uint32_t dwBytesPerSecond = 0;
    uint32_t dwFlags = 0;
    void* lpFormat = nullptr;
    uint32_t cbFormat = 0;
    uint32_t alignmentPadding = 0; // where the 64-bit compiler aligns lpParms
    void* lpParms = nullptr;
    uint32_t cbParms = 0;
    uint32_t dwInterleaveEvery = 0;
};

struct SAviCompressionOptions
{
    uint64_t prefixValue64 = 0;
    uint8_t prefixFlag0 = 0;
    uint8_t prefixFlag1 = 0;
    uint8_t prefixPadding[2] = {0, 0};
    uint32_t prefixValue32 = 20;
    AVICOMPRESSOPTIONS aviCompressOptions;
};

static_assert(sizeof(AVICOMPRESSOPTIONS) == 56, "AVICOMPRESSOPTIONS must keep its 64-bit layout");
static_assert(offsetof(AVICOMPRESSOPTIONS, lpFormat) == 24, "AVICOMPRESSOPTIONS layout");
static_assert(offsetof(AVICOMPRESSOPTIONS, cbFormat) == 32, "AVICOMPRESSOPTIONS layout");
static_assert(offsetof(AVICOMPRESSOPTIONS, lpParms) == 40, "AVICOMPRESSOPTIONS layout");
static_assert(offsetof(AVICOMPRESSOPTIONS, cbParms) == 48, "AVICOMPRESSOPTIONS layout");
static_assert(sizeof(SAviCompressionOptions) == 72, "the stored record is 72 bytes");
static_assert(offsetof(SAviCompressionOptions, prefixFlag0) == 8, "record layout");
static_assert(offsetof(SAviCompressionOptions, prefixValue32) == 12, "record layout");
static_assert(offsetof(SAviCompressionOptions, aviCompressOptions) == 16, "record layout");

// True when the record asks for uncompressed video: fccHandler 0 or "DIB ".
inline bool IsUncompressed(const SAviCompressionOptions& options)
{
    const uint32_t handler = options.aviCompressOptions.fccHandler;
    return handler == 0 || handler == MakeFourCC('D', 'I', 'B', ' ');
}

} // namespace Tarpo
