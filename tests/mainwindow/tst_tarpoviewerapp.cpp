// labels: gui netns
#include "acquisition/camera.h"
#include "app/core/contextmanager.h"
#include "app/core/devicecontext.h"
#include "genapi/genapi.h"
#include "mainwindow/devicetreewindow.h"
#include "mainwindow/logwindow.h"
#include "mainwindow/tarpoviewerapp.h"
#include "qtbase/asyncerrorqueue.h"
#include "qtwidgets/devicetreewidget.h"
#include "settings/optionsdialog.h"
#include "tarpo/avicodeccatalog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QFile>
#include <QMdiArea>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

namespace {

// Closes every modal dialog as it appears, as a user who reads and dismisses it would.
class ModalCloser : public QObject
{
public:
    ModalCloser()
    {
        connect(&m_timer, &QTimer::timeout, this, [this] {
            if (paused)
                return;
            if (QWidget* modal = QApplication::activeModalWidget()) {
                ++closed;
                modal->close();
            }
        });
        m_timer.start(20);
    }
    int closed = 0;
    bool paused = false;

private:
    QTimer m_timer;
};

QString logText(LogWindow* log)
{
    return log->model()->toText();
}

GenApi::INodeMap* cameraMap(TarpoViewerApp& window)
{
    DeviceContext* context = window.contextManager()->currentContext();
    return context && context->camera()->device() ? context->camera()->device()->GetNodeMap()
                                                  : nullptr;
}

void setFeature(GenApi::INodeMap* map, const char* name, const char* value)
{
    GenApi::CValuePtr node = map->GetNode(name);
    QVERIFY2(node, name);
    node->FromString(value);
}

QString feature(GenApi::INodeMap* map, const char* name)
{
    GenApi::CValuePtr node = map->GetNode(name);
    return node ? QString::fromStdString(node->ToString().c_str()) : QString();
}

} // namespace

// The main window over emulated cameras: the enable rules of its actions, its settings and
// layout, feature files, and what a vanishing camera leaves behind.
class tst_TarpoViewerApp : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void enableRules_data();
    void enableRules();
    void savedLayoutOfAnotherVersionIsIgnored_data();
    void savedLayoutOfAnotherVersionIsIgnored();
    void settingsWrittenAtCloseAndReadAtStart();
    void debugLevelNeedsNodeDebugMode();
    void filterSuffix_data();
    void filterSuffix();
    void commandLine_data();
    void commandLine();
    void featureFileRoundTrip();
    void recordAsksForOptionsFirst_data();
    void recordAsksForOptionsFirst();
    void vanishedCameraLeavesAndComesBack();

private:
    // Selects emulated camera `index` in the device tree once the scan has listed it.
    bool select(TarpoViewerApp& window, int index);

    QTemporaryDir m_dir;
    ModalCloser* m_modalCloser = nullptr;
};

void tst_TarpoViewerApp::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.path());
    QCoreApplication::setOrganizationName("Morvex");
    QCoreApplication::setApplicationName("Tarpo Viewer");
    m_modalCloser = new ModalCloser;
}

void tst_TarpoViewerApp::init()
{
    QSettings settings;
    settings.clear();
    settings.setValue("MainWindow/SkipAllHints", true);
    settings.setValue("Recording/OutputFolder", m_dir.filePath("recordings"));
}

bool tst_TarpoViewerApp::select(TarpoViewerApp& window, int index)
{
    const QString serial = QString("EMU%1").arg(index + 1, 4, 10, QChar('0'));
    DeviceTreeWidget* tree = window.deviceTreeWindow()->deviceTree();
    if (!QTest::qWaitFor([&] { return tree->selectByName(serial, false); }, 10000))
        return false;
    return QTest::qWaitFor([&] { return window.contextManager()->currentContext() != nullptr; });
}

void tst_TarpoViewerApp::enableRules_data()
{
    QTest::addColumn<QString>("state");
    // Open, Close, Single, Continuous, Stop, Record, Pause, Pause ticked, Load, Save
    QTest::addColumn<QVector<bool>>("enabled");
    QTest::newRow("nothing-selected") << "none" << QVector<bool>{false, false, false, false, false,
                                                                 false, false, false, false, false};
    QTest::newRow("selected-closed")
        << "closed"
        << QVector<bool>{true, false, false, false, false, false, false, false, false, false};
    QTest::newRow("open") << "open" << QVector<bool>{false, true,  true,  true, false,
                                                     true,  false, false, true, true};
    QTest::newRow("grabbing") << "grabbing" << QVector<bool>{false, true,  false, false, true,
                                                             true,  false, false, false, false};
    QTest::newRow("recording") << "recording" << QVector<bool>{false, true, false, false, true,
                                                               false, true, false, false, false};
    QTest::newRow("paused") << "paused" << QVector<bool>{false, true, false, false, true,
                                                         false, true, true,  false, false};
}

void tst_TarpoViewerApp::enableRules()
{
    QFETCH(QString, state);
    QFETCH(QVector<bool>, enabled);
    QSettings().setValue("Recording/FrameBasedFrameLimitEnabled", false);
    QSettings().setValue("Recording/OutputType", 1);
    QSettings().setValue("Recording/ShowOptionsOnRecordStart", false);
    TarpoViewerApp window;
    const Ui_TarpoViewerAppClass& ui = window.ui();
    if (state != "none")
        QVERIFY(select(window, 0));
    if (state != "none" && state != "closed") {
        ui.actionOpenCamera->trigger();
        QVERIFY(window.contextManager()->isDeviceOpen());
        setFeature(cameraMap(window), "Width", "64");
        setFeature(cameraMap(window), "Height", "48");
    }
    if (state == "grabbing")
        ui.actionContinuousShot->trigger();
    if (state == "recording" || state == "paused")
        ui.actionRecord->trigger();
    if (state == "paused")
        ui.actionRecordPause->trigger();
    window.updateActions();
    const QVector<bool> actual{
        ui.actionOpenCamera->isEnabled(),     ui.actionCloseCamera->isEnabled(),
        ui.actionOneShot->isEnabled(),        ui.actionContinuousShot->isEnabled(),
        ui.actionStopGrab->isEnabled(),       ui.actionRecord->isEnabled(),
        ui.actionRecordPause->isEnabled(),    ui.actionRecordPause->isChecked(),
        ui.actionLoad_Parameter->isEnabled(), ui.actionSave_Parameter->isEnabled()};
    QCOMPARE(actual, enabled);
    QCOMPARE(window.speedTestAction()->isEnabled(), ui.actionContinuousShot->isEnabled());
    // Tools that are not part of this build are in their menus and disabled.
    // The emulator offers file access: only while open and not grabbing.
    QCOMPARE(ui.actionFile_Access->isEnabled(), state == "open");
    QCOMPARE(ui.actionCopyCameraParamters->isEnabled(), state != "none" && state != "closed");
    window.close();
}

void tst_TarpoViewerApp::savedLayoutOfAnotherVersionIsIgnored_data()
{
    QTest::addColumn<int>("version");
    QTest::addColumn<Qt::DockWidgetArea>("area");
    QTest::newRow("same-version") << int(TarpoViewerApp::kLayoutVersion) << Qt::RightDockWidgetArea;
    QTest::newRow("older-version") << 12 << Qt::LeftDockWidgetArea;
}

void tst_TarpoViewerApp::savedLayoutOfAnotherVersionIsIgnored()
{
    QFETCH(int, version);
    QFETCH(Qt::DockWidgetArea, area);
    {
        TarpoViewerApp first;
        first.addDockWidget(Qt::RightDockWidgetArea, first.deviceTreeWindow());
        QSettings().setValue("MainWindow/layout", first.saveState(version));
    }
    TarpoViewerApp second;
    QCOMPARE(second.dockWidgetArea(second.deviceTreeWindow()), area);
}

void tst_TarpoViewerApp::settingsWrittenAtCloseAndReadAtStart()
{
    {
        TarpoViewerApp first;
        first.onFontSizeChanged(11);
        first.setUserLevel(TarpoViewer::UserLevel_Expert);
        first.deviceTreeWindow()->setTooltipLevel(1);
        first.close();
    }
    QSettings settings;
    // The keys by name: a key misspelt alike on save and load would pass a round trip.
    QCOMPARE(settings.value("MainWindow/fontSize").toInt(), 11);
    QCOMPARE(settings.value("MainWindow/userLevel").toInt(), 1);
    QCOMPARE(settings.value("MainWindow/tooltipLevel").toUInt(), 1u);
    QVERIFY(settings.contains("MainWindow/layout"));
    QVERIFY(settings.contains("MainWindow/pos") && settings.contains("MainWindow/size"));
    QCOMPARE(settings.value("Recording/FrameBasedFrameLimit").toInt(), 500);
    QVERIFY(settings.contains("Environment/workingDirectory"));

    QApplication::setFont(QFont(QApplication::font().family(), 9));
    TarpoViewerApp second;
    QCOMPARE(QApplication::font().pointSize(), 11);
    QCOMPARE(second.userLevel(), 1u);
    QCOMPARE(second.deviceTreeWindow()->deviceTree()->tooltipLevel(), 1u);
}

void tst_TarpoViewerApp::debugLevelNeedsNodeDebugMode()
{
    TarpoViewerApp window;
    window.setUserLevel(TarpoViewer::UserLevel_Debug);
    QCOMPARE(window.userLevel(), 2u);
    window.setVisibility(GenApi::Invisible);
    QCOMPARE(window.userLevel(), 2u);
    window.setVisibility(GenApi::Expert);
    QCOMPARE(window.userLevel(), 1u);
}

void tst_TarpoViewerApp::filterSuffix_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("saved");
    QTest::newRow("tiff-filter") << "/tmp/x"
                                 << "Tiff (*.tiff)"
                                 << "/tmp/x.tiff";
    QTest::newRow("own-suffix-kept") << "/tmp/x.png"
                                     << "Tiff (*.tiff)"
                                     << "/tmp/x.png";
    QTest::newRow("feature-file") << "/tmp/cam"
                                  << "Tarpo Feature Stream (*.tfs)"
                                  << "/tmp/cam.tfs";
    QTest::newRow("all-files") << "/tmp/cam"
                               << "All Files (*)"
                               << "/tmp/cam";
}

void tst_TarpoViewerApp::filterSuffix()
{
    QFETCH(QString, typed);
    QFETCH(QString, filter);
    QFETCH(QString, saved);
    QCOMPARE(TarpoViewerApp::withFilterSuffix(typed, filter), saved);
}

void tst_TarpoViewerApp::commandLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("monitor");
    QTest::addColumn<QString>("name");
    QTest::newRow("none") << QStringList{"viewer"} << false << QString();
    QTest::newRow("monitor") << QStringList{"viewer", "-m"} << true << QString();
    QTest::newRow("p-alone") << QStringList{"viewer", "-p"} << false << QString();
    QTest::newRow("p-name-then-m")
        << QStringList{"viewer", "/p", " EMU0002 ", "/m"} << true << "EMU0002";
    QTest::newRow("case-sensitive") << QStringList{"viewer", "-M", "-P", "x"} << false << QString();
}

void tst_TarpoViewerApp::commandLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, monitor);
    QFETCH(QString, name);
    bool monitorMode = false;
    QString preselected;
    TarpoViewerApp::parseCommandLine(arguments, &monitorMode, &preselected);
    QCOMPARE(monitorMode, monitor);
    QCOMPARE(preselected, name);
}

void tst_TarpoViewerApp::featureFileRoundTrip()
{
    TarpoViewerApp window;
    QVERIFY(select(window, 0));
    window.ui().actionOpenCamera->trigger();
    GenApi::INodeMap* first = cameraMap(window);
    QVERIFY(first);
    setFeature(first, "Width", "320");
    setFeature(first, "ExposureTime", "2500");
    setFeature(first, "PixelFormat", "Mono12");
    const QString file = m_dir.filePath("camera.tfs");
    QVERIFY(window.saveFeatures(file));

    QVERIFY(select(window, 1));
    window.ui().actionOpenCamera->trigger();
    GenApi::INodeMap* second = cameraMap(window);
    QVERIFY(second && second != first);
    QVERIFY(window.loadFeatures(file));
    for (const char* name : {"Width", "ExposureTime", "PixelFormat"})
        QCOMPARE(feature(second, name), feature(first, name));

    // A malformed file: the message, and the camera keeps what did not load.
    QSignalSpy errors(&AsyncErrorQueue::instance(), &AsyncErrorQueue::displayError);
    QFile broken(m_dir.filePath("broken.tfs"));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write("no feature file at all\n");
    broken.close();
    setFeature(second, "Width", "640");
    QVERIFY(!window.loadFeatures(broken.fileName()));
    QCOMPARE(errors.count(), 1);
    QVERIFY(errors.at(0).at(1).toString().startsWith("Load camera feature file failed.\n"));
    QCOMPARE(feature(second, "Width"), QString("640"));
}

void tst_TarpoViewerApp::recordAsksForOptionsFirst_data()
{
    QTest::addColumn<bool>("accept");
    QTest::newRow("start-recording") << true;
    QTest::newRow("cancel-starts-nothing") << false;
}

void tst_TarpoViewerApp::recordAsksForOptionsFirst()
{
    QFETCH(bool, accept);
    Tarpo::SAviCodecInfo mjpeg;
    const uint32_t mjpg = Tarpo::MakeFourCC('M', 'J', 'P', 'G');
    QVERIFY(Tarpo::CAviCodecCatalog::FindCodec(mjpg, mjpeg));
    QSettings().setValue("Recording/ShowOptionsOnRecordStart", true);
    TarpoViewerApp window;
    QVERIFY(select(window, 0));
    window.ui().actionOpenCamera->trigger();
    setFeature(cameraMap(window), "Width", "320");
    setFeature(cameraMap(window), "Height", "240");
    m_modalCloser->paused = true;
    // As a user does in the dialog: 12 frames, MJPEG chosen in the codec settings, then Start.
    QTimer::singleShot(200, [accept, mjpg] {
        auto* options = qobject_cast<OptionsDialog*>(QApplication::activeModalWidget());
        if (!options)
            return;
        if (!accept) {
            options->findChild<QPushButton*>("cancelButton")->click();
            return;
        }
        options->findChild<QCheckBox*>("checkBoxRecordingFrameLimit")->setChecked(true);
        options->findChild<QSpinBox*>("spinBoxRecordingFrameLimit")->setValue(12);
        options->findChild<QCheckBox*>("checkBoxUseCompression")->setChecked(true);
        QTimer::singleShot(200, [mjpg] {
            QWidget* codec = QApplication::activeModalWidget();
            auto* combo = codec->findChild<QComboBox*>("comboBoxCodec");
            combo->setCurrentIndex(combo->findData(mjpg));
            codec->findChild<QDialogButtonBox*>("buttonBox")->button(QDialogButtonBox::Ok)->click();
        });
        options->findChild<QPushButton*>("pushButtonRecordingCompressionSettings")->click();
        options->findChild<QPushButton*>("okButton")->click();
    });
    window.ui().actionRecord->trigger();
    m_modalCloser->paused = false;
    DeviceContext* context = window.contextManager()->currentContext();
    if (!accept) {
        QVERIFY(!context->hasRecording());
        QVERIFY(!context->camera()->isGrabbing());
        return;
    }
    QVERIFY(context->hasRecording());
    QTRY_VERIFY_WITH_TIMEOUT(!context->hasRecording(), 20000);
    // The options were taken over and kept.
    QCOMPARE(QSettings().value("Recording/FrameBasedFrameLimit").toInt(), 12);
    QDir folder(m_dir.filePath("recordings"));
    const QStringList videos = folder.entryList({"*.avi"}, QDir::Files, QDir::Time);
    QVERIFY(!videos.isEmpty());
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-count_frames", "-select_streams", "v:0",
                            "-show_entries", "stream=codec_name,nb_read_frames", "-of", "csv=p=0",
                            folder.filePath(videos.first())});
    QVERIFY(probe.waitForFinished(30000));
    QCOMPARE(QString::fromUtf8(probe.readAllStandardOutput()).trimmed(), QString("mjpeg,12"));
}

void tst_TarpoViewerApp::vanishedCameraLeavesAndComesBack()
{
    TarpoViewerApp window;
    QVERIFY(select(window, 0));
    window.ui().actionOpenCamera->trigger();
    window.ui().actionContinuousShot->trigger();
    QTRY_COMPARE(window.mdiArea()->subWindowList().size(), 1);
    GenApi::CCommandPtr vanish = cameraMap(window)->GetNode("DebugDeviceVanish");
    vanish->Execute();
    QTRY_VERIFY_WITH_TIMEOUT(logText(window.logWindow()).contains("has been disconnected."), 10000);
    QTRY_COMPARE(window.mdiArea()->subWindowList().size(), 0);
    QVERIFY(!window.ui().actionCloseCamera->isEnabled());
    // Once nothing holds it, the camera is back and opens again.
    QVERIFY(select(window, 0));
    window.ui().actionOpenCamera->trigger();
    QVERIFY(window.contextManager()->isDeviceOpen());
}

QTEST_MAIN(tst_TarpoViewerApp)
#include "tst_tarpoviewerapp.moc"
