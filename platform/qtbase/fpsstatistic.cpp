#include "qtbase/fpsstatistic.h"

#include <algorithm>

FpsStatistic::FpsStatistic(int samples)
    : m_capacity(std::max(samples, 2)), m_ring(static_cast<size_t>(m_capacity))
{
}

void FpsStatistic::addSample(uint64_t bytes)
{
    addSample(bytes, Clock::now());
}

void FpsStatistic::addSample(uint64_t bytes, Clock::time_point arrival)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_ring[static_cast<size_t>(m_next)] = {arrival, bytes};
    m_next = (m_next + 1) % m_capacity;
    m_count = std::min(m_count + 1, m_capacity);
}

bool FpsStatistic::getResult(double* framesPerSecond, uint64_t* bytesPerSecond,
                             bool* hasBeenReset)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (hasBeenReset) {
        *hasBeenReset = m_hasBeenReset;
        m_hasBeenReset = false;
    }
    if (m_count < 2)
        return false;
    const int newest = (m_next - 1 + m_capacity) % m_capacity;
    const int oldest = (m_next - m_count + m_capacity) % m_capacity;
    const double seconds =
        std::chrono::duration<double>(m_ring[static_cast<size_t>(newest)].arrival -
                                      m_ring[static_cast<size_t>(oldest)].arrival)
            .count();
    if (seconds <= 0.0)
        return false;
    // The oldest sample opens the span; the bytes of the frames after it arrived within it.
    uint64_t bytes = 0;
    for (int i = 1; i < m_count; ++i)
        bytes += m_ring[static_cast<size_t>((oldest + i) % m_capacity)].bytes;
    if (framesPerSecond)
        *framesPerSecond = (m_count - 1) / seconds;
    if (bytesPerSecond)
        *bytesPerSecond = static_cast<uint64_t>(static_cast<double>(bytes) / seconds);
    return true;
}

void FpsStatistic::reset()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_count = 0;
    m_next = 0;
    m_hasBeenReset = true;
}
