#include "app/core/devicecontext.h"

#include "acquisition/converter.h"
#include "acquisition/decoupler.h"
#include "acquisition/stdfeaturelistcamera.h"
#include "app/core/contextmanager.h"
#include "app/core/createdevicethread.h"
#include "display/imagewindow.h"
#include "genapi/genapi.h"
#include "messagelog/messagelog.h"
#include "qtbase/devicename.h"
#include "qtbase/messages.h"
#include "recording/recordingassembly.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/tlfactory.h"
#include "tarpo/transportlayer.h"
#include "trace/trace.h"
#include "viewersdk/streambuffer.h"

#include <QApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QWidget>

namespace {

const char* const kCategory = "DeviceContext";
const char* const kFailedToOpen = "Failed to open the camera.";
const char* const kFailedToStart = "Failed to start the image acquisition";
// The misspelling is the message users know.
const char* const kFailedToStop = "Failed to stop the image acquisistion";

// The camera's frame rate now, or a value below zero when the device tells none.
double currentFrameRate(GenApi::INodeMap* map)
{
    if (!map)
        return -1.0;
    for (const char* name : {"ResultingFrameRateAbs", "ResultingFrameRate"}) {
        GenApi::CFloatPtr rate = map->GetNode(name);
        if (rate && GenApi::IsReadable(rate))
            return rate->GetValue();
    }
    return -1.0;
}

} // namespace

DeviceContext::DeviceContext(ContextManager* contextManager, QMdiArea* mdiArea)
    : QObject(contextManager), m_mdiArea(mdiArea)
{
}

DeviceContext::~DeviceContext()
{
    TARPO_TRACE(kCategory, "DeviceContext::~DeviceContext()");
    {
        std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
        destroyRecording();
    }
    // The decoupler's thread calls the converter: it ends before the converter goes.
    if (m_decoupler)
        m_decoupler->shutDown();
    delete m_camera;
}

DeviceContext* DeviceContext::create(const Tarpo::CDeviceInfo* info, QMdiArea* mdiArea,
                                     ContextManager* contextManager, unsigned usedBufferMemory,
                                     bool monitorMode)
{
    if (!info)
        return nullptr;
    auto* context = new DeviceContext(contextManager, mdiArea);
    context->setCamera(new StdFeatureListCamera(info, nullptr, usedBufferMemory, monitorMode));

    connect(context, &DeviceContext::cameraStateChanged, contextManager,
            &ContextManager::onCameraStateChanged);
    connect(context, &DeviceContext::nodemapAvailable, contextManager,
            &ContextManager::nodemapAvailable);
    connect(context, &DeviceContext::deviceOpened, contextManager, &ContextManager::deviceOpened);
    connect(context, &DeviceContext::deviceClosed, contextManager, &ContextManager::deviceClosed);
    connect(context, qOverload<>(&DeviceContext::recordingStateChanged), contextManager,
            &ContextManager::recordingStateChanged);
    connect(contextManager, &ContextManager::throttleTimerEnabled, context,
            &DeviceContext::enableThrottle);
    return context;
}

void DeviceContext::setCamera(Camera* camera)
{
    m_camera = camera;
    if (!camera)
        return;
    const Tarpo::CDeviceInfo& info = camera->deviceInfo();
    const QString serial = QString::fromStdString(info.GetSerialNumber());
    m_displayName = formatDeviceName(info);
    setObjectName(QString("DC_%1").arg(serial));
    m_decoupler = new Decoupler(this, QString("Decoupler_%1").arg(serial));
    m_converter = std::make_unique<Converter>();
    connect(m_converter.get(), &Converter::nodemapAvailable, this,
            &DeviceContext::onNodemapAvailable);

    // grab thread -> decoupler, direct: costs one lock and one wake-up per frame
    connect(camera, &Camera::bufferAvailable, m_decoupler, &Decoupler::setBuffer,
            Qt::DirectConnection);
    // grab thread -> recording, direct: the recording controller copies the frames it keeps on
    // that thread. Connected once, before any grab; a recording is plugged in behind it.
    connect(camera, &Camera::bufferAvailable, this, &DeviceContext::forwardToRecording,
            Qt::DirectConnection);
    // decoupler thread -> converter, direct: conversion runs on the decoupler's thread
    connect(m_decoupler, &Decoupler::bufferAvailable, m_converter.get(), &Converter::setBuffer,
            Qt::DirectConnection);

    connect(camera, &Camera::cameraStateChanged, this, &DeviceContext::cameraStateChanged);
    connect(camera, &Camera::cameraOpened, this, &DeviceContext::onCameraOpened);
    connect(camera, &Camera::cameraClosed, this, &DeviceContext::onCameraClosed);
    if (auto* manager = qobject_cast<ContextManager*>(parent())) {
        connect(camera, &Camera::preparedGrab, manager, &ContextManager::onPrepareGrab);
        connect(camera, &Camera::finishedGrab, manager, &ContextManager::onFinishGrab);
        connect(manager, &ContextManager::notifyNewMonitorMode, camera,
                &Camera::onNotifyNewMonitorMode);
    }
}

template <typename Command>
bool DeviceContext::reportFailures(const char* source, const QString& message, Command command)
{
    try {
        command();
        return true;
    } catch (const GenICam::GenericException& e) {
        showException(e, source, message);
    } catch (const std::exception& e) {
        showException(e, source, message);
    } catch (...) {
        showUnexpectedException(source, message);
    }
    return false;
}

Tarpo::ITarpoDevice* DeviceContext::createTarpoDevice(const Tarpo::CDeviceInfo* info)
{
    struct CursorGuard
    {
        CursorGuard() { QApplication::setOverrideCursor(Qt::WaitCursor); }
        ~CursorGuard() { QApplication::restoreOverrideCursor(); }
    } cursor;
    Tarpo::CTlFactory& factory = Tarpo::CTlFactory::GetInstance();
    Tarpo::ITransportLayer* transportLayer = factory.CreateTl(info->GetDeviceClass());
    if (!transportLayer)
        return nullptr;
    struct TlGuard
    {
        Tarpo::CTlFactory& factory;
        Tarpo::ITransportLayer* tl;
        // The device keeps its own reference to the transport layer.
        ~TlGuard() { factory.ReleaseTl(tl); }
    } tlGuard{factory, transportLayer};

    CreateDeviceThread thread(transportLayer, info);
    thread.start(QThread::InheritPriority);
    // The GUI repaints every 100 ms; user input waits until the device exists.
    while (!thread.wait(100))
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    Tarpo::ITarpoDevice* device = thread.takeResult();
    if (!device)
        qCritical("%s: TLFactory returned something which is not a ITarpoDevice",
                  "DeviceContext::createTarpoDevice");
    return device;
}

bool DeviceContext::attachAndOpenDevice(const Tarpo::CDeviceInfo* pDeviceInfo)
{
    if (!m_camera || !pDeviceInfo)
        return false;
    bool opened = false;
    reportFailures("DeviceContext::attachAndOpenDevice", kFailedToOpen, [&] {
        Tarpo::ITarpoDevice* device = createTarpoDevice(pDeviceInfo);
        if (!device)
            return;
        m_camera->attachTarpoDevice(device);
        opened = openCamera();
        if (!opened)
            m_camera->detachTarpoDevice();
    });
    return opened;
}

bool DeviceContext::openCamera()
{
    if (!m_camera)
        return false;
    return reportFailures("DeviceContext::openCamera", kFailedToOpen, [&] { m_camera->open(); }) &&
           m_camera->isOpen();
}

void DeviceContext::closeCamera()
{
    if (!m_camera)
        return;
    reportFailures("DeviceContext::closeCamera", "Failed to close the camera.",
                   [&] { m_camera->close(); });
}

void DeviceContext::enableThrottle(bool enable)
{
    if (m_decoupler)
        m_decoupler->enableThrottle(enable);
}

void DeviceContext::onThrottleTimerTick()
{
    if (m_decoupler)
        m_decoupler->throttleTimerTick();
}

void DeviceContext::announceNodemaps()
{
    if (!m_camera) {
        qWarning("%s: Must not be called when no camera has been set",
                 "DeviceContext::announceNodemaps");
        return;
    }
    Tarpo::ITarpoDevice* device = m_camera->device();
    if (!device)
        return;
    const struct
    {
        GenApi::INodeMap* map;
        QString displayName;
        const char* roleName;
    } maps[] = {
        {device->GetNodeMap(), formatDeviceName(m_camera->deviceInfo()), "Camera"},
        {device->GetTLNodeMap(), "Transport Layer", "TransportLayer"},
        {m_camera->streamGrabber() ? m_camera->streamGrabber()->GetNodeMap() : nullptr,
         "Stream Parameters", "StreamParameters"},
    };
    intptr_t ordinal = 0;
    for (const auto& entry : maps) {
        if (!entry.map)
            continue;
        // The feature tree orders the maps of one camera by the ordinal on their root node.
        if (GenApi::INode* root = entry.map->GetNode("Root"))
            if (GenApi::IUserData* userData = dynamic_cast<GenApi::IUserData*>(root))
                userData->SetUserData(GenApi::UserData_t(ordinal));
        ++ordinal;
        emit nodemapAvailable(m_camera, entry.map, entry.displayName, entry.roleName);
    }
    m_converter->announceNodemaps();
}

void DeviceContext::onNodemapAvailable(GenApi::INodeMap* nodeMap, QString displayName,
                                       QString roleName)
{
    emit nodemapAvailable(m_camera, nodeMap, displayName, roleName);
}

void DeviceContext::createImageWindow()
{
    if (m_imageWindow)
        return;
    auto* window = new ImageWindow;
    window->setWindowTitle(m_displayName);
    window->setDeviceName(m_displayName);
    // decoupler thread -> image window, direct: the window copies the image under its own lock
    // and posts itself one repaint event
    connect(m_converter.get(), &Converter::imageAvailable, window, &ImageWindow::setImage,
            Qt::DirectConnection);
    if (auto* manager = qobject_cast<ContextManager*>(parent()))
        connect(window, &ImageWindow::zoomChanged, manager, &ContextManager::zoomChanged);
    connect(window, &ImageWindow::closed, this, &DeviceContext::imageWindowClosed);
    connect(window, &ImageWindow::imageDimensionChanged, this, &DeviceContext::cameraStateChanged);
    const int others = m_mdiArea->subWindowList().size();
    QMdiSubWindow* subWindow = m_mdiArea->addSubWindow(window);
    subWindow->setAttribute(Qt::WA_DeleteOnClose, false);
    subWindow->setWindowIcon(QApplication::windowIcon());
    m_imageWindow = window;
    m_imageSubWindow = subWindow;
    subWindow->show();
    // A new window takes most of the area, each one a step further down and right.
    const QSize area = m_mdiArea->viewport()->size();
    if (area.width() > 200 && area.height() > 150) {
        const int step = 28 * (others % 6);
        subWindow->setGeometry(step, step, area.width() * 3 / 4, area.height() * 3 / 4);
    }
}

void DeviceContext::showImageWindow()
{
    createImageWindow();
    if (QWidget* focus = QApplication::focusWidget())
        focus->clearFocus();
    if (m_imageSubWindow && m_imageSubWindow->isHidden()) {
        m_imageSubWindow->show();
        m_imageWindow->show();
    }
    if (m_imageSubWindow)
        m_mdiArea->setActiveSubWindow(m_imageSubWindow);
}

bool DeviceContext::checkPixelFormat()
{
    if (!m_camera || !m_converter)
        return false;
    auto* camera = dynamic_cast<StdFeatureListCamera*>(m_camera);
    GenApi::INodeMap* map = m_camera->device() ? m_camera->device()->GetNodeMap() : nullptr;
    if (!camera || !map)
        return true;
    GenApi::CEnumerationPtr pixelFormat = map->GetNode("PixelFormat");
    if (!pixelFormat || !GenApi::IsReadable(pixelFormat))
        return true;
    GenApi::CIntegerPtr range = map->GetNode("PixelDynamicRangeMax");
    const int64_t dynamicRangeMax = range && GenApi::IsReadable(range) ? range->GetValue() : 0;
    const Tarpo::EPixelType type =
        StdFeatureListCamera::pixelTypeFor(pixelFormat->ToString().c_str(), dynamicRangeMax);
    if (m_converter->isSupported(type))
        return true;
    showWarningMessage("Start Grabbing", "The current pixel format is not yet supported!");
    return false;
}

void DeviceContext::startContinuousShot(bool speedTest)
{
    if (!m_camera)
        return;
    reportFailures("DeviceContext::startContinuousShot", kFailedToStart, [&] {
        showImageWindow();
        if (checkPixelFormat())
            m_camera->startContinuousShot(speedTest);
    });
}

void DeviceContext::startOneShot()
{
    if (!m_camera)
        return;
    reportFailures("DeviceContext::startOneShot", kFailedToStart, [&] {
        showImageWindow();
        if (checkPixelFormat())
            m_camera->startOneShot();
    });
}

void DeviceContext::stopGrab()
{
    if (!m_camera)
        return;
    reportFailures("DeviceContext::stopGrab", kFailedToStop, [&] {
        {
            std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
            if (isRecordingActive())
                m_recording->controller()->stopRecording();
        }
        m_camera->stopGrab();
    });
}

void DeviceContext::imageWindowClosed()
{
    if (!m_camera)
        return;
    reportFailures("DeviceContext::imageWindowClosed", kFailedToStop, [&] {
        {
            std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
            if (isRecordingActive())
                m_recording->controller()->stopRecording();
        }
        m_camera->stopGrab();
    });
}

void DeviceContext::forwardToRecording(TarpoViewerSdk::StreamBuffer* buffer)
{
    std::lock_guard<std::mutex> relay(m_relayMutex);
    if (m_relayController)
        m_relayController->onCameraBufferAvailable(buffer);
}

bool DeviceContext::hasRecording() const
{
    std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
    return m_recording != nullptr;
}

CRecordingController* DeviceContext::recordingController() const
{
    std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
    return m_recording ? m_recording->controller() : nullptr;
}

bool DeviceContext::isRecordingActive() const
{
    std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
    if (!m_recording)
        return false;
    const ERecordingState state = m_recording->controller()->state();
    return state == RecordingState_Recording || state == RecordingState_Paused;
}

bool DeviceContext::isRecordingPaused() const
{
    std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
    return m_recording && m_recording->controller()->state() == RecordingState_Paused;
}

void DeviceContext::startRecording(CRecordingOptions* pOptions)
{
    if (!m_camera || !pOptions)
        return;
    m_recordingLogId =
        TarpoViewer::postLogMessage(TarpoViewer::Information, m_displayName, "Start recording.");
    if (!m_camera->isGrabbing()) {
        startContinuousShot(false);
        m_grabStartedForRecording = m_camera->isGrabbing();
    }
    CRecordingOptions options = *pOptions;
    if (m_camera->isGrabbing() && options.AutomaticAviFpsPlayback) {
        const double rate =
            currentFrameRate(m_camera->device() ? m_camera->device()->GetNodeMap() : nullptr);
        if (rate > 0) {
            options.AviFpsPlayback = rate;
            TarpoViewer::postLogMessage(TarpoViewer::Information, m_displayName,
                                        QString("Playback frame rate set to \"%1\".").arg(rate));
        }
    }
    if (m_camera->state() != Camera::NoDevice) {
        showImageWindow();
        connect(m_imageWindow, &ImageWindow::recordingStatusRequest, this,
                &DeviceContext::updateImageWindowRecordingStatus, Qt::UniqueConnection);
    }
    std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
    if (m_recording) {
        showCriticalMessage(
            "DeviceContext::startRecording",
            "Recording could not be started because another recording is already in progress.");
        return;
    }
    if (!m_camera->isGrabbing()) {
        // Grabbing did not start; its failure has been shown.
        m_recordingLogId = -1;
        return;
    }
    reportFailures("DeviceContext::startRecording", "Failed to start the recording.", [&] {
        CRecordingAssembly::SCameraFormat format;
        GenApi::INodeMap* map = m_camera->device()->GetNodeMap();
        GenApi::CEnumerationPtr pixelFormat = map->GetNode("PixelFormat");
        GenApi::CIntegerPtr range = map->GetNode("PixelDynamicRangeMax");
        format.pixelType = StdFeatureListCamera::pixelTypeFor(
            pixelFormat->ToString().c_str(),
            range && GenApi::IsReadable(range) ? range->GetValue() : 0);
        format.width = uint32_t(GenApi::CIntegerPtr(map->GetNode("Width"))->GetValue());
        format.height = uint32_t(GenApi::CIntegerPtr(map->GetNode("Height"))->GetValue());
        format.serial = QString::fromStdString(m_camera->deviceInfo().GetSerialNumber());
        m_recording = std::make_unique<CRecordingAssembly>(options, format);
        CRecordingController* controller = m_recording->controller();
        {
            std::lock_guard<std::mutex> relay(m_relayMutex);
            m_relayController = controller;
        }
        // grab, writer or timer thread -> GUI thread, queued by the automatic connection
        if (m_imageWindow)
            connect(controller, &CRecordingController::stateChanged, m_imageWindow.data(),
                    &ImageWindow::recordingStateChanged);
        connect(controller, &CRecordingController::stateChanged, this,
                qOverload<CRecordingController::ERecordingState>(
                    &DeviceContext::recordingStateChanged));
        connect(controller, &CRecordingController::waitingForQueueEmptied, this,
                &DeviceContext::updateImageWindowRecordingStatus);
        connect(controller, &CRecordingController::recordingFailure, this,
                &DeviceContext::recordingFailure);
        controller->startRecording(
            deviceString(m_camera->deviceInfo(), m_camera->deviceInfo().GetFriendlyName()));
    });
}

void DeviceContext::pauseRecording()
{
    std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
    if (!isRecordingActive())
        return;
    CRecordingController* controller = m_recording->controller();
    controller->setPaused(controller->state() == RecordingState_Recording);
}

void DeviceContext::stopRecording()
{
    std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
    if (isRecordingActive())
        m_recording->controller()->stopRecording();
}

void DeviceContext::updateImageWindowRecordingStatus()
{
    std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
    if (!m_recording || !m_imageWindow)
        return;
    CRecordingController* controller = m_recording->controller();
    controller->updateStatistics();
    const RecordingStatistics statistics = controller->statistics();
    m_imageWindow->updateRecordingStatistics(statistics.framesWritten, statistics.framesWaiting,
                                             statistics.queueCapacity, statistics.framesDropped);
}

void DeviceContext::destroyRecording()
{
    if (!m_recording)
        return;
    CRecordingController* controller = m_recording->controller();
    {
        // Once this returns, the grab thread hands the controller no frame any more.
        std::lock_guard<std::mutex> relay(m_relayMutex);
        m_relayController = nullptr;
    }
    controller->releaseResources();
    disconnect(controller, nullptr, this, nullptr);
    if (m_imageWindow)
        disconnect(controller, nullptr, m_imageWindow.data(), nullptr);
    TARPO_TRACE(kCategory, "Start destroying CRecordingController");
    m_recording.reset();
    TARPO_TRACE(kCategory, "Finished destroying CRecordingController");
}

void DeviceContext::recordingStateChanged(CRecordingController::ERecordingState state)
{
    // States arrive queued: one may come after the recording has gone.
    switch (state) {
    case RecordingState_Recording:
        if (m_recordingLogId > 0)
            TarpoViewer::postLogMessage(TarpoViewer::Information, m_displayName,
                                        "Recording has been started.", m_recordingLogId);
        else
            TarpoViewer::postLogMessage(TarpoViewer::Information, m_displayName,
                                        "Recording has been continued.");
        break;
    case RecordingState_Paused:
        TarpoViewer::postLogMessage(TarpoViewer::Information, m_displayName,
                                    "Recording has been paused.");
        break;
    case RecordingState_Stopped: {
        bool hadRecording = false;
        {
            std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
            hadRecording = m_recording != nullptr;
            destroyRecording();
        }
        if (!hadRecording)
            break;
        if (m_grabStartedForRecording) {
            m_grabStartedForRecording = false;
            stopGrab();
        }
        if (m_recordingLogId > 0)
            TarpoViewer::postLogMessage(TarpoViewer::Information, m_displayName,
                                        "Recording has been stopped.", m_recordingLogId);
        else
            TarpoViewer::postLogMessage(TarpoViewer::Information, m_displayName,
                                        "Recording has been stopped.");
        if (m_imageWindow)
            m_imageWindow->recordingStateChanged(RecordingState_Stopped);
        break;
    }
    default:
        break;
    }
    emit recordingStateChanged();
    m_recordingLogId = -1;
}

void DeviceContext::recordingFailure(QString errorMessage, QString addlInfo)
{
    showCriticalMessage("DeviceContext::recordingFailure",
                        addlInfo.isEmpty() ? errorMessage : errorMessage + "\n" + addlInfo);
    std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
    if (m_recording)
        m_recording->controller()->abortRecording();
}

void DeviceContext::onCameraOpened()
{
    m_singleFrameAvailable = false;
    if (Tarpo::ITarpoDevice* device = m_camera->device()) {
        try {
            GenApi::CEnumerationPtr mode =
                device->GetNodeMap() ? device->GetNodeMap()->GetNode("AcquisitionMode") : nullptr;
            GenApi::IEnumEntry* entry = mode ? mode->GetEntryByName("SingleFrame") : nullptr;
            m_singleFrameAvailable = entry && GenApi::IsAvailable(entry);
        } catch (const GenICam::GenericException& e) {
            TARPO_TRACE(kCategory, "AcquisitionMode not readable: %s", e.GetDescription());
        }
        emit deviceOpened(device);
    }
}

void DeviceContext::onCameraClosed()
{
    TARPO_TRACE(kCategory, "DeviceContext::onCameraClosed(): entering...");
    TARPO_TRACE(kCategory, "DeviceContext::onCameraClosed(): emit deviceClosed (%p)...",
                static_cast<void*>(m_camera->device()));
    emit deviceClosed(m_camera->device());
    TARPO_TRACE(kCategory, "DeviceContext::onCameraClosed(): leaving...");
}

void DeviceContext::shutDown()
{
    TARPO_TRACE(kCategory, "DeviceContext::shutDown(): entering...");
    const char* const source = "DeviceContext::shutDown";
    auto step = [source](auto work) {
        try {
            work();
        } catch (const GenICam::GenericException& e) {
            qWarning("%s: %s", source, e.GetDescription());
        } catch (const std::exception& e) {
            qWarning("%s: %s", source, e.what());
        } catch (...) {
            qWarning("%s", qPrintable(unspecifiedExceptionText(source)));
        }
    };
    step([&] {
        std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
        if (m_recording)
            m_recording->controller()->abortRecording();
    });
    step([&] {
        if (m_camera)
            m_camera->shutDown();
    });
    step([&] {
        if (m_decoupler)
            m_decoupler->shutDown();
    });
    step([&] {
        if (m_converter)
            m_converter->shutDown();
    });
    step([&] {
        std::lock_guard<std::recursive_mutex> lock(m_recordingMutex);
        destroyRecording();
    });
    step([&] {
        if (!m_imageWindow)
            return;
        ImageWindow* window = m_imageWindow;
        QMdiSubWindow* subWindow = m_imageSubWindow;
        disconnect(window, nullptr, this, nullptr);
        window->shutDown();
        m_imageWindow = nullptr;
        m_imageSubWindow = nullptr;
        if (subWindow) {
            subWindow->setAttribute(Qt::WA_DeleteOnClose);
            subWindow->close();
        } else {
            window->deleteLater();
        }
    });
    // A device that is still attached (surprise removal, application exit) goes with its
    // context, so the camera can be opened afresh later.
    step([&] {
        if (m_camera && m_camera->device())
            m_camera->detachTarpoDevice();
    });
    TARPO_TRACE(kCategory, "DeviceContext::shutDown(): leaving...");
}
