#pragma once

// The queue of finished results that every stream grabber hands out, and its wait object.
// Thread-safe: push from the thread that fills buffers, wait/pop from the grab thread.

#include "tarpo/streamgrabber.h"

#include <condition_variable>
#include <deque>
#include <mutex>

namespace Tarpo {

class GrabResultQueue : public WaitObject
{
public:
    void push(const GrabResult& result);
    bool pop(GrabResult& result);
    bool Wait(unsigned timeoutMs) const override;
    size_t size() const;
    void clear();

private:
    mutable std::mutex m_mutex; // guards m_results
    mutable std::condition_variable m_ready;
    std::deque<GrabResult> m_results;
};

} // namespace Tarpo
