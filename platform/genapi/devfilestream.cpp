#include "genapi/devfilestream.h"

#include <algorithm>

namespace GenApi {

// --- DevFileStreamBufBase ----------------------------------------------------------------

void DevFileStreamBufBase::detach()
{
    forget();
}

template <class OpenOn>
bool DevFileStreamBufBase::openOnNodeMap(INodeMap* nodeMap, OpenOn&& openOn)
{
    auto adapter = std::make_unique<FileProtocolAdapter>();
    if (!adapter->attach(nodeMap) || !openOn(adapter.get()))
        return false;
    m_ownAdapter = std::move(adapter);
    return true;
}

void DevFileStreamBufBase::opened(FileProtocolAdapter* adapter, const char* fileName,
                                  int64_t blockSize)
{
    m_adapter = adapter;
    m_fileName = fileName;
    m_fileOffset = 0;
    m_buffer.assign(static_cast<size_t>(std::max<int64_t>(blockSize, 1)), '\0');
}

void DevFileStreamBufBase::forget()
{
    m_adapter = nullptr;
    m_ownAdapter.reset();
    setp(nullptr, nullptr);
    setg(nullptr, nullptr, nullptr);
}

// --- ODevFileStreamBuf -------------------------------------------------------------------

ODevFileStreamBuf::~ODevFileStreamBuf()
{
    close();
}

ODevFileStreamBuf* ODevFileStreamBuf::open(FileProtocolAdapter* adapter, const char* fileName,
                                           std::ios_base::openmode mode)
{
    if (is_open() || !adapter || !adapter->isAttached())
        return nullptr;
    if (!adapter->openFile(fileName, mode | std::ios_base::out))
        return nullptr;
    opened(adapter, fileName, adapter->getBufSize(fileName, mode));
    setp(m_buffer.data(), m_buffer.data() + m_buffer.size());
    return this;
}

ODevFileStreamBuf* ODevFileStreamBuf::open(INodeMap* nodeMap, const char* fileName,
                                           std::ios_base::openmode mode)
{
    return openOnNodeMap(nodeMap, [&](FileProtocolAdapter* a) { return open(a, fileName, mode); })
               ? this
               : nullptr;
}

bool ODevFileStreamBuf::flushBuffer()
{
    const std::streamsize pending = pptr() - pbase();
    if (pending == 0)
        return true;
    const std::streamsize written =
        m_adapter->write(pbase(), m_fileOffset, pending, m_fileName.c_str());
    if (written != pending)
        return false;
    m_fileOffset += pending;
    setp(m_buffer.data(), m_buffer.data() + m_buffer.size());
    return true;
}

ODevFileStreamBuf::int_type ODevFileStreamBuf::overflow(int_type c)
{
    if (!m_adapter || !flushBuffer())
        return traits_type::eof();
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
        *pptr() = traits_type::to_char_type(c);
        pbump(1);
    }
    return traits_type::not_eof(c);
}

int ODevFileStreamBuf::sync()
{
    return m_adapter && flushBuffer() ? 0 : -1;
}

ODevFileStreamBuf* ODevFileStreamBuf::close()
{
    if (!m_adapter)
        return nullptr;
    const bool flushed = flushBuffer();
    const bool closed = m_adapter->closeFile(m_fileName.c_str());
    forget();
    return flushed && closed ? this : nullptr;
}

// --- IDevFileStreamBuf -------------------------------------------------------------------

IDevFileStreamBuf::~IDevFileStreamBuf()
{
    close();
}

IDevFileStreamBuf* IDevFileStreamBuf::open(FileProtocolAdapter* adapter, const char* fileName,
                                           std::ios_base::openmode mode)
{
    if (is_open() || !adapter || !adapter->isAttached())
        return nullptr;
    if (!adapter->openFile(fileName, mode | std::ios_base::in))
        return nullptr;
    opened(adapter, fileName, adapter->getBufSize(fileName, mode));
    m_fileSize = adapter->getFileSize(fileName);
    setg(m_buffer.data(), m_buffer.data(), m_buffer.data());
    return this;
}

IDevFileStreamBuf* IDevFileStreamBuf::open(INodeMap* nodeMap, const char* fileName,
                                           std::ios_base::openmode mode)
{
    return openOnNodeMap(nodeMap, [&](FileProtocolAdapter* a) { return open(a, fileName, mode); })
               ? this
               : nullptr;
}

IDevFileStreamBuf::int_type IDevFileStreamBuf::underflow()
{
    if (gptr() < egptr())
        return traits_type::to_int_type(*gptr());
    if (!m_adapter)
        return traits_type::eof();
    std::streamsize wanted = static_cast<std::streamsize>(m_buffer.size());
    if (m_fileSize >= 0)
        wanted = std::min<std::streamsize>(wanted, m_fileSize - m_fileOffset);
    if (wanted <= 0)
        return traits_type::eof();
    const std::streamsize got =
        m_adapter->read(m_buffer.data(), m_fileOffset, wanted, m_fileName.c_str());
    if (got <= 0)
        return traits_type::eof();
    m_fileOffset += got;
    setg(m_buffer.data(), m_buffer.data(), m_buffer.data() + got);
    return traits_type::to_int_type(*gptr());
}

IDevFileStreamBuf* IDevFileStreamBuf::close()
{
    if (!m_adapter)
        return nullptr;
    const bool closed = m_adapter->closeFile(m_fileName.c_str());
    forget();
    return closed ? this : nullptr;
}

} // namespace GenApi
