// labels: gui
#include "acquisition/stdfeaturelistcamera.h"
#include "qtwidgets/qipaddressvalidator.h"
#include "tarpo/tarpodevice.h"
#include "tarpo/tlfactory.h"
#include "tools/fileaccessdialog.h"
#include "tools/unicastcreatedialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {

// Reads and closes the message boxes a user would see.
class MessageReader : public QObject
{
public:
    MessageReader()
    {
        connect(&m_timer, &QTimer::timeout, this, [this] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                texts << box->text();
                box->close();
            }
        });
        m_timer.start(10);
    }
    QStringList texts;

private:
    QTimer m_timer;
};

} // namespace

// The file access dialog over the emulator's files, and the address dialog of a remote camera.
class tst_FileAccessDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void roundTrip_data();
    void roundTrip();
    void failures_data();
    void failures();
    void ipAddressValidator_data();
    void ipAddressValidator();

private:
    QTemporaryDir m_dir;
    Tarpo::CDeviceInfo m_info;
    std::unique_ptr<StdFeatureListCamera> m_camera;
};

void tst_FileAccessDialog::initTestCase()
{
    qputenv("XDG_DATA_HOME", m_dir.filePath("data").toLocal8Bit());
    Tarpo::DeviceInfoList_t devices;
    Tarpo::ITransportLayer* tl = Tarpo::CTlFactory::GetInstance().CreateTl("MorvexCamEmu");
    tl->EnumerateDevices(devices);
    Tarpo::CTlFactory::GetInstance().ReleaseTl(tl);
    m_info = devices.at(0);
    m_camera = std::make_unique<StdFeatureListCamera>(&m_info, nullptr, 8u << 20, false);
    m_camera->attachTarpoDevice(Tarpo::CTlFactory::GetInstance().CreateDevice(m_info));
    m_camera->open();
    QVERIFY(m_camera->isOpen());
}

void tst_FileAccessDialog::cleanupTestCase()
{
    m_camera->shutDown();
    m_camera->detachTarpoDevice();
}

void tst_FileAccessDialog::roundTrip_data()
{
    QTest::addColumn<int>("size");
    for (int size : {0, 1023, 1024, 1025, 100000})
        QTest::newRow(qPrintable(QString("%1-bytes").arg(size))) << size;
}

void tst_FileAccessDialog::roundTrip()
{
    QFETCH(int, size);
    QByteArray data(size, Qt::Uninitialized);
    for (char& c : data)
        c = char(QRandomGenerator::global()->bounded(256));
    const QString sent = m_dir.filePath(QString("sent-%1").arg(size));
    const QString received = m_dir.filePath(QString("received-%1").arg(size));
    QFile file(sent);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(data);
    file.close();

    FileAccessDialog dialog(nullptr, m_camera.get());
    auto* combo = dialog.findChild<QComboBox*>("comboBoxFile");
    const int userData = combo->findData("UserData");
    QVERIFY2(userData >= 0, "the emulator offers its UserData file");
    combo->setCurrentIndex(userData);
    QVERIFY(dialog.upload(sent));
    QVERIFY(dialog.download(received));
    QFile back(received);
    QVERIFY(back.open(QIODevice::ReadOnly));
    QCOMPARE(back.readAll(), data);
}

void tst_FileAccessDialog::failures_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("message");
    QTest::newRow("missing-host-file") << "upload-missing"
                                       << "The selected file could not be read from disk.";
    QTest::newRow("unwritable-host-folder") << "download-unwritable"
                                            << "The selected file could not be opend for writing.";
    QTest::newRow("camera-closed") << "closed"
                                   << "Camera is already closed.";
}

void tst_FileAccessDialog::failures()
{
    QFETCH(QString, what);
    QFETCH(QString, message);
    FileAccessDialog dialog(nullptr, m_camera.get());
    auto* combo = dialog.findChild<QComboBox*>("comboBoxFile");
    combo->setCurrentIndex(combo->findData("UserData"));
    MessageReader reader;
    const QString target = m_dir.filePath("never-written");
    if (what == "upload-missing") {
        QVERIFY(!dialog.upload(m_dir.filePath("no-such-file")));
    } else if (what == "download-unwritable") {
        QVERIFY(!dialog.download(m_dir.filePath("no-such-folder/file")));
    } else {
        dialog.onNotifyCameraShutDown(m_camera.get());
        QVERIFY(!dialog.download(target));
    }
    QCOMPARE(reader.texts, QStringList{message});
    QVERIFY(!QFile::exists(target)); // nothing half-written on the host
}

void tst_FileAccessDialog::ipAddressValidator_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("state");
    QTest::newRow("complete") << "192.168.1.10" << int(QValidator::Acceptable);
    QTest::newRow("edges") << "0.0.0.255" << int(QValidator::Acceptable);
    QTest::newRow("three-octets") << "192.168.1" << int(QValidator::Intermediate);
    QTest::newRow("trailing-dot") << "192.168.1." << int(QValidator::Intermediate);
    QTest::newRow("empty") << "" << int(QValidator::Intermediate);
    QTest::newRow("octet-too-big") << "192.168.1.256" << int(QValidator::Invalid);
    QTest::newRow("five-octets") << "1.2.3.4.5" << int(QValidator::Invalid);
    QTest::newRow("letters") << "192.168.a.1" << int(QValidator::Invalid);
    QTest::newRow("leading-zero") << "192.168.01.1" << int(QValidator::Invalid);
}

void tst_FileAccessDialog::ipAddressValidator()
{
    QFETCH(QString, text);
    QFETCH(int, state);
    QIpAddressValidator validator;
    int pos = 0;
    QCOMPARE(int(validator.validate(text, pos)), state);
    // The dialog's OK button follows the same rule.
    CUnicastCreateDialog dialog;
    dialog.setIpAddress(text);
    if (state != int(QValidator::Invalid))
        QCOMPARE(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled(),
                 state == int(QValidator::Acceptable));
}

QTEST_MAIN(tst_FileAccessDialog)
#include "tst_fileaccessdialog.moc"
