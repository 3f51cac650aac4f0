#pragma once

// Keeps one frame out of every N grabbed frames (frames 1, N+1, 2N+1, ...) and can stop the
// recording after a number of recorded frames. A frame the full queue dropped does not count
// as recorded, so a limit of 5 may need more than five offers.
// Thread: the frame-delivery thread only (onNewFrame and the callbacks it calls); the
// callbacks are set before frames arrive.

#include "recording/imediaimagecontroller.h"

#include <atomic>
#include <cstdint>

class CFrameBasedMediaImageController : public IMediaImageController
{
public:
    // From FrameBasedFrameLimitEnabled, FrameBasedFrameLimit and FrameBasedFrameSampleRate.
    CFrameBasedMediaImageController(bool limitEnabled, int32_t frameLimit, int32_t sampleRate);

    void start() override {}
    void stop() override {}
    void onNewFrame() override;
    bool hasLimit() const override { return m_limitEnabled && m_frameLimit >= 1; }
    void setFrameCallback(const FrameCallback& callback) override { m_frameCallback = callback; }
    void clearFrameCallback() override { m_frameCallback.clear(); }
    void setLimitCallback(const LimitCallback& callback) override { m_limitCallback = callback; }
    void clearLimitCallback() override { m_limitCallback.clear(); }

    uint32_t grabbedCounter() const { return m_grabbedCounter.load(); }
    uint32_t recordedCounter() const { return m_recordedCounter.load(); }

private:
    const bool m_limitEnabled;
    const int32_t m_frameLimit;
    const int32_t m_sampleRate;
    // Atomic only so that the owner's thread may read them while frames arrive.
    std::atomic<uint32_t> m_grabbedCounter{0};
    std::atomic<uint32_t> m_recordedCounter{0};
    FrameCallback m_frameCallback;
    LimitCallback m_limitCallback;
};
