#include "display/rawpixel.h"

#include "tarpo/pixelunpack.h"
#include "viewersdk/streambuffer.h"

#include <algorithm>

namespace {

// The bits of sample `index` of a line in one of the SDK's sample layouts. Returns false when
// those bits do not lie within the `available` bytes of the line.
bool sampleAt(const uint8_t* line, size_t available, const Tarpo::SSampleFormat& format,
              size_t index, uint32_t& value)
{
    switch (format.layout) {
    case Tarpo::ESampleLayout::Byte:
        if (index >= available)
            return false;
        value = line[index];
        return true;
    case Tarpo::ESampleLayout::Word16:
        // Little endian; bits above the depth are left as sent, a camera fault worth seeing.
        if (2 * index + 2 > available)
            return false;
        value = line[2 * index] | uint32_t(line[2 * index + 1]) << 8;
        return true;
    case Tarpo::ESampleLayout::PfncPacked: {
        // One little-endian bit stream: the sample starts at bit index * depth.
        const uint64_t firstBit = uint64_t(index) * format.bitDepth;
        const size_t firstByte = static_cast<size_t>(firstBit / 8);
        const uint32_t shift = static_cast<uint32_t>(firstBit % 8);
        const size_t byteCount = (shift + format.bitDepth + 7) / 8;
        if (firstByte + byteCount > available)
            return false;
        uint32_t bits = 0;
        for (size_t i = 0; i < byteCount; ++i)
            bits |= uint32_t(line[firstByte + i]) << (8 * i);
        value = (bits >> shift) & ((1u << format.bitDepth) - 1);
        return true;
    }
    case Tarpo::ESampleLayout::GigEPacked: {
        // Two samples in three bytes: the high bits in bytes 0 and 2, the low bits of the first
        // in the low nibble of byte 1 and of the second in its high nibble. The first of a pair
        // lies in bytes 0 and 1 only: the last pixel of an odd line has no byte 2.
        const size_t group = (index / 2) * 3;
        if (group + (index % 2 == 0 ? 2 : 3) > available)
            return false;
        const uint32_t lowBits = format.bitDepth - 8;
        const uint32_t lowMask = (1u << lowBits) - 1;
        const uint8_t* b = line + group;
        value = index % 2 == 0 ? uint32_t(b[0]) << lowBits | (b[1] & lowMask)
                               : uint32_t(b[2]) << lowBits | ((b[1] >> 4) & lowMask);
        return true;
    }
    }
    return false;
}

bool readYuv(const uint8_t* line, size_t available, Tarpo::EPixelType type, int x, RawPixel& raw)
{
    // Byte offsets of Y, U and V of pixel x within its group, and the group's size in bytes
    // and pixels.
    size_t groupBytes = 0;
    int groupPixels = 0;
    size_t yOffset = 0;
    size_t uOffset = 0;
    size_t vOffset = 0;
    const int inGroup = x % 2;
    switch (type) {
    case Tarpo::PixelType_YUV411packed: { // U Y Y V Y Y
        static const size_t yOffsets[4] = {1, 2, 4, 5};
        groupBytes = 6;
        groupPixels = 4;
        yOffset = yOffsets[x % 4];
        uOffset = 0;
        vOffset = 3;
        break;
    }
    case Tarpo::PixelType_YUV422packed: // U Y V Y
        groupBytes = 4;
        groupPixels = 2;
        yOffset = 1 + 2 * inGroup;
        uOffset = 0;
        vOffset = 2;
        break;
    case Tarpo::PixelType_YUV422_YUYV_Packed: // Y U Y V
    case Tarpo::PixelType_YCbCr422_8:         // Y Cb Y Cr
        groupBytes = 4;
        groupPixels = 2;
        yOffset = 2 * inGroup;
        uOffset = 1;
        vOffset = 3;
        break;
    case Tarpo::PixelType_YUV444packed: // U Y V
        groupBytes = 3;
        groupPixels = 1;
        yOffset = 1;
        uOffset = 0;
        vOffset = 2;
        break;
    default:
        return false;
    }
    const size_t group = static_cast<size_t>(x / groupPixels) * groupBytes;
    if (group + groupBytes > available)
        return false;
    raw.kind = RawPixel::Yuv;
    raw.count = 3;
    raw.bitDepth = 8;
    raw.values[0] = line[group + yOffset];
    raw.values[1] = line[group + uOffset];
    raw.values[2] = line[group + vOffset];
    return true;
}

} // namespace

QString RawPixel::text() const
{
    if (kind == Bayer)
        return QString("%1 %2").arg(QChar(filter)).arg(values[0]);
    QStringList parts;
    for (int i = 0; i < count; ++i)
        parts << QString::number(values[i]);
    return parts.join(", ");
}

RawPixel RawPixel::read(const TarpoViewerSdk::StreamBuffer& buffer, int x, int y)
{
    return read(buffer.data(), buffer.size(), buffer.pixelType(), buffer.width(), buffer.height(),
                buffer.lineOffset(), x, y);
}

RawPixel RawPixel::read(const uint8_t* data, size_t dataSize, Tarpo::EPixelType type, int width,
                        int height, size_t lineOffset, int x, int y)
{
    RawPixel raw;
    if (!data || x < 0 || y < 0 || x >= width || y >= height || lineOffset == 0)
        return raw;
    const size_t lineStart = static_cast<size_t>(y) * lineOffset;
    if (lineStart >= dataSize)
        return raw;
    const uint8_t* line = data + lineStart;
    const size_t available = std::min(lineOffset, dataSize - lineStart);

    if (Tarpo::IsYUV(type)) {
        if (!readYuv(line, available, type, x, raw))
            return RawPixel();
        return raw;
    }

    Tarpo::SSampleFormat format;
    if (!Tarpo::GetSampleFormat(type, format)) {
        // The types the SDK's line unpacker leaves out: signed 8-bit and the packed types of
        // fewer than 8 bits, which are PFNC bit streams.
        if (type == Tarpo::PixelType_Mono8signed) {
            if (static_cast<size_t>(x) >= available)
                return raw;
            raw.kind = Mono;
            raw.count = 1;
            raw.bitDepth = 8;
            raw.values[0] = static_cast<int8_t>(line[x]);
            return raw;
        }
        if (!Tarpo::IsMono(type) || !Tarpo::IsPFNCPacked(type) || Tarpo::BitDepth(type) == 0 ||
            Tarpo::BitDepth(type) >= 8)
            return raw;
        format.layout = Tarpo::ESampleLayout::PfncPacked;
        format.bitDepth = Tarpo::BitDepth(type);
    }

    if (Tarpo::IsMono(type) || Tarpo::IsBayer(type)) {
        uint32_t value = 0;
        if (!sampleAt(line, available, format, static_cast<size_t>(x), value))
            return raw;
        raw.kind = Tarpo::IsBayer(type) ? Bayer : Mono;
        raw.count = 1;
        raw.values[0] = static_cast<int32_t>(value);
        raw.filter = raw.kind == Bayer ? Tarpo::BayerFilterAt(Tarpo::GetBayerOrder(type), x, y) : 0;
    } else {
        const uint32_t samples = Tarpo::SamplesPerPixel(type);
        if (samples < 3)
            return raw;
        // Memory order R G B (A) or B G R (A); we report R, G, B.
        const bool bgr = Tarpo::IsBGR(type) || Tarpo::IsBGRA(type);
        for (int c = 0; c < 3; ++c) {
            uint32_t value = 0;
            const size_t index = static_cast<size_t>(x) * samples + static_cast<size_t>(c);
            if (!sampleAt(line, available, format, index, value))
                return RawPixel();
            raw.values[bgr ? 2 - c : c] = static_cast<int32_t>(value);
        }
        raw.kind = Rgb;
        raw.count = 3;
    }
    raw.bitDepth = format.bitDepth;
    return raw;
}
