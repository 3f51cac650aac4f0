#include "acquisition/stdfeaturelistcamera.h"

#include "genapi/genapi.h"
#include "tarpo/tarpodevice.h"
#include "trace/trace.h"

#include <QDebug>

namespace {
const char* const kCategory = "StdFeatureListCamera";
}

StdFeatureListCamera::StdFeatureListCamera(const Tarpo::CDeviceInfo* info, QObject* parent,
                                           unsigned usedBufferMemory, bool monitorMode)
    : Camera(info, parent, usedBufferMemory, monitorMode)
{
}

StdFeatureListCamera::~StdFeatureListCamera() = default;

GenApi::INodeMap* StdFeatureListCamera::tlNodeMap() const
{
    return m_device ? m_device->GetTLNodeMap() : nullptr;
}

void StdFeatureListCamera::onOpen()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    GenApi::INodeMap* map = deviceNodeMap();
    if (!map)
        return;
    m_width = map->GetNode("Width");
    m_height = map->GetNode("Height");
    m_payloadSize = map->GetNode("PayloadSize");
    m_pixelDynamicRangeMax = map->GetNode("PixelDynamicRangeMax");
    m_acquisitionStart = map->GetNode("AcquisitionStart");
    m_acquisitionStop = map->GetNode("AcquisitionStop");
    m_pixelFormat = map->GetNode("PixelFormat");
    m_acquisitionMode = map->GetNode("AcquisitionMode");
}

void StdFeatureListCamera::onClose()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_width.Release();
    m_height.Release();
    m_payloadSize.Release();
    m_pixelDynamicRangeMax.Release();
    m_acquisitionStart.Release();
    m_acquisitionStop.Release();
    m_pixelFormat.Release();
    m_acquisitionMode.Release();
}

int StdFeatureListCamera::readDimension(GenApi::CIntegerPtr& node, const char* name,
                                        const char* missingText)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (state() < Open)
        return 0;
    GenApi::CIntegerPtr value = node;
    if (!value && tlNodeMap())
        value = tlNodeMap()->GetNode(name);
    if (!value) {
        qWarning("%s", missingText);
        return 0;
    }
    return static_cast<int>(value->GetValue());
}

int StdFeatureListCamera::deviceWidth()
{
    return readDimension(m_width, "Width", "camera doesn't support width() feature");
}

int StdFeatureListCamera::deviceHeight()
{
    return readDimension(m_height, "Height", "camera doesn't support height() feature");
}

int64_t StdFeatureListCamera::devicePayloadSize()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (state() < Open || !GenApi::IsReadable(m_payloadSize))
        return 0;
    return m_payloadSize->GetValue();
}

int StdFeatureListCamera::bytesPerPixel()
{
    const Tarpo::EPixelType type = devicePixelType();
    if (type == Tarpo::PixelType_Undefined) {
        qWarning("unsupported pixel format");
        return 0;
    }
    return static_cast<int>(Tarpo::BitPerPixel(type) / 8);
}

Tarpo::EPixelType StdFeatureListCamera::pixelTypeFor(const std::string& pixelFormat,
                                                     int64_t dynamicRangeMax)
{
    using namespace Tarpo;
    const EPixelType type = GetPixelTypeFromName(pixelFormat);
    struct Narrowing
    {
        EPixelType wide, ten, twelve;
    };
    static const Narrowing narrowings[] = {
        {PixelType_Mono16, PixelType_Mono10, PixelType_Mono12},
        {PixelType_BayerGR16, PixelType_BayerGR10, PixelType_BayerGR12},
        {PixelType_BayerRG16, PixelType_BayerRG10, PixelType_BayerRG12},
        {PixelType_BayerGB16, PixelType_BayerGB10, PixelType_BayerGB12},
        {PixelType_BayerBG16, PixelType_BayerBG10, PixelType_BayerBG12},
    };
    for (const Narrowing& n : narrowings) {
        if (type != n.wide)
            continue;
        if (dynamicRangeMax == 1023)
            return n.ten;
        if (dynamicRangeMax == 4095)
            return n.twelve;
    }
    return type;
}

Tarpo::EPixelType StdFeatureListCamera::devicePixelType()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (state() < Open || !GenApi::IsReadable(m_pixelFormat))
        return Tarpo::PixelType_Undefined;
    const int64_t range =
        GenApi::IsReadable(m_pixelDynamicRangeMax) ? m_pixelDynamicRangeMax->GetValue() : 0;
    return pixelTypeFor(m_pixelFormat->ToString(), range);
}

void StdFeatureListCamera::startAcquisition()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (state() < Open || !m_acquisitionStart)
        return;
    GenApi::INodeMap* tl = tlNodeMap();
    GenApi::CIntegerPtr locked = tl ? tl->GetNode("TLParamsLocked") : nullptr;
    if (!GenApi::IsWritable(m_acquisitionStart) && GenApi::IsWritable(locked))
        locked->SetValue(0);
    m_acquisitionStart->Execute();
    if (GenApi::IsWritable(locked))
        locked->SetValue(1);
}

void StdFeatureListCamera::stopAcquisition()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (state() < Open || !m_acquisitionStop)
        return;
    m_acquisitionStop->Execute();
}

void StdFeatureListCamera::onPrepareGrab(uint32_t payloadSize, uint32_t bufferCount, int grabMode)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    GenApi::INodeMap* grabberMap = m_streamGrabber ? m_streamGrabber->GetNodeMap() : nullptr;
    GenApi::CIntegerPtr maxBufferSize = grabberMap ? grabberMap->GetNode("MaxBufferSize") : nullptr;
    GenApi::CIntegerPtr maxNumBuffer = grabberMap ? grabberMap->GetNode("MaxNumBuffer") : nullptr;
    if (maxBufferSize)
        maxBufferSize->SetValue(payloadSize);
    else
        TARPO_TRACE(kCategory, "%s: No MaxBufferSize node found???", "StdFeatureListCamera::onPrepareGrab");
    if (maxNumBuffer)
        maxNumBuffer->SetValue(bufferCount);
    else
        TARPO_TRACE(kCategory, "%s: No MaxNumBuffer node found???", "StdFeatureListCamera::onPrepareGrab");
    if (m_monitorMode)
        return;
    if (grabMode == 0)
        setEnumValSafe("AcquisitionMode", "SingleFrame");
    else if (grabMode == 1)
        setEnumValSafe("AcquisitionMode", "Continuous");
}
