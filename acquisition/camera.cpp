#include "acquisition/camera.h"

#include "genapi/fileprotocoladapter.h"
#include "genapi/genapi.h"
#include "messagelog/messagelog.h"
#include "qtbase/devicename.h"
#include "qtbase/formatting.h"
#include "qtbase/messages.h"
#include "qtbase/sleepinhibitor.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/threadpriority.h"
#include "tarpo/tlfactory.h"
#include "trace/trace.h"
#include "viewersdk/streambuffer.h"

#include <QDebug>
#include <QSettings>

#include <algorithm>

namespace {

const char* const kCategory = "Camera";
const char* const kGrabGroup = "Grab";
// How long a stop waits for the stream grabber to give back every buffer.
constexpr int kBuffersBackTimeoutMs = 5000;

// Runs `f`, reporting a failure through the message helpers with `source` and `message`.
template <class F> bool reportFailures(const char* source, const char* message, F&& f)
{
    try {
        f();
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

// Runs `f`, writing a failure to the debug output only (for clean-up steps that must go on).
template <class F> void traceFailures(const char* what, F&& f)
{
    try {
        f();
    } catch (const GenICam::GenericException& e) {
        qWarning("%s: %s", what, e.GetDescription());
    } catch (const std::exception& e) {
        qWarning("%s: %s", what, e.what());
    } catch (...) {
        qWarning("%s", what);
    }
}

} // namespace

Camera::Camera(const Tarpo::CDeviceInfo* info, QObject* parent, unsigned usedBufferMemory,
               bool monitorMode)
    : QThread(parent), m_usedBufferMemory(usedBufferMemory), m_monitorMode(monitorMode)
{
    if (info)
        m_deviceInfo = *info;
    m_displayName = formatDeviceName(m_deviceInfo);
    // grab thread -> GUI thread, queued: a stop decided on the grab thread runs on the GUI thread
    connect(this, &Camera::stopRequest, this, &Camera::stopGrab, Qt::QueuedConnection);
    QSettings settings;
    settings.beginGroup(kGrabGroup);
    m_minNumBuffers = settings.value("MinNumBuffersContinuousShot", 10).toInt();
    m_maxNumBuffers = settings.value("MaxNumBuffersContinuousShot", 450).toInt();
    settings.endGroup();
}

Camera::~Camera()
{
    TARPO_TRACE(kCategory, "~Camera()");
    if (isRunning()) {
        m_stopFlag = true;
        wait();
    }
    joined();
    // Buffers still held by images or a recording delete themselves when released.
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    const auto buffers = m_buffers;
    m_buffers.clear();
    for (TarpoViewerSdk::StreamBuffer* buffer : buffers)
        buffer->orphan();
}

GenApi::INodeMap* Camera::deviceNodeMap() const
{
    return m_device ? m_device->GetNodeMap() : nullptr;
}

void Camera::setState(State state)
{
    m_state = state;
}

int Camera::allocatedBufferCount()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return static_cast<int>(m_buffers.size());
}

uint32_t Camera::computeBufferCount(uint32_t usedBufferMemory, uint32_t payloadSize,
                                    uint32_t minCount, bool useMemoryBudget, uint32_t maxNumBuffers)
{
    if (!useMemoryBudget || payloadSize == 0)
        return minCount;
    const uint32_t count = usedBufferMemory / payloadSize;
    if (count > maxNumBuffers)
        return maxNumBuffers;
    return std::max(minCount, count);
}

void Camera::attachTarpoDevice(Tarpo::ITarpoDevice* pCamera)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_device = pCamera;
    setState(Attached);
}

void Camera::detachTarpoDevice()
{
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (m_device)
            traceFailures("DestroyDevice failed",
                          [&] { Tarpo::CTlFactory::GetInstance().DestroyDevice(m_device); });
        m_device = nullptr;
        m_streamGrabber = nullptr;
        setState(NoDevice);
    }
    emit cameraStateChanged();
}

void Camera::open()
{
    if (state() >= Open)
        return;
    TARPO_TRACE(kCategory, "open(): Device %s", m_deviceInfo.GetFullName().c_str());
    bool opened = false;
    reportFailures("Camera::open", "Failed to open the camera.", [&] {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (state() == NoDevice || !m_device)
            throw LOGICAL_ERROR_EXCEPTION(
                "Cannot open the camera object if no tarpo device has been attached.");
        m_device->Open(m_monitorMode ? Tarpo::AccessModeSet(Tarpo::Stream)
                                     : Tarpo::AccessModeSet(Tarpo::Control | Tarpo::Stream));
        onOpen();
        setState(Open);
        opened = true;
    });
    if (!opened)
        return;
    emit cameraStateChanged();
    emit cameraOpened();
    reportFailures("Camera::open", "Failed to open the stream grabber", [&] {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (m_device->GetNumStreamGrabberChannels() > 0)
            m_streamGrabber = m_device->GetStreamGrabber(0);
    });
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    GenApi::FileProtocolAdapter adapter;
    m_fileAccessAvailable = false;
    traceFailures("file access check failed", [&] {
        if (adapter.attach(deviceNodeMap())) {
            GenApi::CEnumerationPtr selector = deviceNodeMap()->GetNode("FileSelector");
            m_fileAccessAvailable = GenApi::IsReadable(selector);
        }
    });
}

bool Camera::prepareGrab(uint32_t minCount, bool useMemoryBudget, int acquisitionMode)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (state() == NoDevice)
        return false;
    if (state() == Attached) {
        open();
        if (state() < Open) {
            TARPO_TRACE(kCategory,
                        "Camera::prepareGrab() could not open camera. Can't prepare grab.");
            return false;
        }
    }
    if (!m_streamGrabber) {
        TARPO_TRACE(kCategory,
                    "Camera::prepareGrab() no stream grabber available. Can't prepare grab.");
        return false;
    }
    if (!m_streamGrabber->IsOpen()) {
        m_streamGrabber->Open();
        ++m_streamGrabberOpenCount;
    }
    if (!m_streamGrabber->IsOpen()) {
        TARPO_TRACE(kCategory,
                    "Camera::prepareGrab() could not open stremgrabber. Can't prepare grab.");
        return false;
    }

    // 1. Frame size and geometry of this grab run.
    int64_t payload = 0;
    if (GenApi::INodeMap* grabberMap = m_streamGrabber->GetNodeMap()) {
        GenApi::CIntegerPtr grabberPayload = grabberMap->GetNode("PayloadSize");
        if (GenApi::IsReadable(grabberPayload))
            payload = grabberPayload->GetValue();
    }
    payload = std::max(payload, devicePayloadSize());
    ++m_grabRun;
    m_width = deviceWidth();
    m_height = deviceHeight();
    m_pixelType = devicePixelType();
    // 2. and 3.
    if (m_width < 0 || m_height < 0 || m_pixelType == Tarpo::PixelType_Undefined)
        throw RUNTIME_EXCEPTION("invalid image meta data. Can't allocate buffers.");
    const size_t computed = Tarpo::ComputeBufferSize(m_pixelType, static_cast<uint32_t>(m_width),
                                                     static_cast<uint32_t>(m_height), 0);
    payload = std::max<int64_t>(payload, static_cast<int64_t>(computed));
    if (payload <= 0)
        throw RUNTIME_EXCEPTION("Bytes per frame (payloadsize) is zero. Can't allocate buffers.");
    if (payload > INT32_MAX)
        throw RUNTIME_EXCEPTION("Bytes per frame (%lld) exceed what a buffer may hold. Can't "
                                "allocate buffers.",
                                static_cast<long long>(payload));
    m_payloadSize = static_cast<uint32_t>(payload);
    // 4.
    if (!m_monitorMode)
        setEnumValSafe("AcquisitionMode", acquisitionMode == 1 ? "SingleFrame" : "Continuous");
    // 5. Buffers.
    const uint32_t count =
        computeBufferCount(m_usedBufferMemory, m_payloadSize, minCount, useMemoryBudget,
                           static_cast<uint32_t>(std::max(m_maxNumBuffers, 1)));
    m_nonQueuedBuffers.release(static_cast<int>(count));
    m_bufferCount = count;
    onPrepareGrab(m_payloadSize, count, acquisitionMode == 1 ? 0 : 1);
    m_streamGrabber->PrepareGrab();
    m_runFinished = false;
    for (uint32_t i = 0; i < count; ++i) {
        auto* buffer = new TarpoViewerSdk::StreamBuffer(m_payloadSize, m_pixelType, m_width,
                                                        m_height, m_grabRun, deviceNodeMap());
        m_buffers.insert(buffer);
        buffer->setHandle(m_streamGrabber->RegisterBuffer(buffer->data(), buffer->size()));
        // releasing thread -> camera, direct: the buffer is requeued or deleted right away
        connect(buffer, &TarpoViewerSdk::StreamBuffer::backToHome, this, &Camera::comeHome,
                Qt::DirectConnection);
        m_nonQueuedBuffers.acquire();
        m_streamGrabber->QueueBuffer(buffer->handle(), buffer);
    }
    return true;
}

void Camera::startContinuousShot(bool speedtest)
{
    if (state() != Open)
        return;
    TARPO_TRACE(kCategory, "startContinuousShot()");
    const int logId = TarpoViewer::postLogMessage(
        TarpoViewer::Information, m_displayName,
        QString("Starting continuous shot on \"%1\".").arg(m_displayName));
    m_imageCounter = 0;
    m_erroneousCounter = 0;
    if (!m_monitorMode)
        reportFailures("Camera::startContinuousShot", "Failed to allocate resources",
                       [&] { onPreGrab(true); });
    bool prepared = false;
    if (!reportFailures(
            "Camera::startContinuousShot", "Failed to allocate resources",
            [&] { prepared = prepareGrab(static_cast<uint32_t>(m_minNumBuffers), true, 2); }) ||
        !prepared)
        return;
    m_speedTest = speedtest;
    m_stopFlag = false;
    start(QThread::HighPriority);
    setState(ContinuousShot);
    emit cameraStateChanged();
    emit preparedGrab();
    if (!m_monitorMode)
        reportFailures("Camera::startContinuousShot", "Failed to start the camera.",
                       [&] { startAcquisition(); });
    m_fpsStatistic.reset();
    TarpoViewer::postLogMessage(
        TarpoViewer::Information, m_displayName,
        QString("Continuous shot on \"%1\" has been started.").arg(m_displayName), logId);
}

void Camera::startOneShot()
{
    if (state() != Open)
        return;
    TARPO_TRACE(kCategory, "startOneShot()");
    try {
        m_imageCounter = 0;
        m_erroneousCounter = 0;
        if (!m_monitorMode)
            onPreGrab(false);
        if (!prepareGrab(1, false, 1))
            return;
        m_speedTest = false;
        m_stopFlag = false;
        start(QThread::HighPriority);
        setState(SingleShot);
        emit cameraStateChanged();
        emit preparedGrab();
        if (!m_monitorMode)
            startAcquisition();
        TarpoViewer::postLogMessage(
            TarpoViewer::Information, m_displayName,
            QString("Single shot on \"%1\" has been started.").arg(m_displayName));
    } catch (const GenICam::GenericException& e) {
        showException(e, "Camera::startOneShot", "Failed to start the camera");
    } catch (const std::exception& e) {
        showException(e, "Camera::startOneShot", "Failed to start the camera");
    } catch (...) {
        showUnexpectedException("Camera::startOneShot", "Failed to start the camera");
    }
}

void Camera::run()
{
    // The grab thread: the SDK's real-time minimum + 1 when the range allows, else the minimum.
    const QByteArray name =
        QString("Grab_%1").arg(QString::fromStdString(m_deviceInfo.GetSerialNumber())).toLatin1();
    Tarpo::SetCurrentThreadName(name.constData());
    int32_t prioMin = 0, prioMax = 0;
    Tarpo::GetRTThreadPriorityCapabilities(prioMin, prioMax);
    Tarpo::SetRTThreadPriority(Tarpo::GetCurrentThreadHandle(),
                               prioMax > prioMin ? prioMin + 1 : prioMin);
    // The machine stays awake while frames come in.
    TARPO_TRACE(kCategory, "Setting thread execution state");
    SleepInhibitor awake(QString("Grabbing images from %1").arg(m_displayName));

    Tarpo::IStreamGrabber* grabber = nullptr;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        grabber = m_streamGrabber;
    }
    // A lost device fails every buffer at once: it is reported once and the grab stopped; until
    // the stop arrives, its failures are passed over at a slow pace instead of spun through.
    bool deviceLost = false;
    while (grabber) {
        if (!grabber->GetWaitObject().Wait(100)) {
            if (m_stopFlag.load())
                break;
            continue;
        }
        std::unique_lock<std::recursive_mutex> lock(m_mutex);
        TARPO_TRACE(kCategory, "going to retrieve result");
        Tarpo::GrabResult result;
        if (!grabber->RetrieveResult(result)) {
            lock.unlock();
            if (m_stopFlag.load())
                break;
            continue;
        }
        m_fpsStatistic.addSample(
            static_cast<uint64_t>(std::max<int64_t>(result.GetPayloadSize(), 0)));
        m_nonQueuedBuffers.release();
        TARPO_TRACE(kCategory, "got result  m_semNonQueuedBuffers.available(): %d",
                    m_nonQueuedBuffers.available());
        auto* buffer =
            static_cast<TarpoViewerSdk::StreamBuffer*>(const_cast<void*>(result.Context()));
        if (!buffer)
            continue;
        const bool grabbed = result.Status() == Tarpo::Grabbed;
        const bool failed = result.Status() == Tarpo::Failed;

        // 3. A monitor cannot change the geometry: a frame that does not fit ends the grab.
        if (m_monitorMode && grabbed &&
            (result.GetPayloadSize() != static_cast<int64_t>(m_payloadSize) ||
             result.GetSizeX() != m_width || result.GetSizeY() != m_height)) {
            buffer->lock();
            lock.unlock();
            if (state() == ContinuousShot)
                emit stopRequest();
            else
                stopGrab();
            buffer->unlock();
            continue;
        }

        // 4.
        buffer->lock();
        const Tarpo::EPixelType type = result.GetPixelType() == Tarpo::PixelType_Undefined
                                           ? m_pixelType
                                           : result.GetPixelType();
        buffer->setFrame(type, result.GetSizeX() < 0 ? m_width : result.GetSizeX(),
                         result.GetSizeY() < 0 ? m_height : result.GetSizeY(),
                         std::max(result.GetPaddingX(), 0), result.GetPayloadSize(),
                         result.GetFrameNumber(), result.GetTimeStamp());
        buffer->setDisplay(!m_speedTest);
        if (grabbed) {
            ++m_imageCounter;
            ++m_totalCounter;
            if (!m_pureGrab.load())
                emit bufferAvailable(buffer);
        } else if (failed && result.GetErrorCode() == Tarpo::GrabError_DeviceLost) {
            if (deviceLost) {
                lock.unlock();
                buffer->unlock();
                QThread::msleep(10);
                continue;
            }
            deviceLost = true;
            ++m_erroneousTotal;
            TarpoViewer::postLogMessage(
                TarpoViewer::Error, m_displayName,
                QString("Image acquisition on \"%1\" failed! Error: 0x%2 \"%3\"")
                    .arg(m_displayName)
                    .arg(result.GetErrorCode(), 0, 16)
                    .arg(QString::fromStdString(result.GetErrorDescription())));
            if (state() == ContinuousShot)
                emit stopRequest();
        } else if (failed) {
            ++m_imageCounter;
            ++m_totalCounter;
            ++m_erroneousCounter;
            ++m_erroneousTotal;
            qDebug("Failed to grab image! result.Errorcode = %#x (%s)", result.GetErrorCode(),
                   result.GetErrorDescription().c_str());
            if (!m_pureGrab.load() && m_showFailedBuffers.load())
                emit bufferAvailable(buffer);
            TarpoViewer::postLogMessage(
                TarpoViewer::Error, m_displayName,
                QString("Image acquisition on \"%1\" failed! Error: 0x%2 \"%3\"")
                    .arg(m_displayName)
                    .arg(result.GetErrorCode(), 0, 16)
                    .arg(QString::fromStdString(result.GetErrorDescription())));
        }
        const bool singleShotDone = state() == SingleShot && (grabbed || failed);
        if (singleShotDone)
            stopGrab();
        lock.unlock();
        buffer->unlock();
        if (m_stopFlag.load() && singleShotDone)
            break;
    }
    m_stopFlag = false;
    TARPO_TRACE(kCategory, "Resetting thread execution state");
    // The last thing this thread does: whoever waited for it reads this first (see joined()).
    m_runsEnded.fetch_add(1, std::memory_order_release);
}

void Camera::joined() const
{
    // QThread::wait() synchronises inside Qt, where ThreadSanitizer cannot see it; reading what
    // run() published last makes the hand-over explicit.
    (void)m_runsEnded.load(std::memory_order_acquire);
}

void Camera::comeHome(TarpoViewerSdk::StreamBuffer* buffer)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    TARPO_TRACE(kCategory, "Camera::comeHome()");
    if (!isGrabbing() || buffer->grabRun() != m_grabRun || !m_streamGrabber) {
        TARPO_TRACE(kCategory, "Camera::comeHome(): Deregister and delete buffer %p",
                    static_cast<void*>(buffer));
        // Buffers still registered belong to the current run until its FinishGrab, which
        // deregisters whatever is left.
        deleteBuffer(buffer, buffer->grabRun() == m_grabRun && !m_runFinished);
        return;
    }
    TARPO_TRACE(kCategory, "Camera::comeHome(): Requeue Buffer %p", static_cast<void*>(buffer));
    try {
        m_nonQueuedBuffers.acquire();
        m_streamGrabber->QueueBuffer(buffer->handle(), buffer);
    } catch (const GenICam::GenericException& e) {
        m_nonQueuedBuffers.release();
        qWarning("Camera::comeHome: Failed to requeue the buffer: %s", e.GetDescription());
    } catch (const std::exception& e) {
        m_nonQueuedBuffers.release();
        qWarning("Camera::comeHome: Failed to requeue the buffer: %s", e.what());
    }
}

void Camera::deleteBuffer(TarpoViewerSdk::StreamBuffer* buffer, bool deregister)
{
    if (deregister && m_streamGrabber && buffer->handle()) {
        traceFailures("DeregisterBuffer failed",
                      [&] { m_streamGrabber->DeregisterBuffer(buffer->handle()); });
    }
    m_buffers.erase(buffer);
    delete buffer;
}

void Camera::stopGrab()
{
    if (!isGrabbing())
        return;
    TARPO_TRACE(kCategory, "stopGrab()");
    const bool wasContinuous = state() == ContinuousShot;
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (!isGrabbing())
            return;
        if (wasContinuous)
            TarpoViewer::postLogMessage(
                TarpoViewer::Information, m_displayName,
                QString("Stopping continuous shot on \"%1\".").arg(m_displayName));
        if (!m_monitorMode && !m_removed.load())
            reportFailures("Camera::stopGrab", "Failed to stop the camera",
                           [&] { stopAcquisition(); });
        setState(Open);
    }
    emit cameraStateChanged();
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        TARPO_TRACE(kCategory, "Cancel grab");
        if (m_streamGrabber)
            traceFailures("StreamGrabber->CancelGrab() failed",
                          [&] { m_streamGrabber->CancelGrab(); });
    }
    // Every buffer must leave the grabber: the grab thread retrieves the canceled ones, which
    // needs the mutex, so it is not held while waiting here. On the grab thread itself (single
    // shot) the one buffer has already been retrieved.
    finishGrab();
    m_stopFlag = true;
    TarpoViewer::postLogMessage(
        TarpoViewer::Information, m_displayName,
        QString("Continuous shot on \"%1\" has been stopped. (%2)")
            .arg(m_displayName,
                 formatImageCount(m_imageCounter.load(), m_erroneousCounter.load())));
    if (QThread::currentThread() != this) {
        wait();
        joined();
    }
    m_fpsStatistic.reset();
    closeStreamGrabber();
    emit finishedGrab();
}

void Camera::finishGrab()
{
    const bool onGrabThread = QThread::currentThread() == this;
    const int count = static_cast<int>(m_bufferCount);
    if (onGrabThread) {
        // The grab thread cannot drain its own results while it waits here.
        if (!m_nonQueuedBuffers.tryAcquire(count, 0)) {
            std::lock_guard<std::recursive_mutex> lock(m_mutex);
            Tarpo::GrabResult result;
            while (m_nonQueuedBuffers.available() < count && m_streamGrabber &&
                   m_streamGrabber->RetrieveResult(result)) {
                m_nonQueuedBuffers.release();
                if (auto* buffer = static_cast<TarpoViewerSdk::StreamBuffer*>(
                        const_cast<void*>(result.Context()))) {
                    buffer->lock();
                    buffer->unlock();
                }
            }
            m_nonQueuedBuffers.acquire(count);
        }
    } else if (!m_nonQueuedBuffers.tryAcquire(count, kBuffersBackTimeoutMs)) {
        // A grabber that lost its device may never give its buffers back; they are deleted
        // when they come home later, or orphaned with the camera.
        qWarning("Camera::finishGrab: not every buffer came back from the stream grabber");
    }
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    TARPO_TRACE(kCategory, "m_pStreamGrabber->FinishGrab()");
    if (m_streamGrabber)
        traceFailures("finsihGrab() failed", [&] { m_streamGrabber->FinishGrab(); });
    m_runFinished = true;
}

void Camera::closeStreamGrabber()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (m_streamGrabber && m_streamGrabber->IsOpen())
        traceFailures("failed to close stream grabber", [&] { m_streamGrabber->Close(); });
}

void Camera::close()
{
    TARPO_TRACE(kCategory, "close()");
    traceFailures("stopGrab() failed", [&] { stopGrab(); });
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (state() >= Open)
            traceFailures("onClose() failed", [&] { onClose(); });
    }
    closeStreamGrabber();
    {
        std::lock_guard<std::recursive_mutex> lock(m_mutex);
        if (m_device && m_device->IsOpen())
            traceFailures("failed to close ITarpo device", [&] { m_device->Close(); });
        m_streamGrabber = nullptr;
        if (state() > Attached)
            setState(m_device ? Attached : NoDevice);
    }
    TARPO_TRACE(kCategory, "Camera::close() emit cameraClosed()");
    emit cameraStateChanged();
    emit cameraClosed();
}

void Camera::shutDown()
{
    TARPO_TRACE(kCategory, "shutDown()");
    try {
        close();
    } catch (const std::exception& e) {
        qWarning("Camera::shutDown() failed: %s", e.what());
    }
}

void Camera::setPureGrab(bool PureGrab)
{
    m_pureGrab = PureGrab;
}

void Camera::getPerfData(double* pFramesPerSecond, uint64_t* pBytesPerSecond, bool* hasBeenReset)
{
    double fps = -1.0;
    uint64_t bytesPerSecond = 0;
    if (!m_fpsStatistic.getResult(&fps, &bytesPerSecond, hasBeenReset)) {
        fps = -1.0;
        bytesPerSecond = 0;
    }
    if (pFramesPerSecond)
        *pFramesPerSecond = fps;
    if (pBytesPerSecond)
        *pBytesPerSecond = bytesPerSecond;
}

void Camera::getCounterData(uint32_t& imageCounter, uint32_t& erroneousCounter)
{
    imageCounter = m_imageCounter.load();
    erroneousCounter = m_erroneousCounter.load();
}

void Camera::onNotifyNewMonitorMode(bool bNewMode)
{
    m_monitorMode = bNewMode;
    emit CameraMonitorModeChanged(bNewMode);
}

void Camera::setEnumValSafe(const char* nodeName, const char* value)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    GenApi::INodeMap* map = deviceNodeMap();
    GenApi::CEnumerationPtr node = map ? map->GetNode(nodeName) : nullptr;
    if (!node) {
        TARPO_TRACE(kCategory, "Can't find node '%s' to set value '%s'", nodeName, value);
        return;
    }
    try {
        node->FromString(value);
    } catch (const std::exception&) {
        TARPO_TRACE(kCategory, "Camera::setEnumValSafe: Could not set %s to %s", nodeName, value);
    }
}

namespace {

// Writes a feature when the device has it writable; reports whether it did.
bool writeIfWritable(GenApi::INodeMap* map, const char* name, const GenICam::gcstring& value)
{
    GenApi::CValuePtr node = map->GetNode(name);
    if (!GenApi::IsWritable(node))
        return false;
    try {
        node->FromString(value);
        return true;
    } catch (const GenICam::GenericException& e) {
        TARPO_TRACE(kCategory, "optimizeImageQuality: %s not set: %s", name, e.GetDescription());
        return false;
    }
}

// Sets an integer feature to `value` clamped into its range and increment.
void writeClamped(GenApi::INodeMap* map, const char* name, int64_t value)
{
    GenApi::CIntegerPtr node = map->GetNode(name);
    if (!GenApi::IsWritable(node))
        return;
    const int64_t inc = std::max<int64_t>(node->GetInc(), 1);
    value = std::clamp(value, node->GetMin(), node->GetMax());
    value -= (value - node->GetMin()) % inc;
    writeIfWritable(map, name, std::to_string(value));
}

// The limits of one feature written into a pair of auto-function limit features.
void copyLimits(GenApi::INodeMap* map, const char* feature, const char* lower, const char* upper,
                double upperCap)
{
    GenApi::CFloatPtr floatNode = map->GetNode(feature);
    GenApi::CIntegerPtr intNode = map->GetNode(feature);
    double minimum = 0, maximum = 0;
    if (GenApi::IsReadable(floatNode)) {
        minimum = floatNode->GetMin();
        maximum = floatNode->GetMax();
    } else if (GenApi::IsReadable(intNode)) {
        minimum = static_cast<double>(intNode->GetMin());
        maximum = static_cast<double>(intNode->GetMax());
    } else {
        return;
    }
    maximum = std::min(maximum, upperCap);
    // Upper first: a lower limit above the old upper limit would be refused.
    writeIfWritable(map, upper, GenICam::formatMessage("%.15g", maximum));
    writeIfWritable(map, lower, GenICam::formatMessage("%.15g", minimum));
}

} // namespace

void Camera::optimizeImageQuality()
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    GenApi::INodeMap* map = deviceNodeMap();
    if (!map || state() < Open)
        throw LOGICAL_ERROR_EXCEPTION("The camera is not open.");
    GenApi::CIntegerPtr width = map->GetNode("Width");
    GenApi::CIntegerPtr height = map->GetNode("Height");
    const int64_t imageWidth = GenApi::IsReadable(width) ? width->GetValue() : 0;
    const int64_t imageHeight = GenApi::IsReadable(height) ? height->GetValue() : 0;

    // The area the automatic functions measure: the whole image, for brightness and colour.
    const bool roiFamily = map->GetNode("AutoFunctionROISelector") != nullptr;
    const char* const selector = roiFamily ? "AutoFunctionROISelector" : "AutoFunctionAOISelector";
    const char* const prefix = roiFamily ? "AutoFunctionROI" : "AutoFunctionAOI";
    if (writeIfWritable(map, selector, roiFamily ? "ROI1" : "AOI1")) {
        const std::string p = prefix;
        writeClamped(map, (p + "OffsetX").c_str(), 0);
        writeClamped(map, (p + "OffsetY").c_str(), 0);
        writeClamped(map, (p + "Width").c_str(), imageWidth);
        writeClamped(map, (p + "Height").c_str(), imageHeight);
        writeIfWritable(map, (p + "UseBrightness").c_str(), "1");
        writeIfWritable(map, (p + "UseWhiteBalance").c_str(), "1");
        writeIfWritable(map, (p + "UsageIntensity").c_str(), "1");
        writeIfWritable(map, (p + "UsageWhiteBalance").c_str(), "1");
    }
    if (writeIfWritable(map, "GammaSelector", "sRGB"))
        writeIfWritable(map, "GammaEnable", "1");
    writeIfWritable(map, "ProcessedRawEnable", "1");
    if (!writeIfWritable(map, "AutoTargetBrightness", "0.3")) {
        GenApi::CIntegerPtr target = map->GetNode("AutoTargetValue");
        if (GenApi::IsWritable(target))
            writeClamped(map, "AutoTargetValue",
                         target->GetMin() + (target->GetMax() - target->GetMin()) * 3 / 10);
    }
    writeIfWritable(map, "AutoFunctionProfile", "MinimizeGain");
    writeIfWritable(map, "GainSelector", "All");
    // Exposures beyond 100 ms make a live image sluggish; the auto function stays below.
    if (map->GetNode("AutoGainLowerLimit")) {
        copyLimits(map, "Gain", "AutoGainLowerLimit", "AutoGainUpperLimit", 1e300);
        copyLimits(map, "ExposureTime", "AutoExposureTimeLowerLimit", "AutoExposureTimeUpperLimit",
                   100000.0);
    } else {
        copyLimits(map, "GainRaw", "AutoGainRawLowerLimit", "AutoGainRawUpperLimit", 1e300);
        copyLimits(map, "ExposureTimeAbs", "AutoExposureTimeAbsLowerLimit",
                   "AutoExposureTimeAbsUpperLimit", 100000.0);
    }
    writeIfWritable(map, "GainAuto", "Once");
    writeIfWritable(map, "ExposureAuto", "Once");

    // Colour balance only means something for colour data, and not while a test image replaces
    // the sensor's picture.
    GenApi::CEnumerationPtr pixelFormat = map->GetNode("PixelFormat");
    GenApi::CEnumerationPtr testImage = map->GetNode("TestImageSelector");
    const bool testImageOn = GenApi::IsReadable(testImage) && testImage->ToString() != "Off";
    const GenICam::gcstring format = GenApi::IsReadable(pixelFormat) ? pixelFormat->ToString() : "";
    const bool yuv = format == "YCbCr422_8" || format == "YUV422_YUYV_Packed";
    const bool colour = yuv || Tarpo::IsColor(Tarpo::GetPixelTypeFromName(format));
    if (colour && !testImageOn) {
        if (!writeIfWritable(map, "LightSourcePreset", "Daylight5000K"))
            writeIfWritable(map, "LightSourceSelector", "Daylight");
        writeIfWritable(map, "BalanceWhiteAuto", "Once");
    }
}
