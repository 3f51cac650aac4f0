#include "tarpo/removalnotifier.h"

#include "trace/trace.h"

#include <exception>
#include <vector>

namespace Tarpo {

DeviceCallbackHandle CRemovalNotifier::add(DeviceCallback callback)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const DeviceCallbackHandle handle = m_nextHandle++;
    m_callbacks.emplace(handle, std::move(callback));
    return handle;
}

bool CRemovalNotifier::remove(DeviceCallbackHandle handle)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_callbacks.erase(handle) != 0;
}

void CRemovalNotifier::arm()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_armed = true;
    m_removed = false;
}

void CRemovalNotifier::disarm()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_armed = false;
}

bool CRemovalNotifier::removed() const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_removed;
}

void CRemovalNotifier::notify()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (!m_armed || m_removed)
        return;
    m_removed = true;

    // A callback may deregister itself or others; walk the handles, not the map.
    std::vector<DeviceCallbackHandle> handles;
    for (const auto& entry : m_callbacks)
        handles.push_back(entry.first);
    for (const DeviceCallbackHandle handle : handles) {
        const auto it = m_callbacks.find(handle);
        if (it == m_callbacks.end() || !m_armed)
            continue;
        const DeviceCallback callback = it->second;
        try {
            callback(m_device);
        } catch (const std::exception& e) {
            TARPO_TRACE("RemovalNotifier", "a removal callback threw: %s", e.what());
        } catch (...) {
            TARPO_TRACE("RemovalNotifier", "a removal callback threw an unknown exception");
        }
    }
}

} // namespace Tarpo
