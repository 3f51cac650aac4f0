// The camera emulator transport layer: how many cameras TARPO_CAMEMU gives, their identities,
// device creation, and its registration with the transport layer factory.

#include "emutestsupport.h"

#include "tarpo/tlfactory.h"

#include <QtTest>

#include <set>

using namespace EmuTest;
using Emulator::EmuTransportLayer;

class TestEmuTransportLayer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cameraCount_data();
    void cameraCount();
    void countFromEnvironment_data();
    void countFromEnvironment();
    void identities();
    void createDevice_data();
    void createDevice();
    void camerasAreIndependent();
    void factoryRegistration();
};

void TestEmuTransportLayer::initTestCase()
{
    // The factory creates its emulator layer once per process, from this value.
    qputenv(EmuTransportLayer::kCountVariable, "3");
}

void TestEmuTransportLayer::cameraCount_data()
{
    QTest::addColumn<bool>("set");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("expected");
    QTest::addColumn<bool>("warns");

    QTest::newRow("unset") << false << "" << 2 << false;
    QTest::newRow("zero-turns-off") << true << "0" << 0 << false;
    QTest::newRow("one") << true << "1" << 1 << false;
    QTest::newRow("three") << true << "3" << 3 << false;
    QTest::newRow("blanks-around") << true << " 4 " << 4 << false;
    QTest::newRow("most") << true << "256" << 256 << false;
    QTest::newRow("too-many") << true << "300" << 256 << true;
    QTest::newRow("junk") << true << "lots" << 2 << true;
    QTest::newRow("trailing-junk") << true << "2x" << 2 << true;
    QTest::newRow("negative") << true << "-1" << 2 << true;
    QTest::newRow("empty") << true << "" << 2 << true;
}

void TestEmuTransportLayer::cameraCount()
{
    QFETCH(bool, set);
    QFETCH(QString, text);
    QFETCH(int, expected);
    QFETCH(bool, warns);
    std::string warning;
    const QByteArray bytes = text.toUtf8();
    QCOMPARE(EmuTransportLayer::cameraCountFrom(set ? bytes.constData() : nullptr, &warning),
             expected);
    QCOMPARE(!warning.empty(), warns);
    if (warns)
        QVERIFY2(QString(warning.c_str()).contains("TARPO_CAMEMU"), warning.c_str());
}

void TestEmuTransportLayer::countFromEnvironment_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("expected");

    QTest::newRow("0") << QByteArray("0") << 0;
    QTest::newRow("1") << QByteArray("1") << 1;
    QTest::newRow("3") << QByteArray("3") << 3;
    QTest::newRow("junk") << QByteArray("junk") << 2;
}

void TestEmuTransportLayer::countFromEnvironment()
{
    QFETCH(QByteArray, value);
    QFETCH(int, expected);
    const QByteArray saved = qgetenv(EmuTransportLayer::kCountVariable);
    qputenv(EmuTransportLayer::kCountVariable, value);
    EmuTransportLayer transportLayer;
    qputenv(EmuTransportLayer::kCountVariable, saved);
    Tarpo::DeviceInfoList_t infos;
    QCOMPARE(transportLayer.EnumerateDevices(infos), expected);
    QCOMPARE(int(infos.size()), expected);
    QCOMPARE(CIntegerPtr(transportLayer.GetNodeMap()->GetNode("EmulatedCameraCount"))->GetValue(),
             int64_t(expected));
}

void TestEmuTransportLayer::identities()
{
    EmuTransportLayer transportLayer(3);
    Tarpo::DeviceInfoList_t infos;
    transportLayer.EnumerateDevices(infos);
    QCOMPARE(int(infos.size()), 3);
    std::set<std::string> fullNames;
    for (int i = 0; i < 3; ++i) {
        const Tarpo::CDeviceInfo& info = infos[size_t(i)];
        const QString serial = QString("EMU000%1").arg(i + 1);
        QCOMPARE(QString(info.GetSerialNumber().c_str()), serial);
        QCOMPARE(QString(info.GetModelName().c_str()), QString("Emulated Camera"));
        QCOMPARE(QString(info.GetVendorName().c_str()), QString("Morvex"));
        QCOMPARE(QString(info.GetDeviceClass().c_str()), QString("MorvexCamEmu"));
        QCOMPARE(
            QString(info.GetFriendlyName().c_str()),
            QString(Tarpo::CDeviceInfo::MakeFriendlyName("Emulated Camera", serial.toStdString())
                        .c_str()));
        QVERIFY(fullNames.insert(info.GetFullName()).second);
    }
    // The same cameras, with the same names, in another transport layer or process.
    EmuTransportLayer again(1);
    Tarpo::DeviceInfoList_t first;
    again.EnumerateDevices(first);
    QVERIFY(first[0] == infos[0]);
    // Appending keeps what the list held.
    QCOMPARE(again.EnumerateDevices(infos, true), 1);
    QCOMPARE(int(infos.size()), 4);
}

void TestEmuTransportLayer::createDevice_data()
{
    QTest::addColumn<QString>("property");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("found");

    QTest::newRow("full-name") << "FullName"
                               << "Morvex-EmulatedCamera-EMU0002" << true;
    QTest::newRow("serial-number") << "SerialNumber"
                                   << "EMU0002" << true;
    QTest::newRow("unknown-serial") << "SerialNumber"
                                    << "EMU0009" << false;
    QTest::newRow("other-device-class") << "DeviceClass"
                                        << "MorvexGigE" << false;
    QTest::newRow("nothing-named") << "ModelName"
                                   << "Emulated Camera" << false;
}

void TestEmuTransportLayer::createDevice()
{
    QFETCH(QString, property);
    QFETCH(QString, value);
    QFETCH(bool, found);
    EmuTransportLayer transportLayer(2);
    Tarpo::CDeviceInfo info = transportLayer.CreateDeviceInfo();
    QCOMPARE(QString(info.GetDeviceClass().c_str()), QString("MorvexCamEmu"));
    info.SetPropertyValue(property.toStdString(), value.toStdString());
    if (property == "DeviceClass")
        info.SetSerialNumber("EMU0001");
    if (!found) {
        QVERIFY_EXCEPTION_THROWN(transportLayer.CreateDevice(info), GenICam::GenericException);
        return;
    }
    Tarpo::ITarpoDevice* device = transportLayer.CreateDevice(info);
    QCOMPARE(QString(device->GetDeviceInfo().GetSerialNumber().c_str()), QString("EMU0002"));
    QVERIFY(!device->IsOpen());
    QVERIFY(!device->GetNodeMap());
    device->Open();
    QVERIFY(device->GetNodeMap() && device->GetTLNodeMap());
    QCOMPARE(device->GetNumStreamGrabberChannels(), 1u);
    device->Close();
    // Control without stream access has no stream grabber.
    device->Open(Tarpo::Control);
    QCOMPARE(device->GetNumStreamGrabberChannels(), 0u);
    QVERIFY_EXCEPTION_THROWN(device->GetStreamGrabber(0), GenICam::GenericException);
    transportLayer.DestroyDevice(device);
}

void TestEmuTransportLayer::camerasAreIndependent()
{
    EmuTransportLayer transportLayer(2);
    Camera first(transportLayer, 0);
    Camera second(transportLayer, 1);
    first.setInteger("Width", 640);
    first.setEnumeration("PixelFormat", "RGB8");
    QCOMPARE(second.integer("Width"), int64_t(1920));
    QCOMPARE(QString(second.enumeration("PixelFormat").c_str()), QString("Mono8"));
}

void TestEmuTransportLayer::factoryRegistration()
{
    Tarpo::TarpoAutoInitTerm autoInitTerm;
    Tarpo::CTlFactory& factory = Tarpo::CTlFactory::GetInstance();
    Tarpo::TlInfoList_t layers;
    factory.EnumerateTls(layers);
    bool listed = false;
    for (const Tarpo::CTlInfo& layer : layers) {
        if (layer.GetDeviceClass() == "MorvexCamEmu") {
            listed = true;
            QCOMPARE(QString(layer.GetFriendlyName().c_str()), QString("Camera Emulator"));
        }
    }
    QVERIFY(listed);

    Tarpo::ITransportLayer* transportLayer = factory.CreateTl("MorvexCamEmu");
    QVERIFY(transportLayer);
    Tarpo::DeviceInfoList_t infos;
    QCOMPARE(transportLayer->EnumerateDevices(infos), 3); // TARPO_CAMEMU=3
    factory.ReleaseTl(transportLayer);

    // By class and serial number: no other transport layer is asked (a GigE discovery would
    // reach the network).
    Tarpo::CDeviceInfo wanted;
    wanted.SetDeviceClass("MorvexCamEmu").SetSerialNumber("EMU0003");
    Tarpo::ITarpoDevice* device = factory.CreateDevice(wanted);
    device->Open();
    QCOMPARE(QString(GenApi::CStringPtr(device->GetNodeMap()->GetNode("DeviceSerialNumber"))
                         ->GetValue()
                         .c_str()),
             QString("EMU0003"));
    device->Close();
    factory.DestroyDevice(device);
}

QTEST_GUILESS_MAIN(TestEmuTransportLayer)
#include "tst_emutransportlayer.moc"
