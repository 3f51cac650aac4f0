#pragma once

// Decouples grabbing from disk writing during a recording. The frame-delivery thread copies
// each frame to be recorded into a bounded queue and returns at once; the sink's writer thread
// ("Writer_<serial>") takes frames in arrival order and hands them to the media writer. A full
// queue drops and counts new frames instead of blocking the grab. A writer failure is reported
// once to the write-failed callee and ends the writer thread; the progress of draining the
// queue at the end of a recording goes to the progress callee.
// Thread-safe: addFrame from any producer thread, the other operations from the owner's
// threads; the callees are called on the writer thread, outside the mutex.

#include "recording/imediawriter.h"
#include "tarpo/tarpoimage.h"

#include <boost/circular_buffer.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <cstdint>
#include <string>

class CBufferedImageSink
{
public:
    class IQueueEmptyProgressCallee
    {
    public:
        // `remaining`: frames still queued after the frame just written.
        virtual void onQueueEmptyProgress(uint64_t remaining) = 0;

    protected:
        ~IQueueEmptyProgressCallee() = default;
    };

    class IWriteFrameFailedCallee
    {
    public:
        // The writer failed (GenICam exception: its description; anything else: null).
        virtual void onWriteFrameFailed(const char* detail) = 0;
        virtual void onMediaFileLimitReached() = 0;
        virtual void onFatalMediaWriterError(const char* detail) = 0;

    protected:
        ~IWriteFrameFailedCallee() = default;
    };

    // Starts the writer thread. `writer` is borrowed and must outlive the thread (stop()).
    CBufferedImageSink(IMediaWriter* writer, uint64_t capacity,
                       const std::string& threadName = "Writer");
    // Stops the writer thread if the owner has not; queued frames are discarded.
    ~CBufferedImageSink();
    CBufferedImageSink(const CBufferedImageSink&) = delete;
    CBufferedImageSink& operator=(const CBufferedImageSink&) = delete;

    bool setWriteFrameFailedCallee(IWriteFrameFailedCallee* callee);

    // Copies the frame and queues it: true when queued, false when the full queue dropped it.
    // The copy is made outside the mutex; out of memory throws std::bad_alloc to the caller and
    // leaves the queue untouched.
    bool addFrame(const void* buffer, size_t bufferSize, Tarpo::EPixelType pixelType,
                  uint32_t width, uint32_t height, size_t paddingX,
                  Tarpo::EImageOrientation orientation);

    // When frames are queued, reports the drain to `callee` after every written frame and
    // returns true; otherwise returns false and keeps nothing.
    bool waitForQueueEmpty(IQueueEmptyProgressCallee* callee);

    // Ends the writer thread after the frame it is writing and joins it; a second call does
    // nothing. Frames still queued are discarded.
    void stop();

    uint64_t queuedCount() const;
    uint64_t capacity() const { return m_capacity; }
    uint64_t droppedCount() const;
    // Frames the writer has written.
    size_t writtenCount() const { return m_writer->GetCountOfAddedImages(); }

private:
    void run();
    void writeFrames();
    IWriteFrameFailedCallee* writeFailedCallee() const;

    IMediaWriter* const m_writer; // borrowed
    const uint64_t m_capacity;
    const std::string m_threadName;

    mutable boost::mutex m_mutex;          // guards every field below but m_thread and m_stopCalled
    boost::condition_variable m_condition; // queue filled or stop requested
    bool m_stopRequested = false;
    boost::circular_buffer<Tarpo::CTarpoImage> m_queue;
    IQueueEmptyProgressCallee* m_progressCallee = nullptr;
    IWriteFrameFailedCallee* m_writeFailedCallee = nullptr;
    uint64_t m_queuedCount = 0;
    uint64_t m_droppedCount = 0;

    bool m_stopCalled = false; // owner's threads only
    boost::thread m_thread;
};
