#include "tarpo/arvdevice.h"

#include "tarpo/arvteardown.h"

#include "genapi/pointer.h"
#include "trace/trace.h"

#include <arv.h>

#include <chrono>

namespace Tarpo {

namespace {

const char* const traceCategory = "ArvDevice";

const char* transportName(bool gigE)
{
    return gigE ? "GigE Vision" : "USB3 Vision";
}

int remainingMs(std::chrono::steady_clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

// What outlives an open session until its teardown has run: the node map's and our own
// references to the camera.
struct Leftovers
{
    std::unique_ptr<GenApi::CNodeMapRef> nodeMap;
    GObjectPtr<ArvDevice> device;
};

} // namespace

std::mutex& CArvDevice::interfaceMutex()
{
    static std::mutex mutex;
    return mutex;
}

CArvDevice::CArvDevice(const CDeviceInfo& info)
    : m_info(info), m_gigE(info.GetDeviceClass() == "MorvexGigE"),
      m_removal(std::make_shared<CRemovalNotifier>(this))
{
}

CArvDevice::~CArvDevice()
{
    try {
        Close();
    } catch (...) {
        // Close reports nothing it could throw from a destructor.
    }
}

void CArvDevice::Open(AccessModeSet mode)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::string fullName = m_info.GetFullName();
    if (m_device)
        throw LOGICAL_ERROR_EXCEPTION("Camera '%s' is already open", fullName.c_str());
    if ((mode & (Control | Stream)) == 0)
        throw INVALID_ARGUMENT_EXCEPTION(
            "Open: access mode 0x%x asks for neither control nor stream access", mode);
    const bool monitor = (mode & Control) == 0;

    // A GigE camera is opened at its address: no discovery round, and it works for cameras
    // announced by unicast that broadcast discovery never saw.
    const std::string ip = m_info.GetIpAddress();
    const std::string id = m_gigE && !ip.empty() ? ip : fullName;
    ArvInterface* arvInterface =
        m_gigE ? arv_gv_interface_get_instance() : arv_uv_interface_get_instance();
    GError* error = nullptr;
    GObjectPtr<ArvDevice> device;
    {
        std::lock_guard<std::mutex> listLock(interfaceMutex());
        device.reset(arv_interface_open_device(arvInterface, id.c_str(), &error));
    }
    if (!device) {
        const std::string reason = error ? error->message : "the camera does not answer";
        g_clear_error(&error);
        throw RUNTIME_EXCEPTION("Failed to open camera '%s': %s", fullName.c_str(), reason.c_str());
    }

    if (m_gigE) {
        auto* gvDevice = ARV_GV_DEVICE(device.get());
        const bool controller = arv_gv_device_is_controller(gvDevice);
        if (!monitor && !controller)
            throw ACCESS_EXCEPTION("Camera '%s' is controlled by another application. Close it "
                                   "there, or open the camera for monitoring (stream access "
                                   "only) to read its features.",
                                   fullName.c_str());
        // Monitoring reads only; let the controlling application have the camera.
        if (monitor && controller)
            arv_gv_device_leave_control(gvDevice, nullptr);
    }

    auto nodeMap = std::make_unique<GenApi::CNodeMapRef>("Device");
    nodeMap->_LoadFromAravisDevice(device.get());
    auto tlNodeMap = std::make_unique<CArvTlNodeMap>(device.get(), nodeMap->_GetNodeMap(),
                                                     m_info.GetSerialNumber(), monitor);

    m_device = std::move(device);
    m_nodeMap = std::move(nodeMap);
    m_tlNodeMap = std::move(tlNodeMap);
    m_accessMode = mode;
    m_channelCount = readChannelCount();
    if (monitor)
        makeReadOnly();
    completeInfo();

    // Aravis' heartbeat thread -> the removal callbacks, direct: the notifier only calls them.
    m_controlLostHandler =
        g_signal_connect_data(m_device.get(), "control-lost", G_CALLBACK(onControlLost),
                              new std::shared_ptr<CRemovalNotifier>(m_removal),
                              reinterpret_cast<GClosureNotify>(releaseNotifier), GConnectFlags(0));
    if (monitor && m_gigE) {
        // liveness watch thread -> the removal callbacks, direct, as from the heartbeat
        std::weak_ptr<CRemovalNotifier> removal = m_removal;
        m_liveness = std::make_unique<CArvLivenessWatch>(m_device.get(), [removal] {
            if (const auto notifier = removal.lock())
                notifier->notify();
        });
    }
    m_removal->arm();
    TARPO_TRACE(traceCategory, "opened %s (%s)", fullName.c_str(), monitor ? "monitor" : "control");
}

void CArvDevice::onControlLost(void*, void* notifier)
{
    // Aravis' heartbeat thread; the notifier lets no exception out.
    (*static_cast<std::shared_ptr<CRemovalNotifier>*>(notifier))->notify();
}

void CArvDevice::releaseNotifier(void* notifier, void*)
{
    delete static_cast<std::shared_ptr<CRemovalNotifier>*>(notifier);
}

void CArvDevice::makeReadOnly()
{
    GenApi::NodeList_t nodes;
    m_nodeMap->_GetNodeMap()->GetNodes(nodes);
    for (GenApi::INode* node : nodes)
        node->ImposeAccessMode(GenApi::RO);
}

void CArvDevice::completeInfo()
{
    GenApi::INodeMap* map = m_nodeMap->_GetNodeMap();
    const auto readString = [map](const char* name) -> std::string {
        try {
            GenApi::CValuePtr value(map->GetNode(name));
            return GenApi::IsReadable(value) ? std::string(value->ToString()) : std::string();
        } catch (const GenICam::GenericException& e) {
            TARPO_TRACE(traceCategory, "%s not readable: %s", name, e.GetDescription());
            return std::string();
        }
    };
    if (m_info.GetDeviceVersion().empty())
        m_info.SetDeviceVersion(readString("DeviceVersion"));
    const std::string userName = readString("DeviceUserID");
    if (!userName.empty())
        m_info.SetUserDefinedName(userName);
    m_info.SetFriendlyName(CDeviceInfo::MakeFriendlyName(
        m_info.GetModelName(), m_info.GetSerialNumber(), m_info.GetUserDefinedName()));
}

void CArvDevice::Close()
{
    // First, so that no removal callback runs (or still runs) once Close returned. Not under
    // m_mutex: a running callback may ask this device for its state.
    m_removal->disarm();

    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_device)
        return;
    // One time budget for the grabbers and the device: with a camera that went silent without
    // being reported yet, each teardown step would block 2.5 s.
    const bool lost = m_removal->removed();
    const auto deadline =
        std::chrono::steady_clock::now() +
        std::chrono::milliseconds(lost ? 0 : CArvStreamGrabber::defaultCloseWaitMs);
    for (auto& grabber : m_grabbers) {
        if (grabber)
            grabber->closeWithin(remainingMs(deadline));
    }
    m_grabbers.clear();
    g_signal_handler_disconnect(m_device.get(), m_controlLostHandler);
    m_controlLostHandler = 0;
    if (m_liveness) {
        // Its thread may be inside a read that a silent camera lets time out: wait for it on a
        // teardown worker, within the time left.
        m_liveness->stop();
        CArvTeardown::run([liveness = std::shared_ptr<CArvLivenessWatch>(
                               std::move(m_liveness))]() mutable { liveness.reset(); },
                          remainingMs(deadline));
    }
    m_tlNodeMap.reset();

    auto leftovers = std::make_shared<Leftovers>();
    leftovers->nodeMap = std::move(m_nodeMap);
    leftovers->device = std::move(m_device);
    m_accessMode = 0;
    m_channelCount = 0;
    // Dropping the camera leaves control over GVCP and stops Aravis' heartbeat thread.
    CArvTeardown::run(
        [leftovers] {
            leftovers->nodeMap.reset();
            leftovers->device.reset();
        },
        remainingMs(deadline));
    TARPO_TRACE(traceCategory, "closed %s", m_info.GetFullName().c_str());
}

bool CArvDevice::IsOpen() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<bool>(m_device);
}

AccessModeSet CArvDevice::GetAccessMode() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_accessMode;
}

GenApi::INodeMap* CArvDevice::GetNodeMap()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_nodeMap ? m_nodeMap->_GetNodeMap() : nullptr;
}

GenApi::INodeMap* CArvDevice::GetTLNodeMap()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_tlNodeMap ? m_tlNodeMap->nodeMap() : nullptr;
}

uint32_t CArvDevice::readChannelCount() const
{
    if (!m_gigE)
        return 1;
    std::lock_guard<GenApi::CLock> mapLock(m_nodeMap->_GetNodeMap()->GetLock());
    GError* error = nullptr;
    const int64_t count =
        arv_device_get_integer_feature_value(m_device.get(), "ArvGevStreamChannelCount", &error);
    if (error) {
        TARPO_TRACE(traceCategory, "no stream channel count: %s", error->message);
        g_clear_error(&error);
        return 1;
    }
    return count > 0 ? static_cast<uint32_t>(count) : 1;
}

uint32_t CArvDevice::GetNumStreamGrabberChannels()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_device ? m_channelCount : 0;
}

IStreamGrabber* CArvDevice::GetStreamGrabber(uint32_t index)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const std::string fullName = m_info.GetFullName();
    if (!m_device)
        throw LOGICAL_ERROR_EXCEPTION("Camera '%s' is not open", fullName.c_str());
    if (index >= m_channelCount)
        throw OUT_OF_RANGE_EXCEPTION("Camera '%s' has %u stream channels; there is no channel %u",
                                     fullName.c_str(), m_channelCount, index);
    if (m_grabbers.size() <= index)
        m_grabbers.resize(index + 1);
    if (!m_grabbers[index]) {
        CArvStreamGrabber::DeviceAccess access;
        access.device = m_device.get();
        access.nodeMap = m_nodeMap->_GetNodeMap();
        access.serialNumber = m_info.GetSerialNumber();
        access.gigE = m_gigE;
        if ((m_accessMode & Control) == 0)
            access.streamRefusal = GenICam::formatMessage(
                "Camera '%s' is open for monitoring only: stream-only reception is not "
                "supported by the %s transport, which streams only to the application that "
                "controls the camera.",
                fullName.c_str(), transportName(m_gigE));
        std::weak_ptr<CRemovalNotifier> removal = m_removal;
        access.lost = [removal] {
            const auto notifier = removal.lock();
            return notifier && notifier->removed();
        };
        m_grabbers[index] = std::make_unique<CArvStreamGrabber>(access, index);
    }
    return m_grabbers[index].get();
}

DeviceCallbackHandle CArvDevice::RegisterRemovalCallback(DeviceCallback callback)
{
    return m_removal->add(std::move(callback));
}

bool CArvDevice::DeregisterRemovalCallback(DeviceCallbackHandle handle)
{
    return m_removal->remove(handle);
}

} // namespace Tarpo
