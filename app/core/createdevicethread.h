#pragma once

// Creates one camera device on a worker thread, so that the GUI keeps painting while the
// transport layer connects (a GigE camera takes up to a second). A failure is kept as a copy and
// rethrown on the thread that asks for the result.
// Thread: constructed, started and asked on the GUI thread; run() on its own thread. The result
// is read only after wait() returned.

#include "genapi/genicamexception.h"
#include "tarpo/deviceinfo.h"

#include <QThread>

#include <atomic>
#include <memory>
#include <string>

namespace Tarpo {
class ITransportLayer;
class ITarpoDevice;
} // namespace Tarpo

class CreateDeviceThread : public QThread
{
    Q_OBJECT

public:
    // Both are borrowed and must outlive the thread.
    CreateDeviceThread(Tarpo::ITransportLayer* transportLayer, const Tarpo::CDeviceInfo* info,
                       QObject* parent = nullptr);
    ~CreateDeviceThread() override;

    // After wait(): the device (owned by the transport layer until DestroyDevice), or null; a
    // failure of the creation is rethrown here.
    Tarpo::ITarpoDevice* takeResult();

protected:
    void run() override;

private:
    Tarpo::ITransportLayer* const m_transportLayer;
    const Tarpo::CDeviceInfo* const m_deviceInfo;
    Tarpo::ITarpoDevice* m_device = nullptr;
    std::unique_ptr<GenICam::GenericException> m_genicamException;
    std::unique_ptr<std::string> m_stdException;
    // Published last by run(): QThread::wait() synchronises inside Qt, out of ThreadSanitizer's
    // sight, so the result is handed over through this flag.
    std::atomic<bool> m_finished{false};
};
