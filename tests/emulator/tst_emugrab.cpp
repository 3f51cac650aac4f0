// Grabbing from the emulated camera through its stream grabber: acquisition modes, triggers,
// pacing, the delivered pixel data, failures (too small, injected faults, vanishing), cancel,
// statistics, two cameras at once and a monitor beside the controlling handle.

#include "emutestsupport.h"

#include "emulator/emuimagesynth.h"
#include "tarpo/pixeltype.h"

#include <QDir>
#include <QFile>
#include <QtTest>

#include <atomic>
#include <cstring>
#include <set>

using namespace GenApi;
using namespace EmuTest;
using Emulator::EmuTransportLayer;
using Tarpo::GrabResult;

namespace {

// The names of this process's threads.
QStringList threadNames()
{
    QStringList names;
    for (const QString& task :
         QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm("/proc/self/task/" + task + "/comm");
        if (comm.open(QIODevice::ReadOnly))
            names << QString::fromUtf8(comm.readAll()).trimmed();
    }
    return names;
}

bool consecutive(const std::vector<GrabResult>& results)
{
    for (size_t i = 1; i < results.size(); ++i) {
        if (results[i].GetFrameNumber() != results[i - 1].GetFrameNumber() + 1)
            return false;
    }
    return true;
}

bool increasing(const std::vector<GrabResult>& results)
{
    for (size_t i = 1; i < results.size(); ++i) {
        if (results[i].GetFrameNumber() <= results[i - 1].GetFrameNumber() ||
            results[i].GetTimeStamp() <= results[i - 1].GetTimeStamp())
            return false;
    }
    return true;
}

} // namespace

class TestEmuGrab : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void acquisitionModes_data();
    void acquisitionModes();
    void noFramesOutsideAcquisition();
    void softwareTrigger_data();
    void softwareTrigger();
    void lineTrigger_data();
    void lineTrigger();
    void pacing_data();
    void pacing();
    void pixelData_data();
    void pixelData();
    void bufferTooSmall();
    void cancelGrab_data();
    void cancelGrab();
    void faultInjection_data();
    void faultInjection();
    void underrunsCounted();
    void twoCamerasAtOnce();
    void monitorBesideController();
    void vanish();

private:
    std::unique_ptr<EmuTransportLayer> m_transportLayer;
    std::unique_ptr<Camera> m_camera;
};

void TestEmuGrab::init()
{
    m_transportLayer = std::make_unique<EmuTransportLayer>(2);
    m_camera = std::make_unique<Camera>(*m_transportLayer, 0);
    m_camera->smallImage();
}

void TestEmuGrab::cleanup()
{
    m_camera.reset();
    m_transportLayer.reset();
}

void TestEmuGrab::acquisitionModes_data()
{
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("frameCount");
    QTest::addColumn<int>("expected");

    QTest::newRow("single-frame") << "SingleFrame" << 7 << 1;
    QTest::newRow("multi-frame-1") << "MultiFrame" << 1 << 1;
    QTest::newRow("multi-frame-5") << "MultiFrame" << 5 << 5;
    QTest::newRow("multi-frame-12") << "MultiFrame" << 12 << 12;
}

void TestEmuGrab::acquisitionModes()
{
    QFETCH(QString, mode);
    QFETCH(int, frameCount);
    QFETCH(int, expected);
    m_camera->setEnumeration("AcquisitionMode", mode.toUtf8().constData());
    m_camera->setInteger("AcquisitionFrameCount", frameCount);
    m_camera->setReal("ExposureTime", 1000.0);
    Grab grab(m_camera->device, 4);
    CBooleanPtr status(m_camera->map->GetNode("AcquisitionStatus"));
    QVERIFY(!status->GetValue());

    for (int run = 0; run < 2; ++run) {
        m_camera->execute("AcquisitionStart");
        const std::vector<GrabResult> results = grab.collect(expected);
        QCOMPARE(int(results.size()), expected);
        QVERIFY(consecutive(results));
        for (const GrabResult& result : results)
            QVERIFY(result.Succeeded());
        // The acquisition ends by itself and delivers nothing more.
        QTRY_VERIFY(!status->GetValue());
        GrabResult extra;
        QVERIFY(!grab.next(extra, 100));
    }
}

void TestEmuGrab::noFramesOutsideAcquisition()
{
    m_camera->setReal("ExposureTime", 1000.0);
    Grab grab(m_camera->device, 4);
    GrabResult result;
    QVERIFY(!grab.next(result, 200));
    m_camera->execute("AcquisitionStart");
    QCOMPARE(int(grab.collect(10).size()), 10);
    m_camera->execute("AcquisitionStop");
    // Results retrieved now were all complete before AcquisitionStop returned.
    while (grab.grabber->RetrieveResult(result))
        grab.grabber->QueueBuffer(result.Handle());
    QVERIFY(!grab.next(result, 200));
    QCOMPARE(CBooleanPtr(m_camera->map->GetNode("AcquisitionStatus"))->GetValue(), false);
}

void TestEmuGrab::softwareTrigger_data()
{
    QTest::addColumn<int>("triggers");
    QTest::addColumn<bool>("burst"); // all triggers at once rather than one per frame

    QTest::newRow("one") << 1 << false;
    QTest::newRow("five-one-by-one") << 5 << false;
    QTest::newRow("five-in-a-burst") << 5 << true;
}

void TestEmuGrab::softwareTrigger()
{
    QFETCH(int, triggers);
    QFETCH(bool, burst);
    m_camera->setEnumeration("TriggerMode", "On");
    m_camera->setEnumeration("TriggerSource", "Software");
    m_camera->setReal("ExposureTime", 1000.0);
    Grab grab(m_camera->device, 8);
    // Before the acquisition starts, a trigger is ignored.
    m_camera->execute("TriggerSoftware");
    m_camera->execute("AcquisitionStart");
    GrabResult result;
    QVERIFY(!grab.next(result, 200));

    std::vector<GrabResult> results;
    if (burst) {
        for (int i = 0; i < triggers; ++i)
            m_camera->execute("TriggerSoftware");
        results = grab.collect(triggers);
    } else {
        for (int i = 0; i < triggers; ++i) {
            m_camera->execute("TriggerSoftware");
            const auto one = grab.collect(1);
            results.insert(results.end(), one.begin(), one.end());
        }
    }
    QCOMPARE(int(results.size()), triggers);
    QVERIFY(consecutive(results));
    QVERIFY(!grab.next(result, 200));
    m_camera->execute("AcquisitionStop");
}

void TestEmuGrab::lineTrigger_data()
{
    QTest::addColumn<QString>("activation");
    QTest::addColumn<int>("framesPerPulse");

    QTest::newRow("rising-edge") << "RisingEdge" << 1;
    QTest::newRow("falling-edge") << "FallingEdge" << 1;
    QTest::newRow("any-edge") << "AnyEdge" << 2;
}

void TestEmuGrab::lineTrigger()
{
    QFETCH(QString, activation);
    QFETCH(int, framesPerPulse);
    m_camera->setEnumeration("TriggerMode", "On");
    m_camera->setEnumeration("TriggerSource", "Line1");
    m_camera->setEnumeration("TriggerActivation", activation.toUtf8().constData());
    m_camera->setReal("ExposureTime", 1000.0);
    QVERIFY(!IsAvailable(m_camera->map->GetNode("TriggerSoftware")));
    Grab grab(m_camera->device, 8);
    m_camera->execute("AcquisitionStart");
    for (int pulse = 0; pulse < 3; ++pulse)
        m_camera->execute("DebugLine1Pulse");
    QCOMPARE(int(grab.collect(3 * framesPerPulse).size()), 3 * framesPerPulse);
    GrabResult result;
    QVERIFY(!grab.next(result, 200));
}

void TestEmuGrab::pacing_data()
{
    QTest::addColumn<double>("exposureUs");
    QTest::addColumn<double>("frameRateHz"); // 0: not enabled
    QTest::addColumn<qint64>("periodNs");

    QTest::newRow("frame-rate-200") << 100.0 << 200.0 << qint64(5000000);
    QTest::newRow("frame-rate-1000") << 10.0 << 1000.0 << qint64(1000000);
    QTest::newRow("exposure-20ms") << 20000.0 << 0.0 << qint64(20000000);
    QTest::newRow("exposure-4ms-below-frame-rate") << 4000.0 << 1000.0 << qint64(4000000);
}

void TestEmuGrab::pacing()
{
    QFETCH(double, exposureUs);
    QFETCH(double, frameRateHz);
    QFETCH(qint64, periodNs);
    m_camera->setReal("ExposureTime", exposureUs);
    if (frameRateHz > 0) {
        CBooleanPtr(m_camera->map->GetNode("AcquisitionFrameRateEnable"))->SetValue(true);
        m_camera->setReal("AcquisitionFrameRate", frameRateHz);
    }
    Grab grab(m_camera->device, 8);
    m_camera->execute("AcquisitionStart");
    const std::vector<GrabResult> results = grab.collect(12);
    m_camera->execute("AcquisitionStop");
    QCOMPARE(int(results.size()), 12);
    // Frames start on the grid of the frame period: never faster, and a frame the emulator
    // could not serve in time skips whole periods instead of shifting the grid.
    for (size_t i = 1; i < results.size(); ++i) {
        const int64_t delta =
            int64_t(results[i].GetTimeStamp()) - int64_t(results[i - 1].GetTimeStamp());
        QVERIFY2(delta >= periodNs && delta % periodNs == 0,
                 qPrintable(QString("frame %1: %2 ns after the previous one").arg(i).arg(delta)));
        QVERIFY(results[i].GetFrameNumber() > results[i - 1].GetFrameNumber());
    }
}

void TestEmuGrab::pixelData_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("testImage");
    QTest::addColumn<int>("offsetX");

    QTest::newRow("mono8-grey-ramp") << "Mono8"
                                     << "GreyRamp" << 0;
    QTest::newRow("mono12p-color-bars") << "Mono12p"
                                        << "ColorBars" << 64;
    QTest::newRow("mono12packed-checkerboard") << "Mono12Packed"
                                               << "Checkerboard" << 8;
    QTest::newRow("bayerrg8-checkerboard") << "BayerRG8"
                                           << "Checkerboard" << 4;
    QTest::newRow("bayergb10p-color-bars") << "BayerGB10p"
                                           << "ColorBars" << 0;
    QTest::newRow("rgb8-grey-ramp") << "RGB8"
                                    << "GreyRamp" << 200;
    QTest::newRow("bgra8-color-bars") << "BGRa8"
                                      << "ColorBars" << 0;
    QTest::newRow("yuv422-color-bars") << "YUV422_8"
                                       << "ColorBars" << 0;
    QTest::newRow("ycbcr422-moving-stripes") << "YCbCr422_8"
                                             << "MovingStripes" << 0;
    QTest::newRow("mono16-frame-counter") << "Mono16"
                                          << "FrameCounter" << 0;
    QTest::newRow("mono8-scene") << "Mono8"
                                 << "Off" << 12;
}

void TestEmuGrab::pixelData()
{
    QFETCH(QString, format);
    QFETCH(QString, testImage);
    QFETCH(int, offsetX);
    m_camera->smallImage(128, 16);
    m_camera->setInteger("OffsetX", offsetX);
    m_camera->setInteger("OffsetY", 2);
    m_camera->setEnumeration("PixelFormat", format.toUtf8().constData());
    m_camera->setEnumeration("TestImageSelector", testImage.toUtf8().constData());
    m_camera->setReal("ExposureTime", 1000.0);
    Grab grab(m_camera->device, 4);
    m_camera->execute("AcquisitionStart");
    const std::vector<GrabResult> results = grab.collect(3, false);
    m_camera->execute("AcquisitionStop");
    QCOMPARE(int(results.size()), 3);

    // The frames are exactly what the image synthesis renders for the camera's settings.
    Emulator::EmuImageParameters parameters;
    parameters.width = 128;
    parameters.height = 16;
    parameters.offsetX = uint32_t(offsetX);
    parameters.offsetY = 2;
    parameters.sensorWidth = 1920;
    parameters.sensorHeight = 1200;
    parameters.pixelType = Tarpo::GetPixelTypeFromName(format.toStdString());
    parameters.exposureTimeUs = 1000.0;
    parameters.testImage = Emulator::EmuTestImage(
        CEnumerationPtr(m_camera->map->GetNode("TestImageSelector"))->GetIntValue());
    Emulator::EmuImageSynth synth;
    synth.setParameters(parameters);
    std::vector<uint8_t> expected(synth.payloadSize());
    for (const GrabResult& result : results) {
        QVERIFY(result.Succeeded());
        QCOMPARE(result.GetPixelType(), parameters.pixelType);
        QCOMPARE(result.GetSizeX(), 128);
        QCOMPARE(result.GetSizeY(), 16);
        QCOMPARE(result.GetOffsetX(), offsetX);
        QCOMPARE(result.GetPayloadSize(), int64_t(expected.size()));
        synth.render(result.GetFrameNumber(), expected.data(), expected.size());
        QVERIFY(std::memcmp(result.Buffer(), expected.data(), expected.size()) == 0);
    }
}

void TestEmuGrab::bufferTooSmall()
{
    const size_t payload = size_t(m_camera->integer("PayloadSize"));
    Grab grab(m_camera->device, 1, payload - 1);
    m_camera->execute("AcquisitionStart");
    GrabResult result;
    QVERIFY(grab.next(result));
    m_camera->execute("AcquisitionStop");
    QCOMPARE(result.Status(), Tarpo::Failed);
    QCOMPARE(result.GetErrorCode(), uint32_t(Tarpo::GrabError_BufferTooSmall));
    QVERIFY(!result.GetErrorDescription().empty());
    QCOMPARE(result.GetPayloadSize(), int64_t(0));
    // Nothing was written into the short buffer.
    const auto* bytes = static_cast<const uint8_t*>(result.Buffer());
    QVERIFY(std::all_of(bytes, bytes + payload - 1, [](uint8_t b) { return b == 0xA5; }));
    QCOMPARE(grab.statistic("StatisticFailedBufferCount"), int64_t(1));
}

void TestEmuGrab::cancelGrab_data()
{
    QTest::addColumn<bool>("streaming");

    QTest::newRow("idle-queue") << false;
    QTest::newRow("while-streaming-fast") << true;
}

void TestEmuGrab::cancelGrab()
{
    QFETCH(bool, streaming);
    m_camera->setReal("ExposureTime", 10.0);
    const int count = 8;
    Grab grab(m_camera->device, count);
    std::set<Tarpo::StreamBufferHandle> withUs;
    if (streaming) {
        m_camera->execute("AcquisitionStart");
        QCOMPARE(int(grab.collect(50).size()), 50);
    }
    grab.grabber->CancelGrab();
    GrabResult result;
    int canceled = 0;
    while (grab.grabber->RetrieveResult(result)) {
        // Each buffer comes back exactly once.
        QVERIFY(withUs.insert(result.Handle()).second);
        if (result.Status() == Tarpo::Canceled)
            ++canceled;
    }
    QCOMPARE(int(withUs.size()), count);
    if (!streaming)
        QCOMPARE(canceled, count);
    QVERIFY(canceled > 0);
    QVERIFY(!grab.next(result, 100));
    if (streaming)
        m_camera->execute("AcquisitionStop");
    // The grab can go on with the same buffers.
    for (Tarpo::StreamBufferHandle handle : withUs)
        grab.grabber->QueueBuffer(handle);
    m_camera->execute("AcquisitionStart");
    QCOMPARE(int(grab.collect(3).size()), 3);
}

void TestEmuGrab::faultInjection_data()
{
    QTest::addColumn<int>("failedRate");
    QTest::addColumn<int>("truncatedRate");
    QTest::addColumn<int>("frames");
    QTest::addColumn<int>("expectedFailed");
    QTest::addColumn<int>("expectedTruncated");

    QTest::newRow("failed-100-permille") << 100 << 0 << 50 << 5 << 0;
    QTest::newRow("failed-333-permille") << 333 << 0 << 30 << 9 << 0;
    QTest::newRow("failed-all") << 1000 << 0 << 10 << 10 << 0;
    QTest::newRow("truncated-250-permille") << 0 << 250 << 50 << 0 << 12;
    // Failures hit frames 5, 10, 15, 20; truncation every second frame except those.
    QTest::newRow("both") << 200 << 500 << 20 << 4 << 8;
    QTest::newRow("none") << 0 << 0 << 20 << 0 << 0;
}

void TestEmuGrab::faultInjection()
{
    QFETCH(int, failedRate);
    QFETCH(int, truncatedRate);
    QFETCH(int, frames);
    QFETCH(int, expectedFailed);
    QFETCH(int, expectedTruncated);
    m_camera->setInteger("DebugFailedBufferRate", failedRate);
    m_camera->setInteger("DebugTruncatedFrameRate", truncatedRate);
    // One triggered frame at a time: a buffer is always queued, so every frame is delivered.
    m_camera->setEnumeration("TriggerMode", "On");
    m_camera->setReal("ExposureTime", 10.0);
    const int64_t payload = m_camera->integer("PayloadSize");
    Grab grab(m_camera->device, 2);
    m_camera->execute("AcquisitionStart");
    int failed = 0;
    int truncated = 0;
    for (int i = 0; i < frames; ++i) {
        m_camera->execute("TriggerSoftware");
        GrabResult result;
        QVERIFY(grab.next(result));
        if (result.GetErrorCode() == Tarpo::GrabError_MissingPackets) {
            ++failed;
            QCOMPARE(result.GetPayloadSize(), int64_t(0));
        } else if (result.GetErrorCode() == Tarpo::GrabError_Truncated) {
            ++truncated;
            QCOMPARE(result.GetPayloadSize(), payload / 2);
        } else {
            QVERIFY(result.Succeeded());
        }
        if (!result.Succeeded())
            QCOMPARE(result.Status(), Tarpo::Failed);
        grab.grabber->QueueBuffer(result.Handle());
    }
    QCOMPARE(failed, expectedFailed);
    QCOMPARE(truncated, expectedTruncated);
    QCOMPARE(grab.statistic("StatisticTotalBufferCount"), int64_t(frames));
    QCOMPARE(grab.statistic("StatisticFailedBufferCount"), int64_t(failed + truncated));
}

void TestEmuGrab::underrunsCounted()
{
    m_camera->setReal("ExposureTime", 1000.0);
    Grab grab(m_camera->device, 1);
    m_camera->execute("AcquisitionStart");
    GrabResult result;
    QVERIFY(grab.next(result));
    // Frames go on without a queued buffer: each one is an underrun.
    QTRY_VERIFY(m_camera->integer("DebugFrameCounter") >= 10);
    m_camera->execute("AcquisitionStop");
    const int64_t produced = m_camera->integer("DebugFrameCounter");
    QCOMPARE(grab.statistic("StatisticBufferUnderrunCount"), produced - 1);
    QCOMPARE(grab.statistic("StatisticTotalBufferCount"), int64_t(1));
    QCOMPARE(grab.statistic("StatisticLastBlockId"), produced);
    CCommandPtr(grab.grabber->GetNodeMap()->GetNode("StatisticReset"))->Execute();
    QCOMPARE(grab.statistic("StatisticBufferUnderrunCount"), int64_t(0));
}

void TestEmuGrab::twoCamerasAtOnce()
{
    Camera second(*m_transportLayer, 1);
    second.smallImage(96, 8);
    m_camera->setReal("ExposureTime", 2000.0);
    second.setReal("ExposureTime", 2000.0);
    Grab grabA(m_camera->device, 4);
    Grab grabB(second.device, 4);
    m_camera->execute("AcquisitionStart");
    second.execute("AcquisitionStart");

    std::vector<GrabResult> a, b;
    GrabResult result;
    while ((a.size() < 20 || b.size() < 20)) {
        if (a.size() < 20 && grabA.next(result, 1000)) {
            a.push_back(result);
            grabA.grabber->QueueBuffer(result.Handle());
        }
        if (b.size() < 20 && grabB.next(result, 1000)) {
            b.push_back(result);
            grabB.grabber->QueueBuffer(result.Handle());
        }
        if (QTest::currentTestFailed())
            return;
    }
    // Each camera produced its frames on a thread of its own.
    const QStringList threads = threadNames();
    QVERIFY2(threads.contains("Emu_EMU0001"), qPrintable(threads.join(',')));
    QVERIFY2(threads.contains("Emu_EMU0002"), qPrintable(threads.join(',')));
    m_camera->execute("AcquisitionStop");
    second.execute("AcquisitionStop");
    QVERIFY(increasing(a));
    QVERIFY(increasing(b));
    for (const GrabResult& r : a)
        QCOMPARE(r.GetSizeX(), 64);
    for (const GrabResult& r : b)
        QCOMPARE(r.GetSizeX(), 96);
}

void TestEmuGrab::monitorBesideController()
{
    // A second control handle is refused as another application's would be.
    try {
        Camera intruder(*m_transportLayer, 0);
        QFAIL("a second control handle was opened");
    } catch (const GenICam::AccessException& e) {
        QVERIFY2(QString(e.GetDescription()).contains("already opened by another application"),
                 e.GetDescription());
    }

    Camera monitor(*m_transportLayer, 0, Tarpo::Stream);
    QCOMPARE(monitor.device->GetAccessMode(), Tarpo::AccessModeSet(Tarpo::Stream));
    QCOMPARE(monitor.integer("Width"), int64_t(64));
    QVERIFY(!IsWritable(monitor.map->GetNode("Width")));
    QVERIFY(!IsWritable(monitor.map->GetNode("AcquisitionStart")));
    QVERIFY_EXCEPTION_THROWN(monitor.setInteger("Width", 128), GenICam::AccessException);
    QVERIFY(!IsWritable(monitor.device->GetTLNodeMap()->GetNode("TLParamsLocked")));

    m_camera->setReal("ExposureTime", 5000.0);
    Grab watch(monitor.device, 8);
    QCOMPARE(m_camera->integer("TLParamsLocked"), int64_t(0)); // a monitor locks nothing
    {
        Grab grab(m_camera->device, 8);
        QCOMPARE(monitor.integer("TLParamsLocked"), int64_t(1));
        m_camera->execute("AcquisitionStart");
        const std::vector<GrabResult> controller = grab.collect(5, false);
        const std::vector<GrabResult> watched = watch.collect(5, false);
        m_camera->execute("AcquisitionStop");
        QCOMPARE(int(watched.size()), 5);
        for (size_t i = 0; i < watched.size(); ++i) {
            QCOMPARE(watched[i].GetFrameNumber(), controller[i].GetFrameNumber());
            QVERIFY(std::memcmp(watched[i].Buffer(), controller[i].Buffer(),
                                size_t(watched[i].GetPayloadSize())) == 0);
        }
        // The monitor sees the controller's changes.
        m_camera->setReal("ExposureTime", 7000.0);
        QCOMPARE(monitor.real("ExposureTime"), 7000.0);
    }

    // The controller goes; the monitor stays, and another application may take control.
    m_camera->execute("AcquisitionStart");
    m_camera.reset();
    QCOMPARE(CBooleanPtr(monitor.map->GetNode("AcquisitionStatus"))->GetValue(), false);
    QCOMPARE(monitor.integer("TLParamsLocked"), int64_t(0));
    Camera next(*m_transportLayer, 0);
    QCOMPARE(next.integer("Width"), int64_t(64)); // no power-up while the monitor has it open
}

void TestEmuGrab::vanish()
{
    std::atomic<int> removals{0};
    m_camera->device->RegisterRemovalCallback([&removals](Tarpo::ITarpoDevice*) { ++removals; });
    m_camera->setReal("ExposureTime", 1000.0);
    {
        Grab grab(m_camera->device, 4);
        m_camera->setEnumeration("TriggerMode", "On");
        m_camera->execute("AcquisitionStart");
        m_camera->execute("DebugDeviceVanish");
        QTRY_COMPARE(removals.load(), 1);

        // The queued buffers come back failed, and so does one queued afterwards.
        GrabResult result;
        std::vector<GrabResult> lost;
        while (grab.next(result, 100)) {
            QCOMPARE(result.Status(), Tarpo::Failed);
            QCOMPARE(result.GetErrorCode(), uint32_t(Tarpo::GrabError_DeviceLost));
            lost.push_back(result);
        }
        QCOMPARE(int(lost.size()), 4);
        grab.grabber->QueueBuffer(lost.front().Handle());
        QVERIFY(grab.next(result, 100));
        QCOMPARE(result.GetErrorCode(), uint32_t(Tarpo::GrabError_DeviceLost));

        QVERIFY_EXCEPTION_THROWN(m_camera->integer("Width"), GenICam::GenericException);
        QVERIFY_EXCEPTION_THROWN(m_camera->execute("AcquisitionStart"), GenICam::GenericException);
    }
    Tarpo::DeviceInfoList_t infos;
    QCOMPARE(m_transportLayer->EnumerateDevices(infos), 1);
    QCOMPARE(QString(infos[0].GetSerialNumber().c_str()), QString("EMU0002"));

    // Once every handle let go, the camera is back as if plugged in again.
    m_camera.reset();
    QCOMPARE(removals.load(), 1);
    QCOMPARE(m_transportLayer->EnumerateDevices(infos), 2);
    m_camera = std::make_unique<Camera>(*m_transportLayer, 0);
    QCOMPARE(m_camera->integer("Width"), int64_t(1920));
}

QTEST_GUILESS_MAIN(TestEmuGrab)
#include "tst_emugrab.moc"
