#include "emulator/emutransportlayer.h"

#include "emulator/emucamera.h"
#include "emulator/emudevice.h"
#include "genapi/genicamexception.h"
#include "tarpo/tlfactory.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace Emulator {

using GenICam::gcstring;

namespace {

std::vector<std::shared_ptr<EmuCamera>> makeCameras(int count)
{
    std::vector<std::shared_ptr<EmuCamera>> cameras;
    for (int index = 0; index < count; ++index)
        cameras.push_back(std::make_shared<EmuCamera>(index));
    return cameras;
}

int countFromEnvironment()
{
    std::string warning;
    const int count = EmuTransportLayer::cameraCountFrom(
        std::getenv(EmuTransportLayer::kCountVariable), &warning);
    if (!warning.empty())
        std::fprintf(stderr, "Tarpo camera emulator: %s\n", warning.c_str());
    return count;
}

// Makes the emulator available to every program linked with the platform.
struct Registrar
{
    Registrar()
    {
        Tarpo::CTlFactory::RegisterTransportLayer(
            EmuTransportLayer::kDeviceClass, EmuTransportLayer::kFriendlyName, [] {
                return std::unique_ptr<Tarpo::ITransportLayer>(
                    std::make_unique<EmuTransportLayer>());
            });
    }
};
const Registrar registrar;

} // namespace

int EmuTransportLayer::cameraCountFrom(const char* text, std::string* warning)
{
    warning->clear();
    if (!text)
        return kDefaultCameraCount;
    const std::string value(text);
    const size_t first = value.find_first_not_of(" \t");
    const size_t last = value.find_last_not_of(" \t");
    const std::string trimmed =
        first == std::string::npos ? std::string() : value.substr(first, last - first + 1);
    errno = 0;
    char* end = nullptr;
    const long count = std::strtol(trimmed.c_str(), &end, 10);
    if (trimmed.empty() || *end != '\0' || errno != 0 || count < 0) {
        *warning = std::string(kCountVariable) + "='" + value +
                   "' is not a number of cameras; using " + std::to_string(kDefaultCameraCount);
        return kDefaultCameraCount;
    }
    if (count > kMaxCameraCount) {
        *warning = std::string(kCountVariable) + "=" + trimmed + " exceeds the most of " +
                   std::to_string(kMaxCameraCount) + " cameras; using " +
                   std::to_string(kMaxCameraCount);
        return kMaxCameraCount;
    }
    return int(count);
}

EmuTransportLayer::EmuTransportLayer() : EmuTransportLayer(countFromEnvironment()) {}

EmuTransportLayer::EmuTransportLayer(int cameraCount)
    : m_cameras(makeCameras(std::clamp(cameraCount, 0, kMaxCameraCount))),
      m_nodeMap("CameraEmulator", "The camera emulator transport layer")
{
    m_nodeMap.beginCategory("EmulatorControl", "Camera Emulator",
                            "Emulated cameras this transport layer offers.");
    m_nodeMap.addInteger({"EmulatedCameraCount", "Emulated Camera Count",
                          "Number of emulated cameras, from the environment variable "
                          "TARPO_CAMEMU when the transport layer was created."},
                         Tarpo::CPortNodeMap::IntRange{0, kMaxCameraCount, 1},
                         [this] { return int64_t(m_cameras.size()); });
    m_nodeMap.build();
}

EmuTransportLayer::~EmuTransportLayer()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_devices.clear(); // closes them before the cameras go
}

Tarpo::CTlInfo EmuTransportLayer::GetTlInfo() const
{
    Tarpo::CTlInfo info;
    info.SetDeviceClass(kDeviceClass).SetFriendlyName(kFriendlyName);
    return info;
}

Tarpo::CDeviceInfo EmuTransportLayer::CreateDeviceInfo() const
{
    Tarpo::CDeviceInfo info;
    info.SetDeviceClass(kDeviceClass);
    return info;
}

int EmuTransportLayer::EnumerateDevices(Tarpo::DeviceInfoList_t& list, bool addToList)
{
    if (!addToList)
        list.clear();
    int count = 0;
    for (const auto& camera : m_cameras) {
        if (!camera->isPresent())
            continue;
        list.push_back(camera->deviceInfo());
        ++count;
    }
    return count;
}

std::shared_ptr<EmuCamera> EmuTransportLayer::findCamera(const Tarpo::CDeviceInfo& info) const
{
    const gcstring fullName = info.GetFullName();
    const gcstring serialNumber = info.GetSerialNumber();
    for (const auto& camera : m_cameras) {
        const bool match = !fullName.empty() ? camera->fullName() == fullName
                                             : camera->serialNumber() == serialNumber;
        if (match)
            return camera;
    }
    return nullptr;
}

Tarpo::ITarpoDevice* EmuTransportLayer::CreateDevice(const Tarpo::CDeviceInfo& info)
{
    const gcstring deviceClass = info.GetDeviceClass();
    if (!deviceClass.empty() && deviceClass != kDeviceClass)
        throw INVALID_ARGUMENT_EXCEPTION("CreateDevice: device class '%s' is not the emulator's",
                                         deviceClass.c_str());
    if (info.GetFullName().empty() && info.GetSerialNumber().empty())
        throw INVALID_ARGUMENT_EXCEPTION(
            "CreateDevice: the device info names neither full name nor serial number");
    const std::shared_ptr<EmuCamera> camera = findCamera(info);
    const gcstring name = !info.GetFullName().empty() ? info.GetFullName() : info.GetSerialNumber();
    if (!camera)
        throw RUNTIME_EXCEPTION("No emulated camera '%s' (TARPO_CAMEMU offers %d)", name.c_str(),
                                cameraCount());
    if (!camera->isPresent())
        throw RUNTIME_EXCEPTION("The emulated camera '%s' has been removed", name.c_str());
    auto device = std::make_unique<EmuDevice>(camera);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_devices.push_back(std::move(device));
    return m_devices.back().get();
}

void EmuTransportLayer::DestroyDevice(Tarpo::ITarpoDevice* device)
{
    std::unique_ptr<EmuDevice> owned;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const auto it = std::find_if(m_devices.begin(), m_devices.end(),
                                     [device](const auto& d) { return d.get() == device; });
        if (it == m_devices.end())
            throw LOGICAL_ERROR_EXCEPTION("DestroyDevice: not a device of the camera emulator");
        owned = std::move(*it);
        m_devices.erase(it);
    }
    // Closed without the lock: closing waits for the camera's frame thread.
    owned.reset();
}

} // namespace Emulator
