#include "tarpo/grabresultqueue.h"

#include <chrono>

namespace Tarpo {

void GrabResultQueue::push(const GrabResult& result)
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_results.push_back(result);
    }
    m_ready.notify_all();
}

bool GrabResultQueue::pop(GrabResult& result)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_results.empty())
        return false;
    result = std::move(m_results.front());
    m_results.pop_front();
    return true;
}

bool GrabResultQueue::Wait(unsigned timeoutMs) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_ready.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                            [this] { return !m_results.empty(); });
}

size_t GrabResultQueue::size() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_results.size();
}

void GrabResultQueue::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_results.clear();
}

} // namespace Tarpo
