#include "genapi/genapi.h"
#include "genapi/gobjectptr.h"

#include <arv.h>

#include <QtTest>

using namespace GenApi;

// The node map of a real GigE Vision peer, Aravis' fake camera running in this process on
// loopback (the test runs in its own network namespace), read and written through the facade.
class tst_GigeNodeMap : public QObject
{
    Q_OBJECT

private:
    GObjectPtr<ArvGvFakeCamera> m_camera;
    GObjectPtr<ArvDevice> m_device;

private slots:
    void initTestCase()
    {
        m_camera.reset(arv_gv_fake_camera_new("127.0.0.1", "GV07"));
        QVERIFY(m_camera);
        QVERIFY(arv_gv_fake_camera_is_running(m_camera.get()));
        GError* error = nullptr;
        m_device.reset(arv_open_device("127.0.0.1", &error));
        QVERIFY2(m_device, error ? error->message : "no device");
    }

    void cleanupTestCase()
    {
        m_device.reset();
        m_camera.reset();
    }

    void readsAndWritesFeatures()
    {
        CNodeMapRef map;
        map._LoadFromAravisDevice(m_device.get());
        CIntegerPtr width = map._GetNode("Width");
        CIntegerPtr sensorWidth = map._GetNode("SensorWidth");
        QVERIFY(width && sensorWidth);
        QCOMPARE(sensorWidth->GetAccessMode(), RO);
        QCOMPARE(width->GetAccessMode(), RW);
        QVERIFY(width->GetMax() <= sensorWidth->GetValue());

        width->SetValue(256);
        QCOMPARE(width->GetValue(), int64_t(256));
        GError* error = nullptr;
        QCOMPARE(arv_device_get_integer_feature_value(m_device.get(), "Width", &error), gint64(256));

        QVERIFY_EXCEPTION_THROWN(width->SetValue(width->GetMax() + width->GetInc()),
                                 GenICam::OutOfRangeException);
        QVERIFY_EXCEPTION_THROWN(sensorWidth->SetValue(100), GenICam::AccessException);
        width->SetValue(512);

        CEnumerationPtr pixelFormat = map._GetNode("PixelFormat");
        QVERIFY(pixelFormat);
        StringList_t symbolics;
        pixelFormat->GetSymbolics(symbolics);
        QVERIFY(std::find(symbolics.begin(), symbolics.end(), gcstring("Mono8")) != symbolics.end());
        pixelFormat->FromString("Mono8");
        QCOMPARE(pixelFormat->ToString(), gcstring("Mono8"));
        QVERIFY_EXCEPTION_THROWN(pixelFormat->FromString("NoSuchFormat"),
                                 GenICam::InvalidArgumentException);
    }

    void categoriesAndCallbacks()
    {
        CNodeMapRef map;
        map._LoadFromAravisDevice(m_device.get());
        CCategoryPtr root = map._GetNode("Root");
        QVERIFY(root);
        FeatureList_t features;
        root->GetFeatures(features);
        QVERIFY(!features.empty());
        int calls = 0;
        Register(map._GetNode("Width"), [&](INode*) { ++calls; });
        CIntegerPtr(map._GetNode("Width"))->SetValue(500);
        QCOMPARE(calls, 1);
        CIntegerPtr(map._GetNode("Width"))->SetValue(512);
        QCOMPARE(calls, 2);
        QVERIFY(map._GetNodeMap()->GetNumNodes() > 20);
    }
};

QTEST_APPLESS_MAIN(tst_GigeNodeMap)
#include "tst_gigenodemap.moc"
