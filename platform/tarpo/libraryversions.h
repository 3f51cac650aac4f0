#pragma once

// The versions of the libraries the camera layer runs on, as they report themselves at run
// time: for the about box and the support information.
// Thread-safe.

#include <string>
#include <utility>
#include <vector>

namespace Tarpo {

// ("Aravis", "0.8.26"), ("FFmpeg", ...), ("OpenCV", ...), ("libtiff", ...), ("Boost", ...),
// ("log4cpp", ...), in that order.
std::vector<std::pair<std::string, std::string>> GetLibraryVersions();

} // namespace Tarpo
