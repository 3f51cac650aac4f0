// labels: sanitize
#include "tarpo/gvcpdiscovery.h"

#include <QtTest>

#include <cstring>
#include <vector>

using namespace Tarpo;

namespace {

// A DISCOVERY_ACK as a camera sends it: 8 header bytes and 248 bytes of bootstrap registers.
QByteArray ack(const char* serial, const char* userName, uint16_t status = 0,
               uint16_t command = 0x0003)
{
    std::vector<unsigned char> bytes(8 + 0xF8, 0);
    const auto put = [&bytes](size_t offset, const void* data, size_t size) {
        std::memcpy(bytes.data() + 8 + offset, data, size);
    };
    const auto text = [&put](size_t offset, const char* value) {
        put(offset, value, std::strlen(value));
    };
    bytes[0] = uint8_t(status >> 8);
    bytes[1] = uint8_t(status);
    bytes[2] = uint8_t(command >> 8);
    bytes[3] = uint8_t(command);
    bytes[5] = 0xF8;
    const unsigned char mac[6] = {0x00, 0x30, 0x53, 0x0a, 0xbc, 0xde};
    put(0x0A, mac, sizeof mac);
    const unsigned char ip[4] = {192, 168, 7, 21};
    put(0x24, ip, sizeof ip);
    const unsigned char mask[4] = {255, 255, 255, 0};
    put(0x34, mask, sizeof mask);
    text(0x48, "Morvex");
    // 32 characters without a terminating zero: the field is full.
    text(0x68, "M-1234567890123456789012345678XY");
    text(0x88, "1.2.3");
    text(0xD8, serial);
    text(0xE8, userName);
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), int(bytes.size()));
}

} // namespace

// Parsing of the identity a camera reports; the network side runs against Aravis' fake camera
// in the GigE tests.
class tst_GvcpDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void readsTheIdentity()
    {
        const QByteArray datagram = ack("21345678", "Line 3\x01");
        GvcpDeviceIdentity identity;
        QVERIFY(CGvcpDiscovery::parseAck(reinterpret_cast<const unsigned char*>(datagram.data()),
                                         size_t(datagram.size()), identity));
        QCOMPARE(QString::fromStdString(identity.macAddress), QString("00:30:53:0a:bc:de"));
        QCOMPARE(QString::fromStdString(identity.ipAddress), QString("192.168.7.21"));
        QCOMPARE(QString::fromStdString(identity.subnetMask), QString("255.255.255.0"));
        QCOMPARE(QString::fromStdString(identity.modelName),
                 QString("M-1234567890123456789012345678XY"));
        QCOMPARE(QString::fromStdString(identity.deviceVersion), QString("1.2.3"));
        QCOMPARE(QString::fromStdString(identity.userDefinedName), QString("Line 3\x01"));
        // The name Aravis gives the camera, control characters dropped.
        QCOMPARE(QString::fromStdString(identity.fullName()),
                 QString("Morvex-M-1234567890123456789012345678XY-21345678"));
    }

    void cameraWithoutSerialIsNamedByItsMac()
    {
        const QByteArray datagram = ack("", "");
        GvcpDeviceIdentity identity;
        QVERIFY(CGvcpDiscovery::parseAck(reinterpret_cast<const unsigned char*>(datagram.data()),
                                         size_t(datagram.size()), identity));
        QCOMPARE(QString::fromStdString(identity.serialNumber), QString("00:30:53:0a:bc:de"));
    }

    void rejectsWhatIsNotAnAck_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::newRow("truncated") << ack("1", "").left(100);
        QTest::newRow("error-status") << ack("1", "", 0x8001);
        QTest::newRow("read-register-ack") << ack("1", "", 0, 0x0081);
        QTest::newRow("empty") << QByteArray();
    }

    void rejectsWhatIsNotAnAck()
    {
        QFETCH(QByteArray, datagram);
        GvcpDeviceIdentity identity;
        QVERIFY(!CGvcpDiscovery::parseAck(reinterpret_cast<const unsigned char*>(datagram.data()),
                                          size_t(datagram.size()), identity));
    }
};

QTEST_GUILESS_MAIN(tst_GvcpDiscovery)
#include "tst_gvcpdiscovery.moc"
