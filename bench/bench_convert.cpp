// Times the image format converter on one 2448 x 2048 frame against references measured in the
// same run: OpenCV's own demosaicing for Bayer to BGRA, memcpy of the same bytes for Mono8, and
// memcpy of the output bytes for the unpacking conversions. Prints the median of the
// repetitions and the ratio to the reference. Run it from a Release build.

#include "mediantimes.h"
#include "tarpo/imageformatconverter.h"
#include "tarpo/opencvreference.h"

#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

using namespace Tarpo;

namespace {

const uint32_t kWidth = 2448;
const uint32_t kHeight = 2048;
const int kWarmUps = 5;
const int kRepetitions = 50;

// Camera-like data: every bit pattern is a valid sample in every format.
std::vector<uint8_t> frameOf(EPixelType type)
{
    std::vector<uint8_t> frame(ComputeBufferSize(type, kWidth, kHeight));
    uint32_t state = 12345;
    for (uint8_t& byte : frame) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return frame;
}

Bench::MedianTimes medianTimes(const std::function<void()>& subject,
                               const std::function<void()>& reference)
{
    return Bench::medianTimes(subject, reference, kWarmUps, kRepetitions);
}

bool report(const char* what, const Bench::MedianTimes& times, const char* reference, double limit)
{
    const double ratio = times.ratio();
    const bool ok = ratio <= limit;
    std::printf("%-28s %8.3f ms | %-36s %8.3f ms | ratio %5.2f (limit %.2f) %s\n", what,
                times.subjectMs, reference, times.referenceMs, ratio, limit,
                ok ? "ok" : "OVER LIMIT");
    return ok;
}

// Times one conversion of a frame of `type` against memcpy of the bytes it writes.
Bench::MedianTimes againstMemcpy(CImageFormatConverter& converter, EPixelType type,
                                 EPixelType output)
{
    const std::vector<uint8_t> src = frameOf(type);
    converter.setOutputPixelFormat(output);
    std::vector<uint8_t> dst(converter.GetBufferSizeForConversion(type, kWidth, kHeight));
    const std::vector<uint8_t> from(dst.size(), 0x5A);
    std::vector<uint8_t> to(dst.size());
    const Bench::MedianTimes times = medianTimes(
        [&] {
            converter.Convert(dst.data(), dst.size(), src.data(), src.size(), type, kWidth, kHeight,
                              0);
        },
        [&] { std::memcpy(to.data(), from.data(), to.size()); });
    if (to[to.size() / 2] != 0x5A) // keeps the copies observable
        std::printf("memcpy went wrong\n");
    return times;
}

} // namespace

int main()
{
    std::printf("Image format converter, %u x %u, median of %d after %d warm-ups\n", kWidth,
                kHeight, kRepetitions, kWarmUps);
    CImageFormatConverter converter;
    int overLimit = 0;
    const auto count = [&](bool withinLimit) { overLimit += withinLimit ? 0 : 1; };

    {
        const std::vector<uint8_t> bayer = frameOf(PixelType_BayerRG8);
        std::vector<uint8_t> reference(size_t(kWidth) * kHeight * 4);
        converter.setOutputPixelFormat(PixelType_BGRA8packed);
        std::vector<uint8_t> dst(reference.size());
        const Bench::MedianTimes times = medianTimes(
            [&] {
                converter.Convert(dst.data(), dst.size(), bayer.data(), bayer.size(),
                                  PixelType_BayerRG8, kWidth, kHeight, 0);
            },
            [&] {
                OpenCvBayerRGToBgra(bayer.data(), kWidth, reference.data(), kWidth * 4, kWidth,
                                    kHeight);
            });
        count(report("BayerRG8 -> BGRA8packed", times, "cv::cvtColor(COLOR_BayerBG2BGRA)", 1.15));
        if (dst != reference)
            std::printf("  the converter's BGRA differs from OpenCV's\n");
    }
    count(report("Mono8 -> Mono8", againstMemcpy(converter, PixelType_Mono8, PixelType_Mono8),
                 "memcpy of the same bytes", 1.2));
    const EPixelType unpacking[] = {PixelType_Mono12p, PixelType_Mono16, PixelType_BayerRG12p};
    for (EPixelType type : unpacking) {
        const EPixelType output = IsBayer(type) ? PixelType_BGRA8packed : PixelType_Mono8;
        char what[64];
        std::snprintf(what, sizeof what, "%s -> %s", GetPixelTypeName(type),
                      GetPixelTypeName(output));
        count(report(what, againstMemcpy(converter, type, output), "memcpy of the output bytes",
                     4.0));
    }
    std::printf("%s\n", overLimit == 0 ? "All figures within their limits."
                                       : "Some figures are over their limits.");
    return 0;
}
