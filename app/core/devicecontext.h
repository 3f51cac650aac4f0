#pragma once

// Everything the viewer holds for one camera: the camera with its grab thread, the decoupler and
// the converter that feed its image window, the image window itself (created on demand) and,
// while recording, the recording. Wires them with fixed connections, creates the camera device
// on a worker thread so the GUI keeps painting, and turns every failure of a device command
// into a message box.
// Thread: GUI only, except onThrottleTimerTick() (the throttle timer's thread, only waking the
// decoupler). Image data never passes through the context: it flows on the grab thread
// into the decoupler and, on the decoupler's thread, through the converter into the window.

#include "display/imagewindow.h"
#include "recording/recordingcontroller.h"
#include "recording/recordingoptions.h"

#include <QMdiSubWindow>
#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>
#include <mutex>

class Camera;
class ContextManager;
class Converter;
class CRecordingAssembly;
class Decoupler;
class QMdiArea;
namespace TarpoViewerSdk {
class StreamBuffer;
}

namespace GenApi {
class INodeMap;
}
namespace Tarpo {
class CDeviceInfo;
class ITarpoDevice;
} // namespace Tarpo

class DeviceContext : public QObject
{
    Q_OBJECT

public:
    // Builds the context with its StdFeatureListCamera and connects it to the manager.
    static DeviceContext* create(const Tarpo::CDeviceInfo* info, QMdiArea* mdiArea,
                                 ContextManager* contextManager, unsigned usedBufferMemory,
                                 bool monitorMode);
    ~DeviceContext() override;

    // Takes ownership of `camera` and wires camera, decoupler and converter.
    void setCamera(Camera* camera);
    Camera* camera() const { return m_camera; }
    ImageWindow* imageWindow() const { return m_imageWindow; }
    Decoupler* decoupler() const { return m_decoupler; }
    Converter* converter() const { return m_converter.get(); }
    QString displayName() const { return m_displayName; }
    // Whether AcquisitionMode offers SingleFrame; found when the camera was opened.
    bool singleFrameAvailable() const { return m_singleFrameAvailable; }

    // Starts a recording with a copy of `pOptions`; starts grabbing first when the camera is idle.
    void startRecording(CRecordingOptions* pOptions);
    void pauseRecording();
    void stopRecording();
    // The recording is recording or paused.
    bool isRecordingActive() const;
    bool isRecordingPaused() const;
    // A recording exists (from its start until it has written its last frame).
    bool hasRecording() const;
    // Null when no recording exists.
    CRecordingController* recordingController() const;

    // Creates the device on a worker thread while the GUI repaints every 100 ms (user input
    // held back). Null when no transport layer serves the device class; a failure of the
    // transport layer is rethrown here.
    static Tarpo::ITarpoDevice* createTarpoDevice(const Tarpo::CDeviceInfo* info);

signals:
    void cameraStateChanged();
    void deviceOpened(Tarpo::ITarpoDevice* device);
    void deviceClosed(Tarpo::ITarpoDevice* device);
    void nodemapAvailable(Camera* camera, GenApi::INodeMap* nodeMap, QString displayName,
                          QString roleName);
    void recordingStateChanged();

public slots:
    void shutDown();
    void startOneShot();
    void startContinuousShot(bool speedTest = false);
    void stopGrab();
    bool openCamera();
    bool attachAndOpenDevice(const Tarpo::CDeviceInfo* pDeviceInfo);
    void closeCamera();
    void enableThrottle(bool enable);
    void announceNodemaps();
    void onThrottleTimerTick();
    void imageWindowClosed();
    void updateImageWindowRecordingStatus();
    void recordingStateChanged(CRecordingController::ERecordingState state);
    void recordingFailure(QString errorMessage, QString addlInfo);
    void onCameraOpened();
    void onCameraClosed();
    void onNodemapAvailable(GenApi::INodeMap* nodeMap, QString displayName, QString roleName);

private:
    DeviceContext(ContextManager* contextManager, QMdiArea* mdiArea);

    // Creates, connects and shows the image window if there is none.
    void createImageWindow();
    void showImageWindow();
    // False (with the warning) when the converter cannot show the camera's pixel format.
    bool checkPixelFormat();
    // Runs `command` and shows any exception with `source` and `message`; false after one.
    template <typename Command>
    bool reportFailures(const char* source, const QString& message, Command command);
    // Deletes the recording; call with m_recordingMutex held.
    void destroyRecording();
    // Grab thread: hands a frame to the recording, if one takes frames.
    void forwardToRecording(TarpoViewerSdk::StreamBuffer* buffer);

    Camera* m_camera = nullptr; // owned
    QPointer<ImageWindow> m_imageWindow;
    QPointer<QMdiSubWindow> m_imageSubWindow;
    QMdiArea* m_mdiArea;
    Decoupler* m_decoupler = nullptr;       // child of this
    std::unique_ptr<Converter> m_converter; // lives on the decoupler's thread's calls, owned here
    // std::recursive_mutex rather than QMutex: ThreadSanitizer sees its synchronisation.
    mutable std::recursive_mutex m_recordingMutex; // guards m_recording
    std::unique_ptr<CRecordingAssembly> m_recording;
    std::mutex m_relayMutex; // guards m_relayController: the grab thread reads it per frame
    CRecordingController* m_relayController = nullptr;
    QString m_displayName;
    int m_recordingLogId = -1;
    bool m_grabStartedForRecording = false;
    bool m_singleFrameAvailable = false;
};
