#pragma once

// Demosaics Bayer images with OpenCV, translating our Bayer orders into OpenCV's conversion
// codes, and applies the converter's edge handling to the one-pixel border that OpenCV only
// copies from its neighbours. Used by the image format converter only: this header brings in
// OpenCV, which stays private to the SDK library.
// Thread: one thread at a time (it reuses a scratch image).

#include "tarpo/imageformatconvertersettings.h"

#include <opencv2/core.hpp>

namespace Tarpo {

class CBayerDemosaicer
{
public:
    enum EOutput
    {
        Output_Grey, // luminance, ITU-R BT.601 weights
        Output_Bgr,
        Output_Rgb,
        Output_Bgra // 8-bit only; alpha is 255
    };

    // `bayer` is CV_8UC1 or CV_16UC1, its first line starting with `order`. `dst` is a header
    // over the caller's output of the same size and depth: 1 channel for Output_Grey, 3 for
    // BGR and RGB, 4 for BGRA. OpenCV writes straight into it; dst is never reallocated.
    void demosaic(const cv::Mat& bayer, EBayerOrder order, cv::Mat& dst, EOutput output,
                  EDemosaicingMethod method, EInconvertibleEdgeHandling edgeHandling);

    // cv::cvtColor into a header over memory we do not own. A size or type mismatch would make
    // OpenCV allocate a new image silently; that is our bug and throws a LogicalErrorException.
    static void convertInto(const cv::Mat& src, cv::Mat& dst, int code);

private:
    // Edge-aware demosaicing runs between these continuous images (see demosaic()).
    cv::Mat m_edgeAwareInput;
    cv::Mat m_edgeAwareBgr;
};

} // namespace Tarpo
