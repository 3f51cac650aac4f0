#pragma once

// The image window's status bar: image size, zoom, the pixel under the mouse, frame and data
// rates and the image counters, each in its own framed label. It is fed the window's status
// record and shows the groups that changed.
// Thread: GUI only.

#include "display/pixelvalue.h"
#include "recording/recordingstate.h"

#include <QStatusBar>

#include <cstdint>

class QLabel;

class StatusBar : public QStatusBar
{
    Q_OBJECT

public:
    // The record an image window fills and publishes; each group has a changed flag, which the
    // bars clear once they have shown the group.
    struct StatusInfo
    {
        uint32_t imageWidth = 0;
        uint32_t imageHeight = 0;
        bool imageSizeChanged = false;

        int32_t pixelX = 0;
        int32_t pixelY = 0;
        PixelValue pixelValue;
        bool pixelValid = false;
        bool pixelChanged = false;

        double zoom = 1.0;
        bool zoomChanged = false;

        double framesPerSecond = -1.0; // negative: not known
        uint64_t bytesPerSecond = 0;
        bool perfDataReset = false; // the statistics have just been reset
        bool perfDataChanged = false;

        uint32_t imageCounter = 0;
        uint32_t imageErrorCounter = 0;
        bool imageCounterChanged = false;

        // For the recording status bar.
        uint64_t recordedFrames = 0;
        uint64_t recordingBufferWaiting = 0;
        uint64_t recordingBufferCapacity = 0;
        uint64_t droppedFrames = 0;
        ERecordingState recordingState = RecordingState_None;
        bool recordingChanged = false;
    };

    explicit StatusBar(QWidget* parent = nullptr);

    QLabel* imageSizeLabel() const { return m_imageSizeLabel; }
    QLabel* zoomLabel() const { return m_zoomLabel; }
    QLabel* pixelPositionLabel() const { return m_pixelPositionLabel; }
    QLabel* pixelValueLabel() const { return m_pixelValueLabel; }
    QLabel* frameRateLabel() const { return m_frameRateLabel; }
    QLabel* dataRateLabel() const { return m_dataRateLabel; }
    QLabel* imageCounterLabel() const { return m_imageCounterLabel; }

    // " 128 ", " 255 (4095) ", " 255, 128, 0 (G 2048) ", " 255, 128, 0 (200, 90, 60) ".
    static QString pixelValueText(const PixelValue& value);
    // The HTML table of the value's tool tip: mono, YUV, or colour with its raw samples.
    static QString pixelValueToolTip(const PixelValue& value);
    // "100%", "6.25%", "8.33%", "1600%".
    static QString zoomText(double zoom);

    using QStatusBar::update;

public slots:
    void update(StatusBar::StatusInfo* info);

private:
    // A framed field; stretch -1 puts it among the permanent fields on the right.
    QLabel* addLabel(const QString& toolTip, const QString& widestText, int stretch);

    QLabel* m_imageSizeLabel;
    QLabel* m_zoomLabel;
    QLabel* m_pixelPositionLabel;
    QLabel* m_pixelValueLabel;
    QLabel* m_frameRateLabel;
    QLabel* m_dataRateLabel;
    QLabel* m_imageCounterLabel;
};
