#pragma once

// One kind of camera connection ("MorvexGigE", "MorvexUsb", "MorvexCamEmu"): finds its cameras
// and creates device objects for them.
// Thread-safe: enumeration may run on a worker thread while devices are used elsewhere.

#include "tarpo/deviceinfo.h"

namespace GenApi {
class INodeMap;
}

namespace Tarpo {

class ITarpoDevice;

class ITransportLayer
{
public:
    virtual ~ITransportLayer() = default;
    virtual CTlInfo GetTlInfo() const = 0;
    // An info with this layer's DeviceClass set, to be completed by the caller.
    virtual CDeviceInfo CreateDeviceInfo() const = 0;
    // Appends (or with addToList false, replaces) the cameras found; returns their number.
    virtual int EnumerateDevices(DeviceInfoList_t& list, bool addToList = false) = 0;
    // Throws a GenICam exception with a clear text for an unknown or vanished camera. The device
    // is owned by the transport layer until DestroyDevice.
    virtual ITarpoDevice* CreateDevice(const CDeviceInfo& info) = 0;
    virtual void DestroyDevice(ITarpoDevice* device) = 0;
    // Parameters of the transport layer itself; may be null.
    virtual GenApi::INodeMap* GetNodeMap() = 0;
};

// The GigE transport layer's extra: reaching a camera by unicast at a known address.
class IGigETransportLayer : public ITransportLayer
{
public:
    // Asks the camera at `ipAddress` to identify itself; on success completes `info` (full name,
    // serial number, model, ...) and remembers the camera for later enumerations.
    virtual bool AnnounceRemoteDevice(const gcstring& ipAddress, CDeviceInfo* info = nullptr) = 0;
    virtual bool RenounceRemoteDevice(const gcstring& ipAddress) = 0;
};

} // namespace Tarpo
