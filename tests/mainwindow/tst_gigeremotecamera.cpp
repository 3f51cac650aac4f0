// labels: gui
#include "mainwindow/devicetreewindow.h"
#include "mainwindow/tarpoviewerapp.h"
#include "qtbase/asyncerrorqueue.h"
#include "qtwidgets/devicetreewidget.h"
#include "tests/tarpo/discoveryportblocker.h"
#include "tests/tarpo/fakecameraprocess.h"

#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

// Add Remote GigE Camera with Aravis' fake camera, which broadcast discovery cannot reach: the
// address typed into the dialog finds it and the device tree lists it; a wrong address says so.
class tst_GigeRemoteCamera : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void addByAddress_data();
    void addByAddress();

private:
    QTemporaryDir m_dir;
};

void tst_GigeRemoteCamera::initTestCase()
{
    qputenv("TARPO_CAMEMU", "0");
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.path());
    QSettings().setValue("MainWindow/SkipAllHints", true);
    if (FakeCameraProcess::program().isEmpty())
        QFAIL("arv-fake-gv-camera-0.8 is not installed");
}

void tst_GigeRemoteCamera::addByAddress_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("found");
    // In this order: an announced camera stays known to the transport layer.
    QTest::newRow("nobody-there") << "127.0.0.9" << false;
    QTest::newRow("the-camera") << "127.0.0.1" << true;
}

void tst_GigeRemoteCamera::addByAddress()
{
    QFETCH(QString, address);
    QFETCH(bool, found);
    DiscoveryPortBlocker blocker;
    QVERIFY(blocker.isBound());
    FakeCameraProcess camera("GVREM");
    QVERIFY(camera.start());
    TarpoViewerApp window;
    DeviceTreeWidget* tree = window.deviceTreeWindow()->deviceTree();
    QTRY_VERIFY(tree->scanCount() >= 1);
    QVERIFY(!tree->selectByName("GVREM", false)); // broadcast discovery does not see it
    QVERIFY(window.ui().actionRemote_GigE_Camera->isEnabled());
    QSignalSpy errors(&AsyncErrorQueue::instance(), &AsyncErrorQueue::displayError);
    // As a user types the address and presses OK; messages are read and closed.
    QTimer typing;
    connect(&typing, &QTimer::timeout, this, [address] {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* edit = modal ? modal->findChild<QLineEdit*>("lineEdit") : nullptr) {
            edit->setText(address);
            modal->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
        } else if (modal) {
            modal->close();
        }
    });
    typing.start(20);
    window.ui().actionRemote_GigE_Camera->trigger();
    QCOMPARE(QSettings().value("MainWindow/recentIPAddr").toString(), address);
    if (found) {
        QTRY_VERIFY_WITH_TIMEOUT(tree->selectByName("GVREM", false), 10000);
        QVERIFY(errors.isEmpty());
    } else {
        QTRY_COMPARE(errors.count(), 1);
        QCOMPARE(errors.at(0).at(1).toString(),
                 QString("Failed to find camera. Check the IP configuration."));
    }
}

QTEST_MAIN(tst_GigeRemoteCamera)
#include "tst_gigeremotecamera.moc"
