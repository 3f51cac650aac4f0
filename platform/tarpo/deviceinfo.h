#pragma once

// What is known of a camera before it is opened: a bag of named text properties ("FullName",
// "FriendlyName", "SerialNumber", "ModelName", "VendorName", "DeviceClass", "IpAddress",
// "MacAddress", "UserDefinedName", "DeviceVersion", ...), with typed accessors for the common ones.
// Thread: value type.

#include "genapi/gcstring.h"

#include <map>
#include <vector>

namespace Tarpo {

using GenICam::gcstring;
using GenICam::gcstring_vector;

class CDeviceInfo
{
public:
    bool GetPropertyValue(const gcstring& name, gcstring& value) const;
    CDeviceInfo& SetPropertyValue(const gcstring& name, const gcstring& value);
    bool IsPropertyAvailable(const gcstring& name) const;
    void GetPropertyNames(gcstring_vector& names) const;

    gcstring GetFullName() const { return get("FullName"); }
    gcstring GetFriendlyName() const { return get("FriendlyName"); }
    gcstring GetSerialNumber() const { return get("SerialNumber"); }
    gcstring GetModelName() const { return get("ModelName"); }
    gcstring GetVendorName() const { return get("VendorName"); }
    gcstring GetDeviceClass() const { return get("DeviceClass"); }
    gcstring GetIpAddress() const { return get("IpAddress"); }
    gcstring GetMacAddress() const { return get("MacAddress"); }
    gcstring GetUserDefinedName() const { return get("UserDefinedName"); }
    gcstring GetDeviceVersion() const { return get("DeviceVersion"); }

    CDeviceInfo& SetFullName(const gcstring& v) { return SetPropertyValue("FullName", v); }
    CDeviceInfo& SetFriendlyName(const gcstring& v) { return SetPropertyValue("FriendlyName", v); }
    CDeviceInfo& SetSerialNumber(const gcstring& v) { return SetPropertyValue("SerialNumber", v); }
    CDeviceInfo& SetModelName(const gcstring& v) { return SetPropertyValue("ModelName", v); }
    CDeviceInfo& SetVendorName(const gcstring& v) { return SetPropertyValue("VendorName", v); }
    CDeviceInfo& SetDeviceClass(const gcstring& v) { return SetPropertyValue("DeviceClass", v); }
    CDeviceInfo& SetIpAddress(const gcstring& v) { return SetPropertyValue("IpAddress", v); }
    CDeviceInfo& SetMacAddress(const gcstring& v) { return SetPropertyValue("MacAddress", v); }
    CDeviceInfo& SetUserDefinedName(const gcstring& v)
    {
        return SetPropertyValue("UserDefinedName", v);
    }
    CDeviceInfo& SetDeviceVersion(const gcstring& v) { return SetPropertyValue("DeviceVersion", v); }

    bool IsFullNameAvailable() const { return IsPropertyAvailable("FullName"); }

    // What the device tree shows: "<model> (<serial>)", or "<user name> (<model> <serial>)"
    // when the camera has a user-defined name.
    static gcstring MakeFriendlyName(const gcstring& modelName, const gcstring& serialNumber,
                                     const gcstring& userDefinedName = gcstring());

    bool operator==(const CDeviceInfo& other) const { return m_properties == other.m_properties; }

private:
    gcstring get(const char* name) const;
    std::map<std::string, gcstring> m_properties;
};

using DeviceInfoList_t = std::vector<CDeviceInfo>;
using DeviceInfoList = DeviceInfoList_t;

// A transport layer as the factory lists it: "DeviceClass" and "FriendlyName".
using CTlInfo = CDeviceInfo;
using TlInfoList_t = std::vector<CTlInfo>;

} // namespace Tarpo
