#include "fakecameraprocess.h"

#include "tarpo/tlfactory.h"

#include "genapi/genapi.h"

#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

using namespace Tarpo;
using namespace GenApi;

// A camera that vanishes while it streams (its process killed, as when the cable is pulled):
// the removal callback comes once, on a transport-layer thread, within 7 s, and never after the
// device closed or the callback was deregistered; Close returns within 3 s whether or not the
// removal was reported yet. The same holds for a camera that is only monitored.
class tst_GigeRemoval : public QObject
{
    Q_OBJECT

private:
    TarpoAutoInitTerm m_autoInitTerm;

private slots:
    void initTestCase() { qputenv("TARPO_CAMEMU", "0"); }

    void vanishingCameraIsReported_data()
    {
        QTest::addColumn<bool>("closeBeforeNotice");
        QTest::newRow("notice-then-close") << false;
        QTest::newRow("close-before-notice") << true;
    }

    void vanishingCameraIsReported()
    {
        QFETCH(bool, closeBeforeNotice);
        FakeCameraProcess camera(closeBeforeNotice ? "GVRM2" : "GVRM1");
        QVERIFY2(camera.start(), qPrintable(camera.errorString()));
        CDeviceInfo info;
        info.SetDeviceClass("MorvexGigE").SetIpAddress("127.0.0.1");
        ITarpoDevice* device = CTlFactory::GetInstance().CreateDevice(info);
        device->Open();

        std::atomic<int> calls{0};
        std::atomic<int> deregisteredCalls{0};
        std::atomic<bool> onOtherThread{false};
        const std::thread::id testThread = std::this_thread::get_id();
        device->RegisterRemovalCallback([&](ITarpoDevice* removed) {
            onOtherThread = std::this_thread::get_id() != testThread;
            if (removed == device)
                ++calls;
        });
        const DeviceCallbackHandle dropped =
            device->RegisterRemovalCallback([&](ITarpoDevice*) { ++deregisteredCalls; });
        QVERIFY(device->DeregisterRemovalCallback(dropped));

        // Streaming when the camera goes.
        IStreamGrabber* grabber = device->GetStreamGrabber(0);
        grabber->Open();
        const int64_t payloadSize =
            CIntegerPtr(grabber->GetNodeMap()->GetNode("PayloadSize"))->GetValue();
        grabber->PrepareGrab();
        std::vector<std::vector<uint8_t>> memory(4, std::vector<uint8_t>(size_t(payloadSize)));
        for (auto& buffer : memory)
            grabber->QueueBuffer(grabber->RegisterBuffer(buffer.data(), buffer.size()));
        CCommandPtr(device->GetNodeMap()->GetNode("AcquisitionStart"))->Execute();
        QVERIFY(grabber->GetWaitObject().Wait(5000));

        QElapsedTimer sinceKill;
        camera.kill();
        sinceKill.start();
        if (!closeBeforeNotice) {
            QTRY_COMPARE_WITH_TIMEOUT(calls.load(), 1, 7000);
            QVERIFY(onOtherThread);
        }

        QElapsedTimer closing;
        closing.start();
        device->Close();
        QVERIFY2(closing.elapsed() < 3000, qPrintable(QString::number(closing.elapsed())));
        QVERIFY(!device->IsOpen());

        // Past the point where the notice comes for an open device: nothing more arrives.
        while (sinceKill.elapsed() < 7000)
            QTest::qWait(100);
        QCOMPARE(calls.load(), closeBeforeNotice ? 0 : 1);
        QCOMPARE(deregisteredCalls.load(), 0);
        CTlFactory::GetInstance().DestroyDevice(device);
    }

    // A monitor holds no control, so no heartbeat runs for it: the camera is watched on our
    // own. While it answers, nothing is reported; once it is gone, the notice comes once.
    void vanishingCameraIsReportedToAMonitor_data()
    {
        QTest::addColumn<bool>("closeBeforeNotice");
        QTest::newRow("notice-then-close") << false;
        QTest::newRow("close-before-notice") << true;
    }

    void vanishingCameraIsReportedToAMonitor()
    {
        QFETCH(bool, closeBeforeNotice);
        FakeCameraProcess camera(closeBeforeNotice ? "GVRM4" : "GVRM3");
        QVERIFY2(camera.start(), qPrintable(camera.errorString()));
        CDeviceInfo info;
        info.SetDeviceClass("MorvexGigE").SetIpAddress("127.0.0.1");
        ITarpoDevice* device = CTlFactory::GetInstance().CreateDevice(info);
        device->Open(Stream);
        std::atomic<int> calls{0};
        device->RegisterRemovalCallback([&](ITarpoDevice* removed) {
            if (removed == device)
                ++calls;
        });

        QTest::qWait(3500); // several watch rounds with the camera answering
        QCOMPARE(calls.load(), 0);
        QVERIFY(CIntegerPtr(device->GetNodeMap()->GetNode("Width"))->GetValue() > 0);

        QElapsedTimer sinceKill;
        camera.kill();
        sinceKill.start();
        if (!closeBeforeNotice)
            QTRY_COMPARE_WITH_TIMEOUT(calls.load(), 1, 7000);
        QElapsedTimer closing;
        closing.start();
        device->Close();
        QVERIFY2(closing.elapsed() < 3000, qPrintable(QString::number(closing.elapsed())));
        while (sinceKill.elapsed() < 7000)
            QTest::qWait(100);
        QCOMPARE(calls.load(), closeBeforeNotice ? 0 : 1);
        CTlFactory::GetInstance().DestroyDevice(device);
    }
};

QTEST_GUILESS_MAIN(tst_GigeRemoval)
#include "tst_gigeremoval.moc"
