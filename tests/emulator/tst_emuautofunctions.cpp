// The emulated camera's automatic exposure, gain and white balance, judged by the frames it
// delivers: "Once" reaches the target and turns itself off, "Continuous" holds it, limits and
// profiles decide which setting moves, and the node maps hear of the camera's own changes.

#include "emutestsupport.h"

#include <QElapsedTimer>
#include <QtTest>

#include <atomic>

using namespace GenApi;
using namespace EmuTest;
using Emulator::EmuTransportLayer;
using Tarpo::GrabResult;

namespace {

struct Means
{
    double red = 0;
    double green = 0;
    double blue = 0;
    double grey = 0; // for mono frames
};

// Mean samples of a Mono8 or RGB8 frame as fractions of full scale.
Means means(const GrabResult& result)
{
    const auto* bytes = static_cast<const uint8_t*>(result.Buffer());
    const size_t pixels = size_t(result.GetSizeX()) * size_t(result.GetSizeY());
    Means m;
    if (result.GetPixelType() == Tarpo::PixelType_Mono8) {
        double sum = 0;
        for (size_t i = 0; i < pixels; ++i)
            sum += bytes[i];
        m.grey = sum / double(pixels) / 255.0;
        return m;
    }
    for (size_t i = 0; i < pixels; ++i) {
        m.red += bytes[3 * i];
        m.green += bytes[3 * i + 1];
        m.blue += bytes[3 * i + 2];
    }
    m.red /= double(pixels) * 255.0;
    m.green /= double(pixels) * 255.0;
    m.blue /= double(pixels) * 255.0;
    return m;
}

} // namespace

class TestEmuAutoFunctions : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void brightnessOnce_data();
    void brightnessOnce();
    void exposureContinuous();
    void balanceWhiteOnce();
    void tungstenPreset();

private:
    // Grabs until `feature` reads "Off" (at most `timeoutMs`), then returns a frame taken after.
    bool grabUntilOff(Grab& grab, const char* feature, GrabResult* after, int timeoutMs = 20000);

    std::unique_ptr<EmuTransportLayer> m_transportLayer;
    std::unique_ptr<Camera> m_camera;
};

void TestEmuAutoFunctions::init()
{
    m_transportLayer = std::make_unique<EmuTransportLayer>(1);
    m_camera = std::make_unique<Camera>(*m_transportLayer, 0);
    // A region on the scene's grey card, small enough to render fast.
    m_camera->smallImage(128, 64);
    m_camera->setInteger("OffsetX", 896);
    m_camera->setInteger("OffsetY", 568);
}

void TestEmuAutoFunctions::cleanup()
{
    m_camera.reset();
    m_transportLayer.reset();
}

bool TestEmuAutoFunctions::grabUntilOff(Grab& grab, const char* feature, GrabResult* after,
                                        int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    GrabResult result;
    while (m_camera->enumeration(feature) != "Off") {
        if (timer.elapsed() > timeoutMs || !grab.next(result))
            return false;
        grab.grabber->QueueBuffer(result.Handle());
    }
    // Frames already on their way were taken with the settings before the last step.
    const int64_t last = m_camera->integer("DebugFrameCounter");
    do {
        if (!grab.next(result))
            return false;
        grab.grabber->QueueBuffer(result.Handle());
    } while (int64_t(result.GetFrameNumber()) <= last);
    *after = result;
    return true;
}

void TestEmuAutoFunctions::brightnessOnce_data()
{
    QTest::addColumn<bool>("exposureAuto");
    QTest::addColumn<bool>("gainAuto");
    QTest::addColumn<QString>("profile");
    QTest::addColumn<double>("startExposureUs");
    QTest::addColumn<double>("exposureLowerUs");
    QTest::addColumn<double>("exposureUpperUs");
    QTest::addColumn<double>("target");
    QTest::addColumn<bool>("reachable");
    QTest::addColumn<QString>("moved"); // "exposure", "gain"

    // The grey card reflects 18 %: about 0.13 of full scale at 10 ms and 0 dB.
    QTest::newRow("exposure-to-0.3") << true << false << "MinimizeGain" << 10000.0 << 100.0
                                     << 100000.0 << 0.3 << true << "exposure";
    QTest::newRow("exposure-to-0.7") << true << false << "MinimizeGain" << 1000.0 << 100.0
                                     << 100000.0 << 0.7 << true << "exposure";
    QTest::newRow("gain-to-0.6") << false << true << "MinimizeGain" << 6000.0 << 100.0 << 100000.0
                                 << 0.6 << true << "gain";
    QTest::newRow("both-minimize-gain") << true << true << "MinimizeGain" << 1000.0 << 100.0
                                        << 100000.0 << 0.5 << true << "exposure";
    QTest::newRow("both-minimize-exposure") << true << true << "MinimizeExposureTime" << 20000.0
                                            << 3000.0 << 100000.0 << 0.5 << true << "gain";
    QTest::newRow("exposure-limit-stops-once")
        << true << false << "MinimizeGain" << 100.0 << 100.0 << 500.0 << 0.8 << false << "exposure";
}

void TestEmuAutoFunctions::brightnessOnce()
{
    QFETCH(bool, exposureAuto);
    QFETCH(bool, gainAuto);
    QFETCH(QString, profile);
    QFETCH(double, startExposureUs);
    QFETCH(double, exposureLowerUs);
    QFETCH(double, exposureUpperUs);
    QFETCH(double, target);
    QFETCH(bool, reachable);
    QFETCH(QString, moved);
    m_camera->setReal("ExposureTime", startExposureUs);
    m_camera->setReal("AutoExposureTimeLowerLimit", exposureLowerUs);
    m_camera->setReal("AutoExposureTimeUpperLimit", exposureUpperUs);
    m_camera->setReal("AutoTargetBrightness", target);
    m_camera->setEnumeration("AutoFunctionProfile", profile.toUtf8().constData());
    std::atomic<int> exposureCallbacks{0};
    CallbackHandleType handle = Register(m_camera->map->GetNode("ExposureTime"),
                                         [&exposureCallbacks](INode*) { ++exposureCallbacks; });

    Grab grab(m_camera->device, 4);
    m_camera->execute("AcquisitionStart");
    if (exposureAuto)
        m_camera->setEnumeration("ExposureAuto", "Once");
    if (gainAuto)
        m_camera->setEnumeration("GainAuto", "Once");
    const int callbacksBefore = exposureCallbacks;
    GrabResult after;
    QVERIFY(grabUntilOff(grab, exposureAuto ? "ExposureAuto" : "GainAuto", &after));
    QTRY_COMPARE(QString(m_camera->enumeration("GainAuto").c_str()), QString("Off"));
    m_camera->execute("AcquisitionStop");

    const double brightness = means(after).grey;
    const double exposure = m_camera->real("ExposureTime");
    const double gain = m_camera->real("Gain");
    if (reachable) {
        QVERIFY2(qAbs(brightness - target) < 0.03,
                 qPrintable(QString("brightness %1 for target %2").arg(brightness).arg(target)));
    } else {
        QVERIFY(brightness < target - 0.05);
        QCOMPARE(exposure, exposureUpperUs);
    }
    QVERIFY(exposure >= exposureLowerUs && exposure <= exposureUpperUs);
    if (moved == "exposure") {
        QVERIFY(exposure != startExposureUs);
        QCOMPARE(gain, 0.0);
    } else {
        QVERIFY(gain > 0.0);
        QCOMPARE(exposure, exposureAuto ? exposureLowerUs : startExposureUs);
    }
    // The camera's own changes reach the node map's callbacks.
    if (exposureAuto)
        QTRY_VERIFY(exposureCallbacks > callbacksBefore);
    Deregister(handle);
}

void TestEmuAutoFunctions::exposureContinuous()
{
    m_camera->setReal("ExposureTime", 500.0);
    m_camera->setReal("AutoTargetBrightness", 0.4);
    Grab grab(m_camera->device, 4);
    m_camera->execute("AcquisitionStart");
    m_camera->setEnumeration("ExposureAuto", "Continuous");
    QVERIFY(!IsWritable(m_camera->map->GetNode("ExposureTime")));
    GrabResult result;
    double brightness = 0;
    for (int frame = 0; frame < 40; ++frame) {
        QVERIFY(grab.next(result));
        brightness = means(result).grey;
        grab.grabber->QueueBuffer(result.Handle());
    }
    QVERIFY2(qAbs(brightness - 0.4) < 0.03, qPrintable(QString::number(brightness)));
    QCOMPARE(QString(m_camera->enumeration("ExposureAuto").c_str()), QString("Continuous"));
    // A new target is followed.
    m_camera->setReal("AutoTargetBrightness", 0.2);
    for (int frame = 0; frame < 40; ++frame) {
        QVERIFY(grab.next(result));
        brightness = means(result).grey;
        grab.grabber->QueueBuffer(result.Handle());
    }
    QVERIFY2(qAbs(brightness - 0.2) < 0.03, qPrintable(QString::number(brightness)));
    m_camera->execute("AcquisitionStop");
    m_camera->setEnumeration("ExposureAuto", "Off");
    QVERIFY(IsWritable(m_camera->map->GetNode("ExposureTime")));
}

void TestEmuAutoFunctions::balanceWhiteOnce()
{
    m_camera->setEnumeration("PixelFormat", "RGB8");
    m_camera->setReal("ExposureTime", 3000.0);
    Grab grab(m_camera->device, 4);
    m_camera->execute("AcquisitionStart");
    GrabResult before;
    QVERIFY(grab.next(before));
    const Means cast = means(before);
    grab.grabber->QueueBuffer(before.Handle());
    // The scene is lit warm: red above green, blue below.
    QVERIFY(cast.red > cast.green * 1.05 && cast.blue < cast.green * 0.95);

    m_camera->setEnumeration("BalanceWhiteAuto", "Once");
    GrabResult after;
    QVERIFY(grabUntilOff(grab, "BalanceWhiteAuto", &after));
    m_camera->execute("AcquisitionStop");
    const Means balanced = means(after);
    QVERIFY2(qAbs(balanced.red / balanced.green - 1.0) < 0.03,
             qPrintable(QString::number(balanced.red / balanced.green)));
    QVERIFY2(qAbs(balanced.blue / balanced.green - 1.0) < 0.03,
             qPrintable(QString::number(balanced.blue / balanced.green)));
    m_camera->setEnumeration("BalanceRatioSelector", "Red");
    QVERIFY(m_camera->real("BalanceRatio") < 1.0);
    m_camera->setEnumeration("BalanceRatioSelector", "Blue");
    QVERIFY(m_camera->real("BalanceRatio") > 1.0);
    m_camera->setEnumeration("BalanceRatioSelector", "Green");
    QCOMPARE(m_camera->real("BalanceRatio"), 1.0);
}

void TestEmuAutoFunctions::tungstenPreset()
{
    m_camera->setEnumeration("PixelFormat", "RGB8");
    m_camera->setReal("ExposureTime", 3000.0);
    m_camera->setEnumeration("LightSourcePreset", "Tungsten2800K");
    Grab grab(m_camera->device, 2);
    m_camera->execute("AcquisitionStart");
    GrabResult result;
    QVERIFY(grab.next(result));
    m_camera->execute("AcquisitionStop");
    const Means m = means(result);
    QVERIFY2(qAbs(m.red / m.green - 1.0) < 0.05, qPrintable(QString::number(m.red / m.green)));
    QVERIFY2(qAbs(m.blue / m.green - 1.0) < 0.05, qPrintable(QString::number(m.blue / m.green)));
}

QTEST_GUILESS_MAIN(TestEmuAutoFunctions)
#include "tst_emuautofunctions.moc"
