#include "tarpo/avicodeccatalog.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarpo {

namespace {

struct SRecommendedCodec
{
    const char* fourCC;
    const char* encoders[2]; // in order of preference; hardware encoders are left out on
                             // purpose, because they fail at open on machines without the device
    EAviQualityControl qualityControl;
};

// What a camera engineer reaches for: lossy MJPEG and H.264 for long recordings, lossless FFV1,
// Huffyuv and PNG for measurements, MPEG-4 part 2 for old players.
const SRecommendedCodec kRecommended[] = {
    {"MJPG", {"mjpeg", nullptr}, AviQualityControl_QScale},
    {"FFV1", {"ffv1", nullptr}, AviQualityControl_None},
    {"H264", {"libx264", "libopenh264"}, AviQualityControl_RateFactor},
    {"HFYU", {"huffyuv", nullptr}, AviQualityControl_None},
    {"FFVH", {"ffvhuff", nullptr}, AviQualityControl_None},
    {"MPNG", {"png", nullptr}, AviQualityControl_None},
    {"MJLS", {"jpegls", nullptr}, AviQualityControl_None},
    {"FMP4", {"mpeg4", nullptr}, AviQualityControl_QScale},
    {"XVID", {"libxvid", nullptr}, AviQualityControl_QScale},
    {"MP43", {"msmpeg4", nullptr}, AviQualityControl_QScale},
};

const AVCodecTag* const kRiffVideoTags[] = {avformat_get_riff_video_tags(), nullptr};

bool usableEncoder(const AVCodec* codec)
{
    return codec && av_codec_is_encoder(codec) && codec->type == AVMEDIA_TYPE_VIDEO &&
           !(codec->capabilities & AV_CODEC_CAP_EXPERIMENTAL) &&
           !(codec->capabilities & AV_CODEC_CAP_HARDWARE);
}

// The AVI FourCC must name the encoder's codec, or the file would announce another codec.
bool tagNamesCodec(uint32_t fourCC, AVCodecID id)
{
    return av_codec_get_id(kRiffVideoTags, fourCC) == id;
}

SAviCodecInfo describe(uint32_t fourCC, const AVCodec* codec, EAviQualityControl quality)
{
    SAviCodecInfo info;
    info.fourCC = fourCC;
    info.fourCCText = FourCCToString(fourCC);
    info.encoderName = codec->name;
    info.description = codec->long_name ? codec->long_name : codec->name;
    // Codecs with a quality setting are used lossily; of the others, those FFmpeg calls lossless.
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(codec->id);
    info.lossless = quality == AviQualityControl_None && descriptor &&
                    (descriptor->props & AV_CODEC_PROP_LOSSLESS);
    info.qualityControl = quality;
    return info;
}

bool findRecommended(const SRecommendedCodec& entry, SAviCodecInfo& info)
{
    const uint32_t fourCC = FourCCFromString(entry.fourCC);
    for (const char* name : entry.encoders) {
        if (!name)
            break;
        const AVCodec* codec = avcodec_find_encoder_by_name(name);
        if (usableEncoder(codec) && tagNamesCodec(fourCC, codec->id)) {
            info = describe(fourCC, codec, entry.qualityControl);
            return true;
        }
    }
    return false;
}

} // namespace

std::vector<SAviCodecInfo> CAviCodecCatalog::GetAvailableCodecs()
{
    std::vector<SAviCodecInfo> codecs;
    SAviCodecInfo uncompressed;
    uncompressed.fourCC = MakeFourCC('D', 'I', 'B', ' ');
    uncompressed.fourCCText = "DIB ";
    uncompressed.encoderName = "rawvideo";
    uncompressed.description = "Uncompressed";
    uncompressed.lossless = true;
    codecs.push_back(uncompressed);
    for (const SRecommendedCodec& entry : kRecommended) {
        SAviCodecInfo info;
        if (findRecommended(entry, info))
            codecs.push_back(info);
    }
    return codecs;
}

bool CAviCodecCatalog::FindCodec(uint32_t fccHandler, SAviCodecInfo& info)
{
    if (fccHandler == 0 || fccHandler == MakeFourCC('D', 'I', 'B', ' '))
        return false;
    for (const SRecommendedCodec& entry : kRecommended) {
        if (FourCCFromString(entry.fourCC) == fccHandler)
            return findRecommended(entry, info);
    }
    // Any other FourCC of AVI files: the codec FFmpeg maps it to, through its default encoder.
    const AVCodecID id = av_codec_get_id(kRiffVideoTags, fccHandler);
    if (id == AV_CODEC_ID_NONE || id == AV_CODEC_ID_RAWVIDEO)
        return false;
    const AVCodec* codec = avcodec_find_encoder(id);
    if (!usableEncoder(codec))
        return false;
    EAviQualityControl quality = AviQualityControl_None;
    for (const SRecommendedCodec& entry : kRecommended) {
        SAviCodecInfo known;
        if (findRecommended(entry, known) && known.encoderName == codec->name)
            quality = entry.qualityControl;
    }
    info = describe(fccHandler, codec, quality);
    return true;
}

std::string CAviCodecCatalog::GetCompressionInfoText(const SAviCompressionOptions& options)
{
    if (IsUncompressed(options))
        return "Uncompressed";
    SAviCodecInfo info;
    if (FindCodec(options.aviCompressOptions.fccHandler, info))
        return info.description;
    return "Unknown codec '" + FourCCToString(options.aviCompressOptions.fccHandler) + "'";
}

} // namespace Tarpo
