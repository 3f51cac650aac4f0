#include "tarpo/opencvreference.h"

#include <opencv2/imgproc.hpp>

namespace Tarpo {

void OpenCvBayerRGToBgra(const uint8_t* src, size_t srcStride, uint8_t* dst, size_t dstStride,
                         uint32_t width, uint32_t height)
{
    const cv::Mat bayer(static_cast<int>(height), static_cast<int>(width), CV_8UC1,
                        const_cast<uint8_t*>(src), srcStride);
    cv::Mat bgra(static_cast<int>(height), static_cast<int>(width), CV_8UC4, dst, dstStride);
    cv::cvtColor(bayer, bgra, cv::COLOR_BayerBG2BGRA);
}

} // namespace Tarpo
