#include "display/recordingstatusbar.h"

#include "qtbase/formatting.h"

#include <QLabel>

namespace {

const char* const kIconFolder = ":/TarpoViewerApp/Resources/";
const char* const kEmptyIcon = "recordempty_14x14.png";
const char* const kRecordedFrames = " Recorded frames %1 ";
const char* const kBufferUsage = " Buffer usage %1 % ";
const char* const kDroppedFrames = " Dropped frames %1 ";

// Texts and icons keyed by the state value. A failed recording writes nothing more: it reads
// as stopped, and its message box says why.
const char* const kStateTexts[] = {
    "Initializing",                                // RecordingState_None
    "Recording",                                   // RecordingState_Recording
    "Recording paused",                            // RecordingState_Paused
    "Stopped. Writing images remaining in buffer", // RecordingState_WaitingForQueue
    "Recording stopped",                           // RecordingState_Stopped
    "Recording stopped",                           // RecordingState_Error
};
const char* const kStateIcons[] = {
    "recordempty_14x14.png",   // RecordingState_None
    "record_14x14.png",        // RecordingState_Recording
    "recordpaused_14x14.png",  // RecordingState_Paused
    "recordstopped_14x14.png", // RecordingState_WaitingForQueue
    "recordempty_14x14.png",   // RecordingState_Stopped
    "recordempty_14x14.png",   // RecordingState_Error
};

int tableIndex(ERecordingState state)
{
    const int index = static_cast<int>(state);
    return index >= 0 && index <= RecordingState_Error ? index : RecordingState_Stopped;
}

} // namespace

RecordingStatusBar::RecordingStatusBar(QWidget* parent) : QStatusBar(parent)
{
    setSizeGripEnabled(false);
    m_stateLabel = new QLabel(this);
    m_stateLabel->setTextFormat(Qt::RichText);
    addWidget(m_stateLabel, 1);
    const auto addCounter = [this]() {
        auto* label = new QLabel(this);
        label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        label->setMinimumWidth(120);
        addPermanentWidget(label);
        return label;
    };
    m_recordedFramesLabel = addCounter();
    m_bufferUsageLabel = addCounter();
    m_droppedFramesLabel = addCounter();
    m_blinkTimer.setInterval(kBlinkIntervalMs);
    connect(&m_blinkTimer, &QTimer::timeout, this, &RecordingStatusBar::blinkTimeout);
}

QString RecordingStatusBar::stateText(ERecordingState state, bool blinkPhaseOn)
{
    const int index = tableIndex(state);
    const QString icon = QString(kIconFolder) + (blinkPhaseOn ? kEmptyIcon : kStateIcons[index]);
    return "<table cellspacing='0' cellpadding='0' height='16'><tr><td valign='middle' "
           "style='padding-top: 2px; padding-right:4px;'><img src='" +
           icon + "' /></td><td valign='middle' style='padding-top: 1px;'>" + kStateTexts[index] +
           "</td><tr/></table>";
}

void RecordingStatusBar::update(StatusBar::StatusInfo* info)
{
    if (!info || !info->recordingChanged)
        return;
    // The statistics arrive with every displayed frame: only a new state starts the blink
    // cycle again with the state's own icon, or the icon would never go dark.
    if (!m_hasState || info->recordingState != m_state) {
        m_state = info->recordingState;
        m_hasState = true;
        m_blinkOn = false;
        m_stateLabel->setText(stateText(m_state, false));
        if (m_blinkTimer.isActive())
            m_blinkTimer.start();
    }
    m_recordedFramesLabel->setText(
        QString(kRecordedFrames).arg(formatImageCount(info->recordedFrames)));
    const double usage = info->recordingBufferCapacity > 0
                             ? static_cast<double>(info->recordingBufferWaiting) /
                                   static_cast<double>(info->recordingBufferCapacity) * 100.0
                             : 0.0;
    m_bufferUsageLabel->setText(QString(kBufferUsage).arg(usage, 0, 'f', 0));
    m_droppedFramesLabel->setText(
        QString(kDroppedFrames).arg(formatImageCount(info->droppedFrames)));
    info->recordingChanged = false;
}

void RecordingStatusBar::blinkTimeout()
{
    if (!m_hasState)
        return;
    m_blinkOn = !m_blinkOn;
    m_stateLabel->setText(stateText(m_state, m_blinkOn));
}

void RecordingStatusBar::showEvent(QShowEvent* event)
{
    QStatusBar::showEvent(event);
    // Blink only while someone can see it.
    m_blinkTimer.start();
}

void RecordingStatusBar::hideEvent(QHideEvent* event)
{
    m_blinkTimer.stop();
    QStatusBar::hideEvent(event);
}
