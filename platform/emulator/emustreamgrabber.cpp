#include "emulator/emustreamgrabber.h"

#include "emulator/emucamera.h"
#include "genapi/genicamexception.h"

namespace Emulator {

namespace {

using Info = Tarpo::CPortNodeMap::FeatureInfo;
using Range = Tarpo::CPortNodeMap::IntRange;

const char* const kLockName = "StreamParamsLocked";

} // namespace

EmuStreamGrabber::EmuStreamGrabber(EmuCamera& camera, bool controlling)
    : m_camera(camera), m_controlling(controlling),
      m_nodeMap("StreamParameters_" + camera.serialNumber(),
                "Stream grabber parameters of the emulated camera")
{
    buildNodeMap();
}

EmuStreamGrabber::~EmuStreamGrabber()
{
    try {
        Close();
    } catch (...) {
        // A destructor reports nothing; Close only fails for a camera that is gone.
    }
}

void EmuStreamGrabber::buildNodeMap()
{
    m_nodeMap.beginCategory("BufferHandlingControl", "Buffer Handling",
                            "Limits of the buffers the application registers.");
    m_nodeMap.addInteger(
        {kLockName, "Stream Parameters Locked",
         "1 between PrepareGrab and FinishGrab; the buffer limits cannot change then.",
         GenApi::Expert},
        Range{0, 1, 1}, [this] {
            std::lock_guard<std::mutex> lock(m_mutex);
            return int64_t(m_prepared ? 1 : 0);
        });
    m_nodeMap.addInteger(
        {"PayloadSize", "Payload Size", "Bytes one frame of the camera's current settings needs."},
        Range{0, INT64_MAX, 1, "B"}, [this] { return m_camera.payloadSize(); });
    m_nodeMap.addInteger(
        {"MaxBufferSize", "Max Buffer Size", "Largest buffer, in bytes, that may be registered.",
         GenApi::Beginner, kLockName},
        Range{1, INT64_MAX, 1, "B"},
        [this] {
            std::lock_guard<std::mutex> lock(m_mutex);
            return m_maxBufferSize;
        },
        [this](int64_t value) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_maxBufferSize = value;
        });
    m_nodeMap.addInteger(
        {"MaxNumBuffer", "Max Num Buffer", "Most buffers that may be registered at the same time.",
         GenApi::Beginner, kLockName},
        Range{1, 4096, 1},
        [this] {
            std::lock_guard<std::mutex> lock(m_mutex);
            return m_maxNumBuffer;
        },
        [this](int64_t value) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_maxNumBuffer = value;
        });

    m_nodeMap.beginCategory("StatisticsControl", "Statistics",
                            "Counters of the stream since it opened or since the last reset.");
    const auto counter = [this](uint64_t EmuStreamGrabber::*field) {
        return [this, field] {
            std::lock_guard<std::mutex> lock(m_mutex);
            return int64_t(this->*field);
        };
    };
    const Range count{0, INT64_MAX, 1};
    m_nodeMap.addInteger(
        {"StatisticTotalBufferCount", "Total Buffer Count", "Buffers filled, completely or not."},
        count, [this] {
            std::lock_guard<std::mutex> lock(m_mutex);
            return int64_t(m_completed + m_failed);
        });
    m_nodeMap.addInteger({"StatisticFailedBufferCount", "Failed Buffer Count",
                          "Buffers given back incomplete (lost packets, truncated, too small, "
                          "camera removed)."},
                         count, counter(&EmuStreamGrabber::m_failed));
    m_nodeMap.addInteger({"StatisticBufferUnderrunCount", "Buffer Underrun Count",
                          "Frames lost because no buffer was queued."},
                         count, counter(&EmuStreamGrabber::m_underruns));
    m_nodeMap.addInteger({"StatisticLastBlockId", "Last Block ID",
                          "Frame ID of the last frame the camera produced while a buffer was "
                          "queued or missing.",
                          GenApi::Expert},
                         count, counter(&EmuStreamGrabber::m_lastFrameId));
    m_nodeMap.addCommand({"StatisticReset", "Statistic Reset", "Sets every counter to 0."}, [this] {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_completed = m_failed = m_underruns = 0;
    });
    m_nodeMap.build();
}

void EmuStreamGrabber::Open()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_open)
            return;
        m_open = true;
        m_lost = false;
        m_completed = m_failed = m_underruns = 0;
        m_lastFrameId = 0;
    }
    // Not under m_mutex: a camera that is gone calls deviceLost() at once.
    m_camera.attachSink(this);
}

void EmuStreamGrabber::Close()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_open)
            return;
    }
    CancelGrab();
    m_camera.detachSink(this);
    bool unlock = false;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        unlock = m_prepared && m_controlling;
        m_prepared = false;
        m_open = false;
        m_records.clear();
        m_queue.clear();
        m_results.clear();
    }
    if (unlock)
        m_camera.setTLParamsLocked(false);
}

bool EmuStreamGrabber::IsOpen() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_open;
}

void EmuStreamGrabber::PrepareGrab()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_open)
            throw LOGICAL_ERROR_EXCEPTION(
                "PrepareGrab: the stream grabber of camera '%s' is not open",
                m_camera.serialNumber().c_str());
        m_prepared = true;
    }
    // A monitor watches another application's grab and locks nothing.
    if (m_controlling)
        m_camera.setTLParamsLocked(true);
}

void EmuStreamGrabber::FinishGrab()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_records.finishGrab();
        const bool wasPrepared = m_prepared;
        m_prepared = false;
        if (!wasPrepared || !m_controlling)
            return;
    }
    m_camera.setTLParamsLocked(false);
}

Tarpo::StreamBufferHandle EmuStreamGrabber::RegisterBuffer(void* buffer, size_t bufferSize)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_records.add(buffer, bufferSize, m_prepared, m_maxBufferSize, m_maxNumBuffer).handle();
}

void* EmuStreamGrabber::DeregisterBuffer(Tarpo::StreamBufferHandle handle)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_records.remove(handle);
}

void EmuStreamGrabber::QueueBuffer(Tarpo::StreamBufferHandle handle, const void* context)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    BufferRecord& record = m_records.toQueue(handle, m_prepared, m_camera.serialNumber(), context);
    if (m_lost) {
        // The camera is gone: the buffer comes back at once, so that no caller waits for it.
        ++m_failed;
        finish(record, lostResult());
        return;
    }
    record.state = BufferState::Queued;
    m_queue.push_back(&record);
}

void EmuStreamGrabber::CancelGrab()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (BufferRecord* record : m_queue)
        finish(*record, record->canceled());
    m_queue.clear();
    if (m_filling) {
        // The frame thread is writing into a buffer: it comes back canceled when the frame
        // ends, and the caller may reuse the memory once CancelGrab returned.
        m_cancelFilling = true;
        m_filled.wait(lock, [this] { return m_filling == nullptr; });
        m_cancelFilling = false;
    }
}

bool EmuStreamGrabber::RetrieveResult(Tarpo::GrabResult& result)
{
    if (!m_results.pop(result))
        return false;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_records.retrieved(result.m_handle);
    return true;
}

void EmuStreamGrabber::finish(BufferRecord& record, Tarpo::GrabResult result)
{
    record.state = BufferState::Finished;
    m_results.push(record.result(result));
}

Tarpo::GrabResult EmuStreamGrabber::lostResult() const
{
    Tarpo::GrabResult result;
    result.m_status = Tarpo::Failed;
    result.m_errorCode = Tarpo::GrabError_DeviceLost;
    result.m_errorDescription =
        GenICam::formatMessage("The camera %s has been removed", m_camera.serialNumber().c_str());
    return result;
}

bool EmuStreamGrabber::beginFrame(uint64_t frameId, Target* target)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_prepared || m_lost)
        return false;
    m_lastFrameId = frameId;
    if (m_queue.empty()) {
        ++m_underruns;
        return false;
    }
    BufferRecord* record = m_queue.front();
    m_queue.pop_front();
    record->state = BufferState::Filling;
    m_filling = record;
    target->data = static_cast<uint8_t*>(record->memory);
    target->size = record->size;
    return true;
}

void EmuStreamGrabber::endFrame(const Tarpo::GrabResult& frame)
{
    Tarpo::GrabResult result = frame;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        BufferRecord* record = m_filling;
        if (!record)
            return;
        if (m_cancelFilling) {
            result = Tarpo::GrabResult();
            result.m_status = Tarpo::Canceled;
        } else if (m_lost) {
            result = lostResult();
        }
        if (result.m_status == Tarpo::Grabbed)
            ++m_completed;
        else if (result.m_status == Tarpo::Failed)
            ++m_failed;
        record->state = BufferState::Finished;
        result = record->result(result);
    }
    // Pushed without m_mutex: the grab thread it wakes takes m_mutex at once to retrieve the
    // result. The buffer counts as being filled until then, so CancelGrab returns only after
    // its result is in the queue.
    m_results.push(result);
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_filling = nullptr;
    }
    m_filled.notify_all();
}

void EmuStreamGrabber::deviceLost()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_lost = true;
    for (BufferRecord* record : m_queue) {
        ++m_failed;
        finish(*record, lostResult());
    }
    m_queue.clear();
}

} // namespace Emulator
