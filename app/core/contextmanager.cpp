#include "app/core/contextmanager.h"

#include "acquisition/camera.h"
#include "app/core/devicecontext.h"
#include "display/imagewindow.h"
#include "genapi/genicamexception.h"
#include "messagelog/messagelog.h"
#include "qtbase/devicename.h"
#include "qtbase/hirestimer.h"
#include "qtbase/messages.h"
#include "tarpo/tarpodevice.h"
#include "trace/trace.h"

#include <QApplication>
#include <QMainWindow>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QSettings>
#include <QStatusBar>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace {

const char* const kCategory = "ContextManager";
const int kPerfTimerIntervalMs = 500;

// Automatic image adjustment is offered for these transport layers and model families.
const char* const kOptimizableDeviceClasses[] = {"MorvexUsb", "MorvexGigE", "MorvexCamEmu"};
const char* const kOptimizableModelPrefixes[] = {"em", "tv", "tx"};

QMainWindow* mainWindow()
{
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* window = qobject_cast<QMainWindow*>(widget))
            return window;
    return nullptr;
}

void showStatusMessage(const QString& text)
{
    if (QMainWindow* window = mainWindow())
        window->statusBar()->showMessage(text);
}

} // namespace

ContextManager::ContextManager(QMdiArea* mdiArea, QObject* parent)
    : QObject(parent), m_mdiArea(mdiArea)
{
    qRegisterMetaType<uintptr_t>("uintptr_t");
    auto* perfTimer = new QTimer(this);
    connect(perfTimer, &QTimer::timeout, this, &ContextManager::onPerfTimer);
    perfTimer->start(kPerfTimerIntervalMs);

    QSettings settings;
    settings.beginGroup("Display");
    m_maxFps = settings.value("MaxFps", 50).toUInt();
    m_timerRes = settings.value("TimerRes", 0u).toUInt();
    settings.endGroup();
    enableFpsThrottle(m_maxFps != 0 && m_maxFps != 0xFFFFFFFFu);

    settings.beginGroup("Grab");
    m_usedBufferMemory = settings.value("UsedBufferMemory", 8388608u).toUInt();
    m_showFailedBuffers = settings.value("ShowFailedBuffers", true).toBool();
    settings.endGroup();
}

ContextManager::~ContextManager()
{
    // The timer's thread emits straight into the contexts: it ends before they go.
    if (m_throttleTimer)
        m_throttleTimer->stop();
    // Devices still open (a window destroyed without closing) are closed in order.
    shutDown();
}

// ---- lookups ---------------------------------------------------------------------------------

DeviceContext* ContextManager::findContext(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (!pDeviceInfo)
        return m_currentContext;
    const auto it = m_contexts.find(pDeviceInfo->GetFullName());
    return it == m_contexts.end() ? nullptr : it->second;
}

DeviceContext* ContextManager::currentContext()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_currentContext;
}

Camera* ContextManager::cameraOf(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    DeviceContext* context = findContext(pDeviceInfo);
    return context ? context->camera() : nullptr;
}

int ContextManager::contextCount()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return int(m_contexts.size());
}

Camera* ContextManager::cameraOfImageWindow(ImageWindow* window)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    for (const auto& entry : m_contexts)
        if (window && entry.second->imageWindow() == window)
            return entry.second->camera();
    return nullptr;
}

ImageWindow* ContextManager::imageWindowOfCamera(Camera* camera)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    for (const auto& entry : m_contexts)
        if (camera && entry.second->camera() == camera)
            return entry.second->imageWindow();
    return nullptr;
}

int ContextManager::runningCameras(QList<Camera*>& cameras)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    int added = 0;
    for (const auto& entry : m_contexts) {
        Camera* camera = entry.second->camera();
        if (camera && camera->isOpen()) {
            cameras.append(camera);
            ++added;
        }
    }
    return added;
}

// ---- enable queries --------------------------------------------------------------------------

namespace {

bool hasStreamChannel(Camera* camera)
{
    Tarpo::ITarpoDevice* device = camera->device();
    return device && device->IsOpen() && device->GetNumStreamGrabberChannels() > 0;
}

} // namespace

bool ContextManager::isDeviceOpen(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Camera* camera = cameraOf(pDeviceInfo);
    return camera && camera->state() > Camera::Attached;
}

bool ContextManager::isGrabbing(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Camera* camera = cameraOf(pDeviceInfo);
    return camera && camera->isGrabbing();
}

bool ContextManager::canGrab(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Camera* camera = cameraOf(pDeviceInfo);
    return camera && hasStreamChannel(camera) && !camera->isGrabbing();
}

bool ContextManager::canChangeOpenDevice(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Camera* camera = cameraOf(pDeviceInfo);
    return camera && camera->state() > Camera::Attached && !camera->isGrabbing();
}

bool ContextManager::canAccessFiles(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Camera* camera = cameraOf(pDeviceInfo);
    return camera && !camera->isGrabbing() && camera->fileAccessAvailable();
}

bool ContextManager::canSingleShot(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    DeviceContext* context = findContext(pDeviceInfo);
    Camera* camera = context ? context->camera() : nullptr;
    return camera && hasStreamChannel(camera) && context->singleFrameAvailable() &&
           !camera->isGrabbing();
}

bool ContextManager::canRecord(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    DeviceContext* context = findContext(pDeviceInfo);
    Camera* camera = context ? context->camera() : nullptr;
    return camera && hasStreamChannel(camera) && !context->hasRecording();
}

bool ContextManager::isRecordingActive(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    DeviceContext* context = findContext(pDeviceInfo);
    return context && context->camera() && context->isRecordingActive();
}

bool ContextManager::isRecordingPaused(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    DeviceContext* context = findContext(pDeviceInfo);
    return context && context->camera() && context->isRecordingPaused();
}

bool ContextManager::canOptimizeCamera(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    Camera* camera = cameraOf(pDeviceInfo);
    if (!camera || !camera->device())
        return false;
    const Tarpo::CDeviceInfo& info = camera->device()->GetDeviceInfo();
    const GenICam::gcstring deviceClass = info.GetDeviceClass();
    bool classOffered = false;
    for (const char* offered : kOptimizableDeviceClasses)
        classOffered = classOffered || deviceClass == offered;
    if (!classOffered)
        return false;
    const QString model = QString::fromStdString(info.GetModelName());
    for (const char* prefix : kOptimizableModelPrefixes)
        if (model.startsWith(QLatin1String(prefix), Qt::CaseInsensitive))
            return true;
    return false;
}

// ---- selection, open, close, removal --------------------------------------------------------

void ContextManager::changeCurrentDevice(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    if (!pDeviceInfo)
        return;
    std::unique_lock<std::recursive_mutex> lock(m_mutex);
    const GenICam::gcstring fullName = pDeviceInfo->GetFullName();
    DeviceContext* context = nullptr;
    const auto it = m_contexts.find(fullName);
    if (it == m_contexts.end()) {
        context =
            DeviceContext::create(pDeviceInfo, m_mdiArea, this, m_usedBufferMemory, m_monitorMode);
        if (!context)
            return;
        m_contexts[fullName] = context;
        {
            // Ticked by the timer's thread through this list rather than a signal connection,
            // whose set-up Qt does not hand over to that thread in a way the checks can see.
            std::lock_guard<std::mutex> tickLock(m_tickMutex);
            m_tickTargets.push_back(context);
        }
        context->enableThrottle(m_throttleEnabled);
        context->camera()->setShowFailedBuffers(m_showFailedBuffers);
    } else {
        context = it->second;
    }
    lock.unlock();
    changeDeviceContext(context);
}

void ContextManager::changeDeviceContext(DeviceContext* context)
{
    TARPO_TRACE(kCategory, "ContextManager::changeDeviceContext: entering...");
    std::unique_lock<std::recursive_mutex> lock(m_mutex);
    if (context && context == m_currentContext)
        return;
    m_currentContext = context;
    if (context) {
        if (ImageWindow* window = context->imageWindow())
            window->setFocus();
        Camera* camera = context->camera();
        lock.unlock();
        emit cameraChanged(camera);
    } else {
        lock.unlock();
        emit cameraChanged(nullptr);
    }
    TARPO_TRACE(kCategory, "ContextManager::changeDeviceContext: leaving...");
}

void ContextManager::openDevice(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    DeviceContext* context = findContext(pDeviceInfo);
    if (!context || !context->camera())
        return;
    Camera* camera = context->camera();
    const QString source =
        camera->state() != Camera::NoDevice
            ? camera->displayName()
            : formatDeviceName(pDeviceInfo ? *pDeviceInfo : camera->deviceInfo());
    const int logId = TarpoViewer::postLogMessage(TarpoViewer::Information, source,
                                                  QString("Opening \"%1\".").arg(source));
    if (camera->state() == Camera::NoDevice) {
        showStatusMessage(QString("Opening %1 ...").arg(source));
        if (context->attachAndOpenDevice(pDeviceInfo ? pDeviceInfo : &camera->deviceInfo())) {
            watchRemoval(context);
            emit cameraChanged(camera);
            context->announceNodemaps();
        }
        showStatusMessage(QString());
    }
    // The context may have gone while the device was created (a removal handled meanwhile).
    if (findContext(&camera->deviceInfo()) != context)
        return;
    context->openCamera();
    if (camera->state() > Camera::Attached)
        TarpoViewer::postLogMessage(TarpoViewer::Information, source,
                                    QString("\"%1\" has been opened.").arg(source), logId);
}

void ContextManager::openActiveDevice()
{
    try {
        DeviceContext* context = currentContext();
        if (context && context->camera() && context->camera()->state() <= Camera::Attached)
            openDevice(&context->camera()->deviceInfo());
    } catch (...) {
        TarpoViewer::postLogMessage(TarpoViewer::Critical, "ContextManager",
                                    "Exception caught in ContextManager::openActiveDevice().");
    }
}

void ContextManager::watchRemoval(DeviceContext* context)
{
    Tarpo::ITarpoDevice* device = context->camera()->device();
    if (!device)
        return;
    const uintptr_t key = reinterpret_cast<uintptr_t>(device);
    // transport-layer thread -> GUI thread, queued: the notice only queues the removal
    const Tarpo::DeviceCallbackHandle handle =
        device->RegisterRemovalCallback([this, key](Tarpo::ITarpoDevice*) {
            QMetaObject::invokeMethod(this, "surpriseRemove", Qt::QueuedConnection,
                                      Q_ARG(uintptr_t, key));
        });
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_watchedDevices[key] = WatchedDevice{device->GetDeviceInfo(), handle};
}

void ContextManager::forgetRemoval(Tarpo::ITarpoDevice* device)
{
    if (!device)
        return;
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const auto it = m_watchedDevices.find(reinterpret_cast<uintptr_t>(device));
    if (it == m_watchedDevices.end())
        return;
    device->DeregisterRemovalCallback(it->second.handle);
    m_watchedDevices.erase(it);
}

void ContextManager::closeDevice(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    TARPO_TRACE(kCategory, "ContextManager::closeDevice: entering...");
    DeviceContext* context = findContext(pDeviceInfo);
    const QString name = context       ? context->displayName()
                         : pDeviceInfo ? formatDeviceName(*pDeviceInfo)
                                       : QString();
    const int logId = TarpoViewer::postLogMessage(TarpoViewer::Information, name,
                                                  QString("Closing \"%1\".").arg(name));
    if (context) {
        Camera* camera = context->camera();
        if (context->isRecordingActive())
            context->stopRecording();
        // Views of the device's features let go of them before the device closes.
        emit notifyDeviceShutDown(camera);
        forgetRemoval(camera->device());
        context->closeCamera();
        camera->detachTarpoDevice();
        emit cameraRemoved(camera);
        context->shutDown();
        removeDeviceContext(context);
    }
    TarpoViewer::postLogMessage(TarpoViewer::Information, name,
                                QString("\"%1\" has been closed.").arg(name), logId);
    TARPO_TRACE(kCategory, "ContextManager::closeDevice: leaving...");
}

void ContextManager::closeActiveDevice()
{
    DeviceContext* context = currentContext();
    if (context && context->camera() && context->camera()->device())
        closeDevice(&context->camera()->deviceInfo());
}

void ContextManager::removeDevice(const Tarpo::CDeviceInfo* pDeviceInfo, bool regularRemoval)
{
    TARPO_TRACE(kCategory, "ContextManager::removeDevice: entering...");
    Q_UNUSED(regularRemoval);
    if (DeviceContext* context = pDeviceInfo ? findContext(pDeviceInfo) : nullptr) {
        if (context->camera()) {
            emit notifyDeviceShutDown(context->camera());
            forgetRemoval(context->camera()->device());
            emit cameraRemoved(context->camera());
        }
        removeDeviceContext(context);
    }
    TARPO_TRACE(kCategory, "ContextManager::removeDevice: leaving...");
}

void ContextManager::removeDeviceContext(DeviceContext* context)
{
    if (!context)
        return;
    std::unique_lock<std::recursive_mutex> lock(m_mutex);
    if (context == m_currentContext) {
        m_currentContext = nullptr;
        lock.unlock();
        TARPO_TRACE(kCategory, "ContextManager::changeDeviceContext: entering...");
        emit cameraChanged(nullptr);
        TARPO_TRACE(kCategory, "ContextManager::changeDeviceContext: leaving...");
        lock.lock();
    }
    {
        // No throttle tick is running into the context once this returns.
        std::lock_guard<std::mutex> tickLock(m_tickMutex);
        m_tickTargets.erase(std::remove(m_tickTargets.begin(), m_tickTargets.end(), context),
                            m_tickTargets.end());
    }
    context->shutDown();
    TARPO_TRACE(kCategory,
                "ContextManager::changeDeviceContext: pContextToRemove->shutDown(); finished");
    for (auto it = m_contexts.begin(); it != m_contexts.end(); ++it) {
        if (it->second == context) {
            m_contexts.erase(it);
            break;
        }
    }
    TARPO_TRACE(kCategory,
                "ContextManager::changeDeviceContext: pContextToRemove->deleteLater();...");
    context->deleteLater();
}

void ContextManager::surpriseRemove(uintptr_t Device)
{
    TARPO_TRACE(kCategory, "ContextManager::surpriseRemove: entering...");
    qRegisterMetaType<const Tarpo::CDeviceInfo*>("const Tarpo::CDeviceInfo*");
    std::unique_lock<std::recursive_mutex> lock(m_mutex);
    const auto watched = m_watchedDevices.find(Device);
    if (watched == m_watchedDevices.end())
        return; // closed since the notice was queued
    const Tarpo::CDeviceInfo info = watched->second.info;
    m_watchedDevices.erase(watched);
    for (const auto& entry : m_contexts) {
        Camera* camera = entry.second->camera();
        if (!camera)
            continue;
        const bool sameDevice = reinterpret_cast<uintptr_t>(camera->device()) == Device;
        if (!sameDevice && camera->deviceInfo().GetFullName() != info.GetFullName())
            continue;
        camera->setRemoved(true);
        emit notifyDeviceShutDown(camera);
        emit cameraRemoved(camera);
        if (DeviceContext* context = findContext(&info)) {
            context->shutDown();
            removeDeviceContext(context);
        }
        break;
    }
    lock.unlock();
    emit surpriseRemoved(formatDeviceName(info), deviceString(info, info.GetFullName()));
    removeDevice(&info, false);
    TARPO_TRACE(kCategory, "ContextManager::surpriseRemove: leaving...");
}

void ContextManager::shutDown()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    for (const auto& entry : m_contexts) {
        if (Camera* camera = entry.second->camera()) {
            emit notifyDeviceShutDown(camera);
            forgetRemoval(camera->device());
            entry.second->shutDown();
        }
    }
}

// ---- commands of the current context ----------------------------------------------------------

void ContextManager::startOneShot()
{
    if (DeviceContext* context = currentContext())
        context->startOneShot();
}

void ContextManager::startContinuousShot(bool speedTest)
{
    if (DeviceContext* context = currentContext())
        context->startContinuousShot(speedTest);
}

void ContextManager::stopGrab()
{
    if (DeviceContext* context = currentContext())
        context->stopGrab();
}

void ContextManager::stopAllGrabs()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    for (const auto& entry : m_contexts)
        entry.second->stopGrab();
}

void ContextManager::startRecording(CRecordingOptions* pOptions)
{
    if (DeviceContext* context = currentContext())
        context->startRecording(pOptions);
}

void ContextManager::pauseRecording()
{
    if (DeviceContext* context = currentContext())
        context->pauseRecording();
}

void ContextManager::stopRecording()
{
    if (DeviceContext* context = currentContext())
        context->stopRecording();
}

bool ContextManager::optimizeCamera(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    DeviceContext* context = findContext(pDeviceInfo);
    if (!context || !context->camera())
        return false;
    const QString name = context->displayName();
    TarpoViewer::postLogMessage(TarpoViewer::Information, name,
                                QString("Adjusting image quality on \"%1\".").arg(name));
    try {
        context->camera()->optimizeImageQuality();
    } catch (const GenICam::GenericException&) {
        TarpoViewer::postLogMessage(
            TarpoViewer::Error, name,
            QString("Error while adjusting image quality on \"%1\".").arg(name));
        return false;
    }
    return true;
}

// ---- zoom and image ---------------------------------------------------------------------------

ImageWindow* ContextManager::activeImageWindow() const
{
    QMdiSubWindow* subWindow = m_mdiArea ? m_mdiArea->currentSubWindow() : nullptr;
    return subWindow ? qobject_cast<ImageWindow*>(subWindow->widget()) : nullptr;
}

void ContextManager::zoomIn()
{
    if (ImageWindow* window = activeImageWindow())
        window->zoomIn();
}

void ContextManager::zoomOut()
{
    if (ImageWindow* window = activeImageWindow())
        window->zoomOut();
}

void ContextManager::zoomToFit()
{
    if (ImageWindow* window = activeImageWindow())
        window->zoomToFit();
}

void ContextManager::zoom100()
{
    if (ImageWindow* window = activeImageWindow())
        window->zoom100();
}

bool ContextManager::canZoomIn()
{
    ImageWindow* window = activeImageWindow();
    return window && window->canZoomIn();
}

bool ContextManager::canZoomOut()
{
    ImageWindow* window = activeImageWindow();
    return window && window->canZoomOut();
}

bool ContextManager::isZoomToFit()
{
    ImageWindow* window = activeImageWindow();
    return window && window->canZoomToFit();
}

bool ContextManager::isZoom100()
{
    ImageWindow* window = activeImageWindow();
    return window && window->canZoom100();
}

double ContextManager::zoomFactor()
{
    ImageWindow* window = activeImageWindow();
    return window ? window->zoom() : 0.0;
}

void ContextManager::saveCurrentContextImage(const QString& fileName)
{
    DeviceContext* context = currentContext();
    ImageWindow* window = context ? context->imageWindow() : nullptr;
    if (!window) {
        showWarningMessage("Save Image", "Failed to save image because there is no image window");
        return;
    }
    window->saveImage(fileName);
}

void ContextManager::pauseUpdates()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (m_pausedImageWindow) {
        m_pausedImageWindow->unpauseUpdates();
        m_pausedImageWindow = nullptr;
    }
    m_pausedImageWindow = activeImageWindow();
    if (m_pausedImageWindow)
        m_pausedImageWindow->pauseUpdates();
    else
        qDebug("ContextManager::pauseUpdates() - there is no image window!");
}

void ContextManager::unpauseUpdates()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (m_pausedImageWindow) {
        m_pausedImageWindow->unpauseUpdates();
        m_pausedImageWindow = nullptr;
    } else {
        qDebug("ContextManager::unpauseUpdates() - there is no image window!");
    }
}

// ---- timers and settings ----------------------------------------------------------------------

bool ContextManager::isThrottleEnabled()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_throttleEnabled;
}

void ContextManager::enableFpsThrottle(bool enable)
{
    std::unique_lock<std::recursive_mutex> lock(m_mutex);
    if (enable == m_throttleEnabled)
        return;
    if (enable) {
        if (!m_throttleTimer) {
            m_throttleTimer = new HiResTimer(this);
            // throttle timer's thread -> contexts, direct: each tick only wakes the decoupler
            // threads
            connect(m_throttleTimer, &HiResTimer::timeout, this, &ContextManager::emitThrottleTick,
                    Qt::DirectConnection);
        }
        const unsigned intervalMs = m_maxFps ? unsigned(std::trunc(1000.0 / m_maxFps)) : 0;
        if (!m_throttleTimer->start(intervalMs, 0))
            qDebug("Failed to start hires timer");
    } else if (m_throttleTimer) {
        m_throttleTimer->stop();
    }
    m_throttleEnabled = enable;
    lock.unlock();
    emit throttleTimerEnabled(enable);
}

void ContextManager::emitThrottleTick()
{
    {
        std::lock_guard<std::mutex> lock(m_tickMutex);
        for (DeviceContext* context : m_tickTargets)
            context->onThrottleTimerTick();
    }
    emit throttleTimerTick();
}

void ContextManager::setShowFailedBuffers(bool show)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_showFailedBuffers = show;
    for (const auto& entry : m_contexts)
        if (Camera* camera = entry.second->camera())
            camera->setShowFailedBuffers(show);
}

void ContextManager::setMonitorMode(bool monitorMode)
{
    m_monitorMode = monitorMode;
    emit notifyNewMonitorMode(monitorMode);
}

void ContextManager::onPerfTimer()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    for (const auto& entry : m_contexts) {
        ImageWindow* window = entry.second->imageWindow();
        Camera* camera = entry.second->camera();
        if (!window || !camera)
            continue;
        if (camera->state() == Camera::ContinuousShot) {
            double fps = -1.0;
            uint64_t bytesPerSecond = 0;
            bool hasBeenReset = false;
            camera->getPerfData(&fps, &bytesPerSecond, &hasBeenReset);
            window->setPerfData(fps, bytesPerSecond, hasBeenReset);
            window->updateStatusBar();
        }
        uint32_t imageCounter = 0;
        uint32_t erroneousCounter = 0;
        camera->getCounterData(imageCounter, erroneousCounter);
        window->updateImageCounter(imageCounter, erroneousCounter);
    }
}

void ContextManager::onCameraStateChanged()
{
    emit cameraStateChanged();
}

void ContextManager::onPrepareGrab() {}

void ContextManager::onFinishGrab() {}
