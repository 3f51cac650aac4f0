#pragma once

// The stream grabber of an emulated camera handle. The camera's frame thread writes each frame
// straight into the oldest queued buffer (no copy in between) and the result goes into the
// grabber's result queue. The controller's PrepareGrab sets the camera's TLParamsLocked and its
// FinishGrab clears it; a monitor's grabber receives the same frames and locks nothing.
// Its node map ("Stream Parameters") holds the buffer limits, PayloadSize and the statistics.
// Thread-safe: beginFrame/endFrame run on the camera's frame thread, RetrieveResult, QueueBuffer
// and the wait object on a grab thread, the rest on the owner's thread; m_mutex guards the
// buffers and counters.

#include "emulator/emuframesink.h"
#include "tarpo/grabresultqueue.h"
#include "tarpo/portnodemap.h"
#include "tarpo/registeredbuffers.h"
#include "tarpo/streamgrabber.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

namespace Emulator {

class EmuCamera;

class EmuStreamGrabber : public Tarpo::IStreamGrabber, public EmuFrameSink
{
public:
    // Borrows the camera for its lifetime. `controlling`: the handle has control access.
    EmuStreamGrabber(EmuCamera& camera, bool controlling);
    ~EmuStreamGrabber() override;
    EmuStreamGrabber(const EmuStreamGrabber&) = delete;
    EmuStreamGrabber& operator=(const EmuStreamGrabber&) = delete;

    // IStreamGrabber
    void Open() override;
    void Close() override;
    bool IsOpen() const override;
    void PrepareGrab() override;
    void FinishGrab() override;
    Tarpo::StreamBufferHandle RegisterBuffer(void* buffer, size_t bufferSize) override;
    void* DeregisterBuffer(Tarpo::StreamBufferHandle handle) override;
    void QueueBuffer(Tarpo::StreamBufferHandle handle, const void* context = nullptr) override;
    void CancelGrab() override;
    bool RetrieveResult(Tarpo::GrabResult& result) override;
    Tarpo::WaitObject& GetWaitObject() override { return m_results; }
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.nodeMap(); }

    // EmuFrameSink
    bool beginFrame(uint64_t frameId, Target* target) override;
    void endFrame(const Tarpo::GrabResult& result) override;
    void deviceLost() override;

    // For the device: lets the node map's callbacks run after the camera changed PayloadSize.
    void invalidateNodeMap() { m_nodeMap.InvalidateNode(); }

private:
    using BufferRecord = Tarpo::RegisteredBuffer;
    using BufferState = Tarpo::RegisteredBuffer::State;

    void buildNodeMap();
    // Gives a buffer back with this status; call with m_mutex held.
    void finish(BufferRecord& record, Tarpo::GrabResult result);
    Tarpo::GrabResult lostResult() const;

    EmuCamera& m_camera;
    const bool m_controlling;
    Tarpo::GrabResultQueue m_results;

    mutable std::mutex m_mutex;       // guards everything below
    std::condition_variable m_filled; // CancelGrab waits here for a buffer being filled
    Tarpo::RegisteredBuffers<BufferRecord> m_records;
    std::deque<BufferRecord*> m_queue;
    BufferRecord* m_filling = nullptr;
    bool m_cancelFilling = false;
    bool m_open = false;
    bool m_prepared = false;
    bool m_lost = false;
    int64_t m_maxBufferSize = 64 * 1024 * 1024;
    int64_t m_maxNumBuffer = 16;
    uint64_t m_completed = 0;
    uint64_t m_failed = 0;
    uint64_t m_underruns = 0;
    uint64_t m_lastFrameId = 0;

    Tarpo::CPortNodeMap m_nodeMap; // last: its functions use the members above
};

} // namespace Emulator
