#pragma once

// Passes the newest buffer on at each throttle tick: sits between a camera's grab thread and the
// conversion and display, keeping one slot with the newest buffer and a thread of its own that
// hands it on, so the grab thread never waits for display work.
// Thread-safe: setBuffer() from the grab thread, throttleTimerTick() from the throttle timer's
// thread, enableThrottle()/shutDown() from the GUI thread; bufferAvailable is emitted on the
// decoupler's own thread.

#include <QThread>

#include <condition_variable>
#include <mutex>

namespace TarpoViewerSdk {
class StreamBuffer;
}

class Decoupler : public QThread
{
    Q_OBJECT

public:
    Decoupler(QObject* parent, const QString& name);
    ~Decoupler() override;

    // For tests and diagnostics.
    bool hasPendingBuffer();
    bool isBusy();

signals:
    void bufferAvailable(TarpoViewerSdk::StreamBuffer* buffer);

public slots:
    void setBuffer(TarpoViewerSdk::StreamBuffer* buffer);
    void shutDown();
    void enableThrottle(bool enable);
    void throttleTimerTick();

protected:
    void run() override;

private:
    TarpoViewerSdk::StreamBuffer* m_pendingBuffer = nullptr; // holds one lock on it
    // std::mutex rather than QMutex: ThreadSanitizer sees its synchronisation.
    std::mutex m_mutex; // guards m_pendingBuffer, m_shutDownRequested, m_busy, m_throttleEnabled, m_tickPending
    std::condition_variable m_wakeUp;
    bool m_shutDownRequested = false;
    bool m_busy = false;
    bool m_throttleEnabled = false;
    bool m_tickPending = false;
    bool m_wakeRequested = false; // tells a real wake-up from a spurious one
};
