#pragma once

// The camera emulator transport layer, device class "MorvexCamEmu". It lists TARPO_CAMEMU
// emulated cameras (read when the layer is created: default 2, 0 for none, at most 256; any
// other text gives the default and a warning on stderr), each with its own serial number
// (EMU0001, EMU0002, ...), state and frame thread, and hands out EmuDevice handles on them.
// A camera that vanished (DebugDeviceVanish) is not listed until every handle closed it.
// Thread-safe: m_mutex guards the devices; the cameras guard themselves.

#include "tarpo/portnodemap.h"
#include "tarpo/transportlayer.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Emulator {

class EmuCamera;
class EmuDevice;

class EmuTransportLayer : public Tarpo::ITransportLayer
{
public:
    static constexpr const char* kDeviceClass = "MorvexCamEmu";
    static constexpr const char* kFriendlyName = "Camera Emulator";
    static constexpr const char* kCountVariable = "TARPO_CAMEMU";
    static constexpr int kDefaultCameraCount = 2;
    static constexpr int kMaxCameraCount = 256;

    // Takes the number of cameras from TARPO_CAMEMU.
    EmuTransportLayer();
    explicit EmuTransportLayer(int cameraCount);
    ~EmuTransportLayer() override;
    EmuTransportLayer(const EmuTransportLayer&) = delete;
    EmuTransportLayer& operator=(const EmuTransportLayer&) = delete;

    // The camera count a TARPO_CAMEMU text asks for (null: unset); `warning` tells why a text
    // was not taken as it stands, and stays empty otherwise.
    static int cameraCountFrom(const char* text, std::string* warning);

    int cameraCount() const { return int(m_cameras.size()); }

    // ITransportLayer
    Tarpo::CTlInfo GetTlInfo() const override;
    Tarpo::CDeviceInfo CreateDeviceInfo() const override;
    int EnumerateDevices(Tarpo::DeviceInfoList_t& list, bool addToList = false) override;
    Tarpo::ITarpoDevice* CreateDevice(const Tarpo::CDeviceInfo& info) override;
    void DestroyDevice(Tarpo::ITarpoDevice* device) override;
    GenApi::INodeMap* GetNodeMap() override { return m_nodeMap.nodeMap(); }

private:
    std::shared_ptr<EmuCamera> findCamera(const Tarpo::CDeviceInfo& info) const;

    const std::vector<std::shared_ptr<EmuCamera>> m_cameras;
    mutable std::mutex m_mutex; // guards m_devices
    std::vector<std::unique_ptr<EmuDevice>> m_devices;
    Tarpo::CPortNodeMap m_nodeMap;
};

} // namespace Emulator
