#pragma once

// A counting semaphore with QSemaphore's operations, built on std::mutex and
// std::condition_variable so that ThreadSanitizer sees its synchronisation (Qt's own primitives
// live in an uninstrumented library).
// Thread-safe.

#include <condition_variable>
#include <mutex>

class Semaphore
{
public:
    explicit Semaphore(int initial = 0) : m_available(initial) {}
    void acquire(int n = 1)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [&] { return m_available >= n; });
        m_available -= n;
    }
    bool tryAcquire(int n = 1)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_available < n)
            return false;
        m_available -= n;
        return true;
    }
    // Waits at most `timeoutMs`; false when the count did not become available.
    bool tryAcquire(int n, int timeoutMs)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                [&] { return m_available >= n; }))
            return false;
        m_available -= n;
        return true;
    }
    void release(int n = 1)
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_available += n;
        }
        m_changed.notify_all();
    }
    int available() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_available;
    }

private:
    mutable std::mutex m_mutex; // guards m_available
    std::condition_variable m_changed;
    int m_available;
};
