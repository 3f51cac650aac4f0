#pragma once

// A camera object over an emulated camera, as the viewer builds it, for the pipeline tests:
// finds emulated camera `index`, creates the device, attaches and opens it.

#include "acquisition/stdfeaturelistcamera.h"
#include "genapi/genapi.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/tlfactory.h"
#include "viewersdk/streambuffer.h"

#include <QtTest>

#include <memory>

struct EmulatorRig
{
    Tarpo::CDeviceInfo info;
    std::unique_ptr<StdFeatureListCamera> camera;

    bool open(int index = 0, bool monitorMode = false, unsigned budget = 64u << 20)
    {
        Tarpo::DeviceInfoList_t devices;
        Tarpo::ITransportLayer* tl = Tarpo::CTlFactory::GetInstance().CreateTl("MorvexCamEmu");
        if (!tl)
            return false;
        tl->EnumerateDevices(devices);
        Tarpo::CTlFactory::GetInstance().ReleaseTl(tl);
        if (index >= int(devices.size()))
            return false;
        info = devices[static_cast<size_t>(index)];
        camera = std::make_unique<StdFeatureListCamera>(&info, nullptr, budget, monitorMode);
        camera->attachTarpoDevice(Tarpo::CTlFactory::GetInstance().CreateDevice(info));
        camera->open();
        return camera->state() == Camera::Open;
    }

    GenApi::INodeMap* map() const { return camera->device()->GetNodeMap(); }
    void set(const char* feature, const char* value)
    {
        GenApi::CValuePtr node = map()->GetNode(feature);
        QVERIFY2(node, feature);
        node->FromString(value);
    }
    // A Mono8 stream of this size at a fixed rate, with an exposure short enough for it.
    void monoStream(const char* width, const char* height, const char* frameRate)
    {
        set("Width", width);
        set("Height", height);
        set("PixelFormat", "Mono8");
        set("ExposureTime", "100");
        set("AcquisitionFrameRateEnable", "1");
        set("AcquisitionFrameRate", frameRate);
    }
    // A small, fast stream: 64 x 48 Mono8 at a fixed rate.
    void smallFastStream(const char* frameRate = "400") { monoStream("64", "48", frameRate); }

    ~EmulatorRig()
    {
        if (camera) {
            camera->shutDown();
            camera->detachTarpoDevice();
        }
    }
};
