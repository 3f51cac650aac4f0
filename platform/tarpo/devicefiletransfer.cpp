#include "tarpo/devicefiletransfer.h"

#include "genapi/devfilestream.h"
#include "genapi/genapi.h"

#include <QFile>
#include <QSaveFile>

#include <istream>
#include <ostream>

namespace Tarpo {

namespace {

bool closed(const CDeviceFileTransfer::Closed& deviceClosed)
{
    return deviceClosed && deviceClosed();
}

} // namespace

std::vector<SDeviceFile> CDeviceFileTransfer::ListFiles(GenApi::INodeMap* nodeMap)
{
    std::vector<SDeviceFile> files;
    if (!nodeMap)
        return files;
    GenApi::CEnumerationPtr selector = nodeMap->GetNode("FileSelector");
    if (!selector)
        return files;
    GenApi::NodeList_t entries;
    selector->GetEntries(entries);
    for (GenApi::INode* entry : entries) {
        auto* enumEntry = dynamic_cast<GenApi::IEnumEntry*>(entry);
        if (enumEntry && entry->GetAccessMode() > GenApi::NA)
            files.push_back({enumEntry->GetSymbolic().c_str(), entry->GetDisplayName().c_str()});
    }
    return files;
}

CDeviceFileTransfer::EResult
CDeviceFileTransfer::Upload(GenApi::INodeMap* nodeMap, const std::string& cameraFile,
                            const std::string& hostFile, const Progress& progress,
                            const Closed& deviceClosed, std::string* detail)
{
    if (closed(deviceClosed))
        return DeviceClosed;
    QFile host(QString::fromStdString(hostFile));
    if (!host.open(QIODevice::ReadOnly)) {
        if (detail)
            *detail = host.errorString().toStdString();
        return HostFileUnreadable;
    }
    const int64_t total = host.size();
    GenApi::ODevFileStreamBuf buffer;
    if (!buffer.open(nodeMap, cameraFile.c_str())) {
        if (detail)
            *detail = "the camera file cannot be opened for writing";
        return CameraWriteFailed;
    }
    std::ostream camera(&buffer);
    char block[kBlockSize];
    int64_t done = 0;
    EResult result = Done;
    for (;;) {
        if (closed(deviceClosed)) {
            result = DeviceClosed;
            break;
        }
        const qint64 read = host.read(block, kBlockSize);
        if (read < 0) {
            result = HostFileUnreadable;
            break;
        }
        camera.write(block, read);
        if (!camera) {
            result = CameraWriteFailed;
            break;
        }
        done += read;
        if (progress)
            progress(done, total);
        if (read < kBlockSize)
            break;
    }
    if (result == DeviceClosed) {
        // The device is going away: the stream is given up without a word to it.
        buffer.detach();
    } else if (!buffer.close() && result == Done) {
        result = CameraWriteFailed;
    }
    if (result != Done && detail && detail->empty())
        *detail = result == HostFileUnreadable ? host.errorString().toStdString()
                                               : "the camera refused the data";
    return result;
}

CDeviceFileTransfer::EResult
CDeviceFileTransfer::Download(GenApi::INodeMap* nodeMap, const std::string& cameraFile,
                              const std::string& hostFile, const Progress& progress,
                              const Closed& deviceClosed, std::string* detail)
{
    if (closed(deviceClosed))
        return DeviceClosed;
    // Written aside and put in place when complete: a failed download leaves nothing behind.
    QSaveFile host(QString::fromStdString(hostFile));
    if (!host.open(QIODevice::WriteOnly)) {
        if (detail)
            *detail = host.errorString().toStdString();
        return HostFileUnwritable;
    }
    GenApi::IDevFileStreamBuf buffer;
    if (!buffer.open(nodeMap, cameraFile.c_str())) {
        host.cancelWriting();
        if (detail)
            *detail = "the camera file cannot be opened for reading";
        return CameraReadFailed;
    }
    int64_t total = -1;
    {
        GenApi::FileProtocolAdapter adapter;
        if (adapter.attach(nodeMap))
            total = adapter.getFileSize(cameraFile.c_str());
    }
    std::istream camera(&buffer);
    char block[kBlockSize];
    int64_t done = 0;
    EResult result = Done;
    for (;;) {
        if (closed(deviceClosed)) {
            result = DeviceClosed;
            break;
        }
        camera.read(block, kBlockSize);
        const std::streamsize read = camera.gcount();
        if (camera.bad()) {
            result = CameraReadFailed;
            break;
        }
        if (host.write(block, read) != read) {
            result = HostWriteIncomplete;
            break;
        }
        done += read;
        if (progress)
            progress(done, total);
        if (read < kBlockSize)
            break;
    }
    if (result == DeviceClosed)
        buffer.detach();
    else
        buffer.close();
    if (result != Done) {
        host.cancelWriting();
        if (detail && detail->empty())
            *detail = result == HostWriteIncomplete ? host.errorString().toStdString()
                                                    : "the camera did not deliver the file";
        return result;
    }
    if (!host.commit()) {
        if (detail)
            *detail = host.errorString().toStdString();
        return HostWriteIncomplete;
    }
    return Done;
}

} // namespace Tarpo
