#pragma once

// One frame buffer of a camera's grab run: the pixel memory the stream grabber fills, its
// registration handle, the grab-run number, a display flag and the geometry of the frame it
// holds. Holders count themselves with lock()/unlock(); when the last holder unlocks, the buffer
// goes home to its camera (backToHome), which queues it again or deletes it.
// Thread-safe: lock()/unlock() from any thread; the frame fields are written by the grab thread
// before the buffer is handed on, and only read afterwards.

#include "tarpo/pixeltype.h"
#include "tarpo/streamgrabber.h"

#include <QObject>

#include <atomic>
#include <cstdint>
#include <memory>

namespace GenApi {
class INodeMap;
}

namespace TarpoViewerSdk {

class StreamBuffer : public QObject
{
    Q_OBJECT

public:
    // Allocates `payloadSize` bytes (64-byte aligned) for frames of the given geometry.
    StreamBuffer(uint32_t payloadSize, Tarpo::EPixelType pixelType, int width, int height,
                 uint32_t grabRun, GenApi::INodeMap* nodeMap = nullptr);
    ~StreamBuffer() override;

    uint8_t* data() const { return m_data.get(); }
    uint32_t size() const { return m_size; }
    Tarpo::StreamBufferHandle handle() const { return m_handle; }
    void setHandle(Tarpo::StreamBufferHandle handle) { m_handle = handle; }
    uint32_t grabRun() const { return m_grabRun; }
    GenApi::INodeMap* nodeMap() const { return m_nodeMap; }

    // Cleared for speed-test frames: consumers may skip the pixels.
    bool display() const { return m_display; }
    void setDisplay(bool display) { m_display = display; }

    // The frame now held (set by the grab thread for each result).
    void setFrame(Tarpo::EPixelType pixelType, int width, int height, int paddingX,
                  int64_t payloadBytes, uint64_t frameNumber, uint64_t timeStampNs);
    Tarpo::EPixelType pixelType() const { return m_pixelType; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    int paddingX() const { return m_paddingX; }
    int64_t payloadBytes() const { return m_payloadBytes; }
    uint64_t frameNumber() const { return m_frameNumber; }
    uint64_t timeStamp() const { return m_timeStampNs; }
    // Bytes per line of the held frame, padding included.
    size_t lineOffset() const;

    void lock();
    // The last unlock emits backToHome; an orphaned buffer (its camera is gone) deletes itself.
    void unlock();
    int lockCount() const { return m_lockCount.load(); }
    // Called by a camera that goes away while others still hold the buffer.
    void orphan();

    // The format description plug-ins receive.
    struct SImageFormatEx
    {
        Tarpo::EPixelType pixelType = Tarpo::PixelType_Undefined;
        int width = 0;
        int height = 0;
        int paddingX = 0;
        size_t lineOffset = 0;
        size_t imageSize = 0;
    };
    static SImageFormatEx SImageFormatExFromBuffer(const StreamBuffer* buffer);

signals:
    // Emitted in the thread of the last unlock; the buffer must not be used by the emitter
    // afterwards (the camera may delete it).
    void backToHome(TarpoViewerSdk::StreamBuffer* buffer);

private:
    struct FreeDeleter
    {
        void operator()(uint8_t* p) const;
    };
    std::unique_ptr<uint8_t[], FreeDeleter> m_data;
    uint32_t m_size;
    Tarpo::StreamBufferHandle m_handle = nullptr;
    uint32_t m_grabRun;
    GenApi::INodeMap* m_nodeMap;
    bool m_display = true;
    Tarpo::EPixelType m_pixelType;
    int m_width;
    int m_height;
    int m_paddingX = 0;
    int64_t m_payloadBytes = 0;
    uint64_t m_frameNumber = 0;
    uint64_t m_timeStampNs = 0;
    std::atomic<int> m_lockCount{0};
    std::atomic<bool> m_orphaned{false};
};

} // namespace TarpoViewerSdk
