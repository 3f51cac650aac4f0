#pragma once

// Real-time thread priorities: the grab thread and Aravis' stream threads ask for round-robin
// real-time scheduling and fall back to a plain high priority (a lower nice value) where the
// process may not have it. Failing is never fatal: the thread keeps running at its old priority.
// Thread-safe: each function acts on one thread and keeps no state.

#include <cstdint>
#include <pthread.h>

namespace Tarpo {

using ThreadHandle = pthread_t;

ThreadHandle GetCurrentThreadHandle();

// The range real-time priorities may take here (SCHED_RR: 1..99 on Linux).
void GetRTThreadPriorityCapabilities(int32_t& prioMin, int32_t& prioMax);

// Makes `thread` real-time with `priority` (clamped to the range above). For the calling thread
// a refused request falls back to nice level -10. Returns whether the thread now runs raised
// (real-time, or at the fallback's nice level).
bool SetRTThreadPriority(ThreadHandle thread, int32_t priority);

// The real-time priority of `thread`, 0 when it is not scheduled real-time.
int32_t GetRTThreadPriority(ThreadHandle thread);

// Names the calling thread for debuggers and `top -H` (Linux keeps the first 15 characters).
void SetCurrentThreadName(const char* name);

} // namespace Tarpo
