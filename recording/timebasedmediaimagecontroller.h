#pragma once

// Keeps the most recent frame once per interval, driven by its own timer thread, and can stop
// the recording after a span of time. The clock starts with the first frame (start()). Each
// expiry is re-armed at the previous expiry plus one interval, so the sampling grid does not
// drift with the time the callbacks take. With a limit, the recording keeps
// limit / interval + 1 frames: the span's first and last sampling points both count.
// Thread: start() on the frame-delivery thread, stop() from any thread; the callbacks run on
// the timer thread ("Sampler_<serial>"), concurrently with frame delivery. The destructor ends
// and joins the timer thread.

#include "recording/imediaimagecontroller.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

class CTimeBasedMediaImageController : public IMediaImageController
{
public:
    // From TimeBasedTimeLimitEnabled, TimeBasedTimeLimitUnit, TimeBasedTimeLimit,
    // TimeBasedTimeSampleRateUnit and TimeBasedTimeSampleRate (units as CRecordingOptions).
    CTimeBasedMediaImageController(bool limitEnabled, uint32_t limitUnit, uint32_t limit,
                                   uint32_t intervalUnit, uint32_t interval,
                                   const std::string& threadName = "Sampler");
    ~CTimeBasedMediaImageController() override;
    CTimeBasedMediaImageController(const CTimeBasedMediaImageController&) = delete;
    CTimeBasedMediaImageController& operator=(const CTimeBasedMediaImageController&) = delete;

    void start() override;
    void stop() override;
    void onNewFrame() override {}
    bool hasLimit() const override { return m_maxFrameCount > 0; }
    void setFrameCallback(const FrameCallback& callback) override;
    void clearFrameCallback() override;
    void setLimitCallback(const LimitCallback& callback) override;
    void clearLimitCallback() override;

    // Frames the limit allows (0 without a limit).
    int32_t maxFrameCount() const { return m_maxFrameCount; }
    uint32_t recordedCounter() const { return m_recordedCounter.load(); }
    // True from start() until the timer thread has ended.
    bool timerThreadRunning() const { return m_timerThreadRunning.load(); }

    // `value` in `unit`, to the microsecond: 0 ms, 1 s, 2 min, 3 h, 4 days of 24 h; any other
    // unit is exactly one second, whatever the value.
    static boost::posix_time::time_duration durationOf(uint32_t unit, uint32_t value);

private:
    void arm();
    void onTimer(const boost::system::error_code& error);
    bool callFrameCallback();
    void callLimitCallback();

    const bool m_limitEnabled;
    const uint32_t m_limitUnit;
    const uint32_t m_limit;
    const uint32_t m_intervalUnit;
    const uint32_t m_interval;
    const boost::posix_time::time_duration m_intervalDuration;
    const std::string m_threadName;
    int32_t m_maxFrameCount = 0;
    std::atomic<uint32_t> m_recordedCounter{0};
    // Written by the stopping thread, read at each expiry.
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_timerThreadRunning{false};

    // The I/O service and its deadline timer (boost.asio, kept out of this header). Created by
    // start() before the thread, used by the timer thread afterwards.
    struct SAsio;
    std::unique_ptr<SAsio> m_asio;
    boost::posix_time::ptime m_nextExpiry; // timer thread only, after start()
    boost::thread m_thread;

    boost::mutex m_callbackMutex; // guards m_frameCallback, m_limitCallback
    FrameCallback m_frameCallback;
    LimitCallback m_limitCallback;
};
