#include "tarpo/bayerdemosaicer.h"

#include "genapi/genicamexception.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace Tarpo {

namespace {

// OpenCV names a Bayer pattern after the second and third pixel of its second line, we after
// the first two pixels of the first line: our RG (R G / G B) is OpenCV's BG, and so on.
// Columns: grey, BGR, RGB, BGRA, edge-aware BGR.
const int kCodes[4][5] = {
    // BayerOrder_RG
    {cv::COLOR_BayerBG2GRAY, cv::COLOR_BayerBG2BGR, cv::COLOR_BayerBG2RGB, cv::COLOR_BayerBG2BGRA,
     cv::COLOR_BayerBG2BGR_EA},
    // BayerOrder_GB
    {cv::COLOR_BayerGR2GRAY, cv::COLOR_BayerGR2BGR, cv::COLOR_BayerGR2RGB, cv::COLOR_BayerGR2BGRA,
     cv::COLOR_BayerGR2BGR_EA},
    // BayerOrder_GR
    {cv::COLOR_BayerGB2GRAY, cv::COLOR_BayerGB2BGR, cv::COLOR_BayerGB2RGB, cv::COLOR_BayerGB2BGRA,
     cv::COLOR_BayerGB2BGR_EA},
    // BayerOrder_BG
    {cv::COLOR_BayerRG2GRAY, cv::COLOR_BayerRG2BGR, cv::COLOR_BayerRG2RGB, cv::COLOR_BayerRG2BGRA,
     cv::COLOR_BayerRG2BGR_EA}};

enum
{
    EdgeAwareBgr = 4
};

// The colour (0 red, 1 green, 2 blue) of the sample at an even/odd line and column.
const uint8_t kSiteColors[4][2][2] = {
    {{0, 1}, {1, 2}}, // RG
    {{1, 2}, {0, 1}}, // GB
    {{1, 0}, {2, 1}}, // GR
    {{2, 1}, {1, 0}}  // BG
};

// Rewrites the border pixels the edge handling concerns: the outermost lines and columns, or
// every pixel of an image less than three pixels wide or high, where OpenCV interpolates
// nothing. Clip interpolates each from the samples of the 3 x 3 neighbourhood that lie inside
// the image: that is the bilinear interpolation with the missing neighbours left out.
template <class T>
void rewriteBorder(const cv::Mat& bayer, EBayerOrder order, cv::Mat& dst,
                   CBayerDemosaicer::EOutput output, bool setZero)
{
    const int width = bayer.cols;
    const int height = bayer.rows;
    const bool tiny = width < 3 || height < 3;
    const uint32_t maximum = sizeof(T) == 1 ? 0xFFu : 0xFFFFu;
    const int channels = dst.channels();
    const int redIndex = output == CBayerDemosaicer::Output_Rgb ? 0 : 2;
    const int blueIndex = 2 - redIndex;

    auto rewrite = [&](int x, int y) {
        uint32_t rgb[3] = {0, 0, 0};
        if (!setZero) {
            uint32_t sums[3] = {0, 0, 0};
            uint32_t counts[3] = {0, 0, 0};
            for (int yy = std::max(y - 1, 0); yy <= std::min(y + 1, height - 1); ++yy) {
                const T* line = bayer.ptr<T>(yy);
                for (int xx = std::max(x - 1, 0); xx <= std::min(x + 1, width - 1); ++xx) {
                    const uint8_t color = kSiteColors[order][yy & 1][xx & 1];
                    sums[color] += line[xx];
                    ++counts[color];
                }
            }
            const uint8_t own = kSiteColors[order][y & 1][x & 1];
            for (int c = 0; c < 3; ++c) {
                if (c == own)
                    rgb[c] = bayer.ptr<T>(y)[x];
                else if (counts[c] > 0)
                    rgb[c] = (sums[c] + counts[c] / 2) / counts[c];
            }
        }
        T* pixel = dst.ptr<T>(y) + x * channels;
        if (output == CBayerDemosaicer::Output_Grey) {
            // The weights of OpenCV's own Bayer and BGR to grey conversions.
            const uint64_t luma =
                uint64_t(4899) * rgb[0] + uint64_t(9617) * rgb[1] + uint64_t(1868) * rgb[2];
            pixel[0] = static_cast<T>(std::min<uint64_t>((luma + (1u << 13)) >> 14, maximum));
            return;
        }
        pixel[redIndex] = static_cast<T>(rgb[0]);
        pixel[1] = static_cast<T>(rgb[1]);
        pixel[blueIndex] = static_cast<T>(rgb[2]);
        if (channels == 4)
            pixel[3] = static_cast<T>(maximum);
    };

    if (tiny) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                rewrite(x, y);
        return;
    }
    for (int x = 0; x < width; ++x) {
        rewrite(x, 0);
        rewrite(x, height - 1);
    }
    for (int y = 1; y < height - 1; ++y) {
        rewrite(0, y);
        rewrite(width - 1, y);
    }
}

void handleEdges(const cv::Mat& bayer, EBayerOrder order, cv::Mat& dst,
                 CBayerDemosaicer::EOutput output, EInconvertibleEdgeHandling edgeHandling)
{
    // OpenCV's own border repeats the neighbouring line or column: that is Extend, as long as
    // the image has an interior to repeat.
    const bool tiny = bayer.cols < 3 || bayer.rows < 3;
    if (edgeHandling == InconvertibleEdgeHandling_Extend && !tiny)
        return;
    const bool setZero = edgeHandling == InconvertibleEdgeHandling_SetZero;
    if (bayer.depth() == CV_8U)
        rewriteBorder<uint8_t>(bayer, order, dst, output, setZero);
    else
        rewriteBorder<uint16_t>(bayer, order, dst, output, setZero);
}

} // namespace

void CBayerDemosaicer::convertInto(const cv::Mat& src, cv::Mat& dst, int code)
{
    const uint8_t* target = dst.data;
    cv::cvtColor(src, dst, code);
    if (dst.data != target)
        throw LOGICAL_ERROR_EXCEPTION("Image format converter: OpenCV did not write into the "
                                      "destination (conversion code %d)",
                                      code);
}

void CBayerDemosaicer::demosaic(const cv::Mat& bayer, EBayerOrder order, cv::Mat& dst,
                                EOutput output, EDemosaicingMethod method,
                                EInconvertibleEdgeHandling edgeHandling)
{
    if (order == BayerOrder_None)
        throw LOGICAL_ERROR_EXCEPTION("CBayerDemosaicer: the source has no Bayer order");
    const int* codes = kCodes[order];

    if (method == DemosaicingMethod_Simple) {
        convertInto(bayer, dst, codes[output]);
        handleEdges(bayer, order, dst, output, edgeHandling);
        return;
    }

    // OpenCV's edge-aware demosaicing (4.6) walks its source and destination as if lines had
    // no padding: it reads the padding as pixels and writes into it. So it runs between
    // continuous images of our own, and the result is copied out.
    const cv::Mat* input = &bayer;
    if (!bayer.isContinuous()) {
        bayer.copyTo(m_edgeAwareInput);
        input = &m_edgeAwareInput;
    }
    m_edgeAwareBgr.create(bayer.rows, bayer.cols, CV_MAKETYPE(bayer.depth(), 3));
    cv::cvtColor(*input, m_edgeAwareBgr, codes[EdgeAwareBgr]);
    handleEdges(*input, order, m_edgeAwareBgr, Output_Bgr, edgeHandling);
    if (output == Output_Bgr) {
        const uint8_t* target = dst.data;
        m_edgeAwareBgr.copyTo(dst);
        if (dst.data != target)
            throw LOGICAL_ERROR_EXCEPTION("Image format converter: OpenCV did not copy into the "
                                          "destination");
        return;
    }
    const int codesFromBgr[] = {cv::COLOR_BGR2GRAY, 0, cv::COLOR_BGR2RGB, cv::COLOR_BGR2BGRA};
    convertInto(m_edgeAwareBgr, dst, codesFromBgr[output]);
}

} // namespace Tarpo
