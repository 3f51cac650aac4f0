#pragma once

// A transport layer over one Aravis interface: "MorvexUsb" over USB3 Vision, and the base of
// "MorvexGigE" over GigE Vision. It lists the interface's cameras as device infos and creates
// and owns CArvDevice objects until DestroyDevice. `Interface` is the transport-layer interface
// it implements (ITransportLayer or IGigETransportLayer); both instantiations live in the .cpp.
// Thread-safe: enumeration may run on a worker thread while devices are created or destroyed
// elsewhere; m_mutex is never held across camera I/O.

#include "tarpo/arvdevice.h"
#include "tarpo/transportlayer.h"

#include <memory>
#include <mutex>
#include <vector>

typedef struct _ArvInterface ArvInterface;

namespace Tarpo {

template <class Interface> class CArvTransportLayer : public Interface
{
public:
    using InterfaceGetter = ArvInterface* (*)();

    CArvTransportLayer(const gcstring& deviceClass, const gcstring& friendlyName,
                       InterfaceGetter arvInterface);
    ~CArvTransportLayer() override;

    CTlInfo GetTlInfo() const override;
    CDeviceInfo CreateDeviceInfo() const override;
    int EnumerateDevices(DeviceInfoList_t& list, bool addToList = false) override;
    ITarpoDevice* CreateDevice(const CDeviceInfo& info) override;
    void DestroyDevice(ITarpoDevice* device) override;
    GenApi::INodeMap* GetNodeMap() override { return nullptr; }

protected:
    // One discovery round: the cameras Aravis' interface finds now. Blocks for as long as the
    // interface needs (GigE: about a second).
    virtual DeviceInfoList_t discover();
    // Adds what the interface knows of where camera `index` is (GigE: its IP and MAC address).
    virtual void addLocation(CDeviceInfo&, ArvInterface*, unsigned /*index*/) const {}
    // The full info of the camera `request` names (FullName, SerialNumber or IpAddress), as a
    // new enumeration finds it; throws a RuntimeException when none matches.
    virtual CDeviceInfo resolve(const CDeviceInfo& request);
    // The camera of `list` that `request` names, or null.
    static const CDeviceInfo* find(const DeviceInfoList_t& list, const CDeviceInfo& request);
    // Text naming the camera a request means, for messages.
    static std::string describe(const CDeviceInfo& request);

    gcstring m_deviceClass;
    gcstring m_friendlyName;
    InterfaceGetter m_arvInterface;

    std::mutex m_mutex; // guards m_devices, m_lastFound
    std::vector<std::unique_ptr<CArvDevice>> m_devices;
    DeviceInfoList_t m_lastFound;
};

} // namespace Tarpo
