#pragma once

// Shared by the emulator's tests: an opened emulated camera with short feature accessors, and
// a grab into buffers of its own. Both clean up in their destructors, also when a test fails.
// Thread: the test's thread.

#include "emulator/emucamera.h"
#include "emulator/emutransportlayer.h"
#include "genapi/genapi.h"
#include "tarpo/tarpodevice.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace EmuTest {

using namespace GenApi;

class Camera
{
public:
    Camera(Tarpo::ITransportLayer& transportLayer, int index,
           Tarpo::AccessModeSet mode = Tarpo::Control | Tarpo::Stream)
        : m_transportLayer(transportLayer)
    {
        Tarpo::DeviceInfoList_t infos;
        transportLayer.EnumerateDevices(infos);
        for (const Tarpo::CDeviceInfo& info : infos) {
            if (info.GetSerialNumber() == Emulator::EmuCamera::serialNumberOf(index))
                device = transportLayer.CreateDevice(info);
        }
        if (!device)
            throw RUNTIME_EXCEPTION("no emulated camera %d", index);
        try {
            device->Open(mode);
        } catch (...) {
            transportLayer.DestroyDevice(device);
            throw;
        }
        map = device->GetNodeMap();
    }
    ~Camera() { m_transportLayer.DestroyDevice(device); }
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    int64_t integer(const char* name) const { return CIntegerPtr(map->GetNode(name))->GetValue(); }
    void setInteger(const char* name, int64_t value)
    {
        CIntegerPtr(map->GetNode(name))->SetValue(value);
    }
    double real(const char* name) const { return CFloatPtr(map->GetNode(name))->GetValue(); }
    void setReal(const char* name, double value) { CFloatPtr(map->GetNode(name))->SetValue(value); }
    std::string enumeration(const char* name) const
    {
        return CEnumerationPtr(map->GetNode(name))->ToString();
    }
    void setEnumeration(const char* name, const char* symbolic)
    {
        CEnumerationPtr(map->GetNode(name))->FromString(symbolic);
    }
    void execute(const char* name) { CCommandPtr(map->GetNode(name))->Execute(); }
    // A small image renders fast in debug builds.
    void smallImage(int64_t width = 64, int64_t height = 32)
    {
        setInteger("Width", width);
        setInteger("Height", height);
    }

    Tarpo::ITarpoDevice* device = nullptr;
    INodeMap* map = nullptr;

private:
    Tarpo::ITransportLayer& m_transportLayer;
};

// PrepareGrab with `count` buffers of `size` bytes (0: the payload size), all queued.
class Grab
{
public:
    Grab(Tarpo::ITarpoDevice* device, int count, size_t size = 0)
        : grabber(device->GetStreamGrabber(0))
    {
        if (size == 0)
            size = size_t(CIntegerPtr(device->GetNodeMap()->GetNode("PayloadSize"))->GetValue());
        grabber->Open();
        CIntegerPtr(grabber->GetNodeMap()->GetNode("MaxNumBuffer"))->SetValue(count);
        grabber->PrepareGrab();
        buffers.assign(size_t(count), std::vector<uint8_t>(size, 0xA5));
        for (auto& buffer : buffers)
            grabber->QueueBuffer(grabber->RegisterBuffer(buffer.data(), buffer.size()));
    }
    ~Grab()
    {
        try {
            grabber->CancelGrab();
            Tarpo::GrabResult result;
            while (grabber->RetrieveResult(result)) {
            }
            grabber->FinishGrab();
            grabber->Close();
        } catch (...) {
        }
    }
    Grab(const Grab&) = delete;
    Grab& operator=(const Grab&) = delete;

    // Waits for the next result; false on time-out.
    bool next(Tarpo::GrabResult& result, unsigned timeoutMs = 5000)
    {
        return grabber->GetWaitObject().Wait(timeoutMs) && grabber->RetrieveResult(result);
    }
    // The next `count` results, fewer on time-out. With `requeue` each buffer is queued again
    // at once, so its data may be overwritten by a later frame.
    std::vector<Tarpo::GrabResult> collect(int count, bool requeue = true,
                                           unsigned timeoutMs = 5000)
    {
        std::vector<Tarpo::GrabResult> results;
        Tarpo::GrabResult result;
        while (int(results.size()) < count && next(result, timeoutMs)) {
            results.push_back(result);
            if (requeue)
                grabber->QueueBuffer(result.Handle());
        }
        return results;
    }
    int64_t statistic(const char* name) const
    {
        return CIntegerPtr(grabber->GetNodeMap()->GetNode(name))->GetValue();
    }

    Tarpo::IStreamGrabber* grabber;
    std::vector<std::vector<uint8_t>> buffers;
};

} // namespace EmuTest
