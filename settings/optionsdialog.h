#pragma once

// The options of the application ("General") and of recordings ("Recording", "Sampling"). Edits
// copies; on OK it emits one signal per setting the user changed, in signal order, and the main
// window applies and keeps them. Opened from the Options action with every page, or as the
// "start recording" dialog whose OK button starts the recording.
// Thread: GUI only.

#include "qtwidgets/userlevel.h"
#include "recording/recordingoptions.h"

#include <QDialog>

#include <memory>

class QTreeWidgetItem;
namespace Ui {
class OptionsDialogClass;
}

class OptionsDialog : public QDialog
{
    Q_OBJECT

public:
    enum Mode
    {
        OptionsMode,
        RecordStartMode
    };

    explicit OptionsDialog(QWidget* parent = nullptr, Mode mode = OptionsMode);
    ~OptionsDialog() override;

    Mode mode() const { return m_mode; }

    // What the dialog starts from; call before exec().
    void setRecordingOptions(const CRecordingOptions& options);
    void setUserLevel(TarpoViewer::EUserLevel level);
    void setAutoScan(bool autoScan);
    void setTooltipLevel(unsigned level);
    void setShowFailedBuffers(bool show);
    void setFontSize(int pointSize);
    void setPolling(bool polling);
    void setViewAllFavorites(bool viewAll);

    const CRecordingOptions& recordingOptions() const { return m_options; }
    Ui::OptionsDialogClass* ui() const { return m_ui.get(); }

signals:
    void userLevelChanged(TarpoViewer::EUserLevel level);
    void autoScanChanged(bool autoScan);
    void fontSizeChanged(int pointSize);
    void pollingChanged(bool polling);
    void viewAllFavoritesChanged(bool viewAll);
    void tooltipLevelChanged(unsigned int level);
    void recordingSettingsChanged(CRecordingOptions options);
    void showFailedBuffersChanged(bool show);

public slots:
    void onCurrentCategoryItemChanged(QTreeWidgetItem* current, QTreeWidgetItem* previous);
    void on_checkBoxPolling_stateChanged(int state);
    void on_checkBoxViewAllFavorites_stateChanged(int state);
    void on_spinBoxFontSize_valueChanged(int value);
    void on_okButton_clicked();
    void on_radioBtnGuru_toggled(bool checked);
    void on_radioBtnExpert_toggled(bool checked);
    void on_radioBtnBeginner_toggled(bool checked);
    void on_radioBtnDebug_toggled(bool checked);
    void on_checkBoxAutoScan_stateChanged(int state);
    void on_checkBoxTooltipLevel_stateChanged(int state);
    void on_comboBoxRecordingImageType_currentIndexChanged(int index);
    void on_lineEditRecordingOutputFolder_textChanged(const QString& text);
    void on_radioButtonFrameBasedSampling_toggled(bool checked);
    void on_radioButtonTimeBasedSampling_toggled(bool checked);
    void on_checkBoxRecordingFrameLimit_stateChanged(int state);
    void on_checkBoxRecordingTimeLimit_stateChanged(int state);
    void on_spinBoxRecordingFrameSampleRate_valueChanged(int value);
    void on_spinBoxRecordingFrameLimit_valueChanged(int value);
    void on_spinBoxRecordingTimeSampleRate_valueChanged(int value);
    void on_spinBoxRecordingTimeLimit_valueChanged(int value);
    void on_comboBoxRecordingTimeSampleRateUnit_currentIndexChanged(int index);
    void on_comboBoxRecordingTimeLimitUnit_currentIndexChanged(int index);
    void on_radioButtonOutputTypeVideo_toggled(bool checked);
    void on_radioButtonOutputTypeImages_toggled(bool checked);
    void on_checkBoxVideoFixedPlaybackSpeedEnabled_stateChanged(int state);
    void on_doubleSpinBoxVideoPlaybackSpeed_valueChanged(double value);
    void on_checkBoxShowOptionsOnRecordStart_stateChanged(int state);
    void on_spinBoxQueueSize_valueChanged(int value);
    void on_pushButtonPickRecordingOutputFolder_clicked();
    void on_pushButtonRecordingCompressionSettings_clicked();
    void on_checkBoxUseCompression_stateChanged(int state);
    void on_checkBoxShowFailedBuffers_stateChanged(int state);

protected:
    void done(int result) override;

private:
    enum Dirty
    {
        DirtyUserLevel,
        DirtyAutoScan,
        DirtyFontSize,
        DirtyPolling,
        DirtyViewAllFavorites,
        DirtyTooltipLevel,
        DirtyRecording,
        DirtyShowFailedBuffers,
        DirtyCount
    };

    // Stores `value` into `field` when it differs, marks `flag` and refreshes enabled states.
    template <typename T> void change(T& field, const T& value, Dirty flag);
    void userLevelToggled(bool checked, TarpoViewer::EUserLevel level);
    // Shows the copies in the widgets without marking anything.
    void showValues();
    void updateEnabledStates();
    void updateCompressionInfo();
    QString geometryName() const;

    std::unique_ptr<Ui::OptionsDialogClass> m_ui;
    const Mode m_mode;
    CRecordingOptions m_options;
    TarpoViewer::EUserLevel m_userLevel = TarpoViewer::UserLevel_Beginner;
    bool m_autoScan = true;
    int m_fontSize = 8;
    bool m_polling = true;
    bool m_viewAllFavorites = true;
    unsigned m_tooltipLevel = 0;
    bool m_showFailedBuffers = true;
    bool m_dirty[DirtyCount] = {};
    bool m_showingValues = false; // the widgets are being filled: their changes are not edits
};

Q_DECLARE_METATYPE(CRecordingOptions)
