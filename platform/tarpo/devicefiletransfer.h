#pragma once

// Copies files between the host and a camera's file system (the GenICam file access features),
// in blocks of 1024 bytes: the camera's file list, upload and download. A host file that a
// download does not complete is not left behind; a camera that goes away during a transfer is
// not touched again. The file access dialog and tarpo-cli share it.
// Thread: the caller's; `deviceClosed` may be set from another thread.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace GenApi {
class INodeMap;
}

namespace Tarpo {

struct SDeviceFile
{
    std::string symbolic;    // the FileSelector entry, as the device names the file
    std::string displayName; // as a person reads it
};

class CDeviceFileTransfer
{
public:
    static constexpr int kBlockSize = 1024;

    enum EResult
    {
        Done,
        HostFileUnreadable,  // upload: the host file cannot be read
        HostFileUnwritable,  // download: the host file cannot be created
        CameraWriteFailed,   // upload: the camera refused a block
        CameraReadFailed,    // download: the camera file cannot be opened or read
        HostWriteIncomplete, // download: fewer bytes reached the host file than were read
        DeviceClosed         // the camera went away before or during the transfer
    };

    // Told the bytes moved so far and the whole size (-1 when unknown) after each block.
    using Progress = std::function<void(int64_t done, int64_t total)>;
    // True once the camera is going away.
    using Closed = std::function<bool()>;

    // The entries of "FileSelector" that are available, in the enumeration's order; empty
    // without file access.
    static std::vector<SDeviceFile> ListFiles(GenApi::INodeMap* nodeMap);

    // `detail` gets the camera's or the host's reason on failure.
    static EResult Upload(GenApi::INodeMap* nodeMap, const std::string& cameraFile,
                          const std::string& hostFile, const Progress& progress = {},
                          const Closed& deviceClosed = {}, std::string* detail = nullptr);
    static EResult Download(GenApi::INodeMap* nodeMap, const std::string& cameraFile,
                            const std::string& hostFile, const Progress& progress = {},
                            const Closed& deviceClosed = {}, std::string* detail = nullptr);
};

} // namespace Tarpo
