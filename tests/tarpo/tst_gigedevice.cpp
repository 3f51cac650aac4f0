#include "tarpo/tlfactory.h"

#include "genapi/genapi.h"
#include "genapi/gobjectptr.h"

#include <arv.h>

#include <QtTest>

using namespace Tarpo;
using namespace GenApi;

// An opened GigE camera: access modes (control, monitoring, a camera another application
// controls), the transport-layer node map over the camera's registers, stream channels. The
// peer is Aravis' fake camera running in this process; the test runs in a private network
// namespace.
class tst_GigeDevice : public QObject
{
    Q_OBJECT

private:
    TarpoAutoInitTerm m_autoInitTerm;
    GObjectPtr<ArvGvFakeCamera> m_camera;
    CDeviceInfo m_info;

    ITarpoDevice* create() { return CTlFactory::GetInstance().CreateDevice(m_info); }
    static void destroy(ITarpoDevice* device) { CTlFactory::GetInstance().DestroyDevice(device); }

private slots:
    void initTestCase()
    {
        qputenv("TARPO_CAMEMU", "0");
        m_camera.reset(arv_gv_fake_camera_new("127.0.0.1", "GVDEV"));
        QVERIFY(arv_gv_fake_camera_is_running(m_camera.get()));
        m_info.SetDeviceClass("MorvexGigE").SetIpAddress("127.0.0.1");
    }

    void cleanupTestCase() { m_camera.reset(); }

    void openAndCloseFollowTheAccessMode()
    {
        ITarpoDevice* device = create();
        QVERIFY(!device->GetNodeMap() && !device->GetTLNodeMap());
        QCOMPARE(device->GetNumStreamGrabberChannels(), 0u);
        QVERIFY_EXCEPTION_THROWN(device->Open(Event), GenICam::InvalidArgumentException);
        device->Open(Control | Stream);
        QCOMPARE(device->GetAccessMode(), AccessModeSet(Control | Stream));
        QVERIFY_EXCEPTION_THROWN(device->Open(), GenICam::LogicalErrorException);
        QCOMPARE(device->GetNumStreamGrabberChannels(), 1u);
        QVERIFY(device->GetStreamGrabber(0));
        QVERIFY_EXCEPTION_THROWN(device->GetStreamGrabber(1), GenICam::OutOfRangeException);
        device->Close();
        QVERIFY(!device->IsOpen());
        QCOMPARE(device->GetAccessMode(), AccessModeSet(0));
        device->Close(); // closing twice is harmless
        destroy(device);
    }

    void transportLayerMapReadsTheCamera_data()
    {
        QTest::addColumn<QString>("feature");
        QTest::addColumn<QString>("value");
        QTest::newRow("current-ip") << "GevCurrentIPAddress"
                                    << "127.0.0.1";
        QTest::newRow("stream-channels") << "GevStreamChannelCount"
                                         << "1";
        QTest::newRow("tick-frequency") << "GevTimestampTickFrequency"
                                        << "1000000000";
        QTest::newRow("tl-params-unlocked") << "TLParamsLocked"
                                            << "0";
        QTest::newRow("no-dhcp") << "GevCurrentIPConfigurationDHCP"
                                 << "0";
    }

    void transportLayerMapReadsTheCamera()
    {
        QFETCH(QString, feature);
        QFETCH(QString, value);
        ITarpoDevice* device = create();
        device->Open();
        CValuePtr node(device->GetTLNodeMap()->GetNode(feature.toStdString()));
        QVERIFY(node);
        QCOMPARE(QString::fromStdString(node->ToString()), value);
        device->Close();
        destroy(device);
    }

    void transportLayerMapWritesTheCamera_data()
    {
        QTest::addColumn<QString>("feature");
        QTest::addColumn<qint64>("value");
        QTest::newRow("packet-size") << "GevSCPSPacketSize" << qint64(1200);
        QTest::newRow("heartbeat-timeout") << "GevHeartbeatTimeout" << qint64(4500);
        QTest::newRow("inter-packet-delay") << "GevSCPD" << qint64(25);
    }

    void transportLayerMapWritesTheCamera()
    {
        QFETCH(QString, feature);
        QFETCH(qint64, value);
        ITarpoDevice* writer = create();
        writer->Open();
        CIntegerPtr node(writer->GetTLNodeMap()->GetNode(feature.toStdString()));
        QVERIFY(IsWritable(node));
        const int64_t before = node->GetValue();
        node->SetValue(value);
        writer->Close();
        destroy(writer);

        // Read back over a new connection: the value went to the camera, not into a cache.
        ITarpoDevice* reader = create();
        reader->Open(Stream);
        QCOMPARE(CIntegerPtr(reader->GetTLNodeMap()->GetNode(feature.toStdString()))->GetValue(),
                 int64_t(value));
        reader->Close();
        reader->Open();
        CIntegerPtr(reader->GetTLNodeMap()->GetNode(feature.toStdString()))->SetValue(before);
        reader->Close();
        destroy(reader);
    }

    void monitorReadsButNeitherWritesNorStreams()
    {
        ITarpoDevice* monitor = create();
        monitor->Open(Stream);
        CIntegerPtr width(monitor->GetNodeMap()->GetNode("Width"));
        QVERIFY(width->GetValue() > 0);
        QVERIFY(!IsWritable(width));
        QVERIFY_EXCEPTION_THROWN(width->SetValue(128), GenICam::AccessException);
        QVERIFY(!IsWritable(CIntegerPtr(monitor->GetTLNodeMap()->GetNode("GevSCPSPacketSize"))));

        IStreamGrabber* grabber = monitor->GetStreamGrabber(0);
        try {
            grabber->Open();
            QFAIL("a monitoring device opened a stream");
        } catch (const GenICam::AccessException& e) {
            QVERIFY2(QString(e.GetDescription()).contains("stream-only reception is not supported"),
                     e.GetDescription());
        }
        QVERIFY(!grabber->IsOpen());

        // The monitor left control to others: a controlling application gets the camera.
        ITarpoDevice* controller = create();
        controller->Open(Control | Stream);
        CIntegerPtr(controller->GetNodeMap()->GetNode("Width"))->SetValue(256);
        QCOMPARE(width->GetValue(), int64_t(256));
        CIntegerPtr(controller->GetNodeMap()->GetNode("Width"))->SetValue(512);
        controller->Close();
        monitor->Close();
        destroy(controller);
        destroy(monitor);
    }

    void cameraControlledElsewhereRefusesControl()
    {
        ITarpoDevice* first = create();
        first->Open(Control | Stream);
        ITarpoDevice* second = create();
        try {
            second->Open(Control | Stream);
            QFAIL("two devices control the camera");
        } catch (const GenICam::AccessException& e) {
            QVERIFY2(QString(e.GetDescription()).contains("controlled by another application"),
                     e.GetDescription());
        }
        QVERIFY(!second->IsOpen());
        // Monitoring next to the controller works.
        second->Open(Stream);
        QCOMPARE(CIntegerPtr(second->GetNodeMap()->GetNode("Width"))->GetValue(),
                 CIntegerPtr(first->GetNodeMap()->GetNode("Width"))->GetValue());
        second->Close();
        first->Close();
        destroy(second);
        destroy(first);
    }
};

QTEST_GUILESS_MAIN(tst_GigeDevice)
#include "tst_gigedevice.moc"
