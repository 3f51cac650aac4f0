#include "tarpo/aviwriter.h"

#include "genapi/genicamexception.h"
#include "tarpo/avicodeccatalog.h"
#include "tarpo/aviencodersetup.h"
#include "tarpo/aviwriterfatalexception.h"
#include "tarpo/imageformatconverter.h"
#include "trace/trace.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace Tarpo {

namespace {

const char* const kCategory = "AviWriter";

// The AVI muxer and the index it writes at Close: an index entry costs 16 bytes in "idx1" and
// 8 in an OpenDML "ix00" chunk; the rest covers the chunks' headers and the muxer's buffer.
constexpr int64_t kIndexBytesPerFrame = 24;
constexpr int64_t kIndexReserveBytes = 64 * 1024;
constexpr int kIoBufferBytes = 64 * 1024;

// FFmpeg's log goes to our developer traces instead of stderr: a recorder in a GUI has no
// terminal, and the encoders' chatter is for developers.
void logToTrace(void* avcl, int level, const char* format, va_list args)
{
    (void)avcl;
    if (level > AV_LOG_WARNING || !TarpoViewer::Trace::enabled())
        return;
    char line[1024];
    std::vsnprintf(line, sizeof(line), format, args);
    TARPO_TRACE(kCategory, "FFmpeg: %s", line);
}

void installLogCallback()
{
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(logToTrace); });
}

AVPixelFormat avFormatOf(EPixelType type)
{
    switch (type) {
    case PixelType_Mono8:
        return AV_PIX_FMT_GRAY8;
    case PixelType_BGR8packed:
        return AV_PIX_FMT_BGR24;
    case PixelType_BGRA8packed:
        return AV_PIX_FMT_BGRA;
    default:
        return AV_PIX_FMT_NONE;
    }
}

uint32_t bytesPerPixel(EPixelType type)
{
    return BitPerPixel(type) / 8;
}

AVRational frameRateOf(double framesPerSecond)
{
    // The options dialog allows 0.01 to 1000 fps; an automatic rate of a camera that has none
    // yet (-1) or any other nonsense falls back to the recorder's default of 10 fps.
    double rate = std::fabs(framesPerSecond);
    if (!std::isfinite(rate) || rate < 0.01)
        rate = 10.0;
    return av_d2q(rate, 1000000);
}

} // namespace

struct CAviWriter::Impl
{
    // The file. FFmpeg writes through our own I/O context, so that a full disk is seen frame by
    // frame and space can be reserved ahead of the muxer.
    int fd = -1;
    std::string filename;
    int64_t position = 0;    // where the next write goes
    int64_t fileEnd = 0;     // bytes in the file
    int64_t reservedEnd = 0; // end of the space fallocate() holds for us
    bool canReserve = true;
    int lastErrno = 0;

    AVFormatContext* format = nullptr;
    AVIOContext* io = nullptr;
    AVStream* stream = nullptr;
    AVRational frameRate{10, 1};

    // Compressed video only.
    AVCodecContext* encoder = nullptr;
    SwsContext* scaler = nullptr;
    AVFrame* frame = nullptr;
    AVPacket* packet = nullptr;

    EPixelType outputPixelType = PixelType_Undefined;
    uint32_t width = 0;
    uint32_t height = 0;
    EImageOrientation orientation = TopDown;
    bool uncompressed = true;
    size_t dibStride = 0;
    bool palettePending = false;
    int64_t nextFrameIndex = 0;
    CImageFormatConverter converter;
    std::vector<uint8_t> converted; // the DIB of an uncompressed frame, or the scaler's input

    std::atomic<size_t> added{0};
    std::atomic<int64_t> bytesWritten{0};

    bool isOpen() const { return format != nullptr; }

    static int writeFile(void* opaque, uint8_t* data, int size);
    static int64_t seekFile(void* opaque, int64_t offset, int whence);

    void reserveFor(int64_t payloadBytes);
    bool tryReserve(int64_t end);
    void writeToMuxer(AVPacket* packet, int64_t payloadBytes);
    void encode(AVFrame* input);
    void addUncompressed(const void* buffer, size_t bufferSize, EPixelType pixelType,
                         size_t paddingX, EImageOrientation frameOrientation);
    void addCompressed(const void* buffer, size_t bufferSize, EPixelType pixelType, size_t paddingX,
                       EImageOrientation frameOrientation, EKeyFrameSelection keyFrameSelection);
    std::string lastIoError(int averror) const
    {
        return lastErrno ? std::strerror(lastErrno) : CAviEncoderSetup::ErrorText(averror);
    }
    void release();
};

int CAviWriter::Impl::writeFile(void* opaque, uint8_t* data, int size)
{
    auto* d = static_cast<Impl*>(opaque);
    const uint8_t* p = data;
    size_t left = size_t(size);
    while (left > 0) {
        const ssize_t written = ::pwrite(d->fd, p, left, d->position);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            d->lastErrno = errno;
            return AVERROR(errno);
        }
        p += written;
        left -= size_t(written);
        d->position += written;
        d->fileEnd = std::max(d->fileEnd, d->position);
    }
    return size;
}

int64_t CAviWriter::Impl::seekFile(void* opaque, int64_t offset, int whence)
{
    auto* d = static_cast<Impl*>(opaque);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return d->fileEnd;
    case SEEK_SET:
        d->position = offset;
        break;
    case SEEK_CUR:
        d->position += offset;
        break;
    case SEEK_END:
        d->position = d->fileEnd + offset;
        break;
    default:
        return AVERROR(EINVAL);
    }
    return d->position;
}

bool CAviWriter::Impl::tryReserve(int64_t end)
{
    for (;;) {
        if (::fallocate(fd, FALLOC_FL_KEEP_SIZE, reservedEnd, end - reservedEnd) == 0) {
            reservedEnd = end;
            return true;
        }
        if (errno != EINTR)
            return false;
    }
}

void CAviWriter::Impl::reserveFor(int64_t payloadBytes)
{
    if (!canReserve)
        return;
    reservedEnd = std::max(reservedEnd, fileEnd);
    const int64_t frames = int64_t(added.load()) + 2;
    const int64_t needed =
        fileEnd + payloadBytes + 9 + frames * kIndexBytesPerFrame + kIndexReserveBytes;
    if (needed <= reservedEnd)
        return;
    // A few frames ahead, so that a stream of frames costs few calls; exactly this frame's
    // need when the disk has no more.
    if (tryReserve(needed + 4 * (payloadBytes + 8)) || tryReserve(needed))
        return;
    if (errno == EOPNOTSUPP || errno == ENOSYS) {
        // The file system cannot reserve; write unprotected.
        canReserve = false;
        return;
    }
    throw RUNTIME_EXCEPTION("The AVI file '%s' cannot take frame %zu (%lld bytes): %s",
                            filename.c_str(), added.load() + 1,
                            static_cast<long long>(payloadBytes), std::strerror(errno));
}

void CAviWriter::Impl::writeToMuxer(AVPacket* muxPacket, int64_t payloadBytes)
{
    reserveFor(payloadBytes);
    int result = av_write_frame(format, muxPacket);
    if (result >= 0) {
        avio_flush(io);
        result = io->error;
    }
    if (result < 0)
        throw RUNTIME_EXCEPTION("Could not write frame %zu to the AVI file '%s': %s",
                                added.load() + 1, filename.c_str(), lastIoError(result).c_str());
    bytesWritten += payloadBytes;
}

void CAviWriter::Impl::encode(AVFrame* input)
{
    int result = avcodec_send_frame(encoder, input);
    if (result < 0)
        throw AVI_WRITER_FATAL_EXCEPTION("The codec %s refused frame %zu: %s", encoder->codec->name,
                                         added.load() + 1,
                                         CAviEncoderSetup::ErrorText(result).c_str());
    for (;;) {
        result = avcodec_receive_packet(encoder, packet);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return;
        if (result < 0)
            throw AVI_WRITER_FATAL_EXCEPTION("The codec %s failed: %s", encoder->codec->name,
                                             CAviEncoderSetup::ErrorText(result).c_str());
        av_packet_rescale_ts(packet, encoder->time_base, stream->time_base);
        packet->stream_index = stream->index;
        const int64_t size = packet->size;
        try {
            writeToMuxer(packet, size);
        } catch (...) {
            av_packet_unref(packet);
            throw;
        }
        av_packet_unref(packet);
    }
}

void CAviWriter::Impl::addUncompressed(const void* buffer, size_t bufferSize, EPixelType pixelType,
                                       size_t paddingX, EImageOrientation frameOrientation)
{
    // DIB lines are stored bottom-up: telling the converter that the source runs the other way
    // makes it write the bottom line first.
    converter.Convert(converted.data(), converted.size(), buffer, bufferSize, pixelType, width,
                      height, uint32_t(paddingX),
                      frameOrientation == BottomUp ? TopDown : BottomUp);
    AVPacket* raw = packet;
    raw->data = converted.data();
    raw->size = int(converted.size());
    const AVRational frameTime = av_inv_q(frameRate);
    raw->pts = raw->dts = av_rescale_q(nextFrameIndex, frameTime, stream->time_base);
    raw->duration = av_rescale_q(1, frameTime, stream->time_base);
    raw->flags = AV_PKT_FLAG_KEY;
    raw->stream_index = stream->index;
    if (palettePending) {
        // The muxer writes the palette of the first frame into the header.
        uint8_t* palette = av_packet_new_side_data(raw, AV_PKT_DATA_PALETTE, AVPALETTE_SIZE);
        if (!palette)
            throw std::bad_alloc();
        for (uint32_t i = 0; i < AVPALETTE_COUNT; ++i) {
            const uint32_t entry = 0xFF000000u | i << 16 | i << 8 | i;
            std::memcpy(palette + 4 * i, &entry, 4);
        }
    }
    try {
        writeToMuxer(raw, raw->size);
    } catch (...) {
        av_packet_unref(raw);
        throw;
    }
    av_packet_unref(raw);
    palettePending = false;
    ++nextFrameIndex;
}

void CAviWriter::Impl::addCompressed(const void* buffer, size_t bufferSize, EPixelType pixelType,
                                     size_t paddingX, EImageOrientation frameOrientation,
                                     EKeyFrameSelection keyFrameSelection)
{
    int result = av_frame_make_writable(frame);
    if (result < 0)
        throw AVI_WRITER_FATAL_EXCEPTION("The codec %s holds on to its frames: %s",
                                         encoder->codec->name,
                                         CAviEncoderSetup::ErrorText(result).c_str());
    if (scaler) {
        converter.Convert(converted.data(), converted.size(), buffer, bufferSize, pixelType, width,
                          height, uint32_t(paddingX), frameOrientation);
        const uint8_t* const lines[4] = {converted.data(), nullptr, nullptr, nullptr};
        const int strides[4] = {int(width * bytesPerPixel(outputPixelType)), 0, 0, 0};
        sws_scale(scaler, lines, strides, 0, int(height), frame->data, frame->linesize);
    } else {
        // The encoder takes the output type itself: convert straight into its frame.
        converter.Convert(frame->data[0], size_t(frame->linesize[0]) * height, buffer, bufferSize,
                          pixelType, width, height, uint32_t(paddingX), frameOrientation);
    }
    frame->pts = nextFrameIndex++;
    frame->pict_type =
        keyFrameSelection == KeyFrameSelection_KeyFrame ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    frame->key_frame = keyFrameSelection == KeyFrameSelection_KeyFrame ? 1 : 0;
    frame->quality = encoder->global_quality;
    encode(frame);
}

void CAviWriter::Impl::release()
{
    sws_freeContext(scaler);
    scaler = nullptr;
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&encoder);
    if (format) {
        avformat_free_context(format);
        format = nullptr;
        stream = nullptr;
    }
    if (io) {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
    if (fd >= 0) {
        // Give back what was reserved beyond the end of the finished file.
        if (reservedEnd > fileEnd)
            ::fallocate(fd, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, fileEnd,
                        reservedEnd - fileEnd);
        ::close(fd);
        fd = -1;
    }
    converted.clear();
    converted.shrink_to_fit();
}

CAviWriter::CAviWriter() : m_impl(std::make_unique<Impl>())
{
    installLogCallback();
}

CAviWriter::~CAviWriter()
{
    try {
        Close();
    } catch (const std::exception& e) {
        TARPO_TRACE(kCategory, "~CAviWriter: %s", e.what());
    }
}

void CAviWriter::Open(const GenICam::gcstring& filename, double framesPerSecondPlayBack,
                      EPixelType outputPixelType, uint32_t width, uint32_t height,
                      EImageOrientation orientation,
                      const SAviCompressionOptions* compressionOptions)
{
    Impl& d = *m_impl;
    if (d.isOpen())
        throw LOGICAL_ERROR_EXCEPTION("The AVI writer is open already ('%s')", d.filename.c_str());
    const bool uncompressed = !compressionOptions || IsUncompressed(*compressionOptions);
    const AVPixelFormat candidate = avFormatOf(outputPixelType);
    if (candidate == AV_PIX_FMT_NONE || (uncompressed && outputPixelType == PixelType_BGRA8packed))
        throw INVALID_ARGUMENT_EXCEPTION("AVI files cannot be written as %s",
                                         GetPixelTypeName(outputPixelType));
    if (width == 0 || height == 0 || width > 16384 || height > 16384)
        throw INVALID_ARGUMENT_EXCEPTION("AVI files cannot hold frames of %u x %u pixels", width,
                                         height);

    d.filename = filename;
    d.outputPixelType = outputPixelType;
    d.width = width;
    d.height = height;
    d.orientation = orientation;
    d.uncompressed = uncompressed;
    d.frameRate = frameRateOf(framesPerSecondPlayBack);
    d.nextFrameIndex = 0;
    d.added = 0;
    d.bytesWritten = 0;
    d.position = d.fileEnd = d.reservedEnd = 0;
    d.canReserve = true;
    d.lastErrno = 0;

    try {
        // The codec first: a codec that refuses leaves no file behind.
        SAviCodecInfo info;
        if (!uncompressed) {
            if (!CAviCodecCatalog::FindCodec(compressionOptions->aviCompressOptions.fccHandler,
                                             info))
                throw RUNTIME_EXCEPTION(
                    "The codec '%s' is not available",
                    FourCCToString(compressionOptions->aviCompressOptions.fccHandler).c_str());
            const AVCodec* codec = avcodec_find_encoder_by_name(info.encoderName.c_str());
            std::string error = "no format of the codec fits";
            for (AVPixelFormat format :
                 CAviEncoderSetup::FormatsFor(codec, candidate, !info.lossless)) {
                CAviEncoderSetup::SOpened setup =
                    CAviEncoderSetup::Open(codec, info, format, width, height, d.frameRate,
                                           compressionOptions->aviCompressOptions, &error);
                if (!setup.context)
                    continue;
                d.encoder = setup.context;
                if (!setup.unknownOption.empty())
                    throw RUNTIME_EXCEPTION("The codec %s has no option '%s'", codec->name,
                                            setup.unknownOption.c_str());
                break;
            }
            if (!d.encoder)
                throw RUNTIME_EXCEPTION(
                    "The codec %s cannot encode %s frames of %u x %u pixels: %s", codec->name,
                    GetPixelTypeName(outputPixelType), width, height, error.c_str());
            if (d.encoder->pix_fmt != candidate) {
                d.scaler =
                    sws_getContext(int(width), int(height), candidate, int(width), int(height),
                                   d.encoder->pix_fmt, SWS_BILINEAR, nullptr, nullptr, nullptr);
                if (!d.scaler)
                    throw RUNTIME_EXCEPTION("Cannot convert %s frames to the codec's %s",
                                            av_get_pix_fmt_name(candidate),
                                            av_get_pix_fmt_name(d.encoder->pix_fmt));
                d.converted.assign(size_t(width) * height * bytesPerPixel(outputPixelType), 0);
            }
            d.frame = av_frame_alloc();
            if (!d.frame)
                throw std::bad_alloc();
            d.frame->format = d.encoder->pix_fmt;
            d.frame->width = int(width);
            d.frame->height = int(height);
            if (av_frame_get_buffer(d.frame, 0) < 0)
                throw std::bad_alloc();
            d.converter.setOutputPixelFormat(outputPixelType);
            d.converter.setOutputPaddingX(d.scaler ? 0
                                                   : uint32_t(d.frame->linesize[0]) -
                                                         width * bytesPerPixel(outputPixelType));
        } else {
            const uint32_t bits = outputPixelType == PixelType_Mono8 ? 8 : 24;
            d.dibStride = (size_t(width) * bits + 31) / 32 * 4;
            d.converted.assign(d.dibStride * height, 0); // padding bytes stay zero
            d.converter.setOutputPixelFormat(outputPixelType);
            d.converter.setOutputPaddingX(uint32_t(d.dibStride - size_t(width) * bits / 8));
            d.palettePending = outputPixelType == PixelType_Mono8;
        }
        d.packet = av_packet_alloc();
        if (!d.packet)
            throw std::bad_alloc();

        d.fd = ::open(filename.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (d.fd < 0)
            throw RUNTIME_EXCEPTION("Cannot create AVI file '%s': %s", filename.c_str(),
                                    std::strerror(errno));

        int result = avformat_alloc_output_context2(&d.format, nullptr, "avi", filename.c_str());
        if (result < 0 || !d.format)
            throw RUNTIME_EXCEPTION("FFmpeg has no AVI muxer: %s",
                                    CAviEncoderSetup::ErrorText(result).c_str());
        auto* ioBuffer = static_cast<unsigned char*>(av_malloc(kIoBufferBytes));
        d.io = ioBuffer ? avio_alloc_context(ioBuffer, kIoBufferBytes, 1, &d, nullptr,
                                             &Impl::writeFile, &Impl::seekFile)
                        : nullptr;
        if (!d.io) {
            av_free(ioBuffer);
            throw std::bad_alloc();
        }
        d.io->direct = 1; // frames go to the file in one write, not through the 64 KiB buffer
        d.format->pb = d.io;
        d.format->flags |= AVFMT_FLAG_CUSTOM_IO;

        d.stream = avformat_new_stream(d.format, nullptr);
        if (!d.stream)
            throw std::bad_alloc();
        d.stream->time_base = av_inv_q(d.frameRate);
        d.stream->avg_frame_rate = d.frameRate;
        d.stream->r_frame_rate = d.frameRate;
        AVDictionary* muxerOptions = nullptr;
        if (uncompressed) {
            AVCodecParameters* par = d.stream->codecpar;
            par->codec_type = AVMEDIA_TYPE_VIDEO;
            par->codec_id = AV_CODEC_ID_RAWVIDEO;
            par->codec_tag = 0; // BI_RGB
            par->format = outputPixelType == PixelType_Mono8 ? AV_PIX_FMT_PAL8 : AV_PIX_FMT_BGR24;
            par->bits_per_coded_sample = outputPixelType == PixelType_Mono8 ? 8 : 24;
            par->width = int(width);
            par->height = int(height);
            // Our lines are bottom-up, so the header must say so with a positive height.
            av_dict_set(&muxerOptions, "flipped_raw_rgb", "1", 0);
        } else {
            result = avcodec_parameters_from_context(d.stream->codecpar, d.encoder);
            if (result < 0)
                throw std::bad_alloc();
            const AVCodecTag* const tags[] = {avformat_get_riff_video_tags(), nullptr};
            const uint32_t fourCC = info.fourCC;
            d.stream->codecpar->codec_tag =
                av_codec_get_id(tags, fourCC) == d.encoder->codec_id ? fourCC : 0;
        }
        result = avformat_write_header(d.format, &muxerOptions);
        av_dict_free(&muxerOptions);
        if (result >= 0) {
            avio_flush(d.io);
            result = d.io->error;
        }
        if (result < 0)
            throw RUNTIME_EXCEPTION("Cannot create AVI file '%s': %s", filename.c_str(),
                                    d.lastIoError(result).c_str());
    } catch (...) {
        // A video that could not be started leaves no file behind (a regular file only: the
        // name may be a device).
        struct stat status;
        const bool created = d.fd >= 0 && ::fstat(d.fd, &status) == 0 && S_ISREG(status.st_mode);
        d.release();
        if (created)
            ::unlink(filename.c_str());
        throw;
    }
    TARPO_TRACE(kCategory, "Open: '%s', %s, %u x %u, %s, %d/%d fps", filename.c_str(),
                GetPixelTypeName(outputPixelType), width, height,
                uncompressed ? "uncompressed" : d.encoder->codec->name, d.frameRate.num,
                d.frameRate.den);
}

bool CAviWriter::IsOpen() const
{
    return m_impl->isOpen();
}

void CAviWriter::Close()
{
    Impl& d = *m_impl;
    if (!d.isOpen())
        return;
    std::string failure;
    if (d.encoder) {
        try {
            d.encode(nullptr); // the frames the codec still holds
        } catch (const GenICam::GenericException& e) {
            failure = e.GetDescription();
        }
    }
    if (d.io->error) {
        // Earlier data did not reach the file; the index is written anyway, so that players
        // find at least the frames before the failure.
        d.io->error = 0;
    }
    int result = av_write_trailer(d.format);
    if (result >= 0) {
        avio_flush(d.io);
        result = d.io->error;
    }
    if (result < 0 && failure.empty())
        failure = "Cannot finish the AVI file '" + d.filename + "': " + d.lastIoError(result);
    TARPO_TRACE(kCategory, "Close: '%s', %zu frames, %lld bytes of image data", d.filename.c_str(),
                d.added.load(), static_cast<long long>(d.bytesWritten.load()));
    d.release();
    if (!failure.empty())
        throw RUNTIME_EXCEPTION("%s", failure.c_str());
}

void CAviWriter::Add(const IImage& image, EKeyFrameSelection keyFrameSelection)
{
    Add(image.GetBuffer(), image.GetImageSize(), image.GetPixelType(), image.GetWidth(),
        image.GetHeight(), image.GetPaddingX(), image.GetOrientation(), keyFrameSelection);
}

void CAviWriter::Add(const void* buffer, size_t bufferSize, EPixelType pixelType, uint32_t width,
                     uint32_t height, size_t paddingX, EImageOrientation orientation,
                     EKeyFrameSelection keyFrameSelection)
{
    Impl& d = *m_impl;
    if (!d.isOpen())
        throw LOGICAL_ERROR_EXCEPTION("The AVI writer is not open");
    if (width != d.width || height != d.height)
        throw RUNTIME_EXCEPTION("A frame of %u x %u pixels does not fit the AVI file '%s' of "
                                "%u x %u pixels",
                                width, height, d.filename.c_str(), d.width, d.height);
    if (d.uncompressed)
        d.addUncompressed(buffer, bufferSize, pixelType, paddingX, orientation);
    else
        d.addCompressed(buffer, bufferSize, pixelType, paddingX, orientation, keyFrameSelection);
    ++d.added;
}

bool CAviWriter::CanAddWithoutConversion(EPixelType pixelType, uint32_t width, uint32_t height,
                                         size_t paddingX, EImageOrientation orientation) const
{
    const Impl& d = *m_impl;
    if (!d.isOpen() || pixelType != d.outputPixelType || width != d.width || height != d.height)
        return false;
    if (d.uncompressed)
        return orientation == BottomUp &&
               size_t(width) * bytesPerPixel(pixelType) + paddingX == d.dibStride;
    return !d.scaler && orientation == TopDown &&
           size_t(width) * bytesPerPixel(pixelType) + paddingX == size_t(d.frame->linesize[0]);
}

size_t CAviWriter::GetCountOfAddedImages() const
{
    return m_impl->added.load();
}

int64_t CAviWriter::GetImageDataBytesWritten() const
{
    return m_impl->bytesWritten.load();
}

bool CAviWriter::IsOutputFormatSupported(const SAviCompressionOptions& compressionOptions,
                                         EPixelType outputPixelType, uint32_t width,
                                         uint32_t height)
{
    installLogCallback();
    const AVPixelFormat candidate = avFormatOf(outputPixelType);
    SAviCodecInfo info;
    if (candidate == AV_PIX_FMT_NONE || width == 0 || height == 0 ||
        !CAviCodecCatalog::FindCodec(compressionOptions.aviCompressOptions.fccHandler, info))
        return false;
    const AVCodec* codec = avcodec_find_encoder_by_name(info.encoderName.c_str());
    for (AVPixelFormat format : CAviEncoderSetup::FormatsFor(codec, candidate, !info.lossless)) {
        std::string error;
        CAviEncoderSetup::SOpened setup =
            CAviEncoderSetup::Open(codec, info, format, width, height, AVRational{25, 1},
                                   compressionOptions.aviCompressOptions, &error);
        if (setup.context) {
            avcodec_free_context(&setup.context);
            return true;
        }
        TARPO_TRACE(kCategory, "%s refuses %s as %s at %u x %u: %s", codec->name,
                    GetPixelTypeName(outputPixelType), av_get_pix_fmt_name(format), width, height,
                    error.c_str());
    }
    return false;
}

} // namespace Tarpo
