#include "qtbase/asyncerrorqueue.h"
#include "qtbase/formatting.h"
#include "qtbase/fpsstatistic.h"
#include "qtbase/hirestimer.h"
#include "qtbase/messages.h"

#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <thread>

// Rates, number formats, the high-resolution timer's thread and the error queue's hand-over to
// the GUI thread.
class tst_QtBase : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English)); }

    void fpsStatistic_data()
    {
        QTest::addColumn<int>("samples");
        QTest::addColumn<int>("frames");
        QTest::addColumn<int>("intervalMs");
        QTest::addColumn<double>("fps");
        QTest::addColumn<qulonglong>("bytesPerSecond");
        QTest::newRow("steady-100-fps") << 32 << 10 << 10 << 100.0 << qulonglong(100000);
        QTest::newRow("ring-keeps-newest") << 4 << 50 << 20 << 50.0 << qulonglong(50000);
        QTest::newRow("two-frames") << 32 << 2 << 40 << 25.0 << qulonglong(25000);
    }

    void fpsStatistic()
    {
        QFETCH(int, samples);
        QFETCH(int, frames);
        QFETCH(int, intervalMs);
        QFETCH(double, fps);
        QFETCH(qulonglong, bytesPerSecond);
        FpsStatistic statistic(samples);
        const auto start = FpsStatistic::Clock::now();
        for (int i = 0; i < frames; ++i)
            statistic.addSample(1000, start + std::chrono::milliseconds(i * intervalMs));
        double measuredFps = 0;
        uint64_t measuredBps = 0;
        QVERIFY(statistic.getResult(&measuredFps, &measuredBps));
        QCOMPARE(measuredFps, fps);
        QCOMPARE(qulonglong(measuredBps), bytesPerSecond);
    }

    void fpsStatisticResetAndEmpty()
    {
        FpsStatistic statistic(8);
        double fps = -1;
        uint64_t bps = 0;
        bool reset = true;
        QVERIFY(!statistic.getResult(&fps, &bps, &reset));
        QVERIFY(!reset);
        statistic.addSample(10);
        QVERIFY(!statistic.getResult(&fps, &bps)); // one frame has no rate
        statistic.addSample(10, FpsStatistic::Clock::now() + std::chrono::milliseconds(10));
        QVERIFY(statistic.getResult(&fps, &bps));
        statistic.reset();
        QVERIFY(!statistic.getResult(&fps, &bps, &reset));
        QVERIFY(reset);
        QVERIFY(!statistic.getResult(&fps, &bps, &reset));
        QVERIFY(!reset); // told once
    }

    void formatDouble_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("unit");
        QTest::addColumn<QString>("text");
        QTest::newRow("unknown-rate") << -1.0 << "fps" << "--";
        QTest::newRow("frame-rate") << 29.97 << "fps" << "30.0 fps";
        QTest::newRow("mega") << 12345678.0 << "B/s" << "12.3 MB/s";
        QTest::newRow("giga") << 1.25e9 << "B/s" << "1.25 GB/s";
        QTest::newRow("rounds-up-to-next-prefix") << 999.96 << "B/s" << "1.00 kB/s";
        QTest::newRow("plain") << 850.0 << "B/s" << "850 B/s";
        QTest::newRow("milli") << 0.5 << "s" << "500 ms";
        QTest::newRow("zero") << 0.0 << "fps" << "0.00 fps";
    }

    void formatDouble()
    {
        QFETCH(double, value);
        QFETCH(QString, unit);
        QFETCH(QString, text);
        QCOMPARE(formatDoubleValueAndUnits(value, unit), text);
    }

    void formatCounts()
    {
        QCOMPARE(formatImageCount(1234567), QString("1,234,567"));
        QCOMPARE(formatImageCount(7), QString("7"));
        QCOMPARE(formatImageCount(1, 0), QString("1 image"));
        QCOMPARE(formatImageCount(1234, 5), QString("1,234 images, 5 failed"));
    }

    void hiResTimerTicksOnItsOwnThread()
    {
        HiResTimer timer;
        std::atomic<int> ticks{0};
        std::atomic<bool> onOtherThread{true};
        QThread* main = QThread::currentThread();
        connect(&timer, &HiResTimer::timeout, &timer, [&] {
            if (QThread::currentThread() == main)
                onOtherThread = false;
            ++ticks;
        }, Qt::DirectConnection); // timer thread -> counter, direct
        QVERIFY(timer.start(2));
        QVERIFY(timer.isActive());
        QTRY_VERIFY_WITH_TIMEOUT(ticks.load() >= 10, 10000);
        timer.stop();
        QVERIFY(!timer.isActive());
        const int afterStop = ticks.load();
        QTest::qWait(20);
        QCOMPARE(ticks.load(), afterStop);
        QVERIFY(onOtherThread);

        // A slot may stop its own timer from within the tick.
        HiResTimer selfStopping;
        connect(&selfStopping, &HiResTimer::timeout, &selfStopping,
                [&selfStopping] { selfStopping.stop(); }, Qt::DirectConnection);
        QVERIFY(selfStopping.start(1));
        QTRY_VERIFY_WITH_TIMEOUT(!selfStopping.isActive(), 10000);
    }

    void errorsReachTheGuiThread()
    {
        QThread* main = QThread::currentThread();
        QList<QThread*> deliveredOn;
        QList<QStringList> received;
        QObject receiver;
        connect(&AsyncErrorQueue::instance(), &AsyncErrorQueue::displayError, &receiver,
                [&](AsyncErrorQueue::ErrorSeverity severity, const QString& message,
                    const QString& details, QWidget*) {
                    deliveredOn << QThread::currentThread();
                    received << QStringList{QString::number(severity), message, details};
                }); // worker -> GUI, queued
        std::thread worker([] {
            try {
                throw RUNTIME_EXCEPTION("port closed");
            } catch (const GenICam::GenericException& e) {
                showException(e, "Camera::open", "Failed to open the camera.");
            }
            showUnexpectedException("Camera::startOneShot", "Failed to start the camera");
        });
        worker.join();
        QTRY_COMPARE(received.size(), 2);
        QCOMPARE(deliveredOn, (QList<QThread*>{main, main}));
        QCOMPARE(received.at(0), (QStringList{"20", "Failed to open the camera.",
                                              "Camera::open: port closed"}));
        QCOMPARE(received.at(1).at(2),
                 QString("Camera::startOneShot: Unspecified exception occurred."));
    }
};

QTEST_GUILESS_MAIN(tst_QtBase)
#include "tst_qtbase.moc"
