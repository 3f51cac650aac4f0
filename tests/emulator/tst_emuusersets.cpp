// User sets and file access of the emulated camera: saving and loading settings, the set loaded
// at power-up, and files moved through GenApi's file protocol adapter and device file streams,
// user set files included.

#include "emutestsupport.h"

#include "emulator/emulimits.h"

#include <QtTest>

#include <numeric>
#include <sstream>

using namespace GenApi;
using namespace EmuTest;
using Emulator::EmuTransportLayer;

namespace {

std::string pattern(size_t size)
{
    std::string data(size, '\0');
    for (size_t i = 0; i < size; ++i)
        data[i] = char((i * 7 + i / 251) & 0xFF);
    return data;
}

bool upload(INodeMap* map, const char* file, const std::string& data)
{
    ODevFileStream out(map, file);
    if (!out.is_open())
        return false;
    out.write(data.data(), std::streamsize(data.size()));
    out.close();
    return !out.fail();
}

bool download(INodeMap* map, const char* file, std::string* data)
{
    IDevFileStream in(map, file);
    if (!in.is_open())
        return false;
    std::ostringstream all;
    all << in.rdbuf();
    *data = all.str();
    in.close();
    return true;
}

} // namespace

class TestEmuUserSets : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void userSetRoundTrip_data();
    void userSetRoundTrip();
    void onceIsNotSaved();
    void userSetDefaultLoadsAtOpen();
    void fileRoundTrip_data();
    void fileRoundTrip();
    void emptyFile();
    void userDataIsFull();
    void userSetFiles();
    void fileProtocolRules_data();
    void fileProtocolRules();

private:
    void reopen()
    {
        m_camera.reset();
        m_camera = std::make_unique<Camera>(*m_transportLayer, 0);
    }

    std::unique_ptr<EmuTransportLayer> m_transportLayer;
    std::unique_ptr<Camera> m_camera;
};

void TestEmuUserSets::init()
{
    m_transportLayer = std::make_unique<EmuTransportLayer>(1);
    reopen();
}

void TestEmuUserSets::cleanup()
{
    m_camera.reset();
    m_transportLayer.reset();
}

void TestEmuUserSets::userSetRoundTrip_data()
{
    QTest::addColumn<QString>("selector"); // "Selector=Entry" set before the feature, or empty
    QTest::addColumn<QString>("feature");
    QTest::addColumn<QString>("value");

    QTest::newRow("width") << ""
                           << "Width"
                           << "640";
    QTest::newRow("height") << ""
                            << "Height"
                            << "480";
    QTest::newRow("pixel-format") << ""
                                  << "PixelFormat"
                                  << "BayerRG12p";
    QTest::newRow("exposure-time") << ""
                                   << "ExposureTime"
                                   << "12345.5";
    QTest::newRow("trigger-mode") << "TriggerSelector=FrameStart"
                                  << "TriggerMode"
                                  << "On";
    QTest::newRow("balance-ratio-blue") << "BalanceRatioSelector=Blue"
                                        << "BalanceRatio"
                                        << "2.5";
    QTest::newRow("roi2-width") << "AutoFunctionROISelector=ROI2"
                                << "AutoFunctionROIWidth"
                                << "320";
    QTest::newRow("gain-auto-continuous") << ""
                                          << "GainAuto"
                                          << "Continuous";
    QTest::newRow("light-source") << ""
                                  << "LightSourcePreset"
                                  << "Tungsten2800K";
    QTest::newRow("link-limit") << ""
                                << "DeviceLinkThroughputLimit"
                                << "123456789";
    QTest::newRow("test-image") << ""
                                << "TestImageSelector"
                                << "MovingStripes";
}

void TestEmuUserSets::userSetRoundTrip()
{
    QFETCH(QString, selector);
    QFETCH(QString, feature);
    QFETCH(QString, value);
    INodeMap* map = m_camera->map;
    const auto select = [&] {
        if (selector.isEmpty())
            return;
        const QStringList parts = selector.split('=');
        CValuePtr(map->GetNode(parts[0].toUtf8().constData()))
            ->FromString(parts[1].toUtf8().constData());
    };
    CValuePtr node(map->GetNode(feature.toUtf8().constData()));
    select();
    const gcstring factory = node->ToString();
    node->FromString(value.toUtf8().constData());
    const gcstring changed = node->ToString();
    QVERIFY(changed != factory);

    m_camera->setEnumeration("UserSetSelector", "UserSet1");
    m_camera->execute("UserSetSave");
    m_camera->setEnumeration("UserSetSelector", "Default");
    m_camera->execute("UserSetLoad");
    select();
    QCOMPARE(QString(node->ToString().c_str()), QString(factory.c_str()));
    m_camera->setEnumeration("UserSetSelector", "UserSet1");
    m_camera->execute("UserSetLoad");
    select();
    QCOMPARE(QString(node->ToString().c_str()), QString(changed.c_str()));
    // The other sets were not touched.
    m_camera->setEnumeration("UserSetSelector", "UserSet2");
    m_camera->execute("UserSetLoad");
    select();
    QCOMPARE(QString(node->ToString().c_str()), QString(factory.c_str()));
}

void TestEmuUserSets::onceIsNotSaved()
{
    m_camera->setEnumeration("ExposureAuto", "Once");
    m_camera->setEnumeration("BalanceWhiteAuto", "Continuous");
    m_camera->setEnumeration("UserSetSelector", "UserSet3");
    m_camera->execute("UserSetSave");
    m_camera->setEnumeration("UserSetSelector", "Default");
    m_camera->execute("UserSetLoad");
    m_camera->setEnumeration("UserSetSelector", "UserSet3");
    m_camera->execute("UserSetLoad");
    QCOMPARE(QString(m_camera->enumeration("ExposureAuto").c_str()), QString("Off"));
    QCOMPARE(QString(m_camera->enumeration("BalanceWhiteAuto").c_str()), QString("Continuous"));
}

void TestEmuUserSets::userSetDefaultLoadsAtOpen()
{
    m_camera->setInteger("Width", 320);
    m_camera->setEnumeration("UserSetSelector", "UserSet2");
    m_camera->execute("UserSetSave");
    m_camera->setEnumeration("UserSetDefault", "UserSet2");
    m_camera->setInteger("Width", 1000);
    reopen();
    QCOMPARE(m_camera->integer("Width"), int64_t(320));
    QCOMPARE(QString(m_camera->enumeration("UserSetDefault").c_str()), QString("UserSet2"));
    m_camera->setEnumeration("UserSetDefault", "Default");
    reopen();
    QCOMPARE(m_camera->integer("Width"), Emulator::EmuLimits::kDefaultSensorWidth);
}

void TestEmuUserSets::fileRoundTrip_data()
{
    QTest::addColumn<int>("size");

    QTest::newRow("0-bytes") << 0;
    QTest::newRow("1-byte") << 1;
    QTest::newRow("1023-bytes") << 1023;
    QTest::newRow("1024-bytes-one-block") << 1024;
    QTest::newRow("1025-bytes") << 1025;
    QTest::newRow("100000-bytes") << 100000;
}

void TestEmuUserSets::fileRoundTrip()
{
    QFETCH(int, size);
    INodeMap* map = m_camera->map;
    // Something longer first: a file opened for writing starts empty.
    QVERIFY(upload(map, "UserData", pattern(3000)));
    const std::string data = pattern(size_t(size));
    QVERIFY(upload(map, "UserData", data));
    FileProtocolAdapter adapter;
    QVERIFY(adapter.attach(map));
    QCOMPARE(adapter.getFileSize("UserData"), int64_t(size));
    std::string back;
    QVERIFY(download(map, "UserData", &back));
    QCOMPARE(back.size(), data.size());
    QVERIFY(back == data);

    // The data lives in the camera's non-volatile memory.
    reopen();
    QVERIFY(download(m_camera->map, "UserData", &back));
    QVERIFY(back == data);
}

void TestEmuUserSets::emptyFile()
{
    FileProtocolAdapter adapter;
    QVERIFY(adapter.attach(m_camera->map));
    QVERIFY(adapter.deleteFile("UserData"));
    QCOMPARE(adapter.getFileSize("UserData"), int64_t(0));
    IDevFileStream in(m_camera->map, "UserData");
    QVERIFY(in.is_open());
    char byte = 0;
    QVERIFY(!in.read(&byte, 1));
    QCOMPARE(in.gcount(), std::streamsize(0));
    QVERIFY(in.eof());
    in.close();
    // A file of another name is refused, not invented.
    IDevFileStream none(m_camera->map, "NoSuchFile");
    QVERIFY(!none.is_open());
    QVERIFY(none.fail());
}

void TestEmuUserSets::userDataIsFull()
{
    const int64_t capacity = Emulator::EmuLimits::kUserDataFileCapacity;
    QVERIFY(!upload(m_camera->map, "UserData", pattern(size_t(capacity + 10))));
    FileProtocolAdapter adapter;
    QVERIFY(adapter.attach(m_camera->map));
    QCOMPARE(adapter.getFileSize("UserData"), capacity);
}

void TestEmuUserSets::userSetFiles()
{
    INodeMap* map = m_camera->map;
    std::string text;
    QVERIFY(download(map, "UserSet1", &text));
    QVERIFY2(text.find("\nWidth\t1920\n") != std::string::npos, text.c_str());
    QVERIFY(text.find("\nBalanceRatio[Blue]\t1\n") != std::string::npos);

    // An edited set goes back up and is loaded like a saved one.
    const size_t at = text.find("\nWidth\t1920\n");
    text.replace(at, 12, "\nWidth\t800\n");
    QVERIFY(upload(map, "UserSet1", text));
    m_camera->setEnumeration("UserSetSelector", "UserSet1");
    m_camera->execute("UserSetLoad");
    QCOMPARE(m_camera->integer("Width"), int64_t(800));

    // A bad text is refused when the file closes, and the set stays as it was.
    QVERIFY(!upload(map, "UserSet1", "Width\t801\n"));
    QCOMPARE(QString(m_camera->enumeration("FileOperationStatus").c_str()), QString("Failure"));
    QVERIFY(!upload(map, "UserSet1", "NoSuchFeature\t1\n"));
    m_camera->setInteger("Width", 640);
    m_camera->execute("UserSetLoad");
    QCOMPARE(m_camera->integer("Width"), int64_t(800));

    // Saving shows in the file; deleting it brings the factory settings back.
    m_camera->setInteger("Width", 512);
    m_camera->execute("UserSetSave");
    QVERIFY(download(map, "UserSet1", &text));
    QVERIFY(text.find("\nWidth\t512\n") != std::string::npos);
    FileProtocolAdapter adapter;
    QVERIFY(adapter.attach(map));
    QVERIFY(adapter.deleteFile("UserSet1"));
    m_camera->execute("UserSetLoad");
    QCOMPARE(m_camera->integer("Width"), Emulator::EmuLimits::kDefaultSensorWidth);
}

void TestEmuUserSets::fileProtocolRules_data()
{
    // Operations in order, each "Operation" or "Operation:Mode"; the last one's status counts.
    QTest::addColumn<QStringList>("operations");
    QTest::addColumn<QString>("status");

    QTest::newRow("read-without-open") << QStringList{"Read"} << "Failure";
    QTest::newRow("close-without-open") << QStringList{"Close"} << "Failure";
    QTest::newRow("open-twice") << QStringList{"Open:Read", "Open:Read"} << "Failure";
    QTest::newRow("write-in-read-mode") << QStringList{"Open:Read", "Write"} << "Failure";
    QTest::newRow("read-in-write-mode") << QStringList{"Open:Write", "Read"} << "Failure";
    QTest::newRow("delete-open-file") << QStringList{"Open:Read", "Delete"} << "Failure";
    QTest::newRow("read-write-mode") << QStringList{"Open:ReadWrite", "Write", "Read"} << "Success";
    QTest::newRow("open-close") << QStringList{"Open:Write", "Close"} << "Success";
}

void TestEmuUserSets::fileProtocolRules()
{
    QFETCH(QStringList, operations);
    QFETCH(QString, status);
    m_camera->setEnumeration("FileSelector", "UserData");
    m_camera->setInteger("FileAccessOffset", 0);
    m_camera->setInteger("FileAccessLength", 4);
    for (const QString& operation : operations) {
        const QStringList parts = operation.split(':');
        m_camera->setEnumeration("FileOperationSelector", parts[0].toUtf8().constData());
        if (parts.size() > 1)
            m_camera->setEnumeration("FileOpenMode", parts[1].toUtf8().constData());
        m_camera->execute("FileOperationExecute");
    }
    QCOMPARE(QString(m_camera->enumeration("FileOperationStatus").c_str()), status);
    if (status == "Success" && operations.last() == "Read")
        QCOMPARE(m_camera->integer("FileOperationResult"), int64_t(4));
}

QTEST_GUILESS_MAIN(TestEmuUserSets)
#include "tst_emuusersets.moc"
