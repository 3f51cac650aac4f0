#pragma once

// OpenCV's own conversions on raw memory, the yardsticks the benchmarks measure the image
// format converter against in the same run. They live in the SDK library so that OpenCV's
// headers stay private to it.
// Thread-safe: pure functions over the caller's memory.

#include <cstddef>
#include <cstdint>

namespace Tarpo {

// cv::cvtColor(COLOR_BayerBG2BGRA) over headers on the caller's memory: an 8-bit Bayer image
// whose first line starts R G, into 8-bit BGRA.
void OpenCvBayerRGToBgra(const uint8_t* src, size_t srcStride, uint8_t* dst, size_t dstStride,
                         uint32_t width, uint32_t height);

} // namespace Tarpo
