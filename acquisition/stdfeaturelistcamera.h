#pragma once

// The camera that reaches its device through the standard feature names: image geometry and
// pixel format, payload size, acquisition start/stop and mode, and in the transport layer's and
// stream grabber's maps TLParamsLocked, MaxBufferSize and MaxNumBuffer.
// Thread: as Camera; the node pointers are bound and released under the camera's mutex.

#include "acquisition/camera.h"
#include "genapi/pointer.h"

class StdFeatureListCamera : public Camera
{
    Q_OBJECT

public:
    StdFeatureListCamera(const Tarpo::CDeviceInfo* info, QObject* parent,
                         unsigned usedBufferMemory, bool monitorMode);
    ~StdFeatureListCamera() override;

    // Bits per pixel of the current pixel type / 8; 0 for an unknown type.
    int bytesPerPixel();
    // The pixel type a PixelFormat entry and PixelDynamicRangeMax describe: 16-bit mono and Bayer
    // types holding 10- or 12-bit data become the 10- or 12-bit types.
    static Tarpo::EPixelType pixelTypeFor(const std::string& pixelFormat, int64_t dynamicRangeMax);

protected:
    int deviceWidth() override;
    int deviceHeight() override;
    int64_t devicePayloadSize() override;
    Tarpo::EPixelType devicePixelType() override;
    void startAcquisition() override;
    void stopAcquisition() override;
    void onOpen() override;
    void onClose() override;
    void onPrepareGrab(uint32_t payloadSize, uint32_t bufferCount, int grabMode) override;

private:
    int readDimension(GenApi::CIntegerPtr& node, const char* name, const char* missingText);
    GenApi::INodeMap* tlNodeMap() const;

    GenApi::CIntegerPtr m_width;
    GenApi::CIntegerPtr m_height;
    GenApi::CIntegerPtr m_payloadSize;
    GenApi::CIntegerPtr m_pixelDynamicRangeMax;
    GenApi::CCommandPtr m_acquisitionStart;
    GenApi::CCommandPtr m_acquisitionStop;
    GenApi::CEnumerationPtr m_pixelFormat;
    GenApi::CEnumerationPtr m_acquisitionMode;
};
