#pragma once

// A stream grabber over an Aravis stream. The caller's buffers are wrapped without copying
// (arv_buffer_new_full on the caller's memory), Aravis fills them on its stream thread, and the
// "new-buffer" signal moves each finished buffer into our result queue, whose wait object the
// grab thread waits on. CancelGrab stops and restarts the stream thread and gives every buffer
// that was still queued back as canceled, exactly once.
// Thread-safe: the new-buffer handler runs on Aravis' stream thread; RetrieveResult, QueueBuffer
// and the wait object may be used from a grab thread while the owner calls the rest from one
// thread. Aravis emits new-buffer holding its stream lock and then takes m_mutex, so nothing
// that takes the stream lock (set_emit_signals, stop_thread) is called with m_mutex held.

#include "tarpo/arvstreamnodemap.h"
#include "tarpo/grabresultqueue.h"
#include "tarpo/registeredbuffers.h"
#include "tarpo/streamgrabber.h"

#include "genapi/gobjectptr.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>

typedef struct _ArvDevice ArvDevice;
typedef struct _ArvBuffer ArvBuffer;

namespace Tarpo {

class CArvStreamGrabber : public IStreamGrabber
{
public:
    // What the grabber needs of its device, borrowed for the grabber's lifetime.
    struct DeviceAccess
    {
        ArvDevice* device = nullptr;
        GenApi::INodeMap* nodeMap = nullptr; // the device's map; its lock guards Aravis' GenICam
        std::string serialNumber;
        bool gigE = false;
        // Open refuses with this text when set (the device was opened for monitoring only).
        std::string streamRefusal;
        // True once the device was reported gone: Close then does not wait for the camera.
        std::function<bool()> lost;
    };

    CArvStreamGrabber(const DeviceAccess& access, uint32_t channel);
    ~CArvStreamGrabber() override;
    CArvStreamGrabber(const CArvStreamGrabber&) = delete;
    CArvStreamGrabber& operator=(const CArvStreamGrabber&) = delete;

    void Open() override;
    void Close() override;
    bool IsOpen() const override;
    void PrepareGrab() override;
    void FinishGrab() override;
    StreamBufferHandle RegisterBuffer(void* buffer, size_t bufferSize) override;
    void* DeregisterBuffer(StreamBufferHandle handle) override;
    void QueueBuffer(StreamBufferHandle handle, const void* context = nullptr) override;
    void CancelGrab() override;
    bool RetrieveResult(GrabResult& result) override;
    WaitObject& GetWaitObject() override { return m_results; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.nodeMap(); }

    // Close, waiting at most `waitMs` for the camera to stop its stream channel (the device
    // shares one time budget among its grabbers and itself).
    void closeWithin(int waitMs);
    // How long Close waits for a camera that was not reported gone.
    static constexpr int defaultCloseWaitMs = 2000;

private:
    using BufferState = RegisteredBuffer::State;
    struct BufferRecord : RegisteredBuffer
    {
        GObjectPtr<ArvBuffer> buffer; // our own reference, kept while registered
    };

    static void onNewBuffer(ArvStream* stream, void* self);
    // Stream thread: moves every finished buffer of the output queue into m_results.
    void collectResults(ArvStream* stream);
    GrabResult makeResult(BufferRecord& record, ArvBuffer* buffer) const;
    // Fails a "successful" frame whose image is larger than its buffer or than what arrived.
    void checkComplete(GrabResult& result, const BufferRecord& record) const;
    int64_t devicePayloadSize() const;

    DeviceAccess m_access;
    uint32_t m_channel;
    CArvStreamNodeMap m_nodeMap;
    GrabResultQueue m_results;

    // guards m_records and each record, m_prepared, m_cancelling, m_payloadSize, m_stream
    mutable std::mutex m_mutex;
    RegisteredBuffers<BufferRecord> m_records;
    bool m_prepared = false;
    bool m_cancelling = false;
    int64_t m_payloadSize = 0; // the device's PayloadSize at PrepareGrab
    // Changed by the owner's thread only (under m_mutex), so the owner reads it without the lock.
    GObjectPtr<ArvStream> m_stream;
    unsigned long m_newBufferHandler = 0; // owner's thread only
};

} // namespace Tarpo
