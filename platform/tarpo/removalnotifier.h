#pragma once

// Hands a device's removal to the callbacks registered on it: at most once per open session,
// never after the device was closed or the callback deregistered, and never letting an
// exception out into the transport layer's thread that reported the removal.
// Thread-safe: notify() comes from a transport-layer thread (Aravis' heartbeat thread for
// GigE), the rest from the device's user. Callbacks run with m_mutex held, so remove() and
// disarm() wait for a callback that is running and nothing is called after they return.

#include "tarpo/tarpodevice.h"

#include <map>
#include <mutex>

namespace Tarpo {

class CRemovalNotifier
{
public:
    explicit CRemovalNotifier(ITarpoDevice* device) : m_device(device) {}

    DeviceCallbackHandle add(DeviceCallback callback);
    bool remove(DeviceCallbackHandle handle);
    // The device opened: the next removal is reported.
    void arm();
    // The device closes: no callback runs once this returned.
    void disarm();
    // The device is gone. Runs every callback once if armed and not yet reported.
    void notify();
    bool removed() const;

private:
    // Recursive: a callback may deregister itself from inside the notice.
    mutable std::recursive_mutex m_mutex; // guards m_callbacks, m_nextHandle, m_armed, m_removed
    ITarpoDevice* m_device;
    std::map<DeviceCallbackHandle, DeviceCallback> m_callbacks;
    DeviceCallbackHandle m_nextHandle = 1;
    bool m_armed = false;
    bool m_removed = false;
};

} // namespace Tarpo
