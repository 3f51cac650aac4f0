#pragma once

// A camera reached through Aravis (GigE Vision or USB3 Vision). Open connects with
// arv_open_device and wraps the camera's GenICam document; the transport-layer and stream
// node maps are our own. Stream access alone opens for monitoring: the camera's features are
// readable but not writable, and streaming is refused, because Aravis can only stream to the
// application that controls the camera. Aravis' "control-lost" signal becomes the removal
// callback; a monitored GigE camera, for which Aravis runs no heartbeat, is watched by reading
// one of its registers every second.
// Thread-safe: Open/Close/GetStreamGrabber from the owner's thread; node maps and the device
// info from any thread while open; the removal notice arrives on Aravis' heartbeat thread (or
// the liveness watch's thread for a monitor).

#include "tarpo/arvlivenesswatch.h"
#include "tarpo/arvstreamgrabber.h"
#include "tarpo/arvtlnodemap.h"
#include "tarpo/removalnotifier.h"
#include "tarpo/tarpodevice.h"

#include "genapi/gobjectptr.h"
#include "genapi/nodemapref.h"

#include <memory>
#include <mutex>
#include <vector>

namespace Tarpo {

class CArvDevice : public ITarpoDevice
{
public:
    // `info` names the camera: its IpAddress (GigE) or FullName (the Aravis id) is opened.
    explicit CArvDevice(const CDeviceInfo& info);
    ~CArvDevice() override;
    CArvDevice(const CArvDevice&) = delete;
    CArvDevice& operator=(const CArvDevice&) = delete;

    void Open(AccessModeSet mode = Control | Stream) override;
    void Close() override;
    bool IsOpen() const override;
    AccessModeSet GetAccessMode() const override;
    const CDeviceInfo& GetDeviceInfo() const override { return m_info; }
    GenApi::INodeMap* GetNodeMap() override;
    GenApi::INodeMap* GetTLNodeMap() override;
    uint32_t GetNumStreamGrabberChannels() override;
    IStreamGrabber* GetStreamGrabber(uint32_t index) override;
    DeviceCallbackHandle RegisterRemovalCallback(DeviceCallback callback) override;
    bool DeregisterRemovalCallback(DeviceCallbackHandle handle) override;

    // Guards Aravis' per-interface device lists: an update (discovery) and an open that looks a
    // camera up in the same list must not overlap.
    static std::mutex& interfaceMutex();

private:
    static void onControlLost(void* arvDevice, void* notifier);
    static void releaseNotifier(void* notifier, void* closure);
    // Adds what only the opened camera tells: version and user-defined name.
    void completeInfo();
    // The device map refuses every write in monitor mode.
    void makeReadOnly();
    uint32_t readChannelCount() const;

    CDeviceInfo m_info; // changed only by Open, on the owner's thread
    bool m_gigE;
    // Shared with the control-lost handler, which may outlive an open session by a moment.
    std::shared_ptr<CRemovalNotifier> m_removal;

    mutable std::mutex m_mutex; // guards the members below
    AccessModeSet m_accessMode = 0;
    GObjectPtr<ArvDevice> m_device;
    std::unique_ptr<GenApi::CNodeMapRef> m_nodeMap;
    std::unique_ptr<CArvTlNodeMap> m_tlNodeMap;
    uint32_t m_channelCount = 0; // read at Open: later reads would block on a vanished camera
    std::vector<std::unique_ptr<CArvStreamGrabber>> m_grabbers; // by channel, created on demand
    unsigned long m_controlLostHandler = 0;
    std::unique_ptr<CArvLivenessWatch> m_liveness; // a monitored GigE camera only
};

} // namespace Tarpo
