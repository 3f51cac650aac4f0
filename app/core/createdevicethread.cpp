#include "app/core/createdevicethread.h"

#include "tarpo/transportlayer.h"

#include <stdexcept>

CreateDeviceThread::CreateDeviceThread(Tarpo::ITransportLayer* transportLayer,
                                       const Tarpo::CDeviceInfo* info, QObject* parent)
    : QThread(parent), m_transportLayer(transportLayer), m_deviceInfo(info)
{
    setObjectName("CreateDevice");
}

CreateDeviceThread::~CreateDeviceThread()
{
    wait();
}

void CreateDeviceThread::run()
{
    m_finished.store(false, std::memory_order_relaxed);
    m_device = nullptr;
    m_genicamException.reset();
    m_stdException.reset();
    try {
        m_device = m_transportLayer->CreateDevice(*m_deviceInfo);
    } catch (const GenICam::GenericException& e) {
        m_genicamException = std::make_unique<GenICam::GenericException>(e);
    } catch (const std::exception& e) {
        m_stdException = std::make_unique<std::string>(e.what());
    } catch (...) {
        m_stdException = std::make_unique<std::string>("Unspecified exception occurred.");
    }
    m_finished.store(true, std::memory_order_release);
}

Tarpo::ITarpoDevice* CreateDeviceThread::takeResult()
{
    if (!m_finished.load(std::memory_order_acquire))
        return nullptr;
    if (m_genicamException) {
        const GenICam::GenericException e = *m_genicamException;
        m_genicamException.reset();
        throw GenICam::GenericException(e.GetDescription(), e.GetSourceFileName(),
                                        e.GetSourceLine());
    }
    if (m_stdException) {
        const std::string message = *m_stdException;
        m_stdException.reset();
        throw std::runtime_error(message);
    }
    Tarpo::ITarpoDevice* device = m_device;
    m_device = nullptr;
    return device;
}
