#include "acquisition/decoupler.h"

#include "trace/trace.h"
#include "viewersdk/streambuffer.h"

#include <QDebug>

namespace {
const char* const kCategory = "Decoupler";
}

Decoupler::Decoupler(QObject* parent, const QString& name) : QThread(parent)
{
    if (!name.isEmpty())
        setObjectName(name); // QThread names its thread after the object
    start(QThread::InheritPriority);
}

Decoupler::~Decoupler()
{
    TARPO_TRACE(kCategory, "~Decoupler()");
    shutDown();
}

bool Decoupler::hasPendingBuffer()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_pendingBuffer != nullptr;
}

bool Decoupler::isBusy()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_busy;
}

void Decoupler::setBuffer(TarpoViewerSdk::StreamBuffer* buffer)
{
    TarpoViewerSdk::StreamBuffer* released = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        TARPO_TRACE(kCategory, "setBuffer() %p", static_cast<void*>(buffer));
        if (m_shutDownRequested) {
            qWarning("========== setBuffer has been called although we were shut-down");
            return;
        }
        if (m_pendingBuffer) {
            TARPO_TRACE(kCategory, "Decoupler: Release unprocessed buffer");
            released = m_pendingBuffer;
        }
        buffer->lock();
        m_pendingBuffer = buffer;
        if (!m_busy && !(m_throttleEnabled && !m_tickPending)) {
            m_wakeRequested = true;
            m_wakeUp.notify_one();
        }
    }
    // Released outside the lock: the last unlock sends the buffer home, which takes the
    // camera's lock and may requeue it.
    if (released)
        released->unlock();
}

void Decoupler::throttleTimerTick()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_tickPending = true;
    if (isRunning() && !m_busy && m_pendingBuffer) {
        m_wakeRequested = true;
        m_wakeUp.notify_one();
    }
}

void Decoupler::enableThrottle(bool enable)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_throttleEnabled = enable;
}

void Decoupler::run()
{
    TARPO_TRACE(kCategory, "Decouplerthread started.");
    std::unique_lock<std::mutex> lock(m_mutex);
    m_busy = true;
    for (;;) {
        // Without the throttle a tick never becomes pending, so the thread always sleeps until
        // the next setBuffer: a buffer that came while it was busy waits for a newer one.
        if (!m_pendingBuffer || !m_tickPending) {
            m_busy = false;
            m_wakeUp.wait(lock, [this] { return m_wakeRequested; });
            m_wakeRequested = false;
            m_busy = true;
        }
        if (m_shutDownRequested)
            break;
        TarpoViewerSdk::StreamBuffer* buffer = m_pendingBuffer;
        m_pendingBuffer = nullptr;
        m_tickPending = false;
        lock.unlock();
        if (buffer) {
            TARPO_TRACE(kCategory, "emit buffer %p", static_cast<void*>(buffer));
            emit bufferAvailable(buffer);
            buffer->unlock();
        }
        lock.lock();
    }
    m_busy = false;
    lock.unlock();
    TARPO_TRACE(kCategory, "Decouplerthread ending");
}

void Decoupler::shutDown()
{
    if (isRunning()) {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (m_busy) {
            // The thread is handing a buffer on; give it time (in whole seconds, as a frame's
            // conversion and display never take that long).
            lock.unlock();
            QThread::sleep(1);
            lock.lock();
        }
        m_shutDownRequested = true;
        m_wakeRequested = true;
        m_wakeUp.notify_one();
        lock.unlock();
        wait();
    }
    TarpoViewerSdk::StreamBuffer* pending = nullptr;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_shutDownRequested = true;
        pending = m_pendingBuffer;
        m_pendingBuffer = nullptr;
    }
    if (pending)
        pending->unlock();
}
