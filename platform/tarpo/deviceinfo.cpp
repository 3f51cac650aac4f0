#include "tarpo/deviceinfo.h"

namespace Tarpo {

bool CDeviceInfo::GetPropertyValue(const gcstring& name, gcstring& value) const
{
    const auto it = m_properties.find(name);
    if (it == m_properties.end())
        return false;
    value = it->second;
    return true;
}

CDeviceInfo& CDeviceInfo::SetPropertyValue(const gcstring& name, const gcstring& value)
{
    m_properties[name] = value;
    return *this;
}

bool CDeviceInfo::IsPropertyAvailable(const gcstring& name) const
{
    return m_properties.count(name) != 0;
}

void CDeviceInfo::GetPropertyNames(gcstring_vector& names) const
{
    names.clear();
    for (const auto& property : m_properties)
        names.push_back(property.first);
}

gcstring CDeviceInfo::get(const char* name) const
{
    const auto it = m_properties.find(name);
    return it == m_properties.end() ? gcstring() : it->second;
}

gcstring CDeviceInfo::MakeFriendlyName(const gcstring& modelName, const gcstring& serialNumber,
                                       const gcstring& userDefinedName)
{
    if (!userDefinedName.empty())
        return userDefinedName + " (" + modelName + " " + serialNumber + ")";
    return modelName + " (" + serialNumber + ")";
}

} // namespace Tarpo
