#pragma once

// The camera one command works on: found by full name, serial number or friendly name across
// every transport layer, opened with control and stream access, closed and destroyed when the
// session ends.
// Thread: main thread only.

#include "tarpo/tarpodevice.h"

#include <string>

namespace GenApi {
class INodeMap;
}

class DeviceSession
{
public:
    // Throws a GenICam RuntimeException when no camera or more than one camera has that name.
    explicit DeviceSession(const std::string& name);
    ~DeviceSession();
    DeviceSession(const DeviceSession&) = delete;
    DeviceSession& operator=(const DeviceSession&) = delete;

    // "device" (the camera's features), "tl" (transport layer) or "stream" (stream grabber 0).
    GenApi::INodeMap* nodeMap(const std::string& which);
    std::string displayName() const;

    // The camera `name` means: its full name, else its serial number, else its friendly name.
    static Tarpo::CDeviceInfo find(const std::string& name);

private:
    Tarpo::ITarpoDevice* m_device = nullptr;
};
