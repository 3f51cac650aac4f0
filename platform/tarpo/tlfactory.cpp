#include "tarpo/tlfactory.h"

#include "tarpo/arvgigetransportlayer.h"
#include "tarpo/arvteardown.h"
#include "tarpo/arvtransportlayer.h"

#include "genapi/genicamexception.h"

#include <arv.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <vector>

namespace Tarpo {

namespace {

struct Registration
{
    gcstring deviceClass;
    gcstring friendlyName;
    CTlFactory::TransportLayerCreator creator;
};

// The installed transport layers. Construct-on-first-use: other libraries register theirs from
// static objects, which may run before this file's statics are initialised.
struct Registry
{
    std::mutex mutex; // guards registrations
    std::vector<Registration> registrations;

    Registry()
    {
        // Aravis' transports come first, in the order the device tree shows them. IEEE 1394
        // ("Morvex1394") has no transport here and is not installed.
        registrations.push_back(
            {"MorvexUsb", "USB3 Vision (Aravis)", [] {
                 return std::unique_ptr<ITransportLayer>(
                     std::make_unique<CArvTransportLayer<ITransportLayer>>(
                         "MorvexUsb", "USB3 Vision (Aravis)", arv_uv_interface_get_instance));
             }});
        registrations.push_back({"MorvexGigE", "GigE Vision (Aravis)", [] {
                                     return std::unique_ptr<ITransportLayer>(
                                         std::make_unique<CArvGigETransportLayer>());
                                 }});
    }
};

Registry& registry()
{
    static Registry* instance = new Registry; // never destroyed: registrations run at exit too
    return *instance;
}

std::vector<Registration> registrations()
{
    std::lock_guard<std::mutex> lock(registry().mutex);
    return registry().registrations;
}

std::mutex& initMutex()
{
    static std::mutex mutex;
    return mutex;
}
int initCount = 0; // guarded by initMutex()

// How long the end of the process waits for lost cameras' teardowns (two 2.5 s GVCP time-outs).
constexpr int terminateTeardownWaitMs = 6000;

} // namespace

struct CTlFactory::Private
{
    struct Layer
    {
        std::unique_ptr<ITransportLayer> transportLayer;
        int users = 0; // CreateTl minus ReleaseTl
    };

    std::mutex mutex; // guards layers
    // Created layers stay until TarpoTerminate: the devices they created and the cameras
    // announced to them outlive the CreateTl/ReleaseTl pair of whoever asked first.
    std::map<std::string, Layer> layers;

    // The layer of `deviceClass`, created on first use; null when it is not installed.
    ITransportLayer* layer(const gcstring& deviceClass, bool addUser);
    std::vector<ITransportLayer*> allLayers();
};

ITransportLayer* CTlFactory::Private::layer(const gcstring& deviceClass, bool addUser)
{
    std::lock_guard<std::mutex> lock(mutex);
    auto it = layers.find(deviceClass);
    if (it == layers.end()) {
        for (const Registration& registration : registrations()) {
            if (registration.deviceClass == deviceClass) {
                it = layers.emplace(deviceClass, Layer{registration.creator(), 0}).first;
                break;
            }
        }
        if (it == layers.end() || !it->second.transportLayer)
            return nullptr;
    }
    if (addUser)
        ++it->second.users;
    return it->second.transportLayer.get();
}

std::vector<ITransportLayer*> CTlFactory::Private::allLayers()
{
    std::vector<ITransportLayer*> all;
    for (const Registration& registration : registrations()) {
        if (ITransportLayer* transportLayer = layer(registration.deviceClass, false))
            all.push_back(transportLayer);
    }
    return all;
}

CTlFactory::CTlFactory() : d(std::make_unique<Private>()) {}

CTlFactory::~CTlFactory() = default;

CTlFactory& CTlFactory::GetInstance()
{
    static CTlFactory instance;
    return instance;
}

void CTlFactory::RegisterTransportLayer(const gcstring& deviceClass, const gcstring& friendlyName,
                                        TransportLayerCreator creator)
{
    std::lock_guard<std::mutex> lock(registry().mutex);
    auto& all = registry().registrations;
    const auto it = std::find_if(all.begin(), all.end(), [&](const Registration& registration) {
        return registration.deviceClass == deviceClass;
    });
    if (it != all.end())
        *it = Registration{deviceClass, friendlyName, std::move(creator)};
    else
        all.push_back(Registration{deviceClass, friendlyName, std::move(creator)});
}

int CTlFactory::EnumerateTls(TlInfoList_t& list)
{
    list.clear();
    for (const Registration& registration : registrations()) {
        CTlInfo info;
        info.SetDeviceClass(registration.deviceClass).SetFriendlyName(registration.friendlyName);
        list.push_back(info);
    }
    return static_cast<int>(list.size());
}

ITransportLayer* CTlFactory::CreateTl(const gcstring& deviceClass)
{
    return d->layer(deviceClass, true);
}

void CTlFactory::ReleaseTl(ITransportLayer* transportLayer)
{
    std::lock_guard<std::mutex> lock(d->mutex);
    for (auto& entry : d->layers) {
        if (entry.second.transportLayer.get() != transportLayer)
            continue;
        if (entry.second.users == 0)
            throw LOGICAL_ERROR_EXCEPTION("ReleaseTl: transport layer '%s' was released more "
                                          "often than it was created",
                                          entry.first.c_str());
        --entry.second.users;
        return;
    }
    throw LOGICAL_ERROR_EXCEPTION("ReleaseTl: not a transport layer of this factory");
}

int CTlFactory::EnumerateDevices(DeviceInfoList_t& list, bool addToList)
{
    if (!addToList)
        list.clear();
    int count = 0;
    // Without the factory's lock: a GigE discovery takes a second.
    for (ITransportLayer* transportLayer : d->allLayers())
        count += transportLayer->EnumerateDevices(list, true);
    return count;
}

ITarpoDevice* CTlFactory::CreateDevice(const CDeviceInfo& info)
{
    const gcstring deviceClass = info.GetDeviceClass();
    if (!deviceClass.empty()) {
        ITransportLayer* transportLayer = d->layer(deviceClass, false);
        if (!transportLayer)
            throw RUNTIME_EXCEPTION("No transport layer for device class '%s' is installed",
                                    deviceClass.c_str());
        return transportLayer->CreateDevice(info);
    }

    const gcstring fullName = info.GetFullName();
    const gcstring serialNumber = info.GetSerialNumber();
    if (fullName.empty() && serialNumber.empty())
        throw INVALID_ARGUMENT_EXCEPTION(
            "CreateDevice: the device info names no device class, full name or serial number");
    DeviceInfoList_t all;
    EnumerateDevices(all);
    for (const CDeviceInfo& candidate : all) {
        const bool match = !fullName.empty() ? candidate.GetFullName() == fullName
                                             : candidate.GetSerialNumber() == serialNumber;
        if (match)
            return d->layer(candidate.GetDeviceClass(), false)->CreateDevice(candidate);
    }
    throw RUNTIME_EXCEPTION("Camera '%s' not found",
                            (!fullName.empty() ? fullName : serialNumber).c_str());
}

void CTlFactory::DestroyDevice(ITarpoDevice* device)
{
    if (!device)
        return;
    // Every device carries its layer's class, also one that a layer created directly.
    const gcstring deviceClass = device->GetDeviceInfo().GetDeviceClass();
    ITransportLayer* transportLayer = d->layer(deviceClass, false);
    if (!transportLayer)
        throw LOGICAL_ERROR_EXCEPTION("DestroyDevice: no transport layer for device class '%s'",
                                      deviceClass.c_str());
    transportLayer->DestroyDevice(device);
}

void TarpoInitialize()
{
    std::lock_guard<std::mutex> lock(initMutex());
    ++initCount;
}

void TarpoTerminate()
{
    std::lock_guard<std::mutex> lock(initMutex());
    if (initCount == 0 || --initCount > 0)
        return;
    // The last user is gone: close every device, let lost cameras' teardowns finish, and give
    // Aravis' interfaces back.
    CTlFactory::Private& factory = *CTlFactory::GetInstance().d;
    std::map<std::string, CTlFactory::Private::Layer> layers;
    {
        std::lock_guard<std::mutex> layersLock(factory.mutex);
        layers.swap(factory.layers);
    }
    layers.clear();
    CArvTeardown::drain(terminateTeardownWaitMs);
    arv_shutdown();
}

} // namespace Tarpo
