#pragma once

// std::streambuf / std::istream / std::ostream over a device file, through FileProtocolAdapter.
// Thread: one user at a time per stream.

#include "genapi/fileprotocoladapter.h"

#include <istream>
#include <memory>
#include <ostream>
#include <streambuf>
#include <vector>

namespace GenApi {

// What both device file buffers share: the adapter (their own one when opened on a node map),
// the file, the block buffer and the position in the file.
class DevFileStreamBufBase : public std::streambuf
{
public:
    bool is_open() const { return m_adapter != nullptr; }
    // Forgets the device without touching it (the device is going away).
    void detach();

protected:
    // Opens with an adapter of its own on `nodeMap`; `openOn` opens on a given adapter.
    template <class OpenOn>
    bool openOnNodeMap(INodeMap* nodeMap, OpenOn&& openOn);
    // Takes the opened file over; the buffer gets the device's block size.
    void opened(FileProtocolAdapter* adapter, const char* fileName, int64_t blockSize);
    // Forgets the file after it was closed on the device.
    void forget();

    std::unique_ptr<FileProtocolAdapter> m_ownAdapter;
    FileProtocolAdapter* m_adapter = nullptr;
    gcstring m_fileName;
    std::vector<char> m_buffer;
    std::streamoff m_fileOffset = 0;
};

// Writes a device file. Data is sent in blocks of the device's buffer size; close() sends the
// rest and closes the file on the device.
class ODevFileStreamBuf : public DevFileStreamBufBase
{
public:
    ODevFileStreamBuf() = default;
    ~ODevFileStreamBuf() override;
    ODevFileStreamBuf* open(FileProtocolAdapter* adapter, const char* fileName,
                            std::ios_base::openmode mode = std::ios_base::out |
                                                           std::ios_base::trunc);
    ODevFileStreamBuf* open(INodeMap* nodeMap, const char* fileName,
                            std::ios_base::openmode mode = std::ios_base::out |
                                                           std::ios_base::trunc);
    ODevFileStreamBuf* close();

protected:
    int_type overflow(int_type c) override;
    int sync() override;

private:
    bool flushBuffer();
};

// Reads a device file in blocks of the device's buffer size.
class IDevFileStreamBuf : public DevFileStreamBufBase
{
public:
    IDevFileStreamBuf() = default;
    ~IDevFileStreamBuf() override;
    IDevFileStreamBuf* open(FileProtocolAdapter* adapter, const char* fileName,
                            std::ios_base::openmode mode = std::ios_base::in);
    IDevFileStreamBuf* open(INodeMap* nodeMap, const char* fileName,
                            std::ios_base::openmode mode = std::ios_base::in);
    IDevFileStreamBuf* close();

protected:
    int_type underflow() override;

private:
    int64_t m_fileSize = -1;
};

// Convenience streams that own their buffer.
class ODevFileStream : public std::ostream
{
public:
    ODevFileStream() : std::ostream(&m_buf) {}
    ODevFileStream(INodeMap* nodeMap, const char* fileName,
                   std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc)
        : std::ostream(&m_buf)
    {
        open(nodeMap, fileName, mode);
    }
    void open(INodeMap* nodeMap, const char* fileName,
              std::ios_base::openmode mode = std::ios_base::out | std::ios_base::trunc)
    {
        if (!m_buf.open(nodeMap, fileName, mode))
            setstate(std::ios_base::failbit);
    }
    bool is_open() const { return m_buf.is_open(); }
    void close()
    {
        if (!m_buf.close())
            setstate(std::ios_base::failbit);
    }

private:
    ODevFileStreamBuf m_buf;
};

class IDevFileStream : public std::istream
{
public:
    IDevFileStream() : std::istream(&m_buf) {}
    IDevFileStream(INodeMap* nodeMap, const char* fileName,
                   std::ios_base::openmode mode = std::ios_base::in)
        : std::istream(&m_buf)
    {
        open(nodeMap, fileName, mode);
    }
    void open(INodeMap* nodeMap, const char* fileName,
              std::ios_base::openmode mode = std::ios_base::in)
    {
        if (!m_buf.open(nodeMap, fileName, mode))
            setstate(std::ios_base::failbit);
    }
    bool is_open() const { return m_buf.is_open(); }
    void close()
    {
        if (!m_buf.close())
            setstate(std::ios_base::failbit);
    }

private:
    IDevFileStreamBuf m_buf;
};

} // namespace GenApi
