#pragma once

// Wraps one camera device and its first stream grabber: allocates and recycles the frame
// buffers, runs the grab loop on its own thread (Camera is a QThread; run() is the loop), hands
// every grabbed buffer on through bufferAvailable, counts good and failed frames, measures frame
// and data rates and logs open/close/start/stop for the user. Subclasses reach the device's
// features through the virtual hooks.
// Thread-safe: commands on the GUI thread; run() on the grab thread; comeHome() on whichever
// thread releases a buffer. m_mutex serialises all three.

#include "qtbase/fpsstatistic.h"
#include "qtbase/semaphore.h"
#include "tarpo/deviceinfo.h"
#include "tarpo/pixeltype.h"

#include <QString>
#include <QThread>

#include <atomic>
#include <mutex>
#include <set>

namespace Tarpo {
class ITarpoDevice;
class IStreamGrabber;
}
namespace GenApi {
class INodeMap;
}
namespace TarpoViewerSdk {
class StreamBuffer;
}

class Camera : public QThread
{
    Q_OBJECT

public:
    enum State
    {
        NoDevice = 0,
        Attached = 1,
        Open = 2,
        SingleShot = 3,
        ContinuousShot = 4
    };

    Camera(const Tarpo::CDeviceInfo* info, QObject* parent, unsigned usedBufferMemory,
           bool monitorMode);
    ~Camera() override;

    int state() const { return m_state.load(); }
    bool isOpen() const { return state() >= Open; }
    bool isGrabbing() const { return state() == SingleShot || state() == ContinuousShot; }
    Tarpo::ITarpoDevice* device() const { return m_device; }
    const Tarpo::CDeviceInfo& deviceInfo() const { return m_deviceInfo; }
    Tarpo::IStreamGrabber* streamGrabber() const { return m_streamGrabber; }
    bool monitorMode() const { return m_monitorMode; }
    bool fileAccessAvailable() const { return m_fileAccessAvailable; }
    bool removed() const { return m_removed.load(); }
    void setRemoved(bool removed) { m_removed = removed; }
    bool showFailedBuffers() const { return m_showFailedBuffers.load(); }
    void setShowFailedBuffers(bool show) { m_showFailedBuffers = show; }
    bool speedTest() const { return m_speedTest; }
    uint32_t bufferCount() const { return m_bufferCount; }
    uint32_t grabRun() const { return m_grabRun; }
    uint32_t streamGrabberOpenCount() const { return m_streamGrabberOpenCount; }
    uint32_t payloadSize() const { return m_payloadSize; }
    uint32_t totalCounter() const { return m_totalCounter.load(); }
    uint32_t erroneousTotal() const { return m_erroneousTotal.load(); }
    QString displayName() const { return m_displayName; }
    // Buffers of this camera alive now (queued, held by consumers, or waiting to be deleted).
    int allocatedBufferCount();

    // The number of buffers a grab run uses: with the memory budget, budget / payload capped at
    // maxNumBuffers or raised to minCount; without it, minCount.
    static uint32_t computeBufferCount(uint32_t usedBufferMemory, uint32_t payloadSize,
                                       uint32_t minCount, bool useMemoryBudget,
                                       uint32_t maxNumBuffers);

    // Sets an enumeration feature of the device, logging instead of throwing.
    void setEnumValSafe(const char* nodeName, const char* value);
    // Configures the device's automatic functions for a good picture (exposure, gain, white
    // balance on "Once"), using whichever feature family the device offers.
    void optimizeImageQuality();

signals:
    void bufferAvailable(TarpoViewerSdk::StreamBuffer* buffer);
    void cameraStateChanged();
    void cameraOpened();
    void cameraClosed();
    void preparedGrab();
    void finishedGrab();
    void CameraMonitorModeChanged(bool monitorMode);
    void stopRequest();

public slots:
    void open();
    void close();
    void startOneShot();
    void startContinuousShot(bool speedtest = false);
    void stopGrab();
    void shutDown();
    void attachTarpoDevice(Tarpo::ITarpoDevice* pCamera);
    void detachTarpoDevice();
    void comeHome(TarpoViewerSdk::StreamBuffer* buffer);
    void setPureGrab(bool PureGrab);
    void getPerfData(double* pFramesPerSecond, uint64_t* pBytesPerSecond, bool* hasBeenReset);
    void getCounterData(uint32_t& imageCounter, uint32_t& erroneousCounter);
    void onNotifyNewMonitorMode(bool bNewMode);

protected:
    // Hooks of the concrete camera. The device is open (state 2 or more) when they are called,
    // except onOpen/onClose, which bracket the open device.
    virtual int64_t devicePayloadSize() = 0;
    virtual int deviceWidth() = 0;
    virtual int deviceHeight() = 0;
    virtual Tarpo::EPixelType devicePixelType() = 0;
    virtual void startAcquisition() = 0;
    virtual void stopAcquisition() = 0;
    virtual void onOpen() = 0;
    virtual void onClose() = 0;
    // Called before a grab starts (not in monitor mode); `continuous` tells the kind.
    virtual void onPreGrab(bool continuous) { (void)continuous; }
    // Sets the grabber's buffer limits; `grabMode` 0 single frame, 1 continuous.
    virtual void onPrepareGrab(uint32_t payloadSize, uint32_t bufferCount, int grabMode) = 0;

    void run() override;
    // Call after the grab thread ended (QThread::wait() returned).
    void joined() const;

    GenApi::INodeMap* deviceNodeMap() const;
    void setState(State state);
    // True when the grab run could be prepared; false (with a trace) otherwise.
    bool prepareGrab(uint32_t minCount, bool useMemoryBudget, int acquisitionMode);
    void finishGrab();
    void closeStreamGrabber();
    void deleteBuffer(TarpoViewerSdk::StreamBuffer* buffer, bool deregister);

    Tarpo::ITarpoDevice* m_device = nullptr;
    Tarpo::CDeviceInfo m_deviceInfo;
    Tarpo::IStreamGrabber* m_streamGrabber = nullptr;
    std::atomic<int> m_state{NoDevice};
    // std::recursive_mutex rather than QMutex: ThreadSanitizer sees its synchronisation.
    mutable std::recursive_mutex m_mutex; // guards the device, grabber, grab-run fields and m_buffers
    Semaphore m_nonQueuedBuffers{0};
    std::atomic<bool> m_stopFlag{false};
    uint32_t m_grabRun = 0;
    uint32_t m_streamGrabberOpenCount = 0;
    uint32_t m_payloadSize = 0;
    int32_t m_width = 0;
    int32_t m_height = 0;
    Tarpo::EPixelType m_pixelType = Tarpo::PixelType_Undefined;
    FpsStatistic m_fpsStatistic{32};
    std::atomic<bool> m_pureGrab{false};
    uint32_t m_usedBufferMemory;
    uint32_t m_bufferCount = 0;
    bool m_fileAccessAvailable = false;
    bool m_monitorMode;
    std::atomic<uint32_t> m_imageCounter{0};
    std::atomic<uint32_t> m_totalCounter{0};
    std::atomic<uint32_t> m_erroneousCounter{0};
    std::atomic<uint32_t> m_erroneousTotal{0};
    std::atomic<bool> m_removed{false};
    int m_minNumBuffers = 10;
    int m_maxNumBuffers = 450;
    std::atomic<bool> m_showFailedBuffers{true};
    bool m_speedTest = false;
    QString m_displayName;

private:
    std::set<TarpoViewerSdk::StreamBuffer*> m_buffers; // every buffer alive, for orphaning
    bool m_runFinished = true; // the grabber's FinishGrab ran for m_grabRun
    std::atomic<int> m_runsEnded{0}; // grab loops that ended; orders their end before joined()
    int m_startLogId = -1;
};
