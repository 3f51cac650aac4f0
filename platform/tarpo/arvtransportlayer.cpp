#include "tarpo/arvtransportlayer.h"

#include "genapi/genicamexception.h"
#include "trace/trace.h"

#include <arv.h>

#include <algorithm>

namespace Tarpo {

template <class Interface>
CArvTransportLayer<Interface>::CArvTransportLayer(const gcstring& deviceClass,
                                                  const gcstring& friendlyName,
                                                  InterfaceGetter arvInterface)
    : m_deviceClass(deviceClass), m_friendlyName(friendlyName), m_arvInterface(arvInterface)
{
}

template <class Interface> CArvTransportLayer<Interface>::~CArvTransportLayer()
{
    // Devices close in their destructors; a lost camera's teardown finishes on its own thread.
    m_devices.clear();
}

template <class Interface> CTlInfo CArvTransportLayer<Interface>::GetTlInfo() const
{
    CTlInfo info;
    info.SetDeviceClass(m_deviceClass).SetFriendlyName(m_friendlyName);
    return info;
}

template <class Interface> CDeviceInfo CArvTransportLayer<Interface>::CreateDeviceInfo() const
{
    CDeviceInfo info;
    info.SetDeviceClass(m_deviceClass);
    return info;
}

template <class Interface> DeviceInfoList_t CArvTransportLayer<Interface>::discover()
{
    DeviceInfoList_t found;
    std::lock_guard<std::mutex> lock(CArvDevice::interfaceMutex());
    ArvInterface* arvInterface = m_arvInterface();
    arv_interface_update_device_list(arvInterface);
    const unsigned count = arv_interface_get_n_devices(arvInterface);
    for (unsigned i = 0; i < count; ++i) {
        CDeviceInfo info = CreateDeviceInfo();
        const gcstring model = arv_interface_get_device_model(arvInterface, i);
        const gcstring serial = arv_interface_get_device_serial_nbr(arvInterface, i);
        info.SetFullName(arv_interface_get_device_id(arvInterface, i))
            .SetModelName(model)
            .SetSerialNumber(serial)
            .SetVendorName(arv_interface_get_device_vendor(arvInterface, i))
            .SetFriendlyName(CDeviceInfo::MakeFriendlyName(model, serial));
        addLocation(info, arvInterface, i);
        found.push_back(info);
    }
    return found;
}

template <class Interface>
int CArvTransportLayer<Interface>::EnumerateDevices(DeviceInfoList_t& list, bool addToList)
{
    const DeviceInfoList_t found = discover();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lastFound = found;
    }
    if (!addToList)
        list.clear();
    list.insert(list.end(), found.begin(), found.end());
    TARPO_TRACE("ArvTransportLayer", "%s: %zu cameras", m_deviceClass.c_str(), found.size());
    return static_cast<int>(found.size());
}

template <class Interface>
const CDeviceInfo* CArvTransportLayer<Interface>::find(const DeviceInfoList_t& list,
                                                       const CDeviceInfo& request)
{
    // The most specific name the request carries decides.
    for (const char* property : {"FullName", "SerialNumber", "IpAddress"}) {
        gcstring wanted;
        if (!request.GetPropertyValue(property, wanted) || wanted.empty())
            continue;
        const auto it = std::find_if(list.begin(), list.end(), [&](const CDeviceInfo& info) {
            gcstring value;
            return info.GetPropertyValue(property, value) && value == wanted;
        });
        return it == list.end() ? nullptr : &*it;
    }
    return nullptr;
}

template <class Interface>
std::string CArvTransportLayer<Interface>::describe(const CDeviceInfo& request)
{
    for (const char* property : {"FullName", "SerialNumber", "IpAddress"}) {
        gcstring value;
        if (request.GetPropertyValue(property, value) && !value.empty())
            return value;
    }
    return "(unnamed)";
}

template <class Interface>
CDeviceInfo CArvTransportLayer<Interface>::resolve(const CDeviceInfo& request)
{
    // Always look again: a camera listed a while ago may have gone since.
    DeviceInfoList_t found;
    EnumerateDevices(found);
    if (const CDeviceInfo* info = find(found, request))
        return *info;
    throw RUNTIME_EXCEPTION("Camera '%s' not found on the %s transport layer",
                            describe(request).c_str(), m_deviceClass.c_str());
}

template <class Interface>
ITarpoDevice* CArvTransportLayer<Interface>::CreateDevice(const CDeviceInfo& info)
{
    auto device = std::make_unique<CArvDevice>(resolve(info));
    std::lock_guard<std::mutex> lock(m_mutex);
    m_devices.push_back(std::move(device));
    return m_devices.back().get();
}

template <class Interface> void CArvTransportLayer<Interface>::DestroyDevice(ITarpoDevice* device)
{
    std::unique_ptr<CArvDevice> owned;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = std::find_if(m_devices.begin(), m_devices.end(),
                                     [device](const auto& entry) { return entry.get() == device; });
        if (it == m_devices.end())
            throw LOGICAL_ERROR_EXCEPTION("DestroyDevice: the device was not created by the %s "
                                          "transport layer",
                                          m_deviceClass.c_str());
        owned = std::move(*it);
        m_devices.erase(it);
    }
    // Closing may wait for the camera; not under m_mutex.
    owned.reset();
}

template class CArvTransportLayer<ITransportLayer>;
template class CArvTransportLayer<IGigETransportLayer>;

} // namespace Tarpo
