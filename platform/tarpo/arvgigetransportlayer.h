#pragma once

// The "MorvexGigE" transport layer: Aravis' GigE Vision interface for broadcast discovery, and
// our GVCP unicast discovery for what it leaves out. Enumeration completes each camera's info
// (user-defined name, device version, MAC address) with a unicast request to it and lists the
// cameras announced at an address (AnnounceRemoteDevice) that still answer there.
// Thread-safe: as CArvTransportLayer; m_remote is guarded by m_mutex.

#include "tarpo/arvtransportlayer.h"
#include "tarpo/gvcpdiscovery.h"

#include <set>
#include <string>

namespace Tarpo {

class CArvGigETransportLayer : public CArvTransportLayer<IGigETransportLayer>
{
public:
    CArvGigETransportLayer();

    bool AnnounceRemoteDevice(const gcstring& ipAddress, CDeviceInfo* info = nullptr) override;
    bool RenounceRemoteDevice(const gcstring& ipAddress) override;

    // How long a unicast request waits for its answer.
    static constexpr int unicastTimeoutMs = 1000;

protected:
    DeviceInfoList_t discover() override;
    void addLocation(CDeviceInfo& info, ArvInterface* arvInterface, unsigned index) const override;
    CDeviceInfo resolve(const CDeviceInfo& request) override;

private:
    CDeviceInfo infoOf(const GvcpDeviceIdentity& identity) const;

    std::set<std::string> m_remote; // addresses of announced cameras
};

} // namespace Tarpo
