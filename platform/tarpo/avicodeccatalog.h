#pragma once

// The video codecs an AVI recording can use with the FFmpeg build at hand, named by the FourCC
// that the compression record's fccHandler stores. The options dialog lists them and shows the
// chosen one's description; the AVI writer finds its encoder here.
// Thread-safe: every function only reads FFmpeg's static codec tables.

#include "tarpo/avicompressionoptions.h"

#include <string>
#include <vector>

namespace Tarpo {

// How a codec's quality follows dwQuality (0..10000).
enum EAviQualityControl
{
    AviQualityControl_None,      // lossless codecs: nothing to set
    AviQualityControl_QScale,    // JPEG-like quantiser: 10000 gives 2 (best), 0 gives 31
    AviQualityControl_RateFactor // H.264 constant rate factor: 10000 gives 0 (lossless), 0 gives 51
};

struct SAviCodecInfo
{
    uint32_t fourCC = 0;
    std::string fourCCText;  // "MJPG"
    std::string encoderName; // FFmpeg's encoder, "mjpeg"
    std::string description; // FFmpeg's long name, "MJPEG (Motion JPEG)"
    bool lossless = false;   // used without loss: the writer keeps every sample
    EAviQualityControl qualityControl = AviQualityControl_None;
};

class CAviCodecCatalog
{
public:
    // Uncompressed video ("DIB ") first, then every codec of the recommended list whose encoder
    // this FFmpeg build has: MJPG, FFV1, H264, HFYU, FFVH, MPNG, MJLS, FMP4, XVID, MP43.
    static std::vector<SAviCodecInfo> GetAvailableCodecs();

    // The codec for a FourCC: one of the list above, or any other FourCC that AVI files use for
    // a codec this build can encode ("X264", "DIVX", ...). False for uncompressed video and for
    // FourCCs without an encoder here.
    static bool FindCodec(uint32_t fccHandler, SAviCodecInfo& info);

    // "Uncompressed" for fccHandler 0 or "DIB ", the codec's description for a known codec, and
    // "Unknown codec 'XXXX'" otherwise.
    static std::string GetCompressionInfoText(const SAviCompressionOptions& options);
};

} // namespace Tarpo
