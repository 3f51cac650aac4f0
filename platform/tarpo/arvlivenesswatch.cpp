#include "tarpo/arvlivenesswatch.h"

#include "tarpo/threadpriority.h"
#include "trace/trace.h"

#include <arv.h>

#include <chrono>

namespace Tarpo {

namespace {

const char* const traceCategory = "ArvLivenessWatch";

// The GigE Vision bootstrap register "Version": every camera answers a read of it, controller
// or not.
constexpr guint64 kVersionRegister = 0x0000;

} // namespace

CArvLivenessWatch::CArvLivenessWatch(ArvDevice* device, std::function<void()> onLost,
                                     int intervalMs, int lostAfterMs)
    : m_device(GObjectPtr<ArvDevice>::ref(device)), m_onLost(std::move(onLost)),
      m_intervalMs(intervalMs), m_lostAfterMs(lostAfterMs)
{
    m_thread = std::thread([this] { run(); });
}

CArvLivenessWatch::~CArvLivenessWatch()
{
    stop();
    m_thread.join();
}

void CArvLivenessWatch::stop()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopped = true;
    }
    m_wake.notify_all();
}

void CArvLivenessWatch::run()
{
    SetCurrentThreadName("ArvLiveness");
    using Clock = std::chrono::steady_clock;
    Clock::time_point lastAnswer = Clock::now();
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        if (m_wake.wait_for(lock, std::chrono::milliseconds(m_intervalMs),
                            [this] { return m_stopped; }))
            return;
        lock.unlock();
        guint32 value = 0;
        GError* error = nullptr;
        const bool answered =
            arv_device_read_register(m_device.get(), kVersionRegister, &value, &error);
        if (error) {
            TARPO_TRACE(traceCategory, "no answer: %s", error->message);
            g_clear_error(&error);
        }
        const Clock::time_point now = Clock::now();
        if (answered)
            lastAnswer = now;
        lock.lock();
        if (m_stopped)
            return;
        if (!answered && now - lastAnswer >= std::chrono::milliseconds(m_lostAfterMs)) {
            lock.unlock();
            m_onLost();
            return;
        }
    }
}

} // namespace Tarpo
