#include "tarpo/libraryversions.h"

#include <arv.h>
#include <boost/version.hpp>
#include <log4cpp/Portability.hh>
#include <opencv2/core/utility.hpp>
#include <tiffio.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
}

#include <string>

namespace Tarpo {

namespace {

std::string versionOf(unsigned packed)
{
    return std::to_string(packed >> 16) + "." + std::to_string((packed >> 8) & 0xff) + "." +
           std::to_string(packed & 0xff);
}

// libtiff says "LIBTIFF, Version 4.5.0\nCopyright ..."; the number is enough.
std::string tiffVersion()
{
    const std::string text = TIFFGetVersion();
    const size_t start = text.find("Version ");
    if (start == std::string::npos)
        return text.substr(0, text.find('\n'));
    const size_t begin = start + 8;
    return text.substr(begin, text.find_first_of("\n ", begin) - begin);
}

} // namespace

std::vector<std::pair<std::string, std::string>> GetLibraryVersions()
{
    return {
        {"Aravis", std::to_string(arv_get_major_version()) + "." +
                       std::to_string(arv_get_minor_version()) + "." +
                       std::to_string(arv_get_micro_version())},
        {"FFmpeg", std::string(av_version_info()) + " (libavformat " +
                       versionOf(avformat_version()) + ", libavcodec " +
                       versionOf(avcodec_version()) + ")"},
        {"OpenCV", cv::getVersionString()},
        {"libtiff", tiffVersion()},
        {"Boost", std::to_string(BOOST_VERSION / 100000) + "." +
                      std::to_string(BOOST_VERSION / 100 % 1000) + "." +
                      std::to_string(BOOST_VERSION % 100)},
#ifdef LOG4CPP_VERSION
        {"log4cpp", LOG4CPP_VERSION},
#endif
    };
}

} // namespace Tarpo
