#include "qtbase/devicename.h"

#include "tarpo/deviceinfo.h"

bool IsUtf8Device(const Tarpo::CDeviceInfo* info)
{
    if (!info)
        return false;
    if (info->GetDeviceClass() == "MorvexCamEmu")
        return true;
    GenICam::gcstring characterSet;
    return info->GetPropertyValue("DeviceCharacterSet", characterSet) && characterSet == "UTF8";
}

QString deviceString(const Tarpo::CDeviceInfo& info, const GenICam::gcstring& value)
{
    return IsUtf8Device(&info) ? QString::fromUtf8(value.c_str())
                               : QString::fromLatin1(value.c_str());
}

QString formatDeviceName(const Tarpo::CDeviceInfo& info)
{
    const GenICam::gcstring friendlyName = info.GetFriendlyName();
    return deviceString(info, friendlyName.empty() ? info.GetFullName() : friendlyName);
}
