#include "acquisition/decoupler.h"
#include "viewersdk/streambuffer.h"

#include <QtTest>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using TarpoViewerSdk::StreamBuffer;

namespace {

// Buffers that count their home-comings, and a consumer that can be held busy.
struct Bench
{
    std::vector<std::unique_ptr<StreamBuffer>> buffers;
    std::mutex mutex; // guards emitted, homeComings, gateOpen
    std::condition_variable gate;
    bool gateOpen = true;
    std::vector<StreamBuffer*> emitted;
    std::vector<StreamBuffer*> homeComings;
    std::atomic<int> inConsumer{0};

    StreamBuffer* make()
    {
        buffers.push_back(std::make_unique<StreamBuffer>(16, Tarpo::PixelType_Mono8, 4, 4, 1));
        StreamBuffer* buffer = buffers.back().get();
        QObject::connect(buffer, &StreamBuffer::backToHome, [this](StreamBuffer* b) {
            std::lock_guard<std::mutex> lock(mutex);
            homeComings.push_back(b);
        }); // any releasing thread -> bench, direct
        return buffer;
    }
    void attach(Decoupler& decoupler)
    {
        QObject::connect(&decoupler, &Decoupler::bufferAvailable, &decoupler,
                         [this](StreamBuffer* b) {
                             ++inConsumer;
                             std::unique_lock<std::mutex> lock(mutex);
                             emitted.push_back(b);
                             gate.wait(lock, [this] { return gateOpen; });
                             --inConsumer;
                         },
                         Qt::DirectConnection); // decoupler thread -> consumer, direct
    }
    void hold()
    {
        std::lock_guard<std::mutex> lock(mutex);
        gateOpen = false;
    }
    void release()
    {
        {
            std::lock_guard<std::mutex> lock(mutex);
            gateOpen = true;
        }
        gate.notify_all();
    }
    std::vector<StreamBuffer*> emittedNow()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return emitted;
    }
    std::vector<StreamBuffer*> homeNow()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return homeComings;
    }
};

} // namespace

// The single-slot hand-over between grab thread and display: replacement of unprocessed
// buffers, the throttle, shut-down, and the bound on buffers held for display.
class tst_Decoupler : public QObject
{
    Q_OBJECT

private slots:
    void passesTheBufferOnAndSendsItHome()
    {
        Bench bench;
        Decoupler decoupler(nullptr, "Decoupler_TEST");
        bench.attach(decoupler);
        StreamBuffer* b = bench.make();
        decoupler.setBuffer(b);
        QTRY_COMPARE(bench.homeNow().size(), size_t(1));
        QCOMPARE(bench.emittedNow(), std::vector<StreamBuffer*>{b});
        QCOMPARE(decoupler.objectName(), QString("Decoupler_TEST"));
        decoupler.shutDown();
    }

    void buffersArrivingWhileBusyReplaceEachOther()
    {
        Bench bench;
        Decoupler decoupler(nullptr, QString());
        bench.attach(decoupler);
        StreamBuffer* first = bench.make();
        StreamBuffer* second = bench.make();
        StreamBuffer* third = bench.make();
        StreamBuffer* fourth = bench.make();
        bench.hold();
        decoupler.setBuffer(first);
        QTRY_COMPARE(bench.inConsumer.load(), 1);
        decoupler.setBuffer(second);
        decoupler.setBuffer(third);
        QCOMPARE(bench.homeNow(), std::vector<StreamBuffer*>{second}); // released unprocessed
        bench.release();
        QTRY_COMPARE(bench.homeNow().size(), size_t(2));
        // Without the throttle the waiting buffer is not taken when the thread becomes free:
        // the next buffer replaces it.
        QTRY_VERIFY(!decoupler.isBusy());
        QVERIFY(decoupler.hasPendingBuffer());
        decoupler.setBuffer(fourth);
        QTRY_COMPARE(bench.homeNow().size(), size_t(4));
        QCOMPARE(bench.emittedNow(), (std::vector<StreamBuffer*>{first, fourth}));
        decoupler.shutDown();
    }

    void throttle_data()
    {
        QTest::addColumn<int>("ticks");
        QTest::addColumn<int>("buffers");
        QTest::addColumn<int>("expectedEmitted");
        QTest::newRow("no-ticks-nothing-passes") << 0 << 5 << 0;
        QTest::newRow("one-tick-three-buffers") << 1 << 3 << 1;
    }

    void throttle()
    {
        QFETCH(int, ticks);
        QFETCH(int, buffers);
        QFETCH(int, expectedEmitted);
        Bench bench;
        Decoupler decoupler(nullptr, QString());
        decoupler.enableThrottle(true);
        bench.attach(decoupler);
        std::vector<StreamBuffer*> made;
        for (int i = 0; i < buffers; ++i) {
            made.push_back(bench.make());
            decoupler.setBuffer(made.back());
        }
        QCOMPARE(bench.homeNow().size(), size_t(buffers - 1)); // replaced in the slot
        for (int i = 0; i < ticks; ++i)
            decoupler.throttleTimerTick();
        QTRY_COMPARE(int(bench.homeNow().size()), buffers - 1 + expectedEmitted);
        QTest::qWait(50);
        QCOMPARE(int(bench.emittedNow().size()), expectedEmitted);
        if (expectedEmitted)
            QCOMPARE(bench.emittedNow().back(), made.back()); // the newest
        decoupler.shutDown();
        QCOMPARE(bench.homeNow().size(), size_t(buffers)); // shut-down releases the pending one
    }

    void tickDuringBusyTakesTheNewestAtOnce()
    {
        Bench bench;
        Decoupler decoupler(nullptr, QString());
        decoupler.enableThrottle(true);
        bench.attach(decoupler);
        StreamBuffer* first = bench.make();
        StreamBuffer* second = bench.make();
        StreamBuffer* third = bench.make();
        bench.hold();
        decoupler.throttleTimerTick();
        decoupler.setBuffer(first);
        QTRY_COMPARE(bench.inConsumer.load(), 1);
        decoupler.throttleTimerTick();
        decoupler.setBuffer(second);
        decoupler.setBuffer(third);
        bench.release();
        QTRY_COMPARE(bench.homeNow().size(), size_t(3));
        QCOMPARE(bench.emittedNow(), (std::vector<StreamBuffer*>{first, third}));
        decoupler.shutDown();
    }

    void afterShutDownBuffersAreLeftAlone()
    {
        Bench bench;
        Decoupler decoupler(nullptr, QString());
        bench.attach(decoupler);
        decoupler.shutDown();
        StreamBuffer* late = bench.make();
        decoupler.setBuffer(late);
        QCOMPARE(late->lockCount(), 0);
        QVERIFY(bench.homeNow().empty());
        QVERIFY(bench.emittedNow().empty());
    }

    void shutDownWaitsForTheEmission()
    {
        Bench bench;
        auto decoupler = std::make_unique<Decoupler>(nullptr, QString());
        bench.attach(*decoupler);
        StreamBuffer* b = bench.make();
        bench.hold();
        decoupler->setBuffer(b);
        QTRY_COMPARE(bench.inConsumer.load(), 1);
        std::atomic<bool> shutDownDone{false};
        std::thread closer([&] {
            decoupler->shutDown();
            shutDownDone = true;
        });
        QTest::qWait(100);
        QVERIFY(!shutDownDone);
        bench.release();
        closer.join();
        QVERIFY(shutDownDone);
        QCOMPARE(bench.homeNow().size(), size_t(1));
    }

    void fastStreamSlowConsumerHoldsAtMostTwoBuffers()
    {
        // A 2000 fps producer against a consumer that needs 5 ms per frame: besides the one
        // being shown, only the slot holds a buffer.
        Bench bench;
        Decoupler decoupler(nullptr, QString());
        std::atomic<int> held{0};
        std::atomic<int> maxHeld{0};
        QObject::connect(&decoupler, &Decoupler::bufferAvailable, &decoupler,
                         [](StreamBuffer*) { std::this_thread::sleep_for(std::chrono::milliseconds(5)); },
                         Qt::DirectConnection); // decoupler thread -> slow consumer, direct
        std::vector<StreamBuffer*> pool;
        for (int i = 0; i < 8; ++i) {
            pool.push_back(bench.make());
            QObject::connect(pool.back(), &StreamBuffer::backToHome, [&](StreamBuffer*) { --held; });
        }
        size_t next = 0;
        for (int frame = 0; frame < 400; ++frame) {
            // Like a camera: only buffers that came home are filled again.
            StreamBuffer* b = pool[next++ % pool.size()];
            if (b->lockCount() != 0)
                continue;
            b->lock(); // the grab thread's own hold while handing it on
            const int now = ++held;
            int seen = maxHeld.load();
            while (now > seen && !maxHeld.compare_exchange_weak(seen, now)) {
            }
            decoupler.setBuffer(b);
            b->unlock();
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        decoupler.shutDown();
        QVERIFY2(maxHeld.load() <= 3, qPrintable(QString::number(maxHeld.load())));
        QCOMPARE(held.load(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_Decoupler)
#include "tst_decoupler.moc"
