#pragma once

// The bar under the image while a recording is active: the recording state with a blinking
// icon, and the recorded, buffered and dropped frame counts.
// Thread: GUI only.

#include "display/statusbar.h"
#include "recording/recordingstate.h"

#include <QStatusBar>
#include <QString>
#include <QTimer>

class QLabel;

class RecordingStatusBar : public QStatusBar
{
    Q_OBJECT

public:
    // Half a blink cycle: the icon is lit for 500 ms and dark for 500 ms.
    static constexpr int kBlinkIntervalMs = 500;

    explicit RecordingStatusBar(QWidget* parent = nullptr);

    QLabel* stateLabel() const { return m_stateLabel; }
    QLabel* recordedFramesLabel() const { return m_recordedFramesLabel; }
    QLabel* bufferUsageLabel() const { return m_bufferUsageLabel; }
    QLabel* droppedFramesLabel() const { return m_droppedFramesLabel; }
    ERecordingState state() const { return m_state; }
    bool isBlinkPhaseOn() const { return m_blinkOn; }
    const QTimer& blinkTimer() const { return m_blinkTimer; }

    // The state label's rich text for a state, lit (the state's own icon) or dark.
    static QString stateText(ERecordingState state, bool blinkPhaseOn);

    using QStatusBar::update;

public slots:
    void update(StatusBar::StatusInfo* info);
    void blinkTimeout();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QLabel* m_stateLabel;
    QLabel* m_recordedFramesLabel;
    QLabel* m_bufferUsageLabel;
    QLabel* m_droppedFramesLabel;
    QTimer m_blinkTimer;
    ERecordingState m_state = RecordingState_None;
    bool m_hasState = false;
    bool m_blinkOn = false; // the dark phase: the empty icon in place of the state's
};
