#pragma once

// A periodic timer on its own high-priority thread: timeout() is emitted in that thread at
// absolute, drift-free times (a late tick does not shift the later ones). Also a stopwatch
// (restart/elapsedSeconds) for measurements.
// Thread-safe: start/stop/interval from any thread; connect timeout() directly to code that may
// run in the timer's thread.

#include <QObject>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

class HiResTimer : public QObject
{
    Q_OBJECT

public:
    explicit HiResTimer(QObject* parent = nullptr);
    ~HiResTimer() override;

    // Starts ticking every `intervalMs` (at least 1); `resolutionMs` is accepted for
    // compatibility (the timer always sleeps to absolute times). False when it cannot start.
    bool start(unsigned intervalMs, unsigned resolutionMs = 0);
    void stop();
    bool isActive() const { return m_active.load(); }
    unsigned intervalMs() const { return m_intervalMs.load(); }

    void restart();
    double elapsedSeconds() const;

signals:
    // Emitted in the timer's own thread.
    void timeout();

private:
    void run();

    std::atomic<bool> m_active{false};
    std::atomic<unsigned> m_intervalMs{0};
    std::mutex m_mutex; // guards m_stopRequested and m_thread
    std::condition_variable m_wake;
    bool m_stopRequested = false;
    std::thread m_thread;
    std::atomic<int64_t> m_stopwatchStartNs{0};
};
