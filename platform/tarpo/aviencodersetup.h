#pragma once

// Opens the FFmpeg encoder of a compressed AVI video as its compression record asks: which of
// the encoder's pixel formats a frame type is offered in, and the record's quality, key-frame
// interval, data rate and parameter block as the encoder's settings. The AVI writer's alone:
// this header brings in FFmpeg, which stays private to the SDK library.
// Thread-safe: functions of their arguments.

#include "tarpo/avicodeccatalog.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cstdint>
#include <string>
#include <vector>

namespace Tarpo {

class CAviEncoderSetup
{
public:
    struct SOpened
    {
        AVCodecContext* context = nullptr; // the caller's to free; null when refused
        std::string unknownOption; // an option of the parameter block the encoder does not have
    };

    // The encoder formats frames of `source` are offered in, best first (see the definition).
    static std::vector<AVPixelFormat> FormatsFor(const AVCodec* codec, AVPixelFormat source,
                                                 bool lossy);
    // Configures and opens `codec` for frames of `format` and this size. A null context means
    // the encoder refused; *error says why.
    static SOpened Open(const AVCodec* codec, const SAviCodecInfo& info, AVPixelFormat format,
                        uint32_t width, uint32_t height, AVRational frameRate,
                        const AVICOMPRESSOPTIONS& options, std::string* error);
    // FFmpeg's text for an error code.
    static std::string ErrorText(int averror);
};

} // namespace Tarpo
