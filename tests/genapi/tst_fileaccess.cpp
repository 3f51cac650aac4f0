#include "testdevice.h"

#include <QtTest>

#include <memory>

using namespace GenApi;

// Device files through FileProtocolAdapter and the device file streams, against the SFNC file
// access protocol of the test device: sizes around the 1024-byte transfer buffer, and refusals.
class tst_FileAccess : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestDevice> m_device;
    std::unique_ptr<CNodeMapRef> m_map;

private slots:
    void init()
    {
        m_device = std::make_unique<TestDevice>();
        m_map = std::make_unique<CNodeMapRef>();
        m_map->_LoadXMLFromString(testDeviceXml().toStdString());
        QVERIFY(m_map->_Connect(m_device.get()));
    }
    void cleanup()
    {
        m_map.reset();
        m_device.reset();
    }

    void roundTrip_data()
    {
        QTest::addColumn<int>("size");
        for (int size : {0, 1, 1023, 1024, 1025, 100000})
            QTest::newRow(qPrintable(QString("%1-bytes").arg(size))) << size;
    }

    void roundTrip()
    {
        QFETCH(int, size);
        std::string data(static_cast<size_t>(size), '\0');
        for (int i = 0; i < size; ++i)
            data[static_cast<size_t>(i)] = static_cast<char>((i * 7 + i / 251) & 0xFF);

        ODevFileStream out(m_map->_GetNodeMap(), "UserData");
        QVERIFY(out.is_open());
        out.write(data.data(), static_cast<std::streamsize>(data.size()));
        out.close();
        QVERIFY(!out.fail());
        QCOMPARE(m_device->file(0).size(), data.size());

        IDevFileStream in(m_map->_GetNodeMap(), "UserData");
        QVERIFY(in.is_open());
        std::string back;
        char block[1024];
        // The loop a file dialog runs: blocks of 1024 until a short one.
        for (;;) {
            in.read(block, sizeof block);
            back.append(block, static_cast<size_t>(in.gcount()));
            if (in.gcount() < static_cast<std::streamsize>(sizeof block))
                break;
        }
        in.close();
        QCOMPARE(back.size(), data.size());
        QVERIFY(back == data);
    }

    void adapterReportsSizes()
    {
        FileProtocolAdapter adapter;
        QVERIFY(adapter.attach(m_map->_GetNodeMap()));
        QCOMPARE(adapter.getBufSize("UserData", std::ios_base::out), int64_t(1024));
        QVERIFY(adapter.openFile("UserData", std::ios_base::out));
        const char text[] = "calibration";
        QCOMPARE(adapter.write(text, 0, 11, "UserData"), std::streamsize(11));
        QCOMPARE(adapter.write(text, 20, 3, "UserData"), std::streamsize(3)); // sparse: grows
        QVERIFY(adapter.closeFile("UserData"));
        QCOMPARE(adapter.getFileSize("UserData"), int64_t(23));
        QVERIFY(adapter.openFile("UserData", std::ios_base::in));
        char back[8] = {};
        QCOMPARE(adapter.read(back, 2, 5, "UserData"), std::streamsize(5));
        QCOMPARE(QByteArray(back, 5), QByteArray("libra"));
        QCOMPARE(adapter.read(back, 100, 5, "UserData"), std::streamsize(0)); // past the end
        QVERIFY(adapter.closeFile("UserData"));
        QVERIFY(adapter.deleteFile("UserData"));
        QCOMPARE(adapter.getFileSize("UserData"), int64_t(0));
    }

    void refusals()
    {
        // A file the device does not have.
        IDevFileStream missing(m_map->_GetNodeMap(), "NoSuchFile");
        QVERIFY(missing.fail());
        QVERIFY(!missing.is_open());
        FileProtocolAdapter adapter;
        QVERIFY(adapter.attach(m_map->_GetNodeMap()));
        QVERIFY(!adapter.openFile("NoSuchFile", std::ios_base::in));
        QVERIFY(QString::fromStdString(adapter.lastError()).contains("no file 'NoSuchFile'"));

        // A read-only file refuses to be opened for writing, and keeps its contents.
        m_device->file(1) = {1, 2, 3};
        ODevFileStream firmware(m_map->_GetNodeMap(), "Firmware");
        QVERIFY(firmware.fail());
        QVERIFY(!adapter.openFile("Firmware", std::ios_base::out));
        QVERIFY(QString::fromStdString(adapter.lastError()).contains("Failure"));
        QVERIFY(!adapter.deleteFile("Firmware"));
        QCOMPARE(m_device->file(1).size(), size_t(3));

        // A map without file access features cannot be attached.
        CNodeMapRef plain;
        plain._LoadXMLFromString(
            "<RegisterDescription ModelName=\"M\" VendorName=\"V\" StandardNameSpace=\"None\" "
            "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" "
            "MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"x\" "
            "VersionGuid=\"y\" xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">"
            "<Category Name=\"Root\"/><Port Name=\"Device\"/></RegisterDescription>");
        FileProtocolAdapter none;
        QVERIFY(!none.attach(plain._GetNodeMap()));
        ODevFileStream noFiles(plain._GetNodeMap(), "UserData");
        QVERIFY(noFiles.fail());

        // The device going away mid-transfer: the stream fails, nothing throws.
        ODevFileStream out(m_map->_GetNodeMap(), "UserData");
        QVERIFY(out.is_open());
        m_device->failing = true;
        std::string block(3000, 'x');
        out.write(block.data(), static_cast<std::streamsize>(block.size()));
        out.close();
        QVERIFY(out.fail());
    }
};

QTEST_APPLESS_MAIN(tst_FileAccess)
#include "tst_fileaccess.moc"
