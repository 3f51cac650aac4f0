#pragma once

// Notices that a GigE camera we only monitor has gone. Aravis' heartbeat runs for the
// application that controls a camera; a monitor holds no control, so Aravis never reports its
// camera lost. The watch reads a bootstrap register on its own thread every interval and calls
// `onLost` once when the camera has not answered for `lostAfterMs` (each read already retries
// inside Aravis, so one unanswered read means the camera was silent for seconds).
// Thread-safe: stop() from any thread; `onLost` runs on the watch's thread ("ArvLiveness");
// the destructor stops the watch and waits for its thread, which may be inside a read that
// takes up to Aravis' GVCP timeout (run it where that may block, as Close does through
// CArvTeardown).

#include "genapi/gobjectptr.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

typedef struct _ArvDevice ArvDevice;

namespace Tarpo {

class CArvLivenessWatch
{
public:
    CArvLivenessWatch(ArvDevice* device, std::function<void()> onLost, int intervalMs = 1000,
                      int lostAfterMs = 3000);
    ~CArvLivenessWatch();
    CArvLivenessWatch(const CArvLivenessWatch&) = delete;
    CArvLivenessWatch& operator=(const CArvLivenessWatch&) = delete;

    // The thread ends after the read under way, if any. A loss noticed at this very moment may
    // still be reported: whoever receives onLost must ignore a late notice, as
    // CRemovalNotifier does once disarmed.
    void stop();

private:
    void run();

    GObjectPtr<ArvDevice> m_device; // our own reference: the watch may outlive the session
    const std::function<void()> m_onLost;
    const int m_intervalMs;
    const int m_lostAfterMs;
    std::mutex m_mutex; // guards m_stopped
    std::condition_variable m_wake;
    bool m_stopped = false;
    std::thread m_thread;
};

} // namespace Tarpo
