#include "tarpo/arvgigetransportlayer.h"

#include "genapi/genicamexception.h"

#include <arv.h>

#include <map>
#include <set>

namespace Tarpo {

namespace {

// A camera that just answered broadcast discovery answers unicast at once; this only bounds
// the wait for one that vanished in between.
constexpr int enumerationProbeTimeoutMs = 300;

} // namespace

CArvGigETransportLayer::CArvGigETransportLayer()
    : CArvTransportLayer<IGigETransportLayer>("MorvexGigE", "GigE Vision (Aravis)",
                                              arv_gv_interface_get_instance)
{
}

CDeviceInfo CArvGigETransportLayer::infoOf(const GvcpDeviceIdentity& identity) const
{
    CDeviceInfo info = CreateDeviceInfo();
    info.SetFullName(identity.fullName())
        .SetSerialNumber(identity.serialNumber)
        .SetModelName(identity.modelName)
        .SetVendorName(identity.vendorName)
        .SetDeviceVersion(identity.deviceVersion)
        .SetIpAddress(identity.ipAddress)
        .SetMacAddress(identity.macAddress)
        .SetFriendlyName(CDeviceInfo::MakeFriendlyName(identity.modelName, identity.serialNumber,
                                                       identity.userDefinedName));
    info.SetPropertyValue("SubnetMask", identity.subnetMask);
    info.SetPropertyValue("DefaultGateway", identity.defaultGateway);
    if (!identity.userDefinedName.empty())
        info.SetUserDefinedName(identity.userDefinedName);
    return info;
}

void CArvGigETransportLayer::addLocation(CDeviceInfo& info, ArvInterface* arvInterface,
                                         unsigned index) const
{
    info.SetIpAddress(arv_interface_get_device_address(arvInterface, index))
        .SetMacAddress(arv_interface_get_device_physical_id(arvInterface, index));
}

DeviceInfoList_t CArvGigETransportLayer::discover()
{
    // Aravis' broadcast discovery names the cameras and their addresses.
    const DeviceInfoList_t discovered = CArvTransportLayer<IGigETransportLayer>::discover();
    std::vector<std::string> addresses;
    for (const CDeviceInfo& info : discovered)
        addresses.push_back(info.GetIpAddress());
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        addresses.insert(addresses.end(), m_remote.begin(), m_remote.end());
    }

    // One unicast round for the rest of each camera's identity (user-defined name, version).
    std::map<std::string, CDeviceInfo> answered;
    for (const GvcpDeviceIdentity& identity :
         CGvcpDiscovery::probe(addresses, enumerationProbeTimeoutMs))
        answered.emplace(identity.ipAddress, infoOf(identity));

    // Broadcast finds first, in Aravis' order; a camera that missed the unicast round keeps
    // what Aravis knows of it. Then the announced cameras that still answer.
    DeviceInfoList_t found;
    std::set<std::string> names;
    const auto add = [&](const CDeviceInfo& info) {
        if (names.insert(info.GetFullName()).second)
            found.push_back(info);
    };
    for (const CDeviceInfo& info : discovered) {
        const auto it = answered.find(info.GetIpAddress());
        add(it != answered.end() ? it->second : info);
    }
    for (const auto& entry : answered)
        add(entry.second);
    return found;
}

CDeviceInfo CArvGigETransportLayer::resolve(const CDeviceInfo& request)
{
    // Where the address is known, one unicast request tells whether the camera is still there,
    // without a discovery round.
    std::string address = request.GetIpAddress();
    if (address.empty()) {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (const CDeviceInfo* known = find(m_lastFound, request))
            address = known->GetIpAddress();
    }
    if (address.empty())
        return CArvTransportLayer<IGigETransportLayer>::resolve(request);

    const auto answers = CGvcpDiscovery::probe({address}, unicastTimeoutMs);
    if (answers.empty())
        throw RUNTIME_EXCEPTION("Camera '%s' does not answer at %s: it was disconnected or "
                                "switched off, or its address changed",
                                describe(request).c_str(), address.c_str());
    const CDeviceInfo info = infoOf(answers.front());
    const gcstring fullName = request.GetFullName();
    if (!fullName.empty() && fullName != info.GetFullName())
        throw RUNTIME_EXCEPTION("Camera '%s' not found: %s answers as '%s'", fullName.c_str(),
                                address.c_str(), info.GetFullName().c_str());
    return info;
}

bool CArvGigETransportLayer::AnnounceRemoteDevice(const gcstring& ipAddress, CDeviceInfo* info)
{
    const auto answers = CGvcpDiscovery::probe({ipAddress}, unicastTimeoutMs);
    if (answers.empty())
        return false;
    const CDeviceInfo found = infoOf(answers.front());
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_remote.insert(answers.front().ipAddress);
    }
    if (info) {
        gcstring_vector names;
        found.GetPropertyNames(names);
        for (const gcstring& name : names) {
            gcstring value;
            found.GetPropertyValue(name, value);
            info->SetPropertyValue(name, value);
        }
    }
    return true;
}

bool CArvGigETransportLayer::RenounceRemoteDevice(const gcstring& ipAddress)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_remote.erase(ipAddress) != 0;
}

} // namespace Tarpo
