#pragma once

// The entry to the camera layer: lists the installed transport layers, creates them, and finds
// and creates devices across all of them. Transport layers register themselves by device class.
// Thread-safe: every operation takes the factory's lock; enumeration of a slow layer (GigE
// discovery takes about a second) runs without blocking the other operations' callers for longer
// than the enumeration itself.

#include "tarpo/deviceinfo.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/transportlayer.h"

#include <functional>
#include <memory>

namespace Tarpo {

class CTlFactory
{
public:
    static CTlFactory& GetInstance();

    int EnumerateTls(TlInfoList_t& list);
    // Null for a class that is unknown or not installed on this platform ("Morvex1394").
    // Transport layers are shared and counted: each CreateTl needs a ReleaseTl.
    ITransportLayer* CreateTl(const gcstring& deviceClass);
    void ReleaseTl(ITransportLayer* transportLayer);

    int EnumerateDevices(DeviceInfoList_t& list, bool addToList = false);
    // Uses the info's DeviceClass when set, else searches every layer for the full name or serial
    // number. Throws a GenICam exception with a clear text when no camera matches.
    ITarpoDevice* CreateDevice(const CDeviceInfo& info);
    void DestroyDevice(ITarpoDevice* device);

    using TransportLayerCreator = std::function<std::unique_ptr<ITransportLayer>()>;
    // Makes a device class available; called at start-up by each transport layer's module.
    static void RegisterTransportLayer(const gcstring& deviceClass, const gcstring& friendlyName,
                                       TransportLayerCreator creator);

private:
    CTlFactory();
    ~CTlFactory();
    // Unloads every transport layer once the last user terminated.
    friend void TarpoTerminate();
    struct Private;
    std::unique_ptr<Private> d;
};

void TarpoInitialize();
void TarpoTerminate();

// Initialises the camera layer for its lifetime (create one in main).
class TarpoAutoInitTerm
{
public:
    TarpoAutoInitTerm() { TarpoInitialize(); }
    ~TarpoAutoInitTerm() { TarpoTerminate(); }
    TarpoAutoInitTerm(const TarpoAutoInitTerm&) = delete;
    TarpoAutoInitTerm& operator=(const TarpoAutoInitTerm&) = delete;
};

} // namespace Tarpo
