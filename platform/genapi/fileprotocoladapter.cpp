#include "genapi/fileprotocoladapter.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace GenApi {

bool FileProtocolAdapter::attach(INodeMap* nodeMap)
{
    m_nodeMap = nullptr;
    if (!nodeMap)
        return false;
    m_fileSelector = nodeMap->GetNode("FileSelector");
    m_operationSelector = nodeMap->GetNode("FileOperationSelector");
    m_operationExecute = nodeMap->GetNode("FileOperationExecute");
    m_openMode = nodeMap->GetNode("FileOpenMode");
    m_accessBuffer = nodeMap->GetNode("FileAccessBuffer");
    m_accessOffset = nodeMap->GetNode("FileAccessOffset");
    m_accessLength = nodeMap->GetNode("FileAccessLength");
    m_operationStatus = nodeMap->GetNode("FileOperationStatus");
    m_operationResult = nodeMap->GetNode("FileOperationResult");
    m_fileSize = nodeMap->GetNode("FileSize");
    if (!m_fileSelector || !m_operationSelector || !m_operationExecute || !m_accessBuffer ||
        !m_operationStatus)
        return false;
    m_nodeMap = nodeMap;
    return true;
}

bool FileProtocolAdapter::select(const char* fileName, const char* operation)
{
    if (!m_nodeMap) {
        m_lastError = "no node map with file access is attached";
        return false;
    }
    if (!m_fileSelector->GetEntryByName(fileName)) {
        m_lastError = GenICam::formatMessage("the device has no file '%s'", fileName);
        return false;
    }
    m_fileSelector->FromString(fileName);
    if (!m_operationSelector->GetEntryByName(operation)) {
        m_lastError = GenICam::formatMessage("the device cannot %s files", operation);
        return false;
    }
    m_operationSelector->FromString(operation);
    return true;
}

bool FileProtocolAdapter::execute()
{
    m_operationExecute->Execute();
    const gcstring status = m_operationStatus->ToString();
    if (status == "Success")
        return true;
    m_lastError = GenICam::formatMessage("the device reported %s", status.c_str());
    return false;
}

template <class R, class F>
R FileProtocolAdapter::guarded(R failure, F&& f)
{
    if (!m_nodeMap)
        return failure;
    AutoLock lock(m_nodeMap->GetLock());
    try {
        return f();
    } catch (const GenICam::GenericException& e) {
        m_lastError = e.GetDescription();
        return failure;
    }
}

bool FileProtocolAdapter::selectBlock(const char* fileName, const char* operation,
                                      int64_t offset, int64_t length)
{
    if (!select(fileName, operation))
        return false;
    m_accessOffset->SetValue(offset);
    m_accessLength->SetValue(length);
    return true;
}

bool FileProtocolAdapter::openFile(const char* fileName, std::ios_base::openmode mode)
{
    return guarded(false, [&] {
        if (!select(fileName, "Open"))
            return false;
        if (m_openMode) {
            const bool in = (mode & std::ios_base::in) != 0;
            const bool out = (mode & std::ios_base::out) != 0;
            m_openMode->FromString(in && out ? "ReadWrite" : out ? "Write" : "Read");
        }
        return execute();
    });
}

bool FileProtocolAdapter::closeFile(const char* fileName)
{
    return guarded(false, [&] { return select(fileName, "Close") && execute(); });
}

std::streamsize FileProtocolAdapter::write(const char* buffer, std::streamoff offset,
                                           std::streamsize length, const char* fileName)
{
    if (length < 0)
        return -1;
    return guarded(std::streamsize(-1), [&]() -> std::streamsize {
        const int64_t blockSize = m_accessBuffer->GetLength();
        std::vector<uint8_t> block(static_cast<size_t>(blockSize));
        std::streamsize done = 0;
        while (done < length) {
            const int64_t chunk = std::min<int64_t>(blockSize, length - done);
            std::fill(block.begin(), block.end(), 0);
            std::memcpy(block.data(), buffer + done, static_cast<size_t>(chunk));
            if (!selectBlock(fileName, "Write", offset + done, chunk))
                return done > 0 ? done : -1;
            m_accessBuffer->Set(block.data(), blockSize);
            if (!execute())
                return done > 0 ? done : -1;
            const int64_t written = m_operationResult ? m_operationResult->GetValue() : chunk;
            if (written <= 0) {
                m_lastError = "the device wrote nothing (file full?)";
                return done > 0 ? done : -1;
            }
            done += written;
        }
        return done;
    });
}

std::streamsize FileProtocolAdapter::read(char* buffer, std::streamoff offset,
                                          std::streamsize length, const char* fileName)
{
    if (length < 0)
        return -1;
    return guarded(std::streamsize(-1), [&]() -> std::streamsize {
        const int64_t blockSize = m_accessBuffer->GetLength();
        std::vector<uint8_t> block(static_cast<size_t>(blockSize));
        std::streamsize done = 0;
        while (done < length) {
            const int64_t chunk = std::min<int64_t>(blockSize, length - done);
            if (!selectBlock(fileName, "Read", offset + done, chunk) || !execute())
                return done > 0 ? done : -1;
            const int64_t got = m_operationResult ? m_operationResult->GetValue() : chunk;
            if (got <= 0)
                break; // end of file
            m_accessBuffer->Get(block.data(), blockSize);
            const int64_t used = std::min(got, chunk);
            std::memcpy(buffer + done, block.data(), static_cast<size_t>(used));
            done += used;
            if (got < chunk)
                break;
        }
        return done;
    });
}

int64_t FileProtocolAdapter::getBufSize(const char*, std::ios_base::openmode)
{
    return guarded(int64_t(0), [&] { return m_accessBuffer->GetLength(); });
}

int64_t FileProtocolAdapter::getFileSize(const char* fileName)
{
    if (!m_fileSize)
        return -1;
    return guarded(int64_t(-1), [&]() -> int64_t {
        if (!m_fileSelector->GetEntryByName(fileName))
            return -1;
        m_fileSelector->FromString(fileName);
        return IsReadable(m_fileSize) ? m_fileSize->GetValue() : -1;
    });
}

bool FileProtocolAdapter::deleteFile(const char* fileName)
{
    return guarded(false, [&] { return select(fileName, "Delete") && execute(); });
}

} // namespace GenApi
