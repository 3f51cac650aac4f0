#pragma once

// Reads and writes device files through the standard FileAccessControl features (FileSelector,
// FileOperationSelector, FileOpenMode, FileAccessOffset/Length/Buffer, FileOperationExecute,
// FileOperationStatus, FileOperationResult, FileSize).
// Thread: one user at a time per adapter; each call holds the node map's lock.

#include "genapi/interfaces.h"
#include "genapi/pointer.h"

#include <ios>

namespace GenApi {

class FileProtocolAdapter
{
public:
    FileProtocolAdapter() = default;
    // False when the node map has no usable file access features.
    bool attach(INodeMap* nodeMap);
    bool isAttached() const { return m_nodeMap != nullptr; }
    INodeMap* nodeMap() const { return m_nodeMap; }

    bool openFile(const char* fileName, std::ios_base::openmode mode);
    bool closeFile(const char* fileName);
    // Each returns the bytes moved, or -1 when the device refused the operation.
    std::streamsize write(const char* buffer, std::streamoff offset, std::streamsize length,
                          const char* fileName);
    std::streamsize read(char* buffer, std::streamoff offset, std::streamsize length,
                         const char* fileName);
    // The size of the device's transfer buffer (FileAccessBuffer), the natural block size.
    int64_t getBufSize(const char* fileName, std::ios_base::openmode mode);
    // FileSize of the selected file, or -1 when the device does not tell it.
    int64_t getFileSize(const char* fileName);
    bool deleteFile(const char* fileName);
    // The status text of the last failed operation ("" when none failed).
    gcstring lastError() const { return m_lastError; }

private:
    bool select(const char* fileName, const char* operation);
    // Selects the file and operation and the block (offset, length) it moves.
    bool selectBlock(const char* fileName, const char* operation, int64_t offset, int64_t length);
    bool execute();
    // Runs `f` under the node map's lock; a GenICam exception becomes lastError() and `failure`.
    template <class R, class F>
    R guarded(R failure, F&& f);

    INodeMap* m_nodeMap = nullptr;
    CEnumerationPtr m_fileSelector;
    CEnumerationPtr m_operationSelector;
    CCommandPtr m_operationExecute;
    CEnumerationPtr m_openMode;
    CRegisterPtr m_accessBuffer;
    CIntegerPtr m_accessOffset;
    CIntegerPtr m_accessLength;
    CEnumerationPtr m_operationStatus;
    CIntegerPtr m_operationResult;
    CIntegerPtr m_fileSize;
    gcstring m_lastError;
};

} // namespace GenApi
