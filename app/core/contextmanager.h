#pragma once

// The single owner of all per-device state: one device context per camera the user selected,
// keyed by the camera's full name, and the current one, which receives the main window's device
// commands. Runs the two application-wide timers (the 500 ms performance timer that feeds every
// image window's rates and counters, and the frame-rate throttle that paces every display) and
// turns a device's removal notice, which arrives on a transport-layer thread, into an orderly
// removal on the GUI thread.
// Thread: GUI only, except the removal callback (any thread; it only queues surpriseRemove) and
// the throttle tick (emitted on the timer's thread, straight into the decoupler).

#include "genapi/gcstring.h"
#include "tarpo/deviceinfo.h"
#include "tarpo/tarpodevice.h"

#include <QList>
#include <QObject>
#include <QString>

#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

class Camera;
class CRecordingOptions;
class DeviceContext;
class HiResTimer;
class ImageWindow;
class QMdiArea;

namespace GenApi {
class INodeMap;
}

class ContextManager : public QObject
{
    Q_OBJECT

public:
    ContextManager(QMdiArea* mdiArea, QObject* parent);
    ~ContextManager() override;

    // The enable queries of the main window. `info` null means the current context; each is
    // false without a context or a camera.
    bool isDeviceOpen(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    bool isGrabbing(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    bool canGrab(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    bool canChangeOpenDevice(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    bool canAccessFiles(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    bool canSingleShot(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    bool canRecord(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    bool isRecordingActive(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    bool isRecordingPaused(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    bool canOptimizeCamera(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);

    DeviceContext* findContext(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    DeviceContext* currentContext();
    Camera* cameraOfImageWindow(ImageWindow* window);
    ImageWindow* imageWindowOfCamera(Camera* camera);
    // Appends the camera of every context whose camera is open; returns how many it added.
    int runningCameras(QList<Camera*>& cameras);
    int contextCount();

    void setShowFailedBuffers(bool show);
    bool showFailedBuffers() const { return m_showFailedBuffers; }
    bool monitorMode() const { return m_monitorMode; }
    void setMonitorMode(bool monitorMode);
    unsigned maxFps() const { return m_maxFps; }
    bool isThrottleEnabled();
    HiResTimer* throttleTimer() const { return m_throttleTimer; }

    // Around saving an image: the active image window keeps its image.
    void pauseUpdates();
    void unpauseUpdates();

    // Of the active MDI sub-window's image window; false/zero without one.
    bool canZoomIn();
    bool canZoomOut();
    bool isZoomToFit();
    bool isZoom100();
    double zoomFactor();
    ImageWindow* activeImageWindow() const;

signals:
    void deviceOpened(Tarpo::ITarpoDevice* device);
    void deviceClosed(Tarpo::ITarpoDevice* device);
    void cameraChanged(Camera* camera);
    void cameraStateChanged();
    void cameraRemoved(Camera* camera);
    void surpriseRemoved(QString friendlyName, QString fullName);
    void nodemapAvailable(Camera* camera, GenApi::INodeMap* nodeMap, QString displayName,
                          QString roleName);
    void zoomChanged();
    void throttleTimerEnabled(bool enabled);
    void throttleTimerTick();
    void notifyDeviceShutDown(Camera* camera);
    void notifyNewMonitorMode(bool monitorMode);
    void recordingStateChanged();

public slots:
    void shutDown();
    void changeCurrentDevice(const Tarpo::CDeviceInfo* pDeviceInfo);
    void openDevice(const Tarpo::CDeviceInfo* pDeviceInfo);
    void openActiveDevice();
    void closeDevice(const Tarpo::CDeviceInfo* pDeviceInfo);
    void closeActiveDevice();
    void removeDevice(const Tarpo::CDeviceInfo* pDeviceInfo, bool regularRemoval);
    void surpriseRemove(uintptr_t Device);
    void startOneShot();
    void startContinuousShot(bool speedTest = false);
    void stopGrab();
    void stopAllGrabs();
    void startRecording(CRecordingOptions* pOptions);
    void pauseRecording();
    void stopRecording();
    void zoomIn();
    void zoomOut();
    void zoomToFit();
    void zoom100();
    void saveCurrentContextImage(const QString& fileName);
    void enableFpsThrottle(bool enable);
    bool optimizeCamera(const Tarpo::CDeviceInfo* pDeviceInfo = nullptr);
    void onPerfTimer();
    void onCameraStateChanged();
    void onPrepareGrab();
    void onFinishGrab();

private:
    // Throttle timer's thread: ticks every context's decoupler under m_tickMutex, then emits
    // throttleTimerTick.
    void emitThrottleTick();
    void changeDeviceContext(DeviceContext* context);
    void removeDeviceContext(DeviceContext* context);
    // Registers the removal callback of the context's freshly opened device.
    void watchRemoval(DeviceContext* context);
    // Forgets the removal watch of `device`: a notice queued for it is ignored afterwards.
    void forgetRemoval(Tarpo::ITarpoDevice* device);
    // The context's camera, or null; call with m_mutex held.
    Camera* cameraOf(const Tarpo::CDeviceInfo* pDeviceInfo);

    DeviceContext* m_currentContext = nullptr;
    QMdiArea* m_mdiArea;
    ImageWindow* m_pausedImageWindow = nullptr;
    // std::recursive_mutex rather than QMutex: ThreadSanitizer sees its synchronisation.
    std::recursive_mutex m_mutex; // guards m_contexts, m_currentContext, m_pausedImageWindow,
                                  // m_throttleEnabled, m_throttleTimer, m_watchedDevices
    std::map<GenICam::gcstring, DeviceContext*> m_contexts; // owned, deleted later
    std::mutex m_tickMutex; // guards m_tickTargets: the tick runs on the timer's thread
    std::vector<DeviceContext*> m_tickTargets;
    bool m_throttleEnabled = false;
    unsigned m_maxFps = 50;
    unsigned m_timerRes = 0;
    bool m_monitorMode = false;
    HiResTimer* m_throttleTimer = nullptr; // child, created on first enabling
    unsigned m_usedBufferMemory = 8388608;
    bool m_showFailedBuffers = true;

    // Devices whose removal callback is registered: the notice names the device by address,
    // which is only looked at while the device is here.
    struct WatchedDevice
    {
        Tarpo::CDeviceInfo info;
        Tarpo::DeviceCallbackHandle handle = 0;
    };
    std::map<uintptr_t, WatchedDevice> m_watchedDevices;
};
