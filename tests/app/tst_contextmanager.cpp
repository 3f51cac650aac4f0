// labels: gui sanitize
#include "acquisition/camera.h"
#include "app/core/contextmanager.h"
#include "app/core/devicecontext.h"
#include "genapi/genapi.h"
#include "messagelog/messagelog.h"
#include "qtbase/asyncerrorqueue.h"
#include "qtbase/hirestimer.h"
#include "recording/recordingoptions.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/tlfactory.h"

#include <QDir>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>
#include <QProcess>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// Collects what the viewer writes to its message log.
class LogCapture : public QObject
{
    Q_OBJECT

public:
    LogCapture() { TarpoViewer::registerLogReceiver(this); }
    ~LogCapture() override { TarpoViewer::unregisterLogReceiver(this); }
    bool contains(const QString& text) const
    {
        return std::any_of(messages.begin(), messages.end(),
                           [&](const QString& m) { return m.contains(text); });
    }
    QStringList messages;

public slots:
    void onLogMessage(TarpoViewer::LogLevel, QDateTime, const QString&, const QString& message, int,
                      int)
    {
        messages << message;
    }
};

Tarpo::DeviceInfoList_t emulatedCameras()
{
    Tarpo::DeviceInfoList_t devices;
    Tarpo::ITransportLayer* tl = Tarpo::CTlFactory::GetInstance().CreateTl("MorvexCamEmu");
    if (tl) {
        tl->EnumerateDevices(devices);
        Tarpo::CTlFactory::GetInstance().ReleaseTl(tl);
    }
    return devices;
}

void setFeature(Camera* camera, const char* name, const char* value)
{
    GenApi::CValuePtr node = camera->device()->GetNodeMap()->GetNode(name);
    QVERIFY2(node, name);
    node->FromString(value);
}

// A small fast stream, so grabs and recordings are quick.
void smallStream(Camera* camera)
{
    setFeature(camera, "Width", "64");
    setFeature(camera, "Height", "48");
    setFeature(camera, "PixelFormat", "Mono8");
    setFeature(camera, "ExposureTime", "100");
    setFeature(camera, "AcquisitionFrameRateEnable", "1");
    setFeature(camera, "AcquisitionFrameRate", "200");
}

int ffprobeFrames(const QString& file)
{
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-count_frames", "-select_streams", "v:0",
                            "-show_entries", "stream=nb_read_frames", "-of", "csv=p=0", file});
    if (!probe.waitForFinished(30000) || probe.exitCode() != 0)
        return -1;
    return probe.readAllStandardOutput().trimmed().toInt();
}

} // namespace

// The context manager and device contexts over emulated cameras, as the main window drives them.
class tst_ContextManager : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void throttleInterval_data();
    void throttleInterval();
    void contextCreatedOncePerDevice();
    void twoCamerasGrabAtOnce();
    void enableQueries_data();
    void enableQueries();
    void secondRecordingIsRefused();
    void recordingOnIdleCameraStopsItsGrab();
    void surpriseRemovalAndReopen();

private:
    Camera* openCamera(int index);

    QTemporaryDir m_dir;
    Tarpo::DeviceInfoList_t m_devices;
    std::unique_ptr<QMdiArea> m_mdiArea;
    std::unique_ptr<ContextManager> m_manager;
    std::unique_ptr<LogCapture> m_log;
};

void tst_ContextManager::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.path());
    QCoreApplication::setOrganizationName("Morvex");
    QCoreApplication::setApplicationName("Tarpo Viewer");
    m_devices = emulatedCameras();
    QVERIFY(m_devices.size() >= 2);
}

void tst_ContextManager::init()
{
    m_log = std::make_unique<LogCapture>();
    m_mdiArea = std::make_unique<QMdiArea>();
    m_manager = std::make_unique<ContextManager>(m_mdiArea.get(), nullptr);
}

void tst_ContextManager::cleanup()
{
    m_manager->shutDown();
    m_manager.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    m_mdiArea.reset();
    m_log.reset();
    QSettings().clear();
}

Camera* tst_ContextManager::openCamera(int index)
{
    const Tarpo::CDeviceInfo* info = &m_devices[size_t(index)];
    m_manager->changeCurrentDevice(info);
    m_manager->openDevice(info);
    DeviceContext* context = m_manager->findContext(info);
    return context && context->camera()->isOpen() ? context->camera() : nullptr;
}

void tst_ContextManager::throttleInterval_data()
{
    QTest::addColumn<QVariant>("maxFps");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<unsigned>("intervalMs");
    QTest::newRow("default-50") << QVariant() << true << 20u;
    QTest::newRow("3-fps") << QVariant(3) << true << 333u;
    QTest::newRow("off") << QVariant(0) << false << 0u;
}

void tst_ContextManager::throttleInterval()
{
    QFETCH(QVariant, maxFps);
    QFETCH(bool, enabled);
    QFETCH(unsigned, intervalMs);
    if (maxFps.isValid())
        QSettings().setValue("Display/MaxFps", maxFps);
    ContextManager manager(m_mdiArea.get(), nullptr);
    QCOMPARE(manager.isThrottleEnabled(), enabled);
    QCOMPARE(manager.throttleTimer() != nullptr, enabled);
    if (enabled)
        QCOMPARE(manager.throttleTimer()->intervalMs(), intervalMs);
}

void tst_ContextManager::contextCreatedOncePerDevice()
{
    QSignalSpy changed(m_manager.get(), &ContextManager::cameraChanged);
    m_manager->changeCurrentDevice(&m_devices[0]);
    DeviceContext* first = m_manager->currentContext();
    m_manager->changeCurrentDevice(&m_devices[0]);
    QCOMPARE(changed.count(), 1); // selecting the current device again changes nothing
    m_manager->changeCurrentDevice(&m_devices[1]);
    m_manager->changeCurrentDevice(&m_devices[0]);
    QCOMPARE(m_manager->contextCount(), 2);
    QCOMPARE(m_manager->currentContext(), first);
    QCOMPARE(changed.count(), 3);
    // Unknown devices are silent no-ops.
    Tarpo::CDeviceInfo unknown;
    unknown.SetFullName("Nowhere-Camera-0");
    QCOMPARE(m_manager->findContext(&unknown), nullptr);
    m_manager->openDevice(&unknown);
    m_manager->closeDevice(&unknown);
    QCOMPARE(m_manager->contextCount(), 2);
}

void tst_ContextManager::twoCamerasGrabAtOnce()
{
    QSignalSpy removed(m_manager.get(), &ContextManager::cameraRemoved);
    Camera* cameras[2] = {openCamera(0), openCamera(1)};
    for (int i = 0; i < 2; ++i) {
        QVERIFY(cameras[i]);
        smallStream(cameras[i]);
        m_manager->changeCurrentDevice(&m_devices[size_t(i)]);
        m_manager->startContinuousShot();
        QCOMPARE(cameras[i]->state(), int(Camera::ContinuousShot));
    }
    QCOMPARE(m_mdiArea->subWindowList().size(), 2);
    for (int i = 0; i < 2; ++i) {
        ImageWindow* window = m_manager->imageWindowOfCamera(cameras[i]);
        QVERIFY(window);
        QCOMPARE(m_manager->cameraOfImageWindow(window), cameras[i]);
        QTRY_VERIFY(window->hasValidImage());
    }
    QList<Camera*> running;
    QCOMPARE(m_manager->runningCameras(running), 2);
    m_manager->stopAllGrabs();
    QVERIFY(!m_manager->isGrabbing(&m_devices[0]) && !m_manager->isGrabbing(&m_devices[1]));
    m_manager->closeDevice(&m_devices[0]);
    m_manager->closeDevice(&m_devices[1]);
    QCOMPARE(removed.count(), 2);
    QCOMPARE(m_manager->contextCount(), 0);
    QTRY_COMPARE(m_mdiArea->subWindowList().size(), 0);
    QTRY_VERIFY(m_log->contains(QString("\"%1\" has been closed.")
                                    .arg(QString::fromStdString(m_devices[1].GetFriendlyName()))));
    QVERIFY(m_log->contains("has been opened."));
}

void tst_ContextManager::enableQueries_data()
{
    QTest::addColumn<QString>("state");
    // open, grabbing, canGrab, canChangeOpenDevice, canSingleShot, canRecord, active, paused
    QTest::addColumn<QVector<bool>>("expected");
    QTest::newRow("selected-closed")
        << "closed" << QVector<bool>{false, false, false, false, false, false, false, false};
    QTest::newRow("open") << "open"
                          << QVector<bool>{true, false, true, true, true, true, false, false};
    QTest::newRow("grabbing") << "grabbing"
                              << QVector<bool>{true, true, false, false, false, true, false, false};
    QTest::newRow("recording") << "recording" << QVector<bool>{true,  true,  false, false,
                                                               false, false, true,  false};
    QTest::newRow("paused") << "paused"
                            << QVector<bool>{true, true, false, false, false, false, true, true};
}

void tst_ContextManager::enableQueries()
{
    QFETCH(QString, state);
    QFETCH(QVector<bool>, expected);
    // Nothing selected: every query is false.
    QVERIFY(!m_manager->isDeviceOpen() && !m_manager->canGrab() && !m_manager->canRecord());
    m_manager->changeCurrentDevice(&m_devices[0]);
    Camera* camera = m_manager->currentContext()->camera();
    CRecordingOptions options;
    options.OutputFolder = m_dir.filePath("enable").toStdString();
    options.OutputType = 1;
    options.FrameBasedFrameLimitEnabled = false;
    if (state != "closed") {
        m_manager->openDevice(&m_devices[0]);
        QVERIFY(camera->isOpen());
        smallStream(camera);
    }
    if (state == "grabbing")
        m_manager->startContinuousShot();
    if (state == "recording" || state == "paused")
        m_manager->startRecording(&options);
    if (state == "paused")
        m_manager->pauseRecording();
    const QVector<bool> actual{m_manager->isDeviceOpen(),      m_manager->isGrabbing(),
                               m_manager->canGrab(),           m_manager->canChangeOpenDevice(),
                               m_manager->canSingleShot(),     m_manager->canRecord(),
                               m_manager->isRecordingActive(), m_manager->isRecordingPaused()};
    QCOMPARE(actual, expected);
    if (m_manager->isRecordingActive()) {
        m_manager->stopRecording();
        QTRY_VERIFY(!m_manager->currentContext()->hasRecording());
    }
}

void tst_ContextManager::secondRecordingIsRefused()
{
    Camera* camera = openCamera(0);
    QVERIFY(camera);
    smallStream(camera);
    QSignalSpy errors(&AsyncErrorQueue::instance(), &AsyncErrorQueue::displayError);
    CRecordingOptions options;
    options.OutputFolder = m_dir.filePath("twice").toStdString();
    options.OutputType = 1;
    options.FrameBasedFrameLimitEnabled = false;
    m_manager->startRecording(&options);
    CRecordingController* running = m_manager->currentContext()->recordingController();
    QVERIFY(running);
    m_manager->startRecording(&options);
    QCOMPARE(m_manager->currentContext()->recordingController(), running);
    QCOMPARE(errors.count(), 1);
    QCOMPARE(errors.at(0).at(1).toString(),
             QString("Recording could not be started because another recording is already in "
                     "progress."));
    m_manager->stopRecording();
    QTRY_VERIFY(!m_manager->currentContext()->hasRecording());
    // Started on an idle camera: its grab goes with the recording.
    QTRY_VERIFY(!camera->isGrabbing());
}

void tst_ContextManager::recordingOnIdleCameraStopsItsGrab()
{
    Camera* camera = openCamera(0);
    QVERIFY(camera);
    smallStream(camera);
    CRecordingOptions options;
    options.OutputFolder = m_dir.filePath("avi").toStdString();
    options.OutputType = 0;
    options.SamplingMethod = 0;
    options.FrameBasedFrameLimitEnabled = true;
    options.FrameBasedFrameLimit = 25;
    options.FrameBasedFrameSampleRate = 1;
    QSignalSpy states(m_manager.get(), &ContextManager::recordingStateChanged);
    m_manager->startRecording(&options);
    QVERIFY(camera->isGrabbing());
    QTRY_VERIFY_WITH_TIMEOUT(!m_manager->currentContext()->hasRecording(), 20000);
    QVERIFY(!camera->isGrabbing());
    QVERIFY(states.count() >= 2);
    const QStringList files = QDir(m_dir.filePath("avi")).entryList({"*.avi"}, QDir::Files);
    QCOMPARE(files.size(), 1);
    QCOMPARE(ffprobeFrames(m_dir.filePath("avi/" + files.first())), 25);
    QTRY_VERIFY(m_log->contains("Recording has been stopped."));
    QVERIFY(m_log->contains("Recording has been started."));
}

void tst_ContextManager::surpriseRemovalAndReopen()
{
    Camera* camera = openCamera(0);
    QVERIFY(camera);
    smallStream(camera);
    m_manager->startContinuousShot();
    QPointer<ImageWindow> window = m_manager->imageWindowOfCamera(camera);
    QVERIFY(window);
    QSignalSpy removed(m_manager.get(), &ContextManager::cameraRemoved);
    QSignalSpy surprise(m_manager.get(), &ContextManager::surpriseRemoved);
    QSignalSpy changed(m_manager.get(), &ContextManager::cameraChanged);
    GenApi::CCommandPtr vanish = camera->device()->GetNodeMap()->GetNode("DebugDeviceVanish");
    QVERIFY(vanish);
    vanish->Execute();
    QTRY_COMPARE_WITH_TIMEOUT(surprise.count(), 1, 10000);
    QCOMPARE(removed.count(), 1);
    QCOMPARE(surprise.at(0).at(1).toString(), QString::fromStdString(m_devices[0].GetFullName()));
    QVERIFY(!changed.isEmpty() && changed.last().at(0).value<Camera*>() == nullptr);
    QCOMPARE(m_manager->contextCount(), 0);
    QTRY_VERIFY(window.isNull());

    // Every handle is gone, so the camera is back: it opens again.
    QTRY_COMPARE(int(emulatedCameras().size()), int(m_devices.size()));
    Camera* again = openCamera(0);
    QVERIFY(again);
    m_manager->startContinuousShot();
    QTRY_VERIFY(m_manager->imageWindowOfCamera(again) &&
                m_manager->imageWindowOfCamera(again)->hasValidImage());
}

QTEST_MAIN(tst_ContextManager)
#include "tst_contextmanager.moc"
