#pragma once

// A handle on an emulated camera, as the transport layer gives it out: opening it builds the
// camera's node map from its GenICam description over a port of this handle, the
// transport-layer node map (TLParamsLocked, PayloadSize) and, with stream access, one stream
// grabber. With stream access alone the handle is a monitor: every node of its maps is read-only
// and its grabber receives the frames the controlling handle's acquisition produces.
// Thread-safe: Open/Close and the getters from the owner's thread; invalidateNodeMaps() and
// notifyRemoved() come from the camera's frame thread, which the camera stops calling before
// Close destroys the maps.

#include "emulator/emucameraclient.h"
#include "tarpo/portnodemap.h"
#include "tarpo/removalnotifier.h"
#include "tarpo/tarpodevice.h"

#include <memory>

namespace GenApi {
class CNodeMapRef;
}

namespace Emulator {

class EmuCamera;
class EmuPort;
class EmuStreamGrabber;

class EmuDevice : public Tarpo::ITarpoDevice, public EmuCameraClient
{
public:
    explicit EmuDevice(std::shared_ptr<EmuCamera> camera);
    ~EmuDevice() override;
    EmuDevice(const EmuDevice&) = delete;
    EmuDevice& operator=(const EmuDevice&) = delete;

    // ITarpoDevice
    void Open(Tarpo::AccessModeSet mode = Tarpo::Control | Tarpo::Stream) override;
    void Close() override;
    bool IsOpen() const override { return m_open; }
    Tarpo::AccessModeSet GetAccessMode() const override { return m_accessMode; }
    const Tarpo::CDeviceInfo& GetDeviceInfo() const override { return m_deviceInfo; }
    GenApi::INodeMap* GetNodeMap() override;
    GenApi::INodeMap* GetTLNodeMap() override;
    uint32_t GetNumStreamGrabberChannels() override;
    Tarpo::IStreamGrabber* GetStreamGrabber(uint32_t index) override;
    Tarpo::DeviceCallbackHandle RegisterRemovalCallback(Tarpo::DeviceCallback callback) override;
    bool DeregisterRemovalCallback(Tarpo::DeviceCallbackHandle handle) override;

    // EmuCameraClient
    void invalidateNodeMaps() override;
    void notifyRemoved() override;

    const std::shared_ptr<EmuCamera>& camera() const { return m_camera; }

private:
    void buildTlNodeMap(bool readOnly);

    std::shared_ptr<EmuCamera> m_camera;
    Tarpo::CDeviceInfo m_deviceInfo;
    Tarpo::CRemovalNotifier m_removalNotifier;
    bool m_open = false;
    Tarpo::AccessModeSet m_accessMode = 0;
    std::unique_ptr<EmuPort> m_port;
    std::unique_ptr<GenApi::CNodeMapRef> m_nodeMap;
    std::unique_ptr<Tarpo::CPortNodeMap> m_tlNodeMap;
    std::unique_ptr<EmuStreamGrabber> m_streamGrabber;
};

} // namespace Emulator
