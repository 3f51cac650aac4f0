#include "devicesession.h"

#include "tarpo/tlfactory.h"

#include "genapi/genicamexception.h"

#include <vector>

using namespace Tarpo;

DeviceSession::DeviceSession(const std::string& name)
{
    CTlFactory& factory = CTlFactory::GetInstance();
    m_device = factory.CreateDevice(find(name));
    try {
        m_device->Open(Control | Stream);
    } catch (...) {
        factory.DestroyDevice(m_device);
        throw;
    }
}

DeviceSession::~DeviceSession()
{
    try {
        m_device->Close();
        CTlFactory::GetInstance().DestroyDevice(m_device);
    } catch (const std::exception&) {
        // The command's result is out already; closing reports nothing more.
    }
}

CDeviceInfo DeviceSession::find(const std::string& name)
{
    DeviceInfoList_t all;
    CTlFactory::GetInstance().EnumerateDevices(all);
    // The most specific kind of name wins: a full name is unique, a serial number nearly so.
    using Getter = gcstring (CDeviceInfo::*)() const;
    for (const Getter getter : {&CDeviceInfo::GetFullName, &CDeviceInfo::GetSerialNumber,
                                &CDeviceInfo::GetFriendlyName}) {
        std::vector<const CDeviceInfo*> matches;
        for (const CDeviceInfo& info : all) {
            if ((info.*getter)() == name)
                matches.push_back(&info);
        }
        if (matches.size() == 1)
            return *matches.front();
        if (matches.size() > 1)
            throw RUNTIME_EXCEPTION("'%s' names %zu cameras; use the full name", name.c_str(),
                                    matches.size());
    }
    throw RUNTIME_EXCEPTION("Camera '%s' not found", name.c_str());
}

GenApi::INodeMap* DeviceSession::nodeMap(const std::string& which)
{
    if (which == "tl")
        return m_device->GetTLNodeMap();
    if (which == "stream") {
        if (m_device->GetNumStreamGrabberChannels() == 0)
            throw RUNTIME_EXCEPTION("Camera '%s' has no stream grabber", displayName().c_str());
        return m_device->GetStreamGrabber(0)->GetNodeMap();
    }
    return m_device->GetNodeMap();
}

std::string DeviceSession::displayName() const
{
    return m_device->GetDeviceInfo().GetFullName();
}
