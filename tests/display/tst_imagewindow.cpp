// labels: sanitize
#include "display/imagewindow.h"

#include "display/recordingstatusbar.h"
#include "display/renderwidget.h"
#include "displaytestframe.h"
#include "qtbase/asyncerrorqueue.h"

#include <QAbstractButton>
#include <QImageReader>
#include <QLabel>
#include <QMessageBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <thread>

using TarpoViewerSdk::Image;

namespace {

// Counts the repaint events that reach a window.
struct UpdateEventCounter : QObject
{
    int count = 0;
    bool eventFilter(QObject*, QEvent* event) override
    {
        count += event->type() == ImageWindow::kUpdateImageEvent;
        return false;
    }
};

// Images of any size without pixels (as a speed test delivers them), for sizes too large to fill.
struct SizedImages
{
    std::unique_ptr<TarpoViewerSdk::StreamBuffer> buffer = makeBuffer(Tarpo::PixelType_Mono8, 8, 8);
    ~SizedImages() { buffer.release()->orphan(); }
    Image make(int width, int height)
    {
        return Image(width, height, Image::NoPixels, buffer.get());
    }
};

void showImage(ImageWindow& window, const Image& image)
{
    window.setImage(image);
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(); // layout requests of the resized widget
}

// The image point in the middle of the visible area.
QPointF viewCentre(ImageWindow& window)
{
    QWidget* viewport = window.scrollArea()->viewport();
    return (QPointF(viewport->width(), viewport->height()) / 2.0 -
            QPointF(window.renderWidget()->pos())) /
           window.zoom();
}

} // namespace

// The image window: zoom steps and limits, centred scrolling, images from another thread
// merged into one repaint, shut-down and paused updates, the status it publishes, recording
// states, saving by suffix and the question on closing while recording.
class tst_ImageWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void zoomLimits_data()
    {
        QTest::addColumn<QSize>("imageSize");
        QTest::addColumn<double>("start");
        QTest::addColumn<QString>("operation");
        QTest::addColumn<double>("expected");
        const QSize square(1000, 1000);
        QTest::newRow("zoom-in-at-16-stays-16") << square << 16.0 << "in" << 16.0;
        QTest::newRow("zoom-in-at-8-on-4000x3000-stays-8")
            << QSize(4000, 3000) << 100.0 << "in" << 8.0;
        QTest::newRow("zoom-out-at-0.03-stays") << square << 0.03 << "out" << 0.03;
        QTest::newRow("zoom-out-from-0.07") << square << 0.07 << "out" << 0.0625;
        QTest::newRow("zoom-in-from-a-twelfth") << square << 0.08333 << "in" << 0.125;
        QTest::newRow("zoom-out-from-a-third") << square << 0.33333 << "out" << 0.25;
        QTest::newRow("zoom-in-from-8-to-12") << square << 8.0 << "in" << 12.0;
        QTest::newRow("set-zoom-100-on-2048") << QSize(2048, 1536) << 100.0 << "none" << 15.0;
        QTest::newRow("wider-than-32767") << QSize(40000, 2) << 1.0 << "none" << 0.03;
        QTest::newRow("zoom-100") << square << 7.0 << "100" << 1.0;
    }

    void zoomLimits()
    {
        QFETCH(QSize, imageSize);
        QFETCH(double, start);
        QFETCH(QString, operation);
        QFETCH(double, expected);
        SizedImages images;
        ImageWindow window;
        showImage(window, images.make(imageSize.width(), imageSize.height()));
        window.setZoom(start);
        QSignalSpy zoomed(&window, &ImageWindow::zoomChanged);
        if (operation != "none")
            operation == "in"    ? window.zoomIn()
            : operation == "out" ? window.zoomOut()
                                 : window.zoom100();
        QCOMPARE(window.zoom(), expected);
        QCOMPARE(window.renderWidget()->size(),
                 QSize(int(imageSize.width() * expected), int(imageSize.height() * expected)));
        QCOMPARE(zoomed.count(), operation == "none" ? 0 : 1);
        QCOMPARE(window.statusBar()->zoomLabel()->text(),
                 " " + StatusBar::zoomText(expected) + " ");
        QCOMPARE(window.canZoomIn(),
                 expected < ImageWindow::maximumZoom(imageSize.width(), imageSize.height()));
        QCOMPARE(window.canZoomOut(), expected > 0.03);
        QVERIFY(window.canZoomToFit() && window.canZoom100());
    }

    void withoutImageNothingToZoom()
    {
        ImageWindow window;
        // No wider than the window a 640 x 480 camera needs, whatever the status shows.
        QVERIFY2(window.minimumSizeHint().width() <= 660,
                 qPrintable(QString::number(window.minimumSizeHint().width())));
        QVERIFY(!window.hasValidImage() && !window.canZoomIn() && !window.canZoomOut());
        QVERIFY(!window.canZoomToFit() && !window.canZoom100());
        QCOMPARE(window.windowTitle(), QString("Image Viewer"));
    }

    void zoomToFitFillsTheViewWithoutScrollBars()
    {
        SizedImages images;
        ImageWindow window;
        window.resize(1280, 1024);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        showImage(window, images.make(2448, 2048));
        window.zoomToFit();
        const QSize viewport = window.scrollArea()->maximumViewportSize();
        QCOMPARE(window.zoom(), qMin(viewport.width() / 2448.0, viewport.height() / 2048.0));
        QCOMPARE(window.renderWidget()->height(), viewport.height());
        QVERIFY(!window.scrollArea()->horizontalScrollBar()->isVisible());
        QVERIFY(!window.scrollArea()->verticalScrollBar()->isVisible());
    }

    void zoomKeepsTheViewCentred_data()
    {
        QTest::addColumn<QSize>("imageSize");
        QTest::addColumn<QPoint>("scroll");
        QTest::addColumn<QString>("steps");
        QTest::newRow("in-from-scrolled") << QSize(1000, 800) << QPoint(300, 200) << "in in";
        QTest::newRow("out-clamping-the-scroll-range")
            << QSize(1000, 800) << QPoint(500, 400) << "out out";
        QTest::newRow("in-from-a-centred-small-image")
            << QSize(120, 90) << QPoint(0, 0) << "in in in";
    }

    void zoomKeepsTheViewCentred()
    {
        QFETCH(QSize, imageSize);
        QFETCH(QPoint, scroll);
        QFETCH(QString, steps);
        SizedImages images;
        ImageWindow window;
        window.resize(400, 330);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        showImage(window, images.make(imageSize.width(), imageSize.height()));
        window.scrollArea()->horizontalScrollBar()->setValue(scroll.x());
        window.scrollArea()->verticalScrollBar()->setValue(scroll.y());
        const QPointF before = viewCentre(window);
        for (const QString& step : steps.split(' ')) {
            step == "in" ? window.zoomIn() : window.zoomOut();
            QCoreApplication::processEvents();
            // Within a screen pixel, unless the scroll range holds the view elsewhere.
            const QPointF moved = viewCentre(window) - before;
            const double tolerance = 1.0 / qMin(window.zoom(), 1.0) + 1.0;
            for (QScrollBar* bar : {window.scrollArea()->horizontalScrollBar(),
                                    window.scrollArea()->verticalScrollBar()}) {
                const bool horizontal = bar->orientation() == Qt::Horizontal;
                const bool held =
                    bar->maximum() > 0 && (bar->value() == 0 || bar->value() == bar->maximum());
                // An image that fits is centred.
                const double off =
                    bar->maximum() == 0
                        ? (horizontal ? viewCentre(window).x() - imageSize.width() / 2.0
                                      : viewCentre(window).y() - imageSize.height() / 2.0)
                        : (horizontal ? moved.x() : moved.y());
                QVERIFY2(
                    held || qAbs(off) <= tolerance,
                    qPrintable(QString("%1 pixels off at zoom %2").arg(off).arg(window.zoom())));
            }
        }
    }

    void burstFromAnotherThreadMakesOneRepaint()
    {
        TestFrame frame = patternFrame(64, 48);
        std::vector<Image> burst(1000);
        for (Image& image : burst)
            image = Image(64, 48, Image::BGRA32, frame.buffer.get());
        ImageWindow window;
        UpdateEventCounter counter;
        window.installEventFilter(&counter);
        // The GUI thread is busy (here: waiting) while the converter delivers the burst.
        std::thread([&] {
            for (const Image& image : burst)
                window.setImage(image);
        }).join();
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        QCOMPARE(counter.count, 1);
        QCOMPARE(window.renderWidget()->image().pixelData(), burst.back().pixelData());
        QVERIFY(window.isRepaintDone());
    }

    void imagesDuringRepaintsAreNeverLost()
    {
        // The GUI thread repaints while the converter goes on: the last image is always shown.
        TestFrame frame = patternFrame(320, 240);
        ImageWindow window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        std::vector<Image> stream(300);
        for (Image& image : stream)
            image = Image(320, 240, Image::BGRA32, frame.buffer.get());
        std::atomic<bool> done{false};
        std::thread converter([&] {
            for (const Image& image : stream)
                window.setImage(image);
            done = true;
        });
        while (!done)
            QCoreApplication::processEvents();
        converter.join();
        QTRY_COMPARE(window.renderWidget()->image().pixelData(), stream.back().pixelData());
    }

    void heldBackAndDroppedImages()
    {
        SizedImages images;
        ImageWindow window;
        showImage(window, images.make(16, 16));
        window.pauseUpdates();
        showImage(window, images.make(20, 20));
        showImage(window, images.make(24, 24));
        QCOMPARE(window.renderWidget()->image().width(), 16);
        window.unpauseUpdates(); // the newest held back is shown
        QCoreApplication::processEvents();
        QCOMPARE(window.renderWidget()->image().width(), 24);
        window.pauseUpdates();
        showImage(window, images.make(28, 28));
        window.pauseUpdates(); // forgets what was held back
        window.unpauseUpdates();
        QCoreApplication::processEvents();
        QCOMPARE(window.renderWidget()->image().width(), 24);
        window.shutDown();
        QTest::ignoreMessage(QtWarningMsg,
                             "========== setImage has been called although we were shut-down");
        showImage(window, images.make(32, 32));
        QCOMPARE(window.renderWidget()->image().width(), 24);
    }

    void statusBarFollowsTheImageSize()
    {
        SizedImages images;
        ImageWindow window;
        QSignalSpy dimension(&window, &ImageWindow::imageDimensionChanged);
        showImage(window, images.make(1920, 1200));
        showImage(window, images.make(1920, 1200));
        QCOMPARE(window.statusBar()->imageSizeLabel()->text(), QString(" 1920 x 1200 "));
        // From the converter's thread too: the GUI thread takes the size.
        std::thread([&] { window.setImage(images.make(640, 480)); }).join();
        QCoreApplication::processEvents();
        QCOMPARE(window.statusBar()->imageSizeLabel()->text(), QString(" 640 x 480 "));
        QCOMPARE(dimension.count(), 2);
    }

    void mouseTrackingPollsThePixel()
    {
        TestFrame colour = patternFrame(100, 50);
        TestFrame grey = patternFrame(100, 50, true);
        ImageWindow window;
        showImage(window, colour.image);
        window.setZoom(4);
        RenderWidget* widget = window.renderWidget();
        QEvent enter(QEvent::Enter);
        QApplication::sendEvent(widget, &enter);
        QMouseEvent move(QEvent::MouseMove, QPoint(99, 99), widget->mapToGlobal(QPoint(99, 99)),
                         Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(widget, &move);
        QCOMPARE(window.statusBar()->pixelPositionLabel()->text(), QString(" 24, 24 "));
        // The image changes under a still mouse: the poll shows the new value.
        showImage(window, grey.image);
        const int expected = qGray(patternPixel(24, 24, 100, 50));
        QTRY_COMPARE(window.statusBar()->pixelValueLabel()->text(), QString(" %1 ").arg(expected));
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(widget, &leave);
        QVERIFY(window.statusBar()->pixelValueLabel()->text().isEmpty());
        showImage(window, colour.image); // no polling once the mouse has left
        QTest::qWait(3 * ImageWindow::kTrackingIntervalMs);
        QVERIFY(window.statusBar()->pixelValueLabel()->text().isEmpty());
    }

    void recordingStates_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<bool>("active");
        QTest::addColumn<bool>("statusBarShown");
        QTest::newRow("none") << 0 << false << true;
        QTest::newRow("recording") << 1 << true << false;
        QTest::newRow("paused") << 2 << true << false;
        QTest::newRow("waiting-for-queue") << 3 << true << false;
        QTest::newRow("stopped") << 4 << false << true;
        QTest::newRow("error-shows-both") << 5 << true << true;
    }

    void recordingStates()
    {
        QFETCH(int, state);
        QFETCH(bool, active);
        QFETCH(bool, statusBarShown);
        SizedImages images;
        ImageWindow window;
        window.show();
        window.recordingStateChanged(RecordingState_Recording);
        window.recordingStateChanged(ERecordingState(state));
        QCOMPARE(window.isRecordingActive(), active);
        QCOMPARE(window.statusBar()->isVisible(), statusBarShown);
        QCOMPARE(window.recordingStatusBar()->isVisible(), active);
        QSignalSpy request(&window, &ImageWindow::recordingStatusRequest);
        window.setImage(images.make(8, 8));
        QCOMPARE(request.count(), active ? 1 : 0);
        window.updateRecordingStatistics(10, 1, 4, 2);
        QCOMPARE(window.recordingStatusBar()->bufferUsageLabel()->text(),
                 QString(" Buffer usage 25 % "));
    }

    void closeAsksWhileRecording_data()
    {
        QTest::addColumn<bool>("recording");
        QTest::addColumn<int>("answer");
        QTest::newRow("not-recording-closes") << false << int(QMessageBox::NoButton);
        QTest::newRow("recording-no-keeps-it-open") << true << int(QMessageBox::No);
        QTest::newRow("recording-yes-closes") << true << int(QMessageBox::Yes);
    }

    void closeAsksWhileRecording()
    {
        QFETCH(bool, recording);
        QFETCH(int, answer);
        ImageWindow window;
        window.show();
        if (recording)
            window.recordingStateChanged(RecordingState_Recording);
        QSignalSpy closed(&window, &ImageWindow::closed);
        QString question;
        QTimer::singleShot(0, this, [&] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                question = box->windowTitle() + "|" + box->text();
                box->button(QMessageBox::StandardButton(answer))->click();
            }
        });
        window.close();
        const bool closes = answer != QMessageBox::No;
        QCOMPARE(closed.count(), closes ? 1 : 0);
        QCOMPARE(window.isVisible(), !closes);
        QCOMPARE(question, recording ? QString("Recording active|Camera is still recording or "
                                               "writing images remaining in buffer.\nDo you want "
                                               "to stop the recording?")
                                     : QString());
    }

    void saveImage_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<bool>("grey");
        QTest::addColumn<QString>("warning"); // empty: written, and read back
        QTest::newRow("bmp") << "a.bmp" << false << "";
        QTest::newRow("bmp-upper-case-grey-stays-8-bit") << "g.BMP" << true << "";
        QTest::newRow("png") << "a.png" << false << "";
        QTest::newRow("jpg") << "a.jpg" << false << "";
        QTest::newRow("tif-upper-case") << "a.TIF" << true << "";
        QTest::newRow("gif-unsupported") << "a.gif" << false << "Unsupported file format.";
        QTest::newRow("no-image") << "-" << false
                                  << "Failed to save image. The current image is not valid.";
        QTest::newRow("folder-missing") << "missing/a.png" << false << "Failed to save image %1";
    }

    void saveImage()
    {
        QFETCH(QString, fileName);
        QFETCH(bool, grey);
        QFETCH(QString, warning);
        QTemporaryDir dir;
        const QString path = dir.filePath(fileName);
        TestFrame frame = patternFrame(37, 23, grey);
        ImageWindow window;
        if (fileName != "-")
            showImage(window, frame.image);
        qRegisterMetaType<AsyncErrorQueue::ErrorSeverity>();
        QSignalSpy errors(&AsyncErrorQueue::instance(), &AsyncErrorQueue::displayError);
        window.saveImage(path);
        if (!warning.isEmpty()) {
            QCOMPARE(errors.count(), 1);
            QCOMPARE(errors.at(0).at(0).value<AsyncErrorQueue::ErrorSeverity>(),
                     AsyncErrorQueue::Warning);
            QCOMPARE(errors.at(0).at(1).toString(),
                     warning.contains("%1") ? warning.arg(path) : warning);
            QCOMPARE(errors.at(0).at(2).toString(), QString("Save Image"));
            QVERIFY(!QFile::exists(path));
            return;
        }
        QCOMPARE(errors.count(), 0);
        if (fileName.endsWith("TIF")) { // read back by the TIFF writer's own test
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.read(4), QByteArray("II*\0", 4));
            return;
        }
        const QImage saved = QImageReader(path).read();
        QCOMPARE(saved.size(), QSize(37, 23));
        QCOMPARE(saved.depth(), grey ? 8 : 32);
        // Lossless formats give the pixels back, JPEG close on average (a swapped channel
        // would be far off).
        const QImage pattern = patternImage(37, 23, grey);
        qint64 difference = 0;
        for (int y = 0; y < 23; ++y)
            for (int x = 0; x < 37; ++x) {
                const QRgb a = saved.pixel(x, y);
                const QRgb b = pattern.pixel(x, y);
                difference += qAbs(qRed(a) - qRed(b)) + qAbs(qGreen(a) - qGreen(b)) +
                              qAbs(qBlue(a) - qBlue(b));
            }
        QVERIFY2(difference <= (fileName.endsWith("jpg") ? 37 * 23 * 3 * 16 : 0),
                 qPrintable(QString::number(difference)));
    }
};

QTEST_MAIN(tst_ImageWindow)
#include "tst_imagewindow.moc"
