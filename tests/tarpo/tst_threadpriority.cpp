#include "tarpo/threadpriority.h"

#include <QtTest>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace Tarpo;

// Raising a thread's priority depends on the process' privileges: what the helpers report must
// match what the thread really got, and a refusal must leave the thread running as before.
class tst_ThreadPriority : public QObject
{
    Q_OBJECT

private slots:
    void rangeIsRealTime()
    {
        int32_t prioMin = 0;
        int32_t prioMax = 0;
        GetRTThreadPriorityCapabilities(prioMin, prioMax);
        QVERIFY(prioMin >= 1);
        QVERIFY(prioMax > prioMin);
    }

    void reportsWhatTheThreadGot_data()
    {
        QTest::addColumn<int>("requested");
        QTest::addColumn<int>("expected");
        int32_t prioMin = 0;
        int32_t prioMax = 0;
        GetRTThreadPriorityCapabilities(prioMin, prioMax);
        QTest::newRow("minimum-plus-one") << prioMin + 1 << prioMin + 1;
        QTest::newRow("above-range-is-clamped") << prioMax + 50 << prioMax;
        QTest::newRow("below-range-is-clamped") << -5 << prioMin;
    }

    void reportsWhatTheThreadGot()
    {
        QFETCH(int, requested);
        QFETCH(int, expected);
        bool raised = false;
        int realTime = -1;
        int nice = 0;
        std::thread worker([&] {
            SetCurrentThreadName("TstPriority");
            raised = SetRTThreadPriority(GetCurrentThreadHandle(), requested);
            realTime = GetRTThreadPriority(GetCurrentThreadHandle());
            errno = 0;
            nice = getpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)));
        });
        worker.join();
        if (realTime != 0)
            QCOMPARE(realTime, expected);
        // Raised means real-time or the nice fallback; not raised means neither happened.
        QCOMPARE(raised, realTime != 0 || nice < 0);
    }

    void otherThreadRefusalIsNotFatal()
    {
        std::thread worker([] { QThread::msleep(50); });
        const bool raised = SetRTThreadPriority(worker.native_handle(), 10);
        QCOMPARE(GetRTThreadPriority(worker.native_handle()) == 10, raised);
        worker.join();
    }
};

QTEST_GUILESS_MAIN(tst_ThreadPriority)
#include "tst_threadpriority.moc"
