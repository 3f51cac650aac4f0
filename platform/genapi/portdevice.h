#pragma once

// An Aravis device whose registers are an in-process GenApi::IPort, so that Aravis' GenICam
// engine can evaluate our own XML descriptions. Reads and writes go to the connected port; before
// a port is connected they fail with "port not connected".
// Thread: called with the owning node map's lock held.

#include "genapi/interfaces.h"

#include <arv.h>

#include <string>

namespace GenApi {

// Creates the device and its GenICam document from `xml`. Returns a new reference.
ArvDevice* portDeviceNew(const std::string& xml);
// The device's document (owned by the device).
ArvGc* portDeviceGenicam(ArvDevice* device);
void portDeviceSetPort(ArvDevice* device, IPort* port);
IPort* portDevicePort(ArvDevice* device);
bool isPortDevice(ArvDevice* device);

} // namespace GenApi
