#pragma once

// Finishes Aravis objects off the caller's thread. Dropping the last reference of a GigE stream
// or device talks to the camera (the stream stops its channel, the device leaves control); with
// the camera gone each of those accesses blocks for 2.5 s. The work runs on a worker thread
// ("ArvTeardown") and the caller waits for it only up to a bound, so closing a vanished camera
// returns quickly while closing a present one still finishes before Close returns.
// Thread-safe: any thread may start a teardown; drain() is for the end of the process.

#include <functional>

namespace Tarpo {

class CArvTeardown
{
public:
    // Runs `work` on a new worker thread and waits until it finished or `waitMs` passed.
    // Returns whether it finished in time. `work` must not throw.
    static bool run(std::function<void()> work, int waitMs);
    // Waits until every teardown started so far finished, at most `waitMs`.
    static bool drain(int waitMs);
};

} // namespace Tarpo
