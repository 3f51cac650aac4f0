#include "viewersdk/streambuffer.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace TarpoViewerSdk {

void StreamBuffer::FreeDeleter::operator()(uint8_t* p) const
{
    std::free(p);
}

StreamBuffer::StreamBuffer(uint32_t payloadSize, Tarpo::EPixelType pixelType, int width,
                           int height, uint32_t grabRun, GenApi::INodeMap* nodeMap)
    : m_size(payloadSize), m_grabRun(grabRun), m_nodeMap(nodeMap), m_pixelType(pixelType),
      m_width(width), m_height(height)
{
    // 64-byte alignment lets conversion use aligned vector loads on the first line.
    const size_t allocated = (static_cast<size_t>(payloadSize) + 63) / 64 * 64;
    void* memory = std::aligned_alloc(64, allocated ? allocated : 64);
    if (!memory)
        throw std::bad_alloc();
    m_data.reset(static_cast<uint8_t*>(memory));
    // Every page is touched here, while the grab is being prepared: otherwise the first frame
    // written into each buffer pays its page faults on the thread that fills it (the camera's
    // stream thread), which then falls behind the camera for the whole first round of buffers.
    std::memset(m_data.get(), 0, allocated);
}

StreamBuffer::~StreamBuffer() = default;

void StreamBuffer::setFrame(Tarpo::EPixelType pixelType, int width, int height, int paddingX,
                            int64_t payloadBytes, uint64_t frameNumber, uint64_t timeStampNs)
{
    m_pixelType = pixelType;
    m_width = width;
    m_height = height;
    m_paddingX = paddingX;
    m_payloadBytes = payloadBytes;
    m_frameNumber = frameNumber;
    m_timeStampNs = timeStampNs;
}

size_t StreamBuffer::lineOffset() const
{
    if (m_width <= 0 || m_pixelType == Tarpo::PixelType_Undefined)
        return 0;
    return (static_cast<size_t>(m_width) * Tarpo::BitPerPixel(m_pixelType) + 7) / 8 +
           static_cast<size_t>(m_paddingX);
}

void StreamBuffer::lock()
{
    m_lockCount.fetch_add(1, std::memory_order_relaxed);
}

void StreamBuffer::unlock()
{
    // acq_rel: the last holder must see every write the other holders made before unlocking.
    if (m_lockCount.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    if (m_orphaned.load(std::memory_order_acquire))
        delete this;
    else
        emit backToHome(this);
}

void StreamBuffer::orphan()
{
    disconnect(this, &StreamBuffer::backToHome, nullptr, nullptr);
    m_orphaned.store(true, std::memory_order_release);
    // Nobody holds it any more: nobody will unlock it either.
    if (m_lockCount.load(std::memory_order_acquire) == 0)
        delete this;
}

StreamBuffer::SImageFormatEx StreamBuffer::SImageFormatExFromBuffer(const StreamBuffer* buffer)
{
    SImageFormatEx format;
    if (!buffer)
        return format;
    format.pixelType = buffer->pixelType();
    format.width = buffer->width();
    format.height = buffer->height();
    format.paddingX = buffer->paddingX();
    format.lineOffset = buffer->lineOffset();
    format.imageSize = format.lineOffset * static_cast<size_t>(std::max(buffer->height(), 0));
    return format;
}

} // namespace TarpoViewerSdk
