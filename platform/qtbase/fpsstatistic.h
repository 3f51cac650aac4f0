#pragma once

// Frame and data rate over the last N frames: each frame adds its arrival time and size; the
// rates are computed over the span between the oldest and newest kept sample.
// Thread-safe: addSample from the grab thread, result/reset from the GUI thread.

#include <chrono>
#include <cstdint>
#include <mutex>
#include <vector>

class FpsStatistic
{
public:
    using Clock = std::chrono::steady_clock;

    explicit FpsStatistic(int samples);
    void addSample(uint64_t bytes);
    void addSample(uint64_t bytes, Clock::time_point arrival);
    // False while fewer than two frames were seen since the last reset. `hasBeenReset` tells
    // (once) that the statistic was reset since the previous call.
    bool getResult(double* framesPerSecond, uint64_t* bytesPerSecond,
                   bool* hasBeenReset = nullptr);
    void reset();
    int samples() const { return m_capacity; }

private:
    struct Sample
    {
        Clock::time_point arrival;
        uint64_t bytes;
    };
    const int m_capacity;
    std::mutex m_mutex; // guards m_ring, m_next, m_count, m_hasBeenReset
    std::vector<Sample> m_ring;
    int m_next = 0;
    int m_count = 0;
    bool m_hasBeenReset = false;
};
