#include "emulatorrig.h"

#include "qtbase/asyncerrorqueue.h"

#include <QSignalSpy>
#include <QtTest>

#include <atomic>
#include <mutex>
#include <vector>

using TarpoViewerSdk::StreamBuffer;

namespace {

// Records what the grab thread hands on; optionally keeps buffers, as a display would.
struct Consumer
{
    std::mutex mutex; // guards the vectors
    std::vector<uint64_t> frames;
    std::vector<StreamBuffer*> kept;
    std::atomic<int> count{0};
    std::atomic<int> keep{0};

    void attach(Camera* camera)
    {
        QObject::connect(camera, &Camera::bufferAvailable, camera,
                         [this](StreamBuffer* buffer) {
                             std::lock_guard<std::mutex> lock(mutex);
                             frames.push_back(buffer->frameNumber());
                             if (keep > 0) {
                                 --keep;
                                 buffer->lock();
                                 kept.push_back(buffer);
                             }
                             ++count;
                         },
                         Qt::DirectConnection); // grab thread -> consumer, direct
    }
    // Released outside our lock: a release may take the camera's lock, which the grab thread
    // holds while it calls us.
    void releaseKept()
    {
        std::vector<StreamBuffer*> released;
        {
            std::lock_guard<std::mutex> lock(mutex);
            released.swap(kept);
        }
        for (StreamBuffer* buffer : released)
            buffer->unlock();
    }
};

} // namespace

// The camera object over the emulator: states, buffer counts and recycling by grab run, single
// and continuous shots, failed frames, pure grab, rates, and a camera that vanishes.
class tst_Camera : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TARPO_CAMEMU", "2"); }

    void bufferCount_data()
    {
        QTest::addColumn<uint>("budget");
        QTest::addColumn<uint>("payload");
        QTest::addColumn<uint>("minCount");
        QTest::addColumn<bool>("useBudget");
        QTest::addColumn<uint>("expected");
        QTest::newRow("budget-below-minimum") << 8u * 1024 * 1024 << 5000000u << 10u << true << 10u;
        QTest::newRow("budget-above-maximum") << 8u * 1024 * 1024 << 4096u << 10u << true << 450u;
        QTest::newRow("budget-in-range") << 8u * 1024 * 1024 << 65536u << 10u << true << 128u;
        QTest::newRow("single-shot-ignores-budget") << 8u * 1024 * 1024 << 4096u << 1u << false << 1u;
    }

    void bufferCount()
    {
        QFETCH(uint, budget);
        QFETCH(uint, payload);
        QFETCH(uint, minCount);
        QFETCH(bool, useBudget);
        QFETCH(uint, expected);
        QCOMPARE(Camera::computeBufferCount(budget, payload, minCount, useBudget, 450), expected);
    }

    void pixelTypeFromDynamicRange_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<int>("range");
        QTest::addColumn<uint>("type");
        QTest::newRow("mono16-12bit") << "Mono16" << 4095 << uint(Tarpo::PixelType_Mono12);
        QTest::newRow("mono16-10bit") << "Mono16" << 1023 << uint(Tarpo::PixelType_Mono10);
        QTest::newRow("mono16-full") << "Mono16" << 65535 << uint(Tarpo::PixelType_Mono16);
        QTest::newRow("bayerbg16-12bit") << "BayerBG16" << 4095 << uint(Tarpo::PixelType_BayerBG12);
        QTest::newRow("mono8-untouched") << "Mono8" << 4095 << uint(Tarpo::PixelType_Mono8);
        QTest::newRow("unknown") << "Nope" << 0 << uint(Tarpo::PixelType_Undefined);
    }

    void pixelTypeFromDynamicRange()
    {
        QFETCH(QString, format);
        QFETCH(int, range);
        QFETCH(uint, type);
        QCOMPARE(uint(StdFeatureListCamera::pixelTypeFor(format.toStdString(), range)), type);
    }

    void openWithoutDeviceReportsAndStays()
    {
        StdFeatureListCamera camera(nullptr, nullptr, 1u << 20, false);
        const int before = AsyncErrorQueue::instance().postedCount();
        camera.open();
        QCOMPARE(camera.state(), int(Camera::NoDevice));
        QCOMPARE(AsyncErrorQueue::instance().postedCount(), before + 1);
        camera.startContinuousShot(); // not open: nothing happens
        QCOMPARE(camera.state(), int(Camera::NoDevice));
    }

    void continuousShotRecyclesAndStops()
    {
        EmulatorRig rig;
        QVERIFY(rig.open(0));
        rig.smallFastStream();
        Consumer consumer;
        consumer.attach(rig.camera.get());
        QSignalSpy finished(rig.camera.get(), &Camera::finishedGrab);
        rig.camera->startContinuousShot();
        QCOMPARE(rig.camera->state(), int(Camera::ContinuousShot));
        // 64 MiB of 3 KiB frames would be thousands: the count stops at the maximum.
        QCOMPARE(rig.camera->bufferCount(), 450u);
        rig.camera->startContinuousShot(); // already grabbing: ignored
        QTRY_VERIFY_WITH_TIMEOUT(consumer.count.load() >= 40, 20000);
        double fps = 0;
        uint64_t bytesPerSecond = 0;
        bool reset = false;
        rig.camera->getPerfData(&fps, &bytesPerSecond, &reset);
        QVERIFY(fps > 0);
        QVERIFY(bytesPerSecond > 0);
        rig.camera->stopGrab();
        QCOMPARE(rig.camera->state(), int(Camera::Open));
        QCOMPARE(finished.count(), 1);
        QCOMPARE(rig.camera->allocatedBufferCount(), 0); // every buffer came home and went
        uint32_t images = 0, failed = 0;
        rig.camera->getCounterData(images, failed);
        QCOMPARE(int(images), consumer.count.load());
        QCOMPARE(failed, 0u);
        std::lock_guard<std::mutex> lock(consumer.mutex);
        for (size_t i = 1; i < consumer.frames.size(); ++i)
            QVERIFY(consumer.frames[i] > consumer.frames[i - 1]);
        rig.camera->getPerfData(&fps, &bytesPerSecond, &reset);
        QCOMPARE(fps, -1.0);
    }

    void singleShotUsesOneBuffer()
    {
        EmulatorRig rig;
        QVERIFY(rig.open(0, false, 256u << 20));
        rig.smallFastStream();
        Consumer consumer;
        consumer.attach(rig.camera.get());
        rig.camera->startOneShot();
        QCOMPARE(rig.camera->bufferCount(), 1u);
        QTRY_COMPARE_WITH_TIMEOUT(rig.camera->state(), int(Camera::Open), 10000);
        QVERIFY(rig.camera->wait(5000));
        QCOMPARE(consumer.count.load(), 1);
        QTRY_COMPARE(rig.camera->allocatedBufferCount(), 0);
    }

    void buffersHeldAcrossStopsAreDeleted()
    {
        EmulatorRig rig;
        QVERIFY(rig.open(0));
        rig.smallFastStream();
        Consumer consumer;
        consumer.keep = 2;
        consumer.attach(rig.camera.get());
        rig.camera->startContinuousShot();
        QTRY_VERIFY_WITH_TIMEOUT(consumer.count.load() >= 5, 20000);
        rig.camera->stopGrab();
        QCOMPARE(rig.camera->allocatedBufferCount(), 2); // still held by the "display"
        // A new grab run: the old run's buffers are not requeued when they come home.
        consumer.keep = 0;
        rig.camera->startContinuousShot();
        const uint32_t runBuffers = rig.camera->bufferCount();
        QCOMPARE(rig.camera->allocatedBufferCount(), int(runBuffers) + 2);
        consumer.releaseKept();
        QCOMPARE(rig.camera->allocatedBufferCount(), int(runBuffers));
        rig.camera->stopGrab();
        QCOMPARE(rig.camera->allocatedBufferCount(), 0);
    }

    void failedFrames_data()
    {
        QTest::addColumn<bool>("showFailed");
        QTest::newRow("failed-frames-shown") << true;
        QTest::newRow("failed-frames-hidden") << false;
    }

    void failedFrames()
    {
        QFETCH(bool, showFailed);
        EmulatorRig rig;
        QVERIFY(rig.open(1));
        rig.smallFastStream("1000");
        rig.set("DebugFailedBufferRate", "200");
        rig.camera->setShowFailedBuffers(showFailed);
        Consumer consumer;
        consumer.attach(rig.camera.get());
        rig.camera->startContinuousShot();
        QTRY_VERIFY_WITH_TIMEOUT(rig.camera->totalCounter() >= 50, 20000);
        rig.camera->stopGrab();
        rig.set("DebugFailedBufferRate", "0");
        const uint32_t total = rig.camera->totalCounter();
        const uint32_t failed = rig.camera->erroneousTotal();
        QVERIFY(failed > 0);
        QVERIFY(failed <= total);
        // Every frame is counted; failed ones reach the consumer only when shown.
        QCOMPARE(uint32_t(consumer.count.load()), showFailed ? total : total - failed);
    }

    void pureGrabCountsWithoutHandingOn()
    {
        EmulatorRig rig;
        QVERIFY(rig.open(0));
        rig.smallFastStream("1000");
        Consumer consumer;
        consumer.attach(rig.camera.get());
        rig.camera->setPureGrab(true);
        rig.camera->startContinuousShot();
        QTRY_VERIFY_WITH_TIMEOUT(rig.camera->totalCounter() >= 30, 20000);
        rig.camera->stopGrab();
        QCOMPARE(consumer.count.load(), 0);
    }

    void vanishingCameraEndsTheGrab()
    {
        EmulatorRig rig;
        QVERIFY(rig.open(1));
        rig.smallFastStream();
        std::atomic<int> removals{0};
        rig.camera->device()->RegisterRemovalCallback([&](Tarpo::ITarpoDevice*) { ++removals; });
        Consumer consumer;
        consumer.attach(rig.camera.get());
        rig.camera->startContinuousShot();
        QTRY_VERIFY_WITH_TIMEOUT(consumer.count.load() >= 5, 20000);
        GenApi::CCommandPtr(rig.map()->GetNode("DebugDeviceVanish"))->Execute();
        QTRY_COMPARE_WITH_TIMEOUT(removals.load(), 1, 10000);
        // What the context manager does on a surprise removal: mark, shut down, detach.
        rig.camera->setRemoved(true);
        QElapsedTimer timer;
        timer.start();
        rig.camera->shutDown();
        QVERIFY2(timer.elapsed() < 8000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(rig.camera->state() <= int(Camera::Attached));
        rig.camera->detachTarpoDevice();
        QCOMPARE(rig.camera->state(), int(Camera::NoDevice));
        QCOMPARE(rig.camera->allocatedBufferCount(), 0);
        rig.camera.reset();
    }
};

QTEST_GUILESS_MAIN(tst_Camera)
#include "tst_camera.moc"
