#pragma once

// The buffers registered with a stream grabber, by handle, with the state each is in, and the
// rules every grabber applies to them: what may be registered, queued and deregistered, and
// when a grab may finish. `Record` derives from RegisteredBuffer and adds what a transport
// needs per buffer. Not thread-safe: the grabber calls it under its own lock.

#include "genapi/genicamexception.h"
#include "tarpo/streamgrabber.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>

namespace Tarpo {

struct RegisteredBuffer
{
    enum class State
    {
        Idle,    // with the caller
        Queued,  // waiting for a frame
        Filling, // a frame is being written into it
        Finished // its result waits to be retrieved
    };
    void* memory = nullptr;
    size_t size = 0;
    const void* context = nullptr;
    State state = State::Idle;

    // The handle callers know the buffer by.
    StreamBufferHandle handle() { return this; }

    // A result that hands this buffer back, with its handle, context and memory filled in.
    GrabResult result(GrabResult from = GrabResult())
    {
        from.m_handle = handle();
        from.m_context = context;
        from.m_buffer = memory;
        return from;
    }
    GrabResult canceled()
    {
        GrabResult from;
        from.m_status = Canceled;
        return result(from);
    }
};

template <class Record> class RegisteredBuffers
{
public:
    // RegisterBuffer's checks.
    Record& add(void* memory, size_t size, bool prepared, int64_t maxBufferSize,
                int64_t maxNumBuffer)
    {
        if (!memory || size == 0)
            throw INVALID_ARGUMENT_EXCEPTION("RegisterBuffer: the buffer is empty");
        if (!prepared)
            throw LOGICAL_ERROR_EXCEPTION("RegisterBuffer: PrepareGrab has not been called");
        if (static_cast<int64_t>(size) > maxBufferSize)
            throw INVALID_ARGUMENT_EXCEPTION(
                "RegisterBuffer: a buffer of %zu bytes exceeds MaxBufferSize (%lld bytes)", size,
                static_cast<long long>(maxBufferSize));
        if (static_cast<int64_t>(m_records.size()) >= maxNumBuffer)
            throw LOGICAL_ERROR_EXCEPTION(
                "RegisterBuffer: MaxNumBuffer (%lld) buffers are registered",
                static_cast<long long>(maxNumBuffer));
        auto record = std::make_unique<Record>();
        record->memory = memory;
        record->size = size;
        Record& added = *record;
        m_records.emplace(added.handle(), std::move(record));
        return added;
    }

    Record& at(StreamBufferHandle handle)
    {
        const auto it = m_records.find(handle);
        if (it == m_records.end())
            throw INVALID_ARGUMENT_EXCEPTION("The buffer handle %p is not registered", handle);
        return *it->second;
    }

    // Null for a handle that is not (or no longer) registered.
    Record* find(StreamBufferHandle handle)
    {
        const auto it = m_records.find(handle);
        return it == m_records.end() ? nullptr : it->second.get();
    }

    // DeregisterBuffer: only a buffer that is with the caller; returns its memory.
    void* remove(StreamBufferHandle handle)
    {
        Record& record = at(handle);
        if (record.state != RegisteredBuffer::State::Idle)
            throw LOGICAL_ERROR_EXCEPTION("DeregisterBuffer: the buffer %p has not come back yet",
                                          handle);
        void* memory = record.memory;
        m_records.erase(handle);
        return memory;
    }

    // QueueBuffer: only a buffer that is with the caller, and only while the grab is prepared.
    Record& toQueue(StreamBufferHandle handle, bool prepared, const std::string& serialNumber,
                    const void* context)
    {
        Record& record = at(handle);
        if (record.state != RegisteredBuffer::State::Idle)
            throw LOGICAL_ERROR_EXCEPTION("QueueBuffer: the buffer %p is already queued", handle);
        if (!prepared)
            throw LOGICAL_ERROR_EXCEPTION("QueueBuffer: the grab of camera '%s' is not prepared",
                                          serialNumber.c_str());
        record.context = context;
        return record;
    }

    // RetrieveResult: the buffer of a retrieved result is with the caller again.
    void retrieved(StreamBufferHandle handle)
    {
        if (Record* record = find(handle))
            if (record->state == RegisteredBuffer::State::Finished)
                record->state = RegisteredBuffer::State::Idle;
    }

    // FinishGrab: every buffer must have come back; then all are forgotten.
    void finishGrab()
    {
        const auto busy = std::count_if(m_records.begin(), m_records.end(), [](const auto& entry) {
            return entry.second->state != RegisteredBuffer::State::Idle;
        });
        if (busy != 0)
            throw LOGICAL_ERROR_EXCEPTION(
                "FinishGrab: %d buffers have not come back yet; cancel the grab and retrieve "
                "their results first",
                static_cast<int>(busy));
        m_records.clear();
    }

    void clear() { m_records.clear(); }

    template <class Fn> void forEach(Fn fn)
    {
        for (auto& entry : m_records)
            fn(*entry.second);
    }

private:
    std::map<StreamBufferHandle, std::unique_ptr<Record>> m_records;
};

} // namespace Tarpo
