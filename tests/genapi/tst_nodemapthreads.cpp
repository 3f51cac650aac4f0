#include "testdevice.h"

#include <QtTest>

#include <atomic>
#include <thread>

using namespace GenApi;

// Several threads on one node map: the map's lock must keep every read consistent with some
// completed write, and callbacks must not race with writers (run under ThreadSanitizer).
class tst_NodeMapThreads : public QObject
{
    Q_OBJECT

private slots:
    void concurrentReadersAndWriters()
    {
        TestDevice device;
        CNodeMapRef map;
        map._LoadXMLFromString(testDeviceXml().toStdString());
        QVERIFY(map._Connect(&device));
        std::atomic<int> callbacks{0};
        Register(map._GetNode("PayloadSize"), [&](INode*) { ++callbacks; });

        constexpr int kIterations = 2000;
        std::atomic<bool> bad{false};
        std::thread writer([&] {
            CIntegerPtr width = map._GetNode("Width");
            for (int i = 0; i < kIterations; ++i)
                width->SetValue(i % 2 ? 800 : 640);
        });
        std::thread selectorWriter([&] {
            CEnumerationPtr selector = map._GetNode("GainSelector");
            CIntegerPtr gainRaw = map._GetNode("GainRaw");
            for (int i = 0; i < kIterations; ++i) {
                // Selecting and writing must happen as one unit to hit the right register.
                AutoLock lock(map._GetNodeMap()->GetLock());
                selector->SetIntValue(i % 3);
                gainRaw->SetValue(i % 3 + 10);
                if (gainRaw->GetValue() != i % 3 + 10)
                    bad = true;
            }
        });
        std::thread reader([&] {
            CIntegerPtr payload = map._GetNode("PayloadSize");
            for (int i = 0; i < kIterations; ++i) {
                const int64_t value = payload->GetValue();
                if (value != 640 * 480 && value != 800 * 480)
                    bad = true;
            }
        });
        writer.join();
        selectorWriter.join();
        reader.join();
        QVERIFY(!bad);
        QCOMPARE(callbacks.load(), kIterations);
        QCOMPARE(device.u32(TestDevice::GainRawAddr + 4), 11u);
    }

    void pollingBesideWrites()
    {
        TestDevice device;
        CNodeMapRef map;
        map._LoadXMLFromString(testDeviceXml().toStdString());
        QVERIFY(map._Connect(&device));
        std::atomic<int> polls{0};
        Register(map._GetNode("DeviceTemperature"), [&](INode*) { ++polls; }, cbPostOutsideLock);
        std::thread poller([&] {
            for (int i = 0; i < 500; ++i)
                map._Poll(250);
        });
        CIntegerPtr offset = map._GetNode("OffsetX");
        for (int i = 0; i < 500; ++i)
            offset->SetValue((i % 10) * 4);
        poller.join();
        QCOMPARE(polls.load(), 125);
    }
};

QTEST_APPLESS_MAIN(tst_NodeMapThreads)
#include "tst_nodemapthreads.moc"
