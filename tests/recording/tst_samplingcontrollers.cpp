// The sampling controllers: which grabbed frames a frame-based recording offers and when its
// limit stops it; the frame budget of a time limit in every unit, the drift-free grid and the
// ends of a time-based recording's timer thread.

#include "recording/framebasedmediaimagecontroller.h"
#include "recording/timebasedmediaimagecontroller.h"

#include <QtTest>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

using Clock = std::chrono::steady_clock;

class tst_SamplingControllers : public QObject
{
    Q_OBJECT

private slots:
    void frameBasedOffers_data()
    {
        QTest::addColumn<int>("sampleRate");
        QTest::addColumn<int>("recorded");
        QTest::addColumn<QList<int>>("firstOffered");

        QTest::newRow("every-frame") << 1 << 100 << QList<int>{1, 2, 3};
        QTest::newRow("n3-over-100-records-34") << 3 << 34 << QList<int>{1, 4, 7};
        QTest::newRow("n2") << 2 << 50 << QList<int>{1, 3, 5};
        QTest::newRow("n100-keeps-the-first") << 100 << 1 << QList<int>{1};
        QTest::newRow("rate-zero-records-every-frame") << 0 << 100 << QList<int>{1, 2, 3};
    }

    void frameBasedOffers()
    {
        QFETCH(int, sampleRate);
        QFETCH(int, recorded);
        QFETCH(QList<int>, firstOffered);

        CFrameBasedMediaImageController controller(false, 0, sampleRate);
        QVERIFY(!controller.hasLimit());
        int grabbed = 0;
        QList<int> offered;
        controller.setFrameCallback([&] {
            offered << grabbed;
            return true;
        });
        controller.start();
        for (grabbed = 1; grabbed <= 100; ++grabbed)
            controller.onNewFrame();
        QCOMPARE(int(controller.recordedCounter()), recorded);
        QCOMPARE(offered.mid(0, firstOffered.size()), firstOffered);
        QCOMPARE(int(controller.grabbedCounter()), 100);
    }

    void frameBasedLimit_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<int>("limit");
        QTest::addColumn<int>("refusedOffer"); // 0: none
        QTest::addColumn<int>("stopsAtFrame"); // 0: never
        QTest::addColumn<bool>("hasLimit");

        QTest::newRow("limit-5") << true << 5 << 0 << 5 << true;
        QTest::newRow("limit-5-with-a-dropped-frame") << true << 5 << 3 << 6 << true;
        QTest::newRow("limit-off") << false << 5 << 0 << 0 << false;
        QTest::newRow("limit-zero-is-no-limit") << true << 0 << 0 << 0 << false;
    }

    void frameBasedLimit()
    {
        QFETCH(bool, enabled);
        QFETCH(int, limit);
        QFETCH(int, refusedOffer);
        QFETCH(int, stopsAtFrame);
        QFETCH(bool, hasLimit);

        CFrameBasedMediaImageController controller(enabled, limit, 1);
        QCOMPARE(controller.hasLimit(), hasLimit);
        int offers = 0;
        int stoppedAt = 0;
        int frame = 0;
        controller.setFrameCallback([&] { return ++offers != refusedOffer; });
        controller.setLimitCallback([&] {
            if (!stoppedAt)
                stoppedAt = frame;
        });
        for (frame = 1; frame <= 20; ++frame)
            controller.onNewFrame();
        QCOMPARE(stoppedAt, stopsAtFrame);
    }

    void timeBasedFrameBudget_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<uint>("limitUnit");
        QTest::addColumn<uint>("limit");
        QTest::addColumn<uint>("intervalUnit");
        QTest::addColumn<uint>("interval");
        QTest::addColumn<int>("maxFrames");

        QTest::newRow("defaults-30s-every-second") << true << 1u << 30u << 1u << 1u << 31;
        QTest::newRow("1s-every-100ms") << true << 1u << 1u << 0u << 100u << 11;
        QTest::newRow("1s-every-second") << true << 1u << 1u << 1u << 1u << 2;
        QTest::newRow("1min-unknown-interval-unit-is-1s") << true << 2u << 1u << 7u << 40u << 61;
        QTest::newRow("1h-every-minute") << true << 3u << 1u << 2u << 1u << 61;
        QTest::newRow("2-days-every-hour") << true << 4u << 2u << 3u << 1u << 49;
        QTest::newRow("unknown-limit-unit-is-1s") << true << 9u << 600u << 0u << 250u << 5;
        QTest::newRow("limit-off") << false << 1u << 30u << 1u << 1u << 0;
    }

    void timeBasedFrameBudget()
    {
        QFETCH(bool, enabled);
        QFETCH(uint, limitUnit);
        QFETCH(uint, limit);
        QFETCH(uint, intervalUnit);
        QFETCH(uint, interval);
        QFETCH(int, maxFrames);
        CTimeBasedMediaImageController controller(enabled, limitUnit, limit, intervalUnit,
                                                  interval);
        QCOMPARE(controller.maxFrameCount(), maxFrames);
        QCOMPARE(controller.hasLimit(), maxFrames > 0);
    }

    // 100 ms for 1 s: eleven frames, then the limit; frames the recording refuses (a paused
    // controller, a full queue) do not count, so the limit comes later.
    void timeBasedRecordsUntilItsLimit_data()
    {
        QTest::addColumn<bool>("refuseEveryOther");
        QTest::addColumn<int>("expiries");
        QTest::newRow("every-frame-queued") << false << 11;
        QTest::newRow("every-other-refused") << true << 22;
    }

    void timeBasedRecordsUntilItsLimit()
    {
        QFETCH(bool, refuseEveryOther);
        QFETCH(int, expiries);
        CTimeBasedMediaImageController controller(true, 0, 1000, 0, 100);
        std::atomic<int> calls{0};
        std::atomic<int> limits{0};
        std::atomic<qint64> limitAfterMs{0};
        const Clock::time_point start = Clock::now();
        controller.setFrameCallback([&] { return !refuseEveryOther || ++calls % 2 == 0; });
        controller.setLimitCallback([&] {
            limitAfterMs =
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
            ++limits;
        });
        controller.start();
        QTRY_COMPARE_WITH_TIMEOUT(limits.load(), 1, 10000);
        QTRY_VERIFY(!controller.timerThreadRunning());
        QCOMPARE(int(controller.recordedCounter()), 11);
        // The grid: expiry k comes k intervals after the start.
        QVERIFY2(limitAfterMs >= expiries * 100 - 5 && limitAfterMs < expiries * 100 + 400,
                 qPrintable(QString::number(limitAfterMs)));
    }

    // A callback that takes most of an interval must not push the grid: expiry k still comes k
    // intervals after the start, not k intervals plus k callbacks.
    void timeBasedGridDoesNotDrift()
    {
        const int intervalMs = 20, callbackMs = 14, frames = 30;
        CTimeBasedMediaImageController controller(true, 0, intervalMs * (frames - 1), 0,
                                                  intervalMs);
        std::mutex mutex; // guards times
        std::vector<qint64> times;
        std::atomic<bool> limitReached{false};
        const Clock::time_point start = Clock::now();
        controller.setFrameCallback([&] {
            {
                std::lock_guard<std::mutex> lock(mutex);
                times.push_back(
                    std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start)
                        .count());
            }
            // Work that takes most of an interval.
            std::this_thread::sleep_for(std::chrono::milliseconds(callbackMs));
            return true;
        });
        controller.setLimitCallback([&] { limitReached = true; });
        controller.start();
        QTRY_VERIFY_WITH_TIMEOUT(limitReached.load(), 10000);
        std::lock_guard<std::mutex> lock(mutex);
        QCOMPARE(int(times.size()), frames);
        // Drifting by the callback's time would put the last expiry 400 ms later.
        const qint64 expected = qint64(frames) * intervalMs;
        QVERIFY2(
            times.back() >= expected - 5 && times.back() < expected + 120,
            qPrintable(
                QString("last expiry after %1 ms, grid says %2").arg(times.back()).arg(expected)));
    }

    void timeBasedStopBeforeTheFirstExpiry()
    {
        CTimeBasedMediaImageController controller(false, 1, 30, 0, 300);
        std::atomic<int> calls{0};
        controller.setFrameCallback([&] {
            ++calls;
            return true;
        });
        controller.start();
        QVERIFY(controller.timerThreadRunning());
        controller.stop();
        // The thread ends at the next expiry, without recording it.
        QTRY_VERIFY_WITH_TIMEOUT(!controller.timerThreadRunning(), 5000);
        QCOMPARE(calls.load(), 0);
        QCOMPARE(int(controller.recordedCounter()), 0);
    }

    // A recording destroyed with an hour to its next frame does not wait for it.
    void destructionEndsTheTimerThread()
    {
        const Clock::time_point start = Clock::now();
        {
            CTimeBasedMediaImageController controller(false, 1, 30, 3, 1);
            controller.start();
            QVERIFY(controller.timerThreadRunning());
        }
        QVERIFY(Clock::now() - start < std::chrono::seconds(5));
    }
};

QTEST_GUILESS_MAIN(tst_SamplingControllers)
#include "tst_samplingcontrollers.moc"
