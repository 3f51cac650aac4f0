#include "qtbase/hirestimer.h"

#include "tarpo/threadpriority.h"

namespace {

int64_t nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

HiResTimer::HiResTimer(QObject* parent) : QObject(parent)
{
    restart();
}

HiResTimer::~HiResTimer()
{
    stop();
}

bool HiResTimer::start(unsigned intervalMs, unsigned)
{
    stop();
    m_intervalMs = std::max(intervalMs, 1u);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_stopRequested = false;
    try {
        m_thread = std::thread(&HiResTimer::run, this);
    } catch (const std::system_error&) {
        return false;
    }
    m_active = true;
    return true;
}

void HiResTimer::stop()
{
    std::thread thread;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopRequested = true;
        thread = std::move(m_thread);
    }
    m_wake.notify_all();
    if (thread.joinable()) {
        // A slot connected directly may call stop() from within timeout().
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach();
        else
            thread.join();
    }
    m_active = false;
}

void HiResTimer::run()
{
    Tarpo::SetCurrentThreadName("HiResTimer");
    int32_t minimum = 0, maximum = 0;
    Tarpo::GetRTThreadPriorityCapabilities(minimum, maximum);
    Tarpo::SetRTThreadPriority(Tarpo::GetCurrentThreadHandle(), minimum + 1);

    auto next = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopRequested) {
        next += std::chrono::milliseconds(m_intervalMs.load());
        // Behind by more than one period (the machine stalled): skip the missed ticks.
        const auto now = std::chrono::steady_clock::now();
        if (next + std::chrono::milliseconds(m_intervalMs.load()) < now)
            next = now;
        if (m_wake.wait_until(lock, next, [this] { return m_stopRequested; }))
            break;
        lock.unlock();
        emit timeout();
        lock.lock();
    }
}

void HiResTimer::restart()
{
    m_stopwatchStartNs = nowNs();
}

double HiResTimer::elapsedSeconds() const
{
    return static_cast<double>(nowNs() - m_stopwatchStartNs.load()) / 1e9;
}
