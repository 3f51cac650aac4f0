#pragma once

// The content of one camera's MDI sub-window: the latest image of the camera, zoomed and
// scrollable, with the image status bar and, while recording, the recording status bar under it.
// Images arrive on the converter's thread; painting happens on the GUI thread through one posted
// event, so any number of images between two repaints cost one repaint of the newest.
// Thread-safe: setImage(), shutDown(), imagePainted(), isRepaintDone(), hasValidImage() and
// isRecordingActive() from any thread; everything else GUI only.

#include "display/statusbar.h"
#include "recording/recordingstate.h"
#include "viewersdk/image.h"

#include <QEvent>
#include <QFrame>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <mutex>

class QScrollArea;
class QScrollBar;
class RecordingStatusBar;
class RenderWidget;

class ImageWindow : public QFrame
{
    Q_OBJECT

public:
    // Posted to the window when an image is waiting to be painted.
    static constexpr QEvent::Type kUpdateImageEvent = QEvent::Type(10000);
    static constexpr double kMinimumZoom = 0.03;
    static constexpr int kTrackingIntervalMs = 100;

    explicit ImageWindow(QWidget* parent = nullptr);
    ~ImageWindow() override;

    // The enable rules of the main window's image actions.
    bool hasValidImage() const;
    bool canZoomIn() const;
    bool canZoomOut() const;
    bool canZoomToFit() const;
    bool canZoom100() const;
    double zoom() const { return m_zoom; }
    QString deviceName() const { return m_deviceName; }
    bool isRecordingActive() const;

    // Around saving: the window keeps showing the image the user saves.
    void pauseUpdates();
    void unpauseUpdates();

    // The render widget has painted the image handed to it. Any thread.
    void imagePainted();
    // Whether the image displayed last has been painted. Any thread.
    bool isRepaintDone() const;

    // The largest zoom for an image: the zoomed widget must stay within Qt's 32767 pixels.
    static double maximumZoom(int width, int height);

    RenderWidget* renderWidget() const { return m_renderWidget; }
    QScrollArea* scrollArea() const { return m_scrollArea; }
    StatusBar* statusBar() const { return m_statusBar; }
    RecordingStatusBar* recordingStatusBar() const { return m_recordingStatusBar; }

signals:
    void zoomChanged();
    void closed();
    void recordingStatusRequest();
    void imageDimensionChanged();
    // Receivers run on the GUI thread; they clear the changed flags of what they show.
    void statusInfoUpdated(StatusBar::StatusInfo* info);

public slots:
    void setDeviceName(const QString& name);
    void setImage(const TarpoViewerSdk::Image& image);
    void shutDown();
    void zoomIn();
    void zoomOut();
    void zoomToFit();
    void zoom100();
    void setZoom(double zoom);
    void saveImage(const QString& fileName);
    void setPerfData(double framesPerSecond, uint64_t bytesPerSecond, bool hasBeenReset);
    void clearPerfData();
    void updateStatusBar();
    void updateImageCounter(uint32_t imageCounter, uint32_t imageErrorCounter);
    void mouseTrackingEnabled(bool enable);
    void updateRgbInfo();
    void recordingStateChanged(ERecordingState state);
    // The recording's figures for the recording status bar (the device context reads them
    // from its recording controller when the window asks with recordingStatusRequest).
    void updateRecordingStatistics(uint64_t recordedFrames, uint64_t waitingFrames,
                                   uint64_t bufferCapacity, uint64_t droppedFrames);

protected:
    void customEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    TarpoViewerSdk::Image displayedImage() const;
    // A scroll bar's position and the widget's extent along it, before a zoom.
    struct ScrollPosition
    {
        int value;
        int pageStep;
        int extent;
    };
    void adjustScrollBar(QScrollBar* scrollBar, const ScrollPosition& old, double oldZoom,
                         double newZoom);
    // Puts the displayed image's size into the status record when it differs; true if it did.
    bool takeImageSize(const TarpoViewerSdk::Image& image);
    void publishStatusInfo();
    bool writeImage(const TarpoViewerSdk::Image& image, const QString& fileName,
                    const char* format);

    QScrollArea* m_scrollArea;
    RenderWidget* m_renderWidget;
    TarpoViewerSdk::Image m_image;
    // guards m_image, m_shutDown, m_heldBackImage, m_updatesPaused, m_updateEventPending and
    // m_recordingActive: setImage() runs on the converter's thread
    mutable std::mutex m_imageMutex;
    bool m_shutDown = false;
    TarpoViewerSdk::Image m_heldBackImage;
    bool m_updatesPaused = false;
    bool m_updateEventPending = false;
    double m_zoom = 1.0;
    QString m_deviceName;
    bool m_repaintDone = false;
    mutable std::mutex m_repaintDoneMutex; // guards m_repaintDone; taken after m_imageMutex
    QTimer m_trackingTimer;
    // GUI thread only: setImage() never touches it; the GUI thread takes the image size from
    // the displayed image.
    StatusBar::StatusInfo m_statusInfo;
    StatusBar* m_statusBar;
    RecordingStatusBar* m_recordingStatusBar;
    bool m_recordingActive = false;
};
