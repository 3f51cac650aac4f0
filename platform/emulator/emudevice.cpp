#include "emulator/emudevice.h"

#include "emulator/emucamera.h"
#include "emulator/emudescription.h"
#include "emulator/emuport.h"
#include "emulator/emustreamgrabber.h"
#include "genapi/nodemapref.h"

namespace Emulator {

EmuDevice::EmuDevice(std::shared_ptr<EmuCamera> camera)
    : m_camera(std::move(camera)), m_deviceInfo(m_camera->deviceInfo()), m_removalNotifier(this)
{
}

EmuDevice::~EmuDevice()
{
    try {
        Close();
    } catch (...) {
        // A destructor reports nothing.
    }
}

void EmuDevice::Open(Tarpo::AccessModeSet mode)
{
    if (m_open)
        throw LOGICAL_ERROR_EXCEPTION("The camera %s is already open",
                                      m_camera->serialNumber().c_str());
    if (!(mode & (Tarpo::Control | Tarpo::Stream)))
        throw INVALID_ARGUMENT_EXCEPTION(
            "Open: the camera %s needs control or stream access (access mode 0x%x)",
            m_camera->serialNumber().c_str(), mode);
    m_deviceInfo = m_camera->deviceInfo();
    const bool monitor = !(mode & Tarpo::Control);

    // Everything the camera's frame thread may call is built before the camera knows this
    // handle.
    m_port = std::make_unique<EmuPort>(*m_camera, this);
    m_nodeMap = std::make_unique<GenApi::CNodeMapRef>("Device");
    try {
        m_nodeMap->_LoadXMLFromString(EmuDescription::cameraXml());
        m_nodeMap->_Connect(m_port.get());
        if (monitor) {
            // A monitor may look, not touch: every node becomes read-only (commands become
            // unavailable), besides the camera refusing the monitor's writes.
            GenApi::NodeList_t nodes;
            m_nodeMap->_GetNodeMap()->GetNodes(nodes);
            for (GenApi::INode* node : nodes)
                node->ImposeAccessMode(GenApi::RO);
        }
        buildTlNodeMap(monitor);
        if (mode & Tarpo::Stream)
            m_streamGrabber = std::make_unique<EmuStreamGrabber>(*m_camera, !monitor);
        m_camera->open(this, mode);
    } catch (...) {
        m_streamGrabber.reset();
        m_tlNodeMap.reset();
        m_nodeMap.reset();
        m_port.reset();
        throw;
    }
    m_accessMode = mode;
    m_open = true;
    m_removalNotifier.arm();
}

void EmuDevice::buildTlNodeMap(bool readOnly)
{
    using Range = Tarpo::CPortNodeMap::IntRange;
    m_tlNodeMap =
        std::make_unique<Tarpo::CPortNodeMap>("TransportLayer_" + m_camera->serialNumber(),
                                              "Transport layer parameters of the emulated camera");
    m_tlNodeMap->beginCategory("TransportLayerControl", "Transport Layer",
                               "Parameters of the link to the emulated camera.");
    EmuCamera* camera = m_camera.get();
    Tarpo::CPortNodeMap::IntSetter lock;
    if (!readOnly)
        lock = [camera](int64_t value) { camera->setTLParamsLocked(value != 0); };
    m_tlNodeMap->addInteger(
        {"TLParamsLocked", "TL Params Locked",
         "Set while the stream grabber is prepared: the camera's image format "
         "features are locked then.",
         GenApi::Guru},
        Range{0, 1, 1}, [camera] { return int64_t(camera->tlParamsLocked()); }, lock);
    m_tlNodeMap->addInteger({"PayloadSize", "Payload Size", "Bytes of one frame.", GenApi::Expert},
                            Range{0, INT64_MAX, 1, "B"},
                            [camera] { return camera->payloadSize(); });
    m_tlNodeMap->build();
}

void EmuDevice::Close()
{
    if (!m_open)
        return;
    m_removalNotifier.disarm();
    if (m_streamGrabber)
        m_streamGrabber->Close();
    // After this, the camera's frame thread no longer calls this handle.
    m_camera->close(this);
    m_streamGrabber.reset();
    m_tlNodeMap.reset();
    m_nodeMap.reset();
    m_port.reset();
    m_accessMode = 0;
    m_open = false;
}

GenApi::INodeMap* EmuDevice::GetNodeMap()
{
    return m_nodeMap ? m_nodeMap->_GetNodeMap() : nullptr;
}

GenApi::INodeMap* EmuDevice::GetTLNodeMap()
{
    return m_tlNodeMap ? m_tlNodeMap->nodeMap() : nullptr;
}

uint32_t EmuDevice::GetNumStreamGrabberChannels()
{
    return m_streamGrabber ? 1 : 0;
}

Tarpo::IStreamGrabber* EmuDevice::GetStreamGrabber(uint32_t index)
{
    if (!m_open)
        throw LOGICAL_ERROR_EXCEPTION("GetStreamGrabber: the camera %s is not open",
                                      m_camera->serialNumber().c_str());
    if (!m_streamGrabber)
        throw ACCESS_EXCEPTION("GetStreamGrabber: the camera %s was opened without stream access",
                               m_camera->serialNumber().c_str());
    if (index != 0)
        throw OUT_OF_RANGE_EXCEPTION("GetStreamGrabber: the camera %s has one stream channel, "
                                     "not channel %u",
                                     m_camera->serialNumber().c_str(), index);
    return m_streamGrabber.get();
}

Tarpo::DeviceCallbackHandle EmuDevice::RegisterRemovalCallback(Tarpo::DeviceCallback callback)
{
    return m_removalNotifier.add(std::move(callback));
}

bool EmuDevice::DeregisterRemovalCallback(Tarpo::DeviceCallbackHandle handle)
{
    return m_removalNotifier.remove(handle);
}

void EmuDevice::invalidateNodeMaps()
{
    m_port->InvalidateNode();
    m_tlNodeMap->InvalidateNode();
    if (m_streamGrabber)
        m_streamGrabber->invalidateNodeMap();
}

void EmuDevice::notifyRemoved()
{
    m_removalNotifier.notify();
}

} // namespace Emulator
