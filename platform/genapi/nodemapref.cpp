#include "genapi/nodemapref.h"

#include "genapi/nodemap.h"
#include "genapi/portimpl.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <mutex>
#include <sstream>
#include <unordered_map>

namespace GenApi {

namespace {

// Descriptions read from files, by path: cameras of one model share one file.
struct DescriptionCache
{
    std::mutex mutex; // guards texts
    std::unordered_map<std::string, std::string> texts;
};

DescriptionCache& descriptionCache()
{
    static DescriptionCache cache;
    return cache;
}

std::string readDescription(const std::string& fileName)
{
    DescriptionCache& cache = descriptionCache();
    {
        std::lock_guard<std::mutex> lock(cache.mutex);
        const auto it = cache.texts.find(fileName);
        if (it != cache.texts.end())
            return it->second;
    }
    std::ifstream file(fileName, std::ios::binary);
    if (!file)
        throw RUNTIME_EXCEPTION("Cannot read the GenICam file '%s': %s", fileName.c_str(),
                                std::strerror(errno));
    std::ostringstream text;
    text << file.rdbuf();
    if (file.bad())
        throw RUNTIME_EXCEPTION("Cannot read the GenICam file '%s'", fileName.c_str());
    std::lock_guard<std::mutex> lock(cache.mutex);
    return cache.texts.emplace(fileName, text.str()).first->second;
}

} // namespace

CNodeMapRef::CNodeMapRef(const gcstring& deviceName) : m_deviceName(deviceName) {}

CNodeMapRef::~CNodeMapRef() = default;
CNodeMapRef::CNodeMapRef(CNodeMapRef&&) noexcept = default;
CNodeMapRef& CNodeMapRef::operator=(CNodeMapRef&&) noexcept = default;

void CNodeMapRef::_LoadXMLFromFile(const gcstring& fileName)
{
    _LoadXMLFromString(readDescription(fileName));
}

void CNodeMapRef::_LoadXMLFromString(const gcstring& xml)
{
    m_nodeMap = NodeMap::fromXml(xml, m_deviceName);
}

void CNodeMapRef::_LoadFromAravisDevice(ArvDevice* device)
{
    m_nodeMap = NodeMap::fromAravisDevice(device);
}

bool CNodeMapRef::_Connect(IPort* port, const gcstring& portName)
{
    if (!m_nodeMap)
        throw LOGICAL_ERROR_EXCEPTION("Cannot connect a port: no node map has been loaded");
    return m_nodeMap->Connect(port, portName);
}

bool CNodeMapRef::_Connect(IPort* port)
{
    if (!m_nodeMap)
        throw LOGICAL_ERROR_EXCEPTION("Cannot connect a port: no node map has been loaded");
    return m_nodeMap->Connect(port);
}

INodeMap* CNodeMapRef::_GetNodeMap() const
{
    return m_nodeMap.get();
}

INode* CNodeMapRef::_GetNode(const gcstring& name) const
{
    return m_nodeMap ? m_nodeMap->GetNode(name) : nullptr;
}

void CNodeMapRef::_Poll(int64_t elapsedTimeMs)
{
    if (m_nodeMap)
        m_nodeMap->Poll(elapsedTimeMs);
}

void CNodeMapRef::_Destroy()
{
    m_nodeMap.reset();
}

void CNodeMapFactory::ClearCache()
{
    DescriptionCache& cache = descriptionCache();
    std::lock_guard<std::mutex> lock(cache.mutex);
    cache.texts.clear();
}

size_t CNodeMapFactory::CacheSize()
{
    DescriptionCache& cache = descriptionCache();
    std::lock_guard<std::mutex> lock(cache.mutex);
    return cache.texts.size();
}

void CPortImpl::InvalidateNode()
{
    if (auto* map = dynamic_cast<NodeMap*>(m_nodeMap))
        map->invalidatePort();
}

} // namespace GenApi
