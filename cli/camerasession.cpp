#include "camerasession.h"

#include "devicesession.h"

#include "genapi/genapi.h"
#include "tarpo/tlfactory.h"

CameraSession::CameraSession(const std::string& deviceName)
    : m_info(DeviceSession::find(deviceName)), m_camera(&m_info, nullptr, 256u << 20, false)
{
    m_camera.attachTarpoDevice(Tarpo::CTlFactory::GetInstance().CreateDevice(m_info));
    m_camera.open();
    if (m_camera.state() < Camera::Open) {
        m_camera.detachTarpoDevice();
        throw RUNTIME_EXCEPTION("Camera '%s' could not be opened", deviceName.c_str());
    }
}

CameraSession::~CameraSession()
{
    m_camera.shutDown();
    m_camera.detachTarpoDevice();
}

void CameraSession::writeFeature(const std::string& name, const std::string& value)
{
    GenApi::INodeMap* map = m_camera.device()->GetNodeMap();
    GenApi::CValuePtr node = map ? map->GetNode(name) : nullptr;
    if (!node || GenApi::CCategoryPtr(node))
        throw RUNTIME_EXCEPTION("Feature '%s' not found on camera '%s'", name.c_str(),
                                m_camera.displayName().toStdString().c_str());
    node->FromString(value);
}

void CameraSession::writeFeatures(
    const std::vector<std::pair<std::string, std::string>>& assignments)
{
    for (const auto& assignment : assignments)
        writeFeature(assignment.first, assignment.second);
}
