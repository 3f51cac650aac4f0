#pragma once

// A stream grabber fills buffers that the caller registered, in the order they were queued, and
// hands each back as a GrabResult. Nothing is copied between the camera and the caller's memory.
// Thread-safe: RetrieveResult and the wait object may be used from a grab thread while another
// thread queues buffers; Open/Close/PrepareGrab/FinishGrab/CancelGrab come from one thread.

#include "genapi/gcstring.h"
#include "tarpo/pixeltype.h"

#include <cstddef>
#include <cstdint>

namespace GenApi {
class INodeMap;
}

namespace Tarpo {

using GenICam::gcstring;

// The caller's handle of a registered buffer.
using StreamBufferHandle = void*;

enum EGrabStatus
{
    _UndefinedGrabStatus = -1,
    Idle,     // registered, not queued
    Queued,   // waiting to be filled
    Grabbed,  // filled with a complete frame
    Canceled, // given back unfilled by CancelGrab
    Failed    // filled incompletely or not at all; see the error code and text
};

// Error codes of failed results (our own numbering; the text says what happened).
enum EGrabErrorCode : uint32_t
{
    GrabError_None = 0,
    GrabError_MissingPackets = 0xE1000001,
    GrabError_Timeout = 0xE1000002,
    GrabError_BufferTooSmall = 0xE1000003,
    GrabError_WrongPacketId = 0xE1000004,
    GrabError_Truncated = 0xE1000005,
    GrabError_DeviceLost = 0xE1000006,
    GrabError_Unknown = 0xE10000FF
};

class GrabResult
{
public:
    EGrabStatus Status() const { return m_status; }
    bool Succeeded() const { return m_status == Grabbed; }
    uint32_t GetErrorCode() const { return m_errorCode; }
    gcstring GetErrorDescription() const { return m_errorDescription; }
    StreamBufferHandle Handle() const { return m_handle; }
    // The context given to QueueBuffer.
    const void* Context() const { return m_context; }
    void* Buffer() const { return m_buffer; }
    // Bytes of image data received (the frame's size for a grabbed result).
    int64_t GetPayloadSize() const { return m_payloadSize; }
    int32_t GetSizeX() const { return m_sizeX; }
    int32_t GetSizeY() const { return m_sizeY; }
    int32_t GetOffsetX() const { return m_offsetX; }
    int32_t GetOffsetY() const { return m_offsetY; }
    EPixelType GetPixelType() const { return m_pixelType; }
    int32_t GetPaddingX() const { return m_paddingX; }
    uint64_t GetFrameNumber() const { return m_frameNumber; }
    // Device time stamp in nanoseconds.
    uint64_t GetTimeStamp() const { return m_timeStamp; }

    // Filled in by the grabbers.
    EGrabStatus m_status = _UndefinedGrabStatus;
    uint32_t m_errorCode = GrabError_None;
    gcstring m_errorDescription;
    StreamBufferHandle m_handle = nullptr;
    const void* m_context = nullptr;
    void* m_buffer = nullptr;
    int64_t m_payloadSize = 0;
    int32_t m_sizeX = -1;
    int32_t m_sizeY = -1;
    int32_t m_offsetX = 0;
    int32_t m_offsetY = 0;
    EPixelType m_pixelType = PixelType_Undefined;
    int32_t m_paddingX = 0;
    uint64_t m_frameNumber = 0;
    uint64_t m_timeStamp = 0;
};

// Signalled while results are waiting.
class WaitObject
{
public:
    virtual ~WaitObject() = default;
    // True when a result is ready within `timeoutMs`; false on time-out.
    virtual bool Wait(unsigned timeoutMs) const = 0;
};

class IStreamGrabber
{
public:
    virtual ~IStreamGrabber() = default;
    virtual void Open() = 0;
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
    // Takes the buffer limits from the grabber's node map (MaxBufferSize, MaxNumBuffer) and gets
    // the stream ready; buffers may be registered afterwards.
    virtual void PrepareGrab() = 0;
    // Every buffer must have come back (retrieved) and been deregistered or be deregistered here.
    virtual void FinishGrab() = 0;
    virtual StreamBufferHandle RegisterBuffer(void* buffer, size_t bufferSize) = 0;
    // Returns the buffer's memory; a queued buffer cannot be deregistered.
    virtual void* DeregisterBuffer(StreamBufferHandle handle) = 0;
    virtual void QueueBuffer(StreamBufferHandle handle, const void* context = nullptr) = 0;
    // Gives every queued buffer back as a Canceled result (a frame being filled included).
    virtual void CancelGrab() = 0;
    // False when no result is waiting.
    virtual bool RetrieveResult(GrabResult& result) = 0;
    virtual WaitObject& GetWaitObject() = 0;
    virtual GenApi::INodeMap* GetNodeMap() = 0;
};

} // namespace Tarpo
