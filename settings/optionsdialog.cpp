#include "settings/optionsdialog.h"

#include "qtbase/widgetgeometry.h"
#include "qtwidgets/nodedebugmode.h"
#include "settings/codecsettingsdialog.h"
#include "tarpo/avicodeccatalog.h"
#include "ui_optionsdialog.h"

#include <QDir>
#include <QFileDialog>
#include <QStyle>

namespace {

// Combo-box index to option value: identity maps, kept as tables so a reordered form stays
// correct in one place.
const uint32_t kImageTypes[] = {0, 1};
const uint32_t kTimeUnits[] = {
    CRecordingOptions::TimeUnit_Milliseconds, CRecordingOptions::TimeUnit_Seconds,
    CRecordingOptions::TimeUnit_Minutes, CRecordingOptions::TimeUnit_Hours};

template <size_t N> uint32_t valueAt(const uint32_t (&table)[N], int index)
{
    return index >= 0 && size_t(index) < N ? table[index] : table[0];
}

template <size_t N> int indexOf(const uint32_t (&table)[N], uint32_t value)
{
    for (size_t i = 0; i < N; ++i)
        if (table[i] == value)
            return int(i);
    return 0;
}

bool isChecked(int state)
{
    return state == Qt::Checked;
}

} // namespace

OptionsDialog::OptionsDialog(QWidget* parent, Mode mode)
    : QDialog(parent), m_ui(std::make_unique<Ui::OptionsDialogClass>()), m_mode(mode)
{
    m_ui->setupUi(this);
    m_ui->categoryTreeWidget->expandAll();
    connect(m_ui->categoryTreeWidget, &QTreeWidget::currentItemChanged, this,
            &OptionsDialog::onCurrentCategoryItemChanged);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    m_ui->radioBtnDebug->setVisible(isNodeDebugModeEnabled());
    m_ui->labelInfoPixmap->setPixmap(
        style()->standardIcon(QStyle::SP_MessageBoxInformation).pixmap(16, 16));
    if (mode == RecordStartMode) {
        setWindowTitle("Start Recording");
        m_ui->okButton->setText("&Start recording");
        m_ui->categoryTreeWidget->topLevelItem(0)->setDisabled(true);
        m_ui->categoryTreeWidget->setCurrentItem(m_ui->categoryTreeWidget->topLevelItem(1));
    } else {
        m_ui->categoryTreeWidget->setCurrentItem(m_ui->categoryTreeWidget->topLevelItem(0));
        m_ui->labelInfoSettingsSaved->hide();
        m_ui->labelInfoPixmap->hide();
    }
    showValues();
    restoreWidgetGeometry(this, geometryName());
}

OptionsDialog::~OptionsDialog() = default;

QString OptionsDialog::geometryName() const
{
    return m_mode == RecordStartMode ? "RecordingOptions" : "OptionsDialog";
}

void OptionsDialog::done(int result)
{
    saveWidgetGeometry(this, geometryName());
    QDialog::done(result);
}

// ---- setters ----------------------------------------------------------------------------------

void OptionsDialog::setRecordingOptions(const CRecordingOptions& options)
{
    m_options = options;
    showValues();
}

void OptionsDialog::setUserLevel(TarpoViewer::EUserLevel level)
{
    m_userLevel = TarpoViewer::effectiveUserLevel(level);
    showValues();
}

void OptionsDialog::setAutoScan(bool autoScan)
{
    m_autoScan = autoScan;
    showValues();
}

void OptionsDialog::setTooltipLevel(unsigned level)
{
    m_tooltipLevel = level;
    showValues();
}

void OptionsDialog::setShowFailedBuffers(bool show)
{
    m_showFailedBuffers = show;
    showValues();
}

void OptionsDialog::setFontSize(int pointSize)
{
    m_fontSize = pointSize;
    showValues();
}

void OptionsDialog::setPolling(bool polling)
{
    m_polling = polling;
    showValues();
}

void OptionsDialog::setViewAllFavorites(bool viewAll)
{
    m_viewAllFavorites = viewAll;
    showValues();
}

void OptionsDialog::showValues()
{
    m_showingValues = true;
    Ui::OptionsDialogClass& ui = *m_ui;
    ui.spinBoxFontSize->setValue(m_fontSize);
    ui.checkBoxAutoScan->setChecked(m_autoScan);
    ui.checkBoxTooltipLevel->setChecked(m_tooltipLevel != 0);
    ui.checkBoxPolling->setChecked(m_polling);
    ui.checkBoxViewAllFavorites->setChecked(m_viewAllFavorites);
    ui.checkBoxShowFailedBuffers->setChecked(m_showFailedBuffers);
    QRadioButton* const levels[] = {ui.radioBtnBeginner, ui.radioBtnExpert, ui.radioBtnGuru,
                                    ui.radioBtnDebug};
    levels[m_userLevel]->setChecked(true);

    const CRecordingOptions& o = m_options;
    (o.OutputType == 0 ? ui.radioButtonOutputTypeVideo : ui.radioButtonOutputTypeImages)
        ->setChecked(true);
    ui.checkBoxUseCompression->setChecked(o.UseCompression);
    ui.checkBoxVideoFixedPlaybackSpeedEnabled->setChecked(!o.AutomaticAviFpsPlayback);
    ui.doubleSpinBoxVideoPlaybackSpeed->setValue(o.AviFpsPlayback);
    ui.comboBoxRecordingImageType->setCurrentIndex(indexOf(kImageTypes, o.ImageOutputType));
    ui.lineEditRecordingOutputFolder->setText(
        QDir::toNativeSeparators(QString::fromStdString(o.OutputFolder.c_str())));
    ui.spinBoxQueueSize->setValue(int(o.QueueBufferSize));
    ui.checkBoxShowOptionsOnRecordStart->setChecked(o.ShowOptionsOnRecordStart);
    (o.SamplingMethod == 0 ? ui.radioButtonFrameBasedSampling : ui.radioButtonTimeBasedSampling)
        ->setChecked(true);
    ui.spinBoxRecordingFrameSampleRate->setValue(int(o.FrameBasedFrameSampleRate));
    ui.checkBoxRecordingFrameLimit->setChecked(o.FrameBasedFrameLimitEnabled);
    ui.spinBoxRecordingFrameLimit->setValue(int(o.FrameBasedFrameLimit));
    ui.spinBoxRecordingTimeSampleRate->setValue(int(o.TimeBasedTimeSampleRate));
    ui.comboBoxRecordingTimeSampleRateUnit->setCurrentIndex(
        indexOf(kTimeUnits, o.TimeBasedTimeSampleRateUnit));
    ui.checkBoxRecordingTimeLimit->setChecked(o.TimeBasedTimeLimitEnabled);
    ui.spinBoxRecordingTimeLimit->setValue(int(o.TimeBasedTimeLimit));
    ui.comboBoxRecordingTimeLimitUnit->setCurrentIndex(
        indexOf(kTimeUnits, o.TimeBasedTimeLimitUnit));
    m_showingValues = false;
    updateCompressionInfo();
    updateEnabledStates();
}

// ---- edits ------------------------------------------------------------------------------------

template <typename T> void OptionsDialog::change(T& field, const T& value, Dirty flag)
{
    if (m_showingValues || field == value)
        return;
    field = value;
    m_dirty[flag] = true; // never cleared: a value changed back is still emitted
    updateEnabledStates();
}

void OptionsDialog::updateEnabledStates()
{
    Ui::OptionsDialogClass& ui = *m_ui;
    const CRecordingOptions& o = m_options;
    const bool frameBased = o.SamplingMethod == 0;
    ui.spinBoxRecordingFrameSampleRate->setEnabled(frameBased);
    ui.checkBoxRecordingFrameLimit->setEnabled(frameBased);
    ui.spinBoxRecordingFrameLimit->setEnabled(frameBased && o.FrameBasedFrameLimitEnabled);
    ui.spinBoxRecordingTimeSampleRate->setEnabled(!frameBased);
    ui.comboBoxRecordingTimeSampleRateUnit->setEnabled(!frameBased);
    ui.checkBoxRecordingTimeLimit->setEnabled(!frameBased);
    ui.spinBoxRecordingTimeLimit->setEnabled(!frameBased && o.TimeBasedTimeLimitEnabled);
    ui.comboBoxRecordingTimeLimitUnit->setEnabled(!frameBased && o.TimeBasedTimeLimitEnabled);
    const bool video = o.OutputType == 0;
    ui.checkBoxUseCompression->setEnabled(video);
    ui.lineEditCompressionInfo->setEnabled(video);
    ui.checkBoxVideoFixedPlaybackSpeedEnabled->setEnabled(video);
    ui.doubleSpinBoxVideoPlaybackSpeed->setEnabled(video && !o.AutomaticAviFpsPlayback);
    ui.comboBoxRecordingImageType->setEnabled(!video);
    ui.pushButtonRecordingCompressionSettings->setEnabled(o.UseCompression);
}

void OptionsDialog::updateCompressionInfo()
{
    const QString text = QString::fromStdString(
        Tarpo::CAviCodecCatalog::GetCompressionInfoText(m_options.CompressionOptions));
    m_ui->lineEditCompressionInfo->setText(text);
    m_ui->lineEditCompressionInfo->setToolTip(text);
}

void OptionsDialog::onCurrentCategoryItemChanged(QTreeWidgetItem* current, QTreeWidgetItem*)
{
    if (!current)
        return;
    const QString text = current->text(0);
    if (text == "General")
        m_ui->stackedWidget->setCurrentIndex(0);
    else if (text == "Recording")
        m_ui->stackedWidget->setCurrentIndex(1);
    else if (text == "Sampling")
        m_ui->stackedWidget->setCurrentIndex(2);
}

void OptionsDialog::on_checkBoxPolling_stateChanged(int state)
{
    change(m_polling, isChecked(state), DirtyPolling);
}

void OptionsDialog::on_checkBoxViewAllFavorites_stateChanged(int state)
{
    change(m_viewAllFavorites, isChecked(state), DirtyViewAllFavorites);
}

void OptionsDialog::on_spinBoxFontSize_valueChanged(int value)
{
    change(m_fontSize, value, DirtyFontSize);
}

void OptionsDialog::userLevelToggled(bool checked, TarpoViewer::EUserLevel level)
{
    if (checked)
        change(m_userLevel, level, DirtyUserLevel);
}

void OptionsDialog::on_radioBtnGuru_toggled(bool checked)
{
    userLevelToggled(checked, TarpoViewer::UserLevel_Guru);
}

void OptionsDialog::on_radioBtnExpert_toggled(bool checked)
{
    userLevelToggled(checked, TarpoViewer::UserLevel_Expert);
}

void OptionsDialog::on_radioBtnBeginner_toggled(bool checked)
{
    userLevelToggled(checked, TarpoViewer::UserLevel_Beginner);
}

void OptionsDialog::on_radioBtnDebug_toggled(bool checked)
{
    userLevelToggled(checked, TarpoViewer::UserLevel_Debug);
}

void OptionsDialog::on_checkBoxAutoScan_stateChanged(int state)
{
    change(m_autoScan, isChecked(state), DirtyAutoScan);
}

void OptionsDialog::on_checkBoxTooltipLevel_stateChanged(int state)
{
    change(m_tooltipLevel, isChecked(state) ? 1u : 0u, DirtyTooltipLevel);
}

void OptionsDialog::on_checkBoxShowFailedBuffers_stateChanged(int state)
{
    change(m_showFailedBuffers, isChecked(state), DirtyShowFailedBuffers);
}

void OptionsDialog::on_comboBoxRecordingImageType_currentIndexChanged(int index)
{
    change(m_options.ImageOutputType, valueAt(kImageTypes, index), DirtyRecording);
}

void OptionsDialog::on_lineEditRecordingOutputFolder_textChanged(const QString& text)
{
    change(m_options.OutputFolder,
           GenICam::gcstring(QDir::fromNativeSeparators(text).toStdString()), DirtyRecording);
}

void OptionsDialog::on_radioButtonFrameBasedSampling_toggled(bool checked)
{
    if (checked)
        change(m_options.SamplingMethod, 0u, DirtyRecording);
}

void OptionsDialog::on_radioButtonTimeBasedSampling_toggled(bool checked)
{
    if (checked)
        change(m_options.SamplingMethod, 1u, DirtyRecording);
}

void OptionsDialog::on_checkBoxRecordingFrameLimit_stateChanged(int state)
{
    change(m_options.FrameBasedFrameLimitEnabled, isChecked(state), DirtyRecording);
}

void OptionsDialog::on_checkBoxRecordingTimeLimit_stateChanged(int state)
{
    change(m_options.TimeBasedTimeLimitEnabled, isChecked(state), DirtyRecording);
}

void OptionsDialog::on_spinBoxRecordingFrameSampleRate_valueChanged(int value)
{
    change(m_options.FrameBasedFrameSampleRate, uint32_t(value), DirtyRecording);
}

void OptionsDialog::on_spinBoxRecordingFrameLimit_valueChanged(int value)
{
    change(m_options.FrameBasedFrameLimit, uint32_t(value), DirtyRecording);
}

void OptionsDialog::on_spinBoxRecordingTimeSampleRate_valueChanged(int value)
{
    change(m_options.TimeBasedTimeSampleRate, uint32_t(value), DirtyRecording);
}

void OptionsDialog::on_spinBoxRecordingTimeLimit_valueChanged(int value)
{
    change(m_options.TimeBasedTimeLimit, uint32_t(value), DirtyRecording);
}

void OptionsDialog::on_comboBoxRecordingTimeSampleRateUnit_currentIndexChanged(int index)
{
    change(m_options.TimeBasedTimeSampleRateUnit, valueAt(kTimeUnits, index), DirtyRecording);
}

void OptionsDialog::on_comboBoxRecordingTimeLimitUnit_currentIndexChanged(int index)
{
    change(m_options.TimeBasedTimeLimitUnit, valueAt(kTimeUnits, index), DirtyRecording);
}

void OptionsDialog::on_radioButtonOutputTypeVideo_toggled(bool checked)
{
    if (checked)
        change(m_options.OutputType, 0u, DirtyRecording);
}

void OptionsDialog::on_radioButtonOutputTypeImages_toggled(bool checked)
{
    if (checked)
        change(m_options.OutputType, 1u, DirtyRecording);
}

void OptionsDialog::on_checkBoxVideoFixedPlaybackSpeedEnabled_stateChanged(int state)
{
    change(m_options.AutomaticAviFpsPlayback, !isChecked(state), DirtyRecording);
}

void OptionsDialog::on_doubleSpinBoxVideoPlaybackSpeed_valueChanged(double value)
{
    change(m_options.AviFpsPlayback, value, DirtyRecording);
}

void OptionsDialog::on_checkBoxShowOptionsOnRecordStart_stateChanged(int state)
{
    change(m_options.ShowOptionsOnRecordStart, isChecked(state), DirtyRecording);
}

void OptionsDialog::on_spinBoxQueueSize_valueChanged(int value)
{
    change(m_options.QueueBufferSize, uint32_t(value), DirtyRecording);
}

void OptionsDialog::on_checkBoxUseCompression_stateChanged(int state)
{
    change(m_options.UseCompression, isChecked(state), DirtyRecording);
}

void OptionsDialog::on_pushButtonPickRecordingOutputFolder_clicked()
{
    const QString folder = QFileDialog::getExistingDirectory(
        this, "Recording folder", m_ui->lineEditRecordingOutputFolder->text(),
        QFileDialog::ShowDirsOnly);
    if (!folder.isEmpty())
        m_ui->lineEditRecordingOutputFolder->setText(QDir::toNativeSeparators(folder));
}

void OptionsDialog::on_pushButtonRecordingCompressionSettings_clicked()
{
    CodecSettingsDialog dialog(m_options, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const CRecordingOptions& chosen = dialog.options();
    m_options.setCompressionOptions(chosen.CompressionOptions);
    m_options.setParameterBlock(chosen.parameterBlock().data(), chosen.parameterBlock().size());
    m_options.setFormatBlock(chosen.formatBlock().data(), chosen.formatBlock().size());
    m_dirty[DirtyRecording] = true;
    updateCompressionInfo();
}

void OptionsDialog::on_okButton_clicked()
{
    if (m_dirty[DirtyUserLevel])
        emit userLevelChanged(m_userLevel);
    if (m_dirty[DirtyAutoScan])
        emit autoScanChanged(m_autoScan);
    if (m_dirty[DirtyFontSize])
        emit fontSizeChanged(m_fontSize);
    if (m_dirty[DirtyPolling])
        emit pollingChanged(m_polling);
    if (m_dirty[DirtyViewAllFavorites])
        emit viewAllFavoritesChanged(m_viewAllFavorites);
    if (m_dirty[DirtyTooltipLevel])
        emit tooltipLevelChanged(m_tooltipLevel);
    if (m_dirty[DirtyRecording])
        emit recordingSettingsChanged(m_options);
    if (m_dirty[DirtyShowFailedBuffers])
        emit showFailedBuffersChanged(m_showFailedBuffers);
    accept();
}
