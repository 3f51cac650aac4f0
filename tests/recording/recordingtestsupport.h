#pragma once

// What the recording tests share: frames fed as the camera feeds them, a thread-safe record of
// a controller's signals, the independent readers (ffprobe, tiffinfo), and the one test double
// the sink's timing tests need.

#include "../tarpo/mediaprobes.h"

#include "recording/imediawriter.h"
#include "recording/recordingcontroller.h"
#include "viewersdk/streambuffer.h"

#include <QDir>
#include <QtTest>

#include <condition_variable>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

// A media writer whose speed the test decides: Add() waits while the gate is closed, records
// what it was given, and can throw on a chosen frame. It stands in for a disk whose timing the
// test must control, which a real writer cannot offer.
class GatedMediaWriterDouble : public IMediaWriter
{
public:
    void Open(const GenICam::gcstring&) override { m_open = true; }
    bool IsOpen() const override { return m_open; }
    void Close() override { m_open = false; }
    void Add(const Tarpo::IImage& image) override
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        ++m_entered;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_gateOpen; });
        ++m_calls;
        if (m_throwOnCall == m_calls && m_thrower)
            m_thrower();
        m_firstBytes.push_back(static_cast<const uint8_t*>(image.GetBuffer())[0]);
        ++m_added;
    }
    void Add(const void*, size_t, Tarpo::EPixelType, uint32_t, uint32_t, size_t,
             Tarpo::EImageOrientation) override
    {
        QFAIL("the sink adds images, not raw memory");
    }
    bool CanAddWithoutConversion(const Tarpo::IImage&) const override { return true; }
    bool CanAddWithoutConversion(Tarpo::EPixelType, uint32_t, uint32_t, size_t,
                                 Tarpo::EImageOrientation) const override
    {
        return true;
    }
    size_t GetCountOfAddedImages() const override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_added;
    }
    int64_t GetImageDataBytesWritten() const override { return 0; }

    void setGateOpen(bool open)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_gateOpen = open;
        m_changed.notify_all();
    }
    // Waits until Add() has been entered `count` times.
    bool waitEntered(int count)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(10),
                                  [&] { return m_entered >= count; });
    }
    void throwOn(int call, std::function<void()> thrower)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_throwOnCall = call;
        m_thrower = std::move(thrower);
    }
    int calls() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }
    std::vector<uint8_t> firstBytes() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_firstBytes;
    }

private:
    mutable std::mutex m_mutex; // guards every field below
    std::condition_variable m_changed;
    bool m_open = false;
    bool m_gateOpen = true;
    int m_entered = 0;
    int m_calls = 0;
    size_t m_added = 0;
    int m_throwOnCall = 0;
    std::function<void()> m_thrower;
    std::vector<uint8_t> m_firstBytes;
};

// Records a controller's signals from whichever thread emits them.
class RecordingProbe
{
public:
    void attach(CRecordingController* controller)
    {
        // any thread -> probe, direct: the probe locks, and never calls back
        QObject::connect(
            controller, &CRecordingController::stateChanged, controller,
            [this](ERecordingState state) {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_states.push_back(int(state));
            },
            Qt::DirectConnection);
        QObject::connect(
            controller, &CRecordingController::recordingFailure, controller,
            [this](const QString& message, const QString& detail) {
                std::lock_guard<std::mutex> lock(m_mutex);
                m_failures.push_back({message, detail});
            },
            Qt::DirectConnection);
    }
    std::vector<int> states() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_states;
    }
    int lastState() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_states.empty() ? int(RecordingState_None) : m_states.back();
    }
    std::vector<std::pair<QString, QString>> failures() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_failures;
    }

private:
    mutable std::mutex m_mutex; // guards m_states, m_failures
    std::vector<int> m_states;
    std::vector<std::pair<QString, QString>> m_failures;
};

// Frames handed to a controller as a camera hands them over: the buffer locked for the
// emission, the frame's first byte its number.
class FrameFeeder
{
public:
    FrameFeeder(Tarpo::EPixelType type, int width, int height, int bufferCount = 4)
        : m_type(type), m_width(width), m_height(height)
    {
        const uint32_t size =
            uint32_t(Tarpo::ComputeBufferSize(type, uint32_t(width), uint32_t(height)));
        for (int i = 0; i < bufferCount; ++i)
            m_buffers.push_back(
                std::make_unique<TarpoViewerSdk::StreamBuffer>(size, type, width, height, 1));
    }
    // Feeds `count` frames; frame numbers continue across calls.
    void feed(CRecordingController* controller, int count)
    {
        for (int i = 0; i < count; ++i) {
            // Like a camera, the next free buffer: one a holder still has is not reused.
            TarpoViewerSdk::StreamBuffer* buffer = nullptr;
            for (size_t k = 0; k < m_buffers.size() && !buffer; ++k) {
                TarpoViewerSdk::StreamBuffer* candidate =
                    m_buffers[size_t((m_next + k) % m_buffers.size())].get();
                if (candidate->lockCount() == 0)
                    buffer = candidate;
            }
            QVERIFY2(buffer, "the controller holds more than one buffer");
            for (uint32_t y = 0; y < uint32_t(m_height); ++y)
                std::memset(buffer->data() + y * buffer->lineOffset(), int((m_next + y) & 0xFF),
                            buffer->lineOffset());
            buffer->data()[0] = uint8_t(m_next & 0xFF);
            buffer->setFrame(m_type, m_width, m_height, 0, buffer->size(), m_next, 0);
            buffer->lock();
            controller->onCameraBufferAvailable(buffer);
            buffer->unlock();
            ++m_next;
        }
    }
    int lockedBuffers() const
    {
        int locked = 0;
        for (const auto& buffer : m_buffers)
            locked += buffer->lockCount();
        return locked;
    }

private:
    Tarpo::EPixelType m_type;
    int m_width;
    int m_height;
    uint64_t m_next = 0;
    std::vector<std::unique_ptr<TarpoViewerSdk::StreamBuffer>> m_buffers;
};

// The files a recording wrote, sorted by name.
inline QStringList recordedFiles(const QString& folder, const QString& pattern)
{
    return QDir(folder).entryList({pattern}, QDir::Files, QDir::Name);
}
