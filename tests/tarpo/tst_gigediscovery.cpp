#include "discoveryportblocker.h"
#include "fakecameraprocess.h"

#include "tarpo/tlfactory.h"

#include "genapi/genapi.h"

#include <QtTest>

using namespace Tarpo;

// Finding GigE cameras: broadcast discovery, unicast announcement of a camera that broadcast
// does not reach, and the errors for cameras that are unknown, vanished or unreachable. The
// peer is Aravis' fake camera in a child process; the test runs in a private network namespace.
class tst_GigeDiscovery : public QObject
{
    Q_OBJECT

private:
    TarpoAutoInitTerm m_autoInitTerm;
    std::unique_ptr<FakeCameraProcess> m_camera;
    IGigETransportLayer* m_gigE = nullptr;
    DeviceInfoList_t m_found; // the first camera's listing

    static QString text(const gcstring& value) { return QString::fromStdString(value); }

    DeviceInfoList_t enumerate() const
    {
        DeviceInfoList_t list;
        m_gigE->EnumerateDevices(list);
        return list;
    }

    void startCamera(const QString& serialNumber)
    {
        m_camera = std::make_unique<FakeCameraProcess>(serialNumber);
        QVERIFY2(m_camera->start(), qPrintable(m_camera->errorString()));
    }

private slots:
    void initTestCase()
    {
        qputenv("TARPO_CAMEMU", "0");
        m_gigE =
            dynamic_cast<IGigETransportLayer*>(CTlFactory::GetInstance().CreateTl("MorvexGigE"));
        QVERIFY(m_gigE);
        startCamera("GVD1");
        m_found = enumerate();
    }

    void cleanupTestCase() { CTlFactory::GetInstance().ReleaseTl(m_gigE); }

    void discoveryDescribesTheCamera_data()
    {
        QTest::addColumn<QString>("property");
        QTest::addColumn<QString>("pattern");
        QTest::newRow("full-name-is-aravis-id") << "FullName"
                                                << "^Aravis-Fake-GVD1$";
        QTest::newRow("friendly-name") << "FriendlyName"
                                       << "^Fake \\(GVD1\\)$";
        QTest::newRow("serial-number") << "SerialNumber"
                                       << "^GVD1$";
        QTest::newRow("model") << "ModelName"
                               << "^Fake$";
        QTest::newRow("vendor") << "VendorName"
                                << "^Aravis$";
        QTest::newRow("device-class") << "DeviceClass"
                                      << "^MorvexGigE$";
        QTest::newRow("ip-address") << "IpAddress"
                                    << "^127\\.0\\.0\\.1$";
        QTest::newRow("mac-address") << "MacAddress"
                                     << "^([0-9a-f]{2}:){5}[0-9a-f]{2}$";
        QTest::newRow("device-version") << "DeviceVersion"
                                        << "^\\d+\\.\\d+\\.\\d+$";
    }

    void discoveryDescribesTheCamera()
    {
        QFETCH(QString, property);
        QFETCH(QString, pattern);
        QCOMPARE(int(m_found.size()), 1);
        gcstring value;
        QVERIFY(m_found.front().GetPropertyValue(property.toStdString(), value));
        QVERIFY2(QRegularExpression(pattern).match(text(value)).hasMatch(), value.c_str());
    }

    void factoryListsEveryLayer()
    {
        DeviceInfoList_t all;
        const int count = CTlFactory::GetInstance().EnumerateDevices(all);
        QCOMPARE(count, int(all.size()));
        QVERIFY(std::any_of(all.begin(), all.end(), [](const CDeviceInfo& info) {
            return info.GetFullName() == "Aravis-Fake-GVD1";
        }));
    }

    void createsDeviceByName_data()
    {
        QTest::addColumn<QString>("deviceClass");
        QTest::addColumn<QString>("property");
        QTest::addColumn<QString>("value");
        QTest::newRow("full-name-any-layer") << ""
                                             << "FullName"
                                             << "Aravis-Fake-GVD1";
        QTest::newRow("serial-number-any-layer") << ""
                                                 << "SerialNumber"
                                                 << "GVD1";
        QTest::newRow("full-name-gige") << "MorvexGigE"
                                        << "FullName"
                                        << "Aravis-Fake-GVD1";
        QTest::newRow("ip-address-gige") << "MorvexGigE"
                                         << "IpAddress"
                                         << "127.0.0.1";
    }

    void createsDeviceByName()
    {
        QFETCH(QString, deviceClass);
        QFETCH(QString, property);
        QFETCH(QString, value);
        CDeviceInfo info;
        if (!deviceClass.isEmpty())
            info.SetDeviceClass(deviceClass.toStdString());
        info.SetPropertyValue(property.toStdString(), value.toStdString());
        CTlFactory& factory = CTlFactory::GetInstance();
        ITarpoDevice* device = factory.CreateDevice(info);
        QCOMPARE(text(device->GetDeviceInfo().GetFullName()), QString("Aravis-Fake-GVD1"));
        QVERIFY(!device->IsOpen());
        device->Open();
        QVERIFY(device->IsOpen());
        QVERIFY(device->GetNodeMap()->GetNode("Width"));
        device->Close();
        QVERIFY(!device->GetNodeMap());
        factory.DestroyDevice(device);
    }

    void unknownCameraIsNamed_data()
    {
        QTest::addColumn<QString>("deviceClass");
        QTest::addColumn<QString>("property");
        QTest::addColumn<QString>("value");
        QTest::newRow("full-name-any-layer") << ""
                                             << "FullName"
                                             << "Aravis-Fake-NOPE";
        QTest::newRow("serial-number-any-layer") << ""
                                                 << "SerialNumber"
                                                 << "NOPE42";
        QTest::newRow("full-name-gige") << "MorvexGigE"
                                        << "FullName"
                                        << "Aravis-Fake-NOPE";
        QTest::newRow("full-name-usb") << "MorvexUsb"
                                       << "FullName"
                                       << "Aravis-Fake-NOPE";
    }

    void unknownCameraIsNamed()
    {
        QFETCH(QString, deviceClass);
        QFETCH(QString, property);
        QFETCH(QString, value);
        CDeviceInfo info;
        if (!deviceClass.isEmpty())
            info.SetDeviceClass(deviceClass.toStdString());
        info.SetPropertyValue(property.toStdString(), value.toStdString());
        try {
            CTlFactory::GetInstance().CreateDevice(info);
            QFAIL("a device was created for a camera that does not exist");
        } catch (const GenICam::RuntimeException& e) {
            QVERIFY2(QString(e.GetDescription()).contains(value), e.GetDescription());
            QVERIFY2(QString(e.GetDescription()).contains("not found"), e.GetDescription());
        }
    }

    void vanishedCameraIsReported()
    {
        QCOMPARE(int(m_found.size()), 1);
        CTlFactory& factory = CTlFactory::GetInstance();
        ITarpoDevice* createdBefore = factory.CreateDevice(m_found.front());
        m_camera->kill();

        // Created from a listing made while the camera was there.
        try {
            factory.CreateDevice(m_found.front());
            QFAIL("a device was created for a camera that is gone");
        } catch (const GenICam::RuntimeException& e) {
            QVERIFY2(QString(e.GetDescription()).contains("does not answer at 127.0.0.1"),
                     e.GetDescription());
        }
        // Created before it vanished, opened after.
        try {
            createdBefore->Open();
            QFAIL("a camera that is gone was opened");
        } catch (const GenICam::RuntimeException& e) {
            QVERIFY2(QString(e.GetDescription()).contains("Failed to open camera"),
                     e.GetDescription());
        }
        factory.DestroyDevice(createdBefore);
    }

    void announcesCameraThatBroadcastMisses()
    {
        DiscoveryPortBlocker blocker;
        QVERIFY(blocker.isBound());
        startCamera("GVU1");
        QVERIFY2(enumerate().empty(), "the camera answered broadcast discovery");

        CDeviceInfo info = m_gigE->CreateDeviceInfo();
        info.SetIpAddress("127.0.0.1");
        QVERIFY(m_gigE->AnnounceRemoteDevice("127.0.0.1", &info));
        QCOMPARE(text(info.GetFullName()), QString("Aravis-Fake-GVU1"));
        QCOMPARE(text(info.GetDeviceClass()), QString("MorvexGigE"));
        QCOMPARE(text(info.GetFriendlyName()), QString("Fake (GVU1)"));

        // Remembered: later enumerations list it, and it opens like any other camera.
        const DeviceInfoList_t list = enumerate();
        QCOMPARE(int(list.size()), 1);
        QCOMPARE(text(list.front().GetFullName()), QString("Aravis-Fake-GVU1"));
        ITarpoDevice* device = CTlFactory::GetInstance().CreateDevice(list.front());
        device->Open();
        QVERIFY(device->GetNodeMap()->GetNode("Width"));
        device->Close();
        CTlFactory::GetInstance().DestroyDevice(device);

        QVERIFY(m_gigE->RenounceRemoteDevice("127.0.0.1"));
        QVERIFY(enumerate().empty());
        m_camera->kill();
    }

    void unreachableAddressFailsQuickly_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("nobody-listening") << "127.0.0.9";
        QTest::newRow("no-route") << "192.0.2.1";
        QTest::newRow("not-an-address") << "camera.local";
    }

    void unreachableAddressFailsQuickly()
    {
        QFETCH(QString, address);
        CDeviceInfo info = m_gigE->CreateDeviceInfo();
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!m_gigE->AnnounceRemoteDevice(address.toStdString(), &info));
        QVERIFY2(timer.elapsed() < 2500, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(info.GetFullName().empty());
    }
};

QTEST_GUILESS_MAIN(tst_GigeDiscovery)
#include "tst_gigediscovery.moc"
