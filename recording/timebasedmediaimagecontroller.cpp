#if defined(__SANITIZE_THREAD__)
// ThreadSanitizer does not model memory fences, and GCC refuses to compile Boost.Asio's fenced
// blocks under it. The scheduler's mutex orders the handlers anyway; only this file uses Asio.
#define BOOST_ASIO_DISABLE_FENCED_BLOCK
#endif

#include "recording/timebasedmediaimagecontroller.h"

#include "recording/recordingoptions.h"
#include "tarpo/threadpriority.h"
#include "trace/trace.h"

#include <boost/asio/deadline_timer.hpp>
#include <boost/asio/io_service.hpp>
#include <boost/date_time/posix_time/posix_time.hpp>

namespace {

const char* const kCategory = "Recording";

} // namespace

struct CTimeBasedMediaImageController::SAsio
{
    boost::asio::io_service ioService;
    boost::asio::deadline_timer timer{ioService};
};

boost::posix_time::time_duration CTimeBasedMediaImageController::durationOf(uint32_t unit,
                                                                            uint32_t value)
{
    using namespace boost::posix_time;
    const int64_t v = value;
    switch (unit) {
    case CRecordingOptions::TimeUnit_Milliseconds:
        return milliseconds(v);
    case CRecordingOptions::TimeUnit_Seconds:
        return seconds(v);
    case CRecordingOptions::TimeUnit_Minutes:
        return minutes(v);
    case CRecordingOptions::TimeUnit_Hours:
        return hours(v);
    case CRecordingOptions::TimeUnit_Days:
        return hours(v * 24);
    default:
        return seconds(1);
    }
}

CTimeBasedMediaImageController::CTimeBasedMediaImageController(bool limitEnabled,
                                                               uint32_t limitUnit, uint32_t limit,
                                                               uint32_t intervalUnit,
                                                               uint32_t interval,
                                                               const std::string& threadName)
    : m_limitEnabled(limitEnabled), m_limitUnit(limitUnit), m_limit(limit),
      m_intervalUnit(intervalUnit), m_interval(interval),
      // An interval below the timer's useful resolution would spin the timer thread; the
      // dialog never offers one, stored settings might.
      m_intervalDuration(
          std::max(durationOf(intervalUnit, interval),
                   boost::posix_time::time_duration(boost::posix_time::milliseconds(1)))),
      m_threadName(threadName)
{
    if (m_limitEnabled) {
        const int64_t limitMs = durationOf(m_limitUnit, m_limit).total_milliseconds();
        const int64_t intervalMs = m_intervalDuration.total_milliseconds();
        const int64_t frames = limitMs / intervalMs + 1;
        m_maxFrameCount = int32_t(std::min<int64_t>(frames, INT32_MAX));
    }
}

CTimeBasedMediaImageController::~CTimeBasedMediaImageController()
{
    m_running = false;
    if (m_asio)
        m_asio->ioService.stop();
    if (m_thread.joinable())
        m_thread.join();
    m_asio.reset();
}

void CTimeBasedMediaImageController::setFrameCallback(const FrameCallback& callback)
{
    boost::lock_guard<boost::mutex> lock(m_callbackMutex);
    m_frameCallback = callback;
}

void CTimeBasedMediaImageController::clearFrameCallback()
{
    boost::lock_guard<boost::mutex> lock(m_callbackMutex);
    m_frameCallback.clear();
}

void CTimeBasedMediaImageController::setLimitCallback(const LimitCallback& callback)
{
    boost::lock_guard<boost::mutex> lock(m_callbackMutex);
    m_limitCallback = callback;
}

void CTimeBasedMediaImageController::clearLimitCallback()
{
    boost::lock_guard<boost::mutex> lock(m_callbackMutex);
    m_limitCallback.clear();
}

bool CTimeBasedMediaImageController::callFrameCallback()
{
    // Called outside the mutex: the callback takes the recording's frame lock, and the frame
    // thread may hold that lock while it starts or stops this controller.
    FrameCallback callback;
    {
        boost::lock_guard<boost::mutex> lock(m_callbackMutex);
        callback = m_frameCallback;
    }
    return callback && callback();
}

void CTimeBasedMediaImageController::callLimitCallback()
{
    LimitCallback callback;
    {
        boost::lock_guard<boost::mutex> lock(m_callbackMutex);
        callback = m_limitCallback;
    }
    if (callback)
        callback();
}

void CTimeBasedMediaImageController::start()
{
    m_running = true;
    if (m_maxFrameCount > 0 && m_recordedCounter >= uint32_t(m_maxFrameCount)) {
        callLimitCallback();
        return;
    }
    if (m_asio)
        return; // started before
    m_asio = std::make_unique<SAsio>();
    m_nextExpiry = boost::posix_time::microsec_clock::universal_time() + m_intervalDuration;
    arm();
    m_timerThreadRunning = true;
    m_thread = boost::thread([this] {
        Tarpo::SetCurrentThreadName(m_threadName.c_str());
        TARPO_TRACE(kCategory, "CTimeBasedMediaImageController: timer thread started");
        try {
            // Runs until no expiry is armed any more, or until the destructor stops it.
            m_asio->ioService.run();
        } catch (const std::exception& e) {
            TARPO_TRACE(kCategory, "CTimeBasedMediaImageController: timer thread failed: %s",
                        e.what());
        } catch (...) {
            TARPO_TRACE(kCategory, "CTimeBasedMediaImageController: timer thread failed");
        }
        TARPO_TRACE(kCategory, "CTimeBasedMediaImageController: timer thread ending");
        m_timerThreadRunning = false;
    });
}

void CTimeBasedMediaImageController::stop()
{
    m_running = false;
}

void CTimeBasedMediaImageController::arm()
{
    m_asio->timer.expires_at(m_nextExpiry);
    m_asio->timer.async_wait([this](const boost::system::error_code& error) { onTimer(error); });
}

void CTimeBasedMediaImageController::onTimer(const boost::system::error_code& error)
{
    if (error || !m_running)
        return; // nothing armed: the I/O service runs out of work and the thread ends
    if (callFrameCallback())
        ++m_recordedCounter;
    if (m_maxFrameCount >= 1 && m_recordedCounter >= uint32_t(m_maxFrameCount)) {
        callLimitCallback();
        return;
    }
    // From the previous expiry, not from now: the grid does not drift with the callbacks.
    m_nextExpiry += m_intervalDuration;
    arm();
}
