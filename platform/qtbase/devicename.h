#pragma once

// How a device's names become text: the strings a camera reports are UTF-8 or Latin-1
// depending on the device; the formatted name is what the log, the window titles and the device
// tree call the device.
// Thread-safe: pure functions.

#include "genapi/gcstring.h"

#include <QString>

namespace Tarpo {
class CDeviceInfo;
}

// Whether the device's strings are UTF-8: emulated cameras always; others when their
// information says "DeviceCharacterSet" is "UTF8". Otherwise they are read as Latin-1.
bool IsUtf8Device(const Tarpo::CDeviceInfo* info);

// One of the device's strings as text, decoded as the device encodes it.
QString deviceString(const Tarpo::CDeviceInfo& info, const GenICam::gcstring& value);

// The friendly name, or the full name when the device has none.
QString formatDeviceName(const Tarpo::CDeviceInfo& info);
