// labels: gui
#include "genapi/genicamexception.h"
#include "settings/codecsettingsdialog.h"
#include "settings/optionsdialog.h"
#include "tarpo/avicodeccatalog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

namespace {

// A widget of a dialog's form by its object name.
template <typename T> T* child(QObject* dialog, const char* name)
{
    T* widget = dialog->findChild<T*>(name);
    if (!widget)
        qFatal("no widget %s", name);
    return widget;
}

// The signals of one OK, in the order they came.
QStringList emittedSignals(OptionsDialog& dialog)
{
    auto* order = new QStringList;
    auto record = [order](const char* name) { return [order, name] { *order << name; }; };
    QObject::connect(&dialog, &OptionsDialog::userLevelChanged, record("userLevel"));
    QObject::connect(&dialog, &OptionsDialog::autoScanChanged, record("autoScan"));
    QObject::connect(&dialog, &OptionsDialog::fontSizeChanged, record("fontSize"));
    QObject::connect(&dialog, &OptionsDialog::pollingChanged, record("polling"));
    QObject::connect(&dialog, &OptionsDialog::viewAllFavoritesChanged, record("favorites"));
    QObject::connect(&dialog, &OptionsDialog::tooltipLevelChanged, record("tooltipLevel"));
    QObject::connect(&dialog, &OptionsDialog::recordingSettingsChanged, record("recording"));
    QObject::connect(&dialog, &OptionsDialog::showFailedBuffersChanged, record("failedBuffers"));
    child<QPushButton>(&dialog, "okButton")->click();
    QStringList result = *order;
    delete order;
    return result;
}

} // namespace

// The options dialog: which widgets a setting enables, which signals OK sends, the two modes,
// and the codec settings that refuse a codec the encoder will not open.
class tst_OptionsDialog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void enabledStates_data();
    void enabledStates();
    void okEmitsWhatChangedInOrder_data();
    void okEmitsWhatChangedInOrder();
    void cancelEmitsNothing();
    void recordingOptionsTakeTheEdits();
    void modes();
    void codecChosenAndRefused();

private:
    QTemporaryDir m_dir;
};

void tst_OptionsDialog::initTestCase()
{
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_dir.path());
}

void tst_OptionsDialog::enabledStates_data()
{
    QTest::addColumn<int>("outputType");
    QTest::addColumn<int>("sampling");
    QTest::addColumn<bool>("frameLimit");
    QTest::addColumn<bool>("timeLimit");
    QTest::addColumn<bool>("compression");
    QTest::addColumn<bool>("fixedSpeed");
    // frame rate, frame limit box, frame limit, time rate, time limit box, time limit,
    // compression box, compression button, playback speed, image format
    QTest::addColumn<QVector<bool>>("enabled");
    QTest::newRow("video-frames-limited")
        << 0 << 0 << true << false << false << false
        << QVector<bool>{true, true, true, false, false, false, true, false, false, false};
    QTest::newRow("video-frames-unlimited-compressed-fixed-speed")
        << 0 << 0 << false << false << true << true
        << QVector<bool>{true, true, false, false, false, false, true, true, true, false};
    QTest::newRow("images-time-limited")
        << 1 << 1 << false << true << false << false
        << QVector<bool>{false, false, false, true, true, true, false, false, false, true};
    QTest::newRow("images-time-unlimited")
        << 1 << 1 << true << false << false << true
        << QVector<bool>{false, false, false, true, true, false, false, false, false, true};
}

void tst_OptionsDialog::enabledStates()
{
    QFETCH(int, outputType);
    QFETCH(int, sampling);
    QFETCH(bool, frameLimit);
    QFETCH(bool, timeLimit);
    QFETCH(bool, compression);
    QFETCH(bool, fixedSpeed);
    QFETCH(QVector<bool>, enabled);
    OptionsDialog dialog;
    // Through the widgets, as a user sets them.
    (outputType ? child<QRadioButton>(&dialog, "radioButtonOutputTypeImages")
                : child<QRadioButton>(&dialog, "radioButtonOutputTypeVideo"))
        ->setChecked(true);
    (sampling ? child<QRadioButton>(&dialog, "radioButtonTimeBasedSampling")
              : child<QRadioButton>(&dialog, "radioButtonFrameBasedSampling"))
        ->setChecked(true);
    child<QCheckBox>(&dialog, "checkBoxRecordingFrameLimit")->setChecked(frameLimit);
    child<QCheckBox>(&dialog, "checkBoxRecordingTimeLimit")->setChecked(timeLimit);
    child<QCheckBox>(&dialog, "checkBoxUseCompression")->setChecked(compression);
    child<QCheckBox>(&dialog, "checkBoxVideoFixedPlaybackSpeedEnabled")->setChecked(fixedSpeed);
    const QVector<bool> actual{
        child<QSpinBox>(&dialog, "spinBoxRecordingFrameSampleRate")->isEnabled(),
        child<QCheckBox>(&dialog, "checkBoxRecordingFrameLimit")->isEnabled(),
        child<QSpinBox>(&dialog, "spinBoxRecordingFrameLimit")->isEnabled(),
        child<QSpinBox>(&dialog, "spinBoxRecordingTimeSampleRate")->isEnabled(),
        child<QCheckBox>(&dialog, "checkBoxRecordingTimeLimit")->isEnabled(),
        child<QSpinBox>(&dialog, "spinBoxRecordingTimeLimit")->isEnabled() &&
            child<QComboBox>(&dialog, "comboBoxRecordingTimeLimitUnit")->isEnabled(),
        child<QCheckBox>(&dialog, "checkBoxUseCompression")->isEnabled(),
        child<QPushButton>(&dialog, "pushButtonRecordingCompressionSettings")->isEnabled(),
        child<QDoubleSpinBox>(&dialog, "doubleSpinBoxVideoPlaybackSpeed")->isEnabled(),
        child<QComboBox>(&dialog, "comboBoxRecordingImageType")->isEnabled()};
    QCOMPARE(actual, enabled);
}

void tst_OptionsDialog::okEmitsWhatChangedInOrder_data()
{
    QTest::addColumn<QString>("edit");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("nothing") << "" << QStringList{};
    QTest::newRow("font-and-level") << "font,level" << QStringList{"userLevel", "fontSize"};
    QTest::newRow("changed-back-still-sent") << "polling-twice" << QStringList{"polling"};
    QTest::newRow("all") << "font,level,scan,polling,favorites,tooltips,queue,failed"
                         << QStringList{"userLevel", "autoScan",     "fontSize",  "polling",
                                        "favorites", "tooltipLevel", "recording", "failedBuffers"};
}

void tst_OptionsDialog::okEmitsWhatChangedInOrder()
{
    QFETCH(QString, edit);
    QFETCH(QStringList, expected);
    OptionsDialog dialog;
    dialog.setFontSize(8);
    dialog.setPolling(true);
    const QStringList edits = edit.split(',', Qt::SkipEmptyParts);
    if (edits.contains("font"))
        child<QSpinBox>(&dialog, "spinBoxFontSize")->setValue(10);
    if (edits.contains("level"))
        child<QRadioButton>(&dialog, "radioBtnExpert")->setChecked(true);
    if (edits.contains("scan"))
        child<QCheckBox>(&dialog, "checkBoxAutoScan")->setChecked(false);
    if (edits.contains("polling"))
        child<QCheckBox>(&dialog, "checkBoxPolling")->setChecked(false);
    if (edits.contains("polling-twice")) {
        child<QCheckBox>(&dialog, "checkBoxPolling")->setChecked(false);
        child<QCheckBox>(&dialog, "checkBoxPolling")->setChecked(true);
    }
    if (edits.contains("favorites"))
        child<QCheckBox>(&dialog, "checkBoxViewAllFavorites")->setChecked(false);
    if (edits.contains("tooltips"))
        child<QCheckBox>(&dialog, "checkBoxTooltipLevel")->setChecked(true);
    if (edits.contains("queue"))
        child<QSpinBox>(&dialog, "spinBoxQueueSize")->setValue(7);
    if (edits.contains("failed"))
        child<QCheckBox>(&dialog, "checkBoxShowFailedBuffers")->setChecked(false);
    QCOMPARE(emittedSignals(dialog), expected);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
}

void tst_OptionsDialog::cancelEmitsNothing()
{
    OptionsDialog dialog;
    QSignalSpy recording(&dialog, &OptionsDialog::recordingSettingsChanged);
    QSignalSpy font(&dialog, &OptionsDialog::fontSizeChanged);
    child<QSpinBox>(&dialog, "spinBoxFontSize")->setValue(11);
    child<QSpinBox>(&dialog, "spinBoxQueueSize")->setValue(3);
    child<QPushButton>(&dialog, "cancelButton")->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QVERIFY(recording.isEmpty() && font.isEmpty());
}

void tst_OptionsDialog::recordingOptionsTakeTheEdits()
{
    CRecordingOptions options;
    options.OutputFolder = m_dir.path().toStdString();
    OptionsDialog dialog(nullptr, OptionsDialog::RecordStartMode);
    dialog.setRecordingOptions(options);
    child<QRadioButton>(&dialog, "radioButtonOutputTypeImages")->setChecked(true);
    child<QComboBox>(&dialog, "comboBoxRecordingImageType")->setCurrentIndex(0);
    child<QRadioButton>(&dialog, "radioButtonTimeBasedSampling")->setChecked(true);
    child<QSpinBox>(&dialog, "spinBoxRecordingTimeSampleRate")->setValue(250);
    child<QComboBox>(&dialog, "comboBoxRecordingTimeSampleRateUnit")->setCurrentIndex(0);
    child<QCheckBox>(&dialog, "checkBoxRecordingTimeLimit")->setChecked(true);
    child<QSpinBox>(&dialog, "spinBoxRecordingTimeLimit")->setValue(3);
    child<QComboBox>(&dialog, "comboBoxRecordingTimeLimitUnit")->setCurrentIndex(2);
    child<QLineEdit>(&dialog, "lineEditRecordingOutputFolder")->setText(m_dir.filePath("out"));
    QSignalSpy changed(&dialog, &OptionsDialog::recordingSettingsChanged);
    child<QPushButton>(&dialog, "okButton")->click();
    QCOMPARE(changed.count(), 1);
    const CRecordingOptions taken = changed.at(0).at(0).value<CRecordingOptions>();
    // Through the settings, as the main window keeps them.
    QSettings settings;
    taken.save(settings);
    CRecordingOptions loaded;
    loaded.load(settings);
    QCOMPARE(loaded.OutputType, 1u);
    QCOMPARE(loaded.ImageOutputType, 0u);
    QCOMPARE(loaded.SamplingMethod, 1u);
    QCOMPARE(loaded.TimeBasedTimeSampleRate, 250u);
    QCOMPARE(loaded.TimeBasedTimeSampleRateUnit,
             uint32_t(CRecordingOptions::TimeUnit_Milliseconds));
    QVERIFY(loaded.TimeBasedTimeLimitEnabled);
    QCOMPARE(loaded.TimeBasedTimeLimit, 3u);
    QCOMPARE(loaded.TimeBasedTimeLimitUnit, uint32_t(CRecordingOptions::TimeUnit_Minutes));
    QCOMPARE(QString(loaded.OutputFolder.c_str()), m_dir.filePath("out"));
}

void tst_OptionsDialog::modes()
{
    OptionsDialog options;
    QCOMPARE(child<QStackedWidget>(&options, "stackedWidget")->currentIndex(), 0);
    QVERIFY(child<QLabel>(&options, "labelInfoSettingsSaved")->isHidden());
    QVERIFY(child<QRadioButton>(&options, "radioBtnDebug")->isHidden()); // node debug mode is off
    OptionsDialog recordStart(nullptr, OptionsDialog::RecordStartMode);
    QCOMPARE(child<QPushButton>(&recordStart, "okButton")->text(), QString("&Start recording"));
    QVERIFY(child<QTreeWidget>(&recordStart, "categoryTreeWidget")->topLevelItem(0)->isDisabled());
    QCOMPARE(child<QStackedWidget>(&recordStart, "stackedWidget")->currentIndex(), 1);
    QVERIFY(!child<QLabel>(&recordStart, "labelInfoSettingsSaved")->isHidden());
    // Debug read back without node debug mode is Guru.
    options.setUserLevel(TarpoViewer::UserLevel_Debug);
    QVERIFY(child<QRadioButton>(&options, "radioBtnGuru")->isChecked());
}

void tst_OptionsDialog::codecChosenAndRefused()
{
    Tarpo::SAviCodecInfo mjpeg;
    if (!Tarpo::CAviCodecCatalog::FindCodec(Tarpo::MakeFourCC('M', 'J', 'P', 'G'), mjpeg))
        QSKIP("this FFmpeg build has no MJPEG encoder");
    CRecordingOptions options;
    {
        CodecSettingsDialog dialog(options);
        child<QComboBox>(&dialog, "comboBoxCodec")
            ->setCurrentIndex(child<QComboBox>(&dialog, "comboBoxCodec")->findData(mjpeg.fourCC));
        child<QCheckBox>(&dialog, "checkBoxDefaultQuality")->setChecked(false);
        child<QSpinBox>(&dialog, "spinBoxQuality")->setValue(90);
        dialog.accept();
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.options().CompressionOptions.aviCompressOptions.fccHandler, mjpeg.fourCC);
        QCOMPARE(dialog.options().CompressionOptions.aviCompressOptions.dwQuality, 9000u);
        options = dialog.options();
    }
    // An encoder option the encoder does not know: it refuses to open, the reason is shown and
    // the record stays as it was.
    CodecSettingsDialog dialog(options);
    child<QPlainTextEdit>(&dialog, "plainTextEditParameters")->setPlainText("no_such_option=1");
    int shown = 0;
    QTimer::singleShot(0, [&shown] {
        if (QWidget* box = QApplication::activeModalWidget()) {
            ++shown;
            box->close();
        }
    });
    dialog.accept();
    QCOMPARE(shown, 1);
    QVERIFY(dialog.result() != QDialog::Accepted);
    QVERIFY(dialog.options().parameterBlock().empty());
    CRecordingOptions refused = options;
    const char text[] = "no_such_option=1";
    refused.setParameterBlock(text, sizeof(text) - 1);
    QVERIFY_EXCEPTION_THROWN(CodecSettingsDialog::testEncoder(refused), GenICam::GenericException);
    QVERIFY(QDir::temp().entryList({"tVTmpAvi_*"}).isEmpty());
}

QTEST_MAIN(tst_OptionsDialog)
#include "tst_optionsdialog.moc"
