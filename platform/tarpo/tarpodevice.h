#pragma once

// An opened or openable camera: its node maps, its stream grabbers and its removal notification.
// Thread-safe: node maps are locked per map; the removal callback runs on a transport-layer
// thread and must only hand the notice on (queue it).

#include "tarpo/deviceinfo.h"
#include "tarpo/streamgrabber.h"

#include <functional>

namespace Tarpo {

enum EDeviceAccessMode
{
    Control = 0x1,   // may write features
    Stream = 0x2,    // may receive images
    Event = 0x4,     // may receive events
    Exclusive = 0x8  // nobody else may take control
};
using AccessModeSet = unsigned;

class ITarpoDevice;
using DeviceCallback = std::function<void(ITarpoDevice*)>;
using DeviceCallbackHandle = uint64_t;

class ITarpoDevice
{
public:
    virtual ~ITarpoDevice() = default;
    // Stream access alone is monitor mode: the device is watched, not controlled. A device that
    // cannot do what is asked throws a GenICam exception that says why.
    virtual void Open(AccessModeSet mode = Control | Stream) = 0;
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
    virtual AccessModeSet GetAccessMode() const = 0;
    virtual const CDeviceInfo& GetDeviceInfo() const = 0;
    // The camera's own features; null while closed.
    virtual GenApi::INodeMap* GetNodeMap() = 0;
    // Transport-layer parameters of this device; null while closed.
    virtual GenApi::INodeMap* GetTLNodeMap() = 0;
    virtual uint32_t GetNumStreamGrabberChannels() = 0;
    // Owned by the device; valid until Close.
    virtual IStreamGrabber* GetStreamGrabber(uint32_t index) = 0;
    // Called once, on a transport-layer thread, when the device is gone (unplugged, powered off,
    // unreachable). The callback must not block.
    virtual DeviceCallbackHandle RegisterRemovalCallback(DeviceCallback callback) = 0;
    virtual bool DeregisterRemovalCallback(DeviceCallbackHandle handle) = 0;
};

inline DeviceCallbackHandle RegisterRemovalCallback(ITarpoDevice* device, DeviceCallback callback)
{
    return device->RegisterRemovalCallback(std::move(callback));
}
inline bool DeregisterRemovalCallback(ITarpoDevice* device, DeviceCallbackHandle handle)
{
    return device->DeregisterRemovalCallback(handle);
}

} // namespace Tarpo
