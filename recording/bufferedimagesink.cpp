#include "recording/bufferedimagesink.h"

#include "recording/fatalmediawriterexception.h"
#include "recording/mediafilelimitreachedexception.h"
#include "tarpo/threadpriority.h"
#include "trace/trace.h"

namespace {

const char* const kCategory = "Recording";

} // namespace

CBufferedImageSink::CBufferedImageSink(IMediaWriter* writer, uint64_t capacity,
                                       const std::string& threadName)
    : m_writer(writer), m_capacity(capacity), m_threadName(threadName), m_queue(size_t(capacity))
{
    m_thread = boost::thread([this] { run(); });
}

CBufferedImageSink::~CBufferedImageSink()
{
    stop();
}

bool CBufferedImageSink::setWriteFrameFailedCallee(IWriteFrameFailedCallee* callee)
{
    boost::lock_guard<boost::mutex> lock(m_mutex);
    m_writeFailedCallee = callee;
    return true;
}

bool CBufferedImageSink::addFrame(const void* buffer, size_t bufferSize,
                                  Tarpo::EPixelType pixelType, uint32_t width, uint32_t height,
                                  size_t paddingX, Tarpo::EImageOrientation orientation)
{
    {
        // A writer that has fallen behind would drop the copy anyway: skip copying it.
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (m_queue.full()) {
            ++m_droppedCount;
            return false;
        }
    }
    Tarpo::CTarpoImage image;
    image.CopyImage(buffer, bufferSize, pixelType, width, height, paddingX, orientation);
    bool queued = false;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        if (m_queue.full()) {
            ++m_droppedCount;
        } else {
            m_queue.push_back(std::move(image));
            ++m_queuedCount;
            queued = true;
        }
    }
    m_condition.notify_one();
    return queued;
}

bool CBufferedImageSink::waitForQueueEmpty(IQueueEmptyProgressCallee* callee)
{
    boost::lock_guard<boost::mutex> lock(m_mutex);
    if (m_queuedCount == 0)
        return false;
    m_progressCallee = callee;
    return true;
}

void CBufferedImageSink::stop()
{
    if (m_stopCalled)
        return;
    m_stopCalled = true;
    {
        boost::lock_guard<boost::mutex> lock(m_mutex);
        m_stopRequested = true;
    }
    m_condition.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

uint64_t CBufferedImageSink::queuedCount() const
{
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_queuedCount;
}

uint64_t CBufferedImageSink::droppedCount() const
{
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_droppedCount;
}

CBufferedImageSink::IWriteFrameFailedCallee* CBufferedImageSink::writeFailedCallee() const
{
    boost::lock_guard<boost::mutex> lock(m_mutex);
    return m_writeFailedCallee;
}

void CBufferedImageSink::run()
{
    try {
        writeFrames();
    } catch (...) {
        // A callee that throws must not take the process down with this thread.
        TARPO_TRACE(kCategory, "BufferedImageSink thread: a callee failed");
    }
}

void CBufferedImageSink::writeFrames()
{
    Tarpo::SetCurrentThreadName(m_threadName.c_str());
    TARPO_TRACE(kCategory, "BufferedImageSink thread started.");
    for (;;) {
        Tarpo::CTarpoImage image;
        {
            boost::unique_lock<boost::mutex> lock(m_mutex);
            while (m_queue.empty() && !m_stopRequested)
                m_condition.wait(lock);
            // A stop ends the thread even with frames queued: they are discarded.
            if (m_stopRequested)
                break;
            image = m_queue.front(); // shares the pixels; no copy
            m_queue.pop_front();
            --m_queuedCount;
        }

        // The disk write runs outside the mutex, so producers never wait for it.
        // One report, then the thread ends; later frames stay queued until stop().
        try {
            m_writer->Add(image);
        } catch (const FatalMediaWriterException& e) {
            if (IWriteFrameFailedCallee* callee = writeFailedCallee())
                callee->onFatalMediaWriterError(e.GetDescription());
            break;
        } catch (const MediaFileLimitReachedException&) {
            if (IWriteFrameFailedCallee* callee = writeFailedCallee())
                callee->onMediaFileLimitReached();
            break;
        } catch (const GenICam::GenericException& e) {
            if (IWriteFrameFailedCallee* callee = writeFailedCallee())
                callee->onWriteFrameFailed(e.GetDescription());
            break;
        } catch (...) {
            if (IWriteFrameFailedCallee* callee = writeFailedCallee())
                callee->onWriteFrameFailed(nullptr);
            break;
        }
        image.Release();

        IQueueEmptyProgressCallee* progress = nullptr;
        uint64_t remaining = 0;
        {
            // Read after the write: a racing addFrame may have raised the count.
            boost::lock_guard<boost::mutex> lock(m_mutex);
            progress = m_progressCallee;
            remaining = m_queuedCount;
        }
        if (progress)
            progress->onQueueEmptyProgress(remaining);
    }
    TARPO_TRACE(kCategory, "BufferedImageSink thread ending");
}
