#pragma once

// A snapshot of one recording's counters, as the recording status bar shows them.
// Thread: a plain value.

#include <cstdint>

struct RecordingStatistics
{
    uint64_t framesWritten = 0; // by the media writer
    uint64_t framesWaiting = 0; // in the recording queue
    uint64_t queueCapacity = 0;
    uint64_t framesDropped = 0; // refused because the queue was full
};
