#include "display/imagewindow.h"

#include "display/recordingstatusbar.h"
#include "display/renderwidget.h"
#include "display/tiffimagewriter.h"
#include "qtbase/eventhandover.h"
#include "qtbase/messages.h"
#include "trace/trace.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QFileInfo>
#include <QMessageBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

const char* const kCategory = "ImageWindow";
const char* const kSaveImageTitle = "Save Image";
const char* const kSaveImageSource = "ImageWindow::saveImage";

// Zoom steps times 100000, compared as integers. The thirds, sixths and twelfths are stored
// truncated, not rounded (16666, not 16667), on purpose.
const int kZoomSteps[] = {3000,   4000,   5000,   6250,   8333,   12500,   16666,
                          25000,  33333,  50000,  66666,  100000, 200000,  300000,
                          400000, 500000, 600000, 700000, 800000, 1200000, 1600000};

// Rounded, not truncated: 0.08333 * 100000 is 8332.99... in binary, and truncating it would
// make Zoom In step to 0.08333 again.
int zoomKey(double zoom)
{
    return static_cast<int>(std::llround(zoom * 100000.0));
}

} // namespace

ImageWindow::ImageWindow(QWidget* parent) : QFrame(parent)
{
    qRegisterMetaType<TarpoViewerSdk::Image>("TarpoViewerSdk::Image");
    qRegisterMetaType<ERecordingState>("ERecordingState");

    m_scrollArea = new QScrollArea(this);
    m_renderWidget = new RenderWidget(this);
    m_scrollArea->setWidget(m_renderWidget);
    // An image smaller than the window sits in its middle.
    m_scrollArea->setAlignment(Qt::AlignCenter);
    m_statusBar = new StatusBar(this);
    m_recordingStatusBar = new RecordingStatusBar(this);
    m_recordingStatusBar->hide();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_scrollArea);
    layout->addWidget(m_statusBar);
    layout->addWidget(m_recordingStatusBar);
    setWindowTitle("Image Viewer");

    m_trackingTimer.setInterval(kTrackingIntervalMs);
    // The status record is published on the GUI thread only, so both bars are called directly.
    connect(this, &ImageWindow::statusInfoUpdated, m_statusBar,
            qOverload<StatusBar::StatusInfo*>(&StatusBar::update));
    connect(this, &ImageWindow::statusInfoUpdated, m_recordingStatusBar,
            qOverload<StatusBar::StatusInfo*>(&RecordingStatusBar::update));
    connect(m_renderWidget, &RenderWidget::mouseTrackingChanged, this,
            &ImageWindow::mouseTrackingEnabled);
    connect(m_renderWidget, &RenderWidget::mouseMoved, this, &ImageWindow::updateRgbInfo);
    connect(&m_trackingTimer, &QTimer::timeout, this, &ImageWindow::updateRgbInfo);
}

ImageWindow::~ImageWindow() = default;

void ImageWindow::setDeviceName(const QString& name)
{
    m_deviceName = name;
    setWindowTitle(name);
}

TarpoViewerSdk::Image ImageWindow::displayedImage() const
{
    std::lock_guard<std::mutex> lock(m_imageMutex);
    return m_image;
}

bool ImageWindow::hasValidImage() const
{
    return displayedImage().isValid();
}

bool ImageWindow::canZoomIn() const
{
    const TarpoViewerSdk::Image image = displayedImage();
    return image.isValid() && zoomKey(m_zoom) < zoomKey(maximumZoom(image.width(), image.height()));
}

bool ImageWindow::canZoomOut() const
{
    return hasValidImage() && zoomKey(m_zoom) > zoomKey(kMinimumZoom);
}

bool ImageWindow::canZoomToFit() const
{
    return hasValidImage();
}

bool ImageWindow::canZoom100() const
{
    return hasValidImage();
}

bool ImageWindow::isRecordingActive() const
{
    std::lock_guard<std::mutex> lock(m_imageMutex);
    return m_recordingActive;
}

double ImageWindow::maximumZoom(int width, int height)
{
    int larger = std::max(width, height);
    if (larger <= 0)
        larger = 1024;
    return std::min(16, 32767 / larger);
}

void ImageWindow::setImage(const TarpoViewerSdk::Image& image)
{
    // The image this one replaces is released after the lock: dropping the last copy returns
    // its buffer to the camera, work better done outside our lock.
    TarpoViewerSdk::Image replaced;
    bool shutDown = false;
    bool dimensionChanged = false;
    bool recording = false;
    bool postEvent = false;
    {
        std::lock_guard<std::mutex> lock(m_imageMutex);
        shutDown = m_shutDown;
        if (!shutDown) {
            dimensionChanged = image.isValid() != m_image.isValid() ||
                               image.width() != m_image.width() ||
                               image.height() != m_image.height();
            recording = m_recordingActive;
            if (m_updatesPaused) {
                replaced = m_heldBackImage;
                m_heldBackImage = image;
            } else {
                replaced = m_image;
                m_image = image;
                {
                    std::lock_guard<std::mutex> repaintLock(m_repaintDoneMutex);
                    m_repaintDone = false;
                }
                if (!m_updateEventPending) {
                    m_updateEventPending = true;
                    postEvent = true;
                }
            }
        }
    }
    if (shutDown) {
        qWarning("========== setImage has been called although we were shut-down");
        return;
    }
    if (dimensionChanged) {
        emit imageDimensionChanged();
        // The status record belongs to the GUI thread: it takes the new size from there. The
        // slot is invoked by name so that Qt builds the call event itself, not on this thread
        // from a functor the GUI thread would then read.
        QMetaObject::invokeMethod(this, "updateStatusBar", Qt::QueuedConnection);
    }
    if (recording)
        emit recordingStatusRequest();
    // converter's thread -> GUI thread: one posted event stands for every image that arrives
    // until the GUI thread handles it.
    if (postEvent) {
        auto* event = new QEvent(kUpdateImageEvent);
        TarpoQtBase::handOverEvent(this);
        QCoreApplication::postEvent(this, event);
    }
}

void ImageWindow::customEvent(QEvent* event)
{
    TarpoQtBase::takeOverEvent(this);
    if (event->type() != kUpdateImageEvent) {
        QFrame::customEvent(event);
        return;
    }
    TarpoViewerSdk::Image image;
    {
        std::lock_guard<std::mutex> lock(m_imageMutex);
        image = m_image;
        // Cleared before painting, not after: an image that arrives while we paint posts the
        // next event itself, so the newest image is always painted, and the converter's
        // thread never waits for a repaint.
        m_updateEventPending = false;
    }
    m_renderWidget->setImage(image);
    if (takeImageSize(image))
        publishStatusInfo();
    if (image.isValid()) {
        const QSize zoomed(static_cast<int>(image.width() * m_zoom),
                           static_cast<int>(image.height() * m_zoom));
        if (m_renderWidget->size() != zoomed) {
            setZoom(m_zoom);
            TARPO_TRACE(kCategory, "resized to: %d x %d", m_renderWidget->width(),
                        m_renderWidget->height());
        }
    }
    m_renderWidget->repaint();
    imagePainted();
}

void ImageWindow::imagePainted()
{
    // Locks in this order only (image, then repaint-done): setImage() clears the flag under
    // both. An image that arrived after the one painted is pending and not yet painted.
    std::lock_guard<std::mutex> imageLock(m_imageMutex);
    if (m_updateEventPending)
        return;
    std::lock_guard<std::mutex> lock(m_repaintDoneMutex);
    m_repaintDone = true;
}

bool ImageWindow::isRepaintDone() const
{
    std::lock_guard<std::mutex> lock(m_repaintDoneMutex);
    return m_repaintDone;
}

void ImageWindow::shutDown()
{
    std::lock_guard<std::mutex> lock(m_imageMutex);
    m_shutDown = true;
}

void ImageWindow::pauseUpdates()
{
    std::lock_guard<std::mutex> lock(m_imageMutex);
    m_updatesPaused = true;
    m_heldBackImage = TarpoViewerSdk::Image();
}

void ImageWindow::unpauseUpdates()
{
    TarpoViewerSdk::Image heldBack;
    {
        std::lock_guard<std::mutex> lock(m_imageMutex);
        m_updatesPaused = false;
        std::swap(heldBack, m_heldBackImage);
    }
    if (heldBack.isValid())
        setImage(heldBack);
}

void ImageWindow::setZoom(double zoom)
{
    const TarpoViewerSdk::Image image = displayedImage();
    zoom = std::max(kMinimumZoom, std::min(zoom, maximumZoom(image.width(), image.height())));
    TARPO_TRACE(kCategory, "ImageWindow::setZoom(%f)", zoom);
    const double oldZoom = m_zoom;
    // Read before resizing: a smaller widget clamps the scroll values at once.
    QScrollBar* horizontal = m_scrollArea->horizontalScrollBar();
    QScrollBar* vertical = m_scrollArea->verticalScrollBar();
    const ScrollPosition oldHorizontal{horizontal->value(), horizontal->pageStep(),
                                       m_renderWidget->width()};
    const ScrollPosition oldVertical{vertical->value(), vertical->pageStep(),
                                     m_renderWidget->height()};
    if (image.isValid()) {
        m_renderWidget->resize(static_cast<int>(image.width() * zoom),
                               static_cast<int>(image.height() * zoom));
        // Lay the scroll area out now rather than on its posted request: scroll bars that come
        // or go with the new size change the page the centring needs.
        QEvent layoutRequest(QEvent::LayoutRequest);
        QCoreApplication::sendEvent(m_scrollArea, &layoutRequest);
    }
    adjustScrollBar(horizontal, oldHorizontal, oldZoom, zoom);
    adjustScrollBar(vertical, oldVertical, oldZoom, zoom);
    m_zoom = zoom;
    m_renderWidget->setZoom(zoom);
    m_statusInfo.zoom = zoom;
    m_statusInfo.zoomChanged = true;
    publishStatusInfo();
    emit zoomChanged();
}

void ImageWindow::adjustScrollBar(QScrollBar* scrollBar, const ScrollPosition& old, double oldZoom,
                                  double newZoom)
{
    TARPO_TRACE(kCategory, "ImageWidow::adjustScrollBar: old value: %d, pageStep: %d", old.value,
                old.pageStep);
    // The image point in the middle of the view stays there. While the whole widget was
    // visible, the scroll area centred it, and that middle was the widget's own.
    const double centre =
        old.extent <= old.pageStep ? old.extent * 0.5 : old.value + old.pageStep * 0.5;
    scrollBar->setValue(
        static_cast<int>(centre * (newZoom / oldZoom) - scrollBar->pageStep() * 0.5));
    TARPO_TRACE(kCategory, "ImageWidow::adjustScrollBar: new value: %d, pageStep: %d",
                scrollBar->value(), scrollBar->pageStep());
}

void ImageWindow::zoomIn()
{
    const int current = zoomKey(m_zoom);
    int next = std::end(kZoomSteps)[-1];
    for (const int step : kZoomSteps) {
        if (step > current) {
            next = step;
            break;
        }
    }
    setZoom(next / 100000.0);
}

void ImageWindow::zoomOut()
{
    const int current = zoomKey(m_zoom);
    int next = kZoomSteps[0];
    for (auto step = std::rbegin(kZoomSteps); step != std::rend(kZoomSteps); ++step) {
        if (*step < current) {
            next = *step;
            break;
        }
    }
    setZoom(next / 100000.0);
}

void ImageWindow::zoomToFit()
{
    TARPO_TRACE(kCategory, "zoomToFit()");
    const TarpoViewerSdk::Image image = displayedImage();
    if (!image.isValid())
        return;
    const QSize viewport = m_scrollArea->maximumViewportSize();
    setZoom(std::min(double(viewport.width()) / image.width(),
                     double(viewport.height()) / image.height()));
}

void ImageWindow::zoom100()
{
    TARPO_TRACE(kCategory, "zoom100()");
    setZoom(1.0);
}

bool ImageWindow::takeImageSize(const TarpoViewerSdk::Image& image)
{
    const uint32_t width = image.isValid() ? static_cast<uint32_t>(image.width()) : 0;
    const uint32_t height = image.isValid() ? static_cast<uint32_t>(image.height()) : 0;
    if (width == m_statusInfo.imageWidth && height == m_statusInfo.imageHeight)
        return false;
    m_statusInfo.imageWidth = width;
    m_statusInfo.imageHeight = height;
    m_statusInfo.imageSizeChanged = true;
    return true;
}

void ImageWindow::publishStatusInfo()
{
    emit statusInfoUpdated(&m_statusInfo);
}

void ImageWindow::updateStatusBar()
{
    takeImageSize(displayedImage());
    publishStatusInfo();
}

void ImageWindow::setPerfData(double framesPerSecond, uint64_t bytesPerSecond, bool hasBeenReset)
{
    m_statusInfo.framesPerSecond = framesPerSecond;
    m_statusInfo.bytesPerSecond = bytesPerSecond;
    m_statusInfo.perfDataReset = hasBeenReset;
    m_statusInfo.perfDataChanged = true;
}

void ImageWindow::clearPerfData()
{
    setPerfData(-1.0, 0, false);
    publishStatusInfo();
}

void ImageWindow::updateImageCounter(uint32_t imageCounter, uint32_t imageErrorCounter)
{
    m_statusInfo.imageCounter = imageCounter;
    m_statusInfo.imageErrorCounter = imageErrorCounter;
    m_statusInfo.imageCounterChanged = true;
    publishStatusInfo();
}

void ImageWindow::mouseTrackingEnabled(bool enable)
{
    if (enable) {
        updateRgbInfo();
        m_trackingTimer.start(kTrackingIntervalMs);
        return;
    }
    m_trackingTimer.stop();
    if (m_statusInfo.pixelValid) {
        m_statusInfo.pixelValid = false;
        m_statusInfo.pixelChanged = true;
        publishStatusInfo();
    }
}

void ImageWindow::updateRgbInfo()
{
    PixelValue value;
    int32_t x = 0;
    int32_t y = 0;
    if (!m_renderWidget->pixelUnderMouse(&value, &x, &y))
        return;
    m_statusInfo.pixelX = x;
    m_statusInfo.pixelY = y;
    m_statusInfo.pixelValue = value;
    m_statusInfo.pixelValid = true;
    m_statusInfo.pixelChanged = true;
    publishStatusInfo();
}

void ImageWindow::recordingStateChanged(ERecordingState state)
{
    bool active = false;
    bool statusBarShown = true;
    switch (state) {
    case RecordingState_Recording:
    case RecordingState_Paused:
    case RecordingState_WaitingForQueue:
        active = true;
        statusBarShown = false;
        break;
    case RecordingState_Error:
        active = true;
        break;
    case RecordingState_None:
    case RecordingState_Stopped:
        break;
    }
    {
        std::lock_guard<std::mutex> lock(m_imageMutex);
        m_recordingActive = active;
    }
    m_statusInfo.recordingState = state;
    m_statusInfo.recordingChanged = true;
    publishStatusInfo();
    m_recordingStatusBar->setVisible(active);
    m_statusBar->setVisible(statusBarShown);
}

void ImageWindow::updateRecordingStatistics(uint64_t recordedFrames, uint64_t waitingFrames,
                                            uint64_t bufferCapacity, uint64_t droppedFrames)
{
    m_statusInfo.recordedFrames = recordedFrames;
    m_statusInfo.recordingBufferWaiting = waitingFrames;
    m_statusInfo.recordingBufferCapacity = bufferCapacity;
    m_statusInfo.droppedFrames = droppedFrames;
    m_statusInfo.recordingChanged = true;
    publishStatusInfo();
}

bool ImageWindow::writeImage(const TarpoViewerSdk::Image& image, const QString& fileName,
                             const char* format)
{
    QImage qimage = image.qimage();
    if (qimage.format() == QImage::Format_Grayscale8 && qstrcmp(format, "BMP") == 0) {
        // Qt's BMP writer has no grey format: an 8-bit palette of greys keeps the file 8-bit.
        QVector<QRgb> greys(256);
        for (int i = 0; i < 256; ++i)
            greys[i] = qRgb(i, i, i);
        qimage = qimage.convertToFormat(QImage::Format_Indexed8, greys);
    }
    // Saved images are for looking closely: JPEG at high quality, not Qt's default 75.
    const int quality = qstrcmp(format, "JPG") == 0 ? 95 : -1;
    return qimage.save(fileName, format, quality);
}

void ImageWindow::saveImage(const QString& fileName)
{
    try {
        const TarpoViewerSdk::Image image = displayedImage();
        if (!image.isValid() || image.qimage().isNull()) {
            showWarningMessage(kSaveImageTitle,
                               "Failed to save image. The current image is not valid.", this);
            return;
        }
        // Suffixes compare without case throughout: "IMAGE.PNG" is as much a PNG as "image.png".
        const QString suffix = QFileInfo(fileName).suffix().toLower();
        bool written = false;
        if (suffix == "bmp")
            written = writeImage(image, fileName, "BMP");
        else if (suffix.contains("tif"))
            written = TiffImageWriter::write(fileName, image);
        else if (suffix.contains("png"))
            written = writeImage(image, fileName, "PNG");
        else if (suffix.contains("jpg"))
            written = writeImage(image, fileName, "JPG");
        else {
            showWarningMessage(kSaveImageTitle, "Unsupported file format.", this);
            return;
        }
        if (!written)
            showWarningMessage(kSaveImageTitle, "Failed to save image " + fileName, this);
    } catch (const GenICam::GenericException& e) {
        showException(e, kSaveImageSource, "Failed to save image " + fileName, this);
    } catch (const std::exception& e) {
        showException(e, kSaveImageSource, "Failed to save image " + fileName, this);
    } catch (...) {
        showUnexpectedException(kSaveImageSource, "Failed to save image " + fileName, this);
    }
}

void ImageWindow::closeEvent(QCloseEvent* event)
{
    bool ask = false;
    {
        std::lock_guard<std::mutex> lock(m_imageMutex);
        // A window closed by its shut-down device context has nothing left to ask about.
        ask = m_recordingActive && !m_shutDown;
    }
    if (ask) {
        const QMessageBox::StandardButton answer = QMessageBox::warning(
            this, "Recording active",
            "Camera is still recording or writing images remaining in buffer.\n"
            "Do you want to stop the recording?",
            QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
        if (answer == QMessageBox::No) {
            event->ignore();
            return;
        }
    }
    event->accept();
    emit closed();
}
