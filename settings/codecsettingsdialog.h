#pragma once

// Chooses how AVI recordings are compressed: the codec among those this FFmpeg build can write
// into AVI files, its quality, key-frame interval and data rate where the codec takes them, and
// the encoder's own options as name=value lines. Edits a copy of the compression record and its
// blocks; before it accepts, it opens the chosen encoder the way a recording would, so a codec
// that refuses is reported here and the previous record stays in place.
// Thread: GUI only.

#include "recording/recordingoptions.h"

#include <QDialog>

#include <memory>

namespace Ui {
class CodecSettingsDialogClass;
}

class CodecSettingsDialog : public QDialog
{
    Q_OBJECT

public:
    CodecSettingsDialog(const CRecordingOptions& options, QWidget* parent = nullptr);
    ~CodecSettingsDialog() override;

    // The edited compression record with its blocks; taken over by the caller after accept.
    const CRecordingOptions& options() const { return m_options; }
    Ui::CodecSettingsDialogClass* ui() const { return m_ui.get(); }

    // Opens the record's encoder for an 800 x 600 stream at the playback rate into a temporary
    // "tVTmpAvi_*.avi" file, which is always deleted. Throws a RuntimeException that says whether
    // the file or the video stream could not be created, with the reason.
    static void testEncoder(const CRecordingOptions& options);

public slots:
    void accept() override;

private:
    // Writes the widgets into the copy of the record.
    void takeValues();
    void showCodec();
    void updateEnabledStates();

    std::unique_ptr<Ui::CodecSettingsDialogClass> m_ui;
    CRecordingOptions m_options;
};
