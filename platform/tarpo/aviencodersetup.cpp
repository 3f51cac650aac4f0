#include "tarpo/aviencodersetup.h"

#include "tarpo/avicompressionoptions.h"

extern "C" {
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>

namespace Tarpo {

namespace {

// dwQuality when the record leaves it to the codec (see Open).
constexpr uint32_t kDefaultQuality = 7500;

bool isFullRangeYuvj(AVPixelFormat format)
{
    return format == AV_PIX_FMT_YUVJ420P || format == AV_PIX_FMT_YUVJ422P ||
           format == AV_PIX_FMT_YUVJ444P || format == AV_PIX_FMT_YUVJ440P ||
           format == AV_PIX_FMT_YUVJ411P;
}

// The parameter block: encoder options as text, one "name=value" a line; blank lines and lines
// starting with '#' are skipped.
bool parseParameterBlock(const AVICOMPRESSOPTIONS& options, AVDictionary** dictionary,
                         std::string* error)
{
    if (!options.lpParms || options.cbParms == 0)
        return true;
    const std::string text(static_cast<const char*>(options.lpParms), options.cbParms);
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        std::string line = text.substr(start, end - start);
        start = end + 1;
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\0'))
            line.pop_back();
        const size_t first = line.find_first_not_of(' ');
        if (first == std::string::npos || line[first] == '#')
            continue;
        line = line.substr(first);
        const size_t equals = line.find('=');
        if (equals == 0 || equals == std::string::npos) {
            *error = "the codec parameter '" + line + "' is not name=value";
            return false;
        }
        av_dict_set(dictionary, line.substr(0, equals).c_str(), line.substr(equals + 1).c_str(), 0);
    }
    return true;
}

} // namespace

std::string CAviEncoderSetup::ErrorText(int averror)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {0};
    av_strerror(averror, text, sizeof(text));
    return text;
}

// The encoder formats a video of `source` frames is offered in, best first. Lossless codecs get
// the source's own format when they take it, then the others from the least to the most lossy
// conversion, so that nothing is thrown away. Lossy codecs get only the format they list first,
// their most widely decodable one (4:2:0 for H.264 and MPEG-4, full-range 4:2:0 for MJPEG): a
// 4:4:4 or monochrome H.264 video would not play in the players AVI files are written for, so
// a size that format cannot take is refused rather than written in another.
std::vector<AVPixelFormat> CAviEncoderSetup::FormatsFor(const AVCodec* codec, AVPixelFormat source,
                                                        bool lossy)
{
    if (!codec->pix_fmts)
        return {source};
    std::vector<AVPixelFormat> remaining;
    for (const AVPixelFormat* f = codec->pix_fmts; *f != AV_PIX_FMT_NONE; ++f) {
        if (*f == source || sws_isSupportedOutput(*f))
            remaining.push_back(*f);
    }
    if (lossy)
        return remaining.empty() ? remaining : std::vector<AVPixelFormat>{remaining.front()};
    std::vector<AVPixelFormat> ordered;
    if (std::find(remaining.begin(), remaining.end(), source) != remaining.end()) {
        ordered.push_back(source);
        remaining.erase(std::find(remaining.begin(), remaining.end(), source));
    }
    while (!remaining.empty()) {
        remaining.push_back(AV_PIX_FMT_NONE);
        int loss = 0;
        const AVPixelFormat best =
            avcodec_find_best_pix_fmt_of_list(remaining.data(), source, 0, &loss);
        remaining.pop_back();
        auto it = std::find(remaining.begin(), remaining.end(), best);
        if (it == remaining.end())
            break;
        ordered.push_back(best);
        remaining.erase(it);
    }
    return ordered;
}

CAviEncoderSetup::SOpened CAviEncoderSetup::Open(const AVCodec* codec, const SAviCodecInfo& info,
                                                 AVPixelFormat format, uint32_t width,
                                                 uint32_t height, AVRational frameRate,
                                                 const AVICOMPRESSOPTIONS& options,
                                                 std::string* error)
{
    SOpened setup;
    AVCodecContext* context = avcodec_alloc_context3(codec);
    if (!context) {
        *error = "out of memory";
        return setup;
    }
    context->width = int(width);
    context->height = int(height);
    context->pix_fmt = format;
    context->time_base = av_inv_q(frameRate);
    context->framerate = frameRate;
    context->sample_aspect_ratio = AVRational{1, 1};
    // AVI has no presentation time stamps: reordered frames would play out of order in the
    // players this file is written for.
    context->max_b_frames = 0;
    // Slices in parallel, never frames: frame threads hold on to our frames between calls (a
    // copy each) and hand packets back late.
    context->thread_count = 0;
    context->thread_type = FF_THREAD_SLICE;
    if (isFullRangeYuvj(format))
        context->color_range = AVCOL_RANGE_JPEG;
    if ((options.dwFlags & AVICOMPRESSF_KEYFRAMES) && options.dwKeyFrameEvery > 0)
        context->gop_size = int(options.dwKeyFrameEvery);

    AVDictionary* dictionary = nullptr;
    if (!parseParameterBlock(options, &dictionary, error)) {
        avcodec_free_context(&context);
        return setup;
    }
    const bool dataRate = (options.dwFlags & AVICOMPRESSF_DATARATE) && options.dwBytesPerSecond;
    if (dataRate) {
        context->bit_rate = int64_t(options.dwBytesPerSecond) * 8;
    } else if (options.dwQuality != ICQUALITY_DEFAULT ||
               info.qualityControl == AviQualityControl_QScale) {
        // FFmpeg's own default for quantiser codecs is a rate of 200 kbit/s, a smear at camera
        // resolutions; their default here is the quality Video for Windows codecs start with.
        const uint32_t dwQuality =
            options.dwQuality == ICQUALITY_DEFAULT ? kDefaultQuality : options.dwQuality;
        const double quality = std::min<uint32_t>(dwQuality, ICQUALITY_HIGH) / 10000.0;
        if (info.qualityControl == AviQualityControl_QScale) {
            context->flags |= AV_CODEC_FLAG_QSCALE;
            context->global_quality = FF_QP2LAMBDA * int(std::lround(31.0 - 29.0 * quality));
        } else if (info.qualityControl == AviQualityControl_RateFactor &&
                   !av_dict_get(dictionary, "crf", nullptr, 0)) {
            av_dict_set_int(&dictionary, "crf", std::lround(51.0 * (1.0 - quality)), 0);
        }
    }
    // A live recorder must keep up with the camera; x264's default preset often cannot.
    if (info.encoderName == "libx264" && !av_dict_get(dictionary, "preset", nullptr, 0))
        av_dict_set(&dictionary, "preset", "veryfast", 0);

    const int result = avcodec_open2(context, codec, &dictionary);
    if (result < 0) {
        *error = ErrorText(result);
        av_dict_free(&dictionary);
        avcodec_free_context(&context);
        return setup;
    }
    if (const AVDictionaryEntry* left = av_dict_get(dictionary, "", nullptr, AV_DICT_IGNORE_SUFFIX))
        setup.unknownOption = left->key;
    av_dict_free(&dictionary);
    setup.context = context;
    return setup;
}

} // namespace Tarpo
