// labels: sanitize
#include "tarpo/removalnotifier.h"

#include <QtTest>

#include <atomic>
#include <future>
#include <thread>

using namespace Tarpo;

// Removal notices arrive on a transport-layer thread at any moment; the notifier must call each
// callback once, never after the device closed or the callback was deregistered, and keep a
// throwing callback from stopping the others.
class tst_RemovalNotifier : public QObject
{
    Q_OBJECT

private slots:
    void callsAsTheSessionAllows_data()
    {
        QTest::addColumn<QString>("sequence");
        QTest::addColumn<int>("expectedCalls");
        // a = arm, d = disarm, n = notify, r = deregister the callback
        QTest::newRow("once-per-removal") << "ann" << 1;
        QTest::newRow("not-before-open") << "n" << 0;
        QTest::newRow("not-after-close") << "adn" << 0;
        QTest::newRow("not-after-deregister") << "arn" << 0;
        QTest::newRow("again-after-reopen") << "andan" << 2;
    }

    void callsAsTheSessionAllows()
    {
        QFETCH(QString, sequence);
        QFETCH(int, expectedCalls);
        CRemovalNotifier notifier(nullptr);
        int calls = 0;
        const DeviceCallbackHandle handle = notifier.add([&calls](ITarpoDevice*) { ++calls; });
        for (const QChar step : sequence) {
            switch (step.toLatin1()) {
            case 'a':
                notifier.arm();
                break;
            case 'd':
                notifier.disarm();
                break;
            case 'n':
                notifier.notify();
                break;
            case 'r':
                QVERIFY(notifier.remove(handle));
                break;
            }
        }
        QCOMPARE(calls, expectedCalls);
    }

    void throwingCallbackDoesNotStopTheOthers()
    {
        CRemovalNotifier notifier(nullptr);
        int calls = 0;
        notifier.add([](ITarpoDevice*) { throw std::runtime_error("callback failed"); });
        notifier.add([](ITarpoDevice*) { throw 42; });
        notifier.add([&calls](ITarpoDevice*) { ++calls; });
        notifier.arm();
        notifier.notify();
        QCOMPARE(calls, 1);
        QVERIFY(notifier.removed());
    }

    void callbackMayDeregisterItself()
    {
        CRemovalNotifier notifier(nullptr);
        int calls = 0;
        DeviceCallbackHandle self = 0;
        self = notifier.add([&](ITarpoDevice*) {
            ++calls;
            notifier.remove(self);
        });
        notifier.add([&calls](ITarpoDevice*) { ++calls; });
        notifier.arm();
        notifier.notify();
        QCOMPARE(calls, 2);
        QVERIFY(!notifier.remove(self));
    }

    void disarmWaitsForARunningCallback()
    {
        CRemovalNotifier notifier(nullptr);
        std::promise<void> entered;
        std::promise<void> release;
        std::atomic<bool> finished{false};
        notifier.add([&](ITarpoDevice*) {
            entered.set_value();
            release.get_future().wait();
            finished = true;
        });
        notifier.arm();
        std::thread transportThread([&notifier] { notifier.notify(); });
        entered.get_future().wait();

        // Close on another thread while the callback runs: it must not return before the
        // callback did.
        std::atomic<bool> disarmed{false};
        std::thread closer([&] {
            notifier.disarm();
            disarmed = true;
        });
        QTest::qWait(100);
        QVERIFY(!disarmed);
        release.set_value();
        closer.join();
        transportThread.join();
        QVERIFY(finished);
        QVERIFY(disarmed);
    }
};

QTEST_GUILESS_MAIN(tst_RemovalNotifier)
#include "tst_removalnotifier.moc"
