// Times the image window's painting of one 2448 x 2048 BGRA frame in a 1280 x 1024 window, at
// zoom to fit and at zoom 1, against a plain QPainter::drawImage of the same image onto a
// 1280 x 1024 image measured in the same run (scaled into the same rectangle, or unscaled). A
// window paint is the render widget's whole repaint: the paint event and the backing store's
// flush to the platform. Also times the road of a new frame: setImage() plus the repaint event.
// Prints medians and ratios, and whether a paint fits in the 20 ms of a frame at 50 fps.
// Runs on the offscreen platform unless QT_QPA_PLATFORM says otherwise (xcb under Xvfb shows
// the cost of putting the pixels on an X server). Run it from a Release build.

#include "display/imagewindow.h"
#include "display/renderwidget.h"
#include "mediantimes.h"
#include "viewersdk/streambuffer.h"

#include <QApplication>
#include <QPainter>
#include <QScrollArea>

#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

namespace {

const int kWidth = 2448;
const int kHeight = 2048;
const QSize kWindow(1280, 1024);
const int kWarmUps = 5;
const int kRepetitions = 60;
const double kFrameIntervalMs = 1000.0 / 50.0;

Bench::MedianTimes medianTimes(const std::function<void()>& subject,
                               const std::function<void()>& reference)
{
    return Bench::medianTimes(subject, reference, kWarmUps, kRepetitions);
}

void report(const char* what, const Bench::MedianTimes& times, const char* reference)
{
    std::printf("%-34s %7.2f ms   %-30s %7.2f ms   ratio %5.2f   %s\n", what, times.subjectMs,
                reference, times.referenceMs, times.ratio(),
                times.subjectMs <= kFrameIntervalMs ? "within 20 ms (50 fps)"
                                                    : "OVER 20 ms (50 fps)");
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);

    // A camera frame and the BGRA image made of it, with a pattern that defeats no work.
    auto* buffer = new TarpoViewerSdk::StreamBuffer(
        kWidth * kHeight * 4, Tarpo::PixelType_BGRA8packed, kWidth, kHeight, 1);
    TarpoViewerSdk::Image image(kWidth, kHeight, TarpoViewerSdk::Image::BGRA32, buffer);
    for (int y = 0; y < kHeight; ++y) {
        auto* line =
            reinterpret_cast<uint32_t*>(image.pixelData() + size_t(y) * image.lineOffset());
        for (int x = 0; x < kWidth; ++x)
            line[x] = 0xFF000000u | uint32_t((x * 7) & 255) << 16 | uint32_t((y * 5) & 255) << 8 |
                      uint32_t((x ^ y) & 255);
    }
    std::memcpy(buffer->data(), image.pixelData(), size_t(kWidth) * kHeight * 4);
    const QImage qimage = image.qimage();

    ImageWindow window;
    window.resize(kWindow);
    window.show();
    window.setImage(image);
    QCoreApplication::processEvents();
    RenderWidget* widget = window.renderWidget();

    // The reference: a plain drawImage onto an image of the window's size, in the backing
    // store's format.
    QImage target(kWindow, QImage::Format_RGB32);

    std::printf("bench_render: %d x %d BGRA in a %d x %d window, platform %s, median of %d\n",
                kWidth, kHeight, kWindow.width(), kWindow.height(),
                qPrintable(QGuiApplication::platformName()), kRepetitions);

    window.zoomToFit();
    QCoreApplication::processEvents();
    const QSize fitted = widget->size();
    std::printf("zoom to fit: %.4f, render widget %d x %d\n", window.zoom(), fitted.width(),
                fitted.height());
    report("window paint, zoom to fit",
           medianTimes([&] { widget->repaint(); },
                       [&] {
                           QPainter painter(&target);
                           painter.drawImage(QRect(QPoint(0, 0), fitted), qimage);
                       }),
           "drawImage scaled");

    window.zoom100();
    QCoreApplication::processEvents();
    const QSize visible = window.scrollArea()->viewport()->size();
    std::printf("zoom 1: visible part %d x %d\n", visible.width(), visible.height());
    report("window paint, zoom 1",
           medianTimes([&] { widget->repaint(); },
                       [&] {
                           QPainter painter(&target);
                           painter.drawImage(QPoint(0, 0), qimage, QRect(QPoint(0, 0), visible));
                       }),
           "drawImage unscaled");

    // A new frame: setImage() as the converter's thread calls it, then the repaint event.
    window.zoomToFit();
    QCoreApplication::processEvents();
    report("new frame, zoom to fit",
           medianTimes(
               [&] {
                   window.setImage(image);
                   QCoreApplication::sendPostedEvents(&window, ImageWindow::kUpdateImageEvent);
               },
               [&] {
                   QPainter painter(&target);
                   painter.drawImage(QRect(QPoint(0, 0), fitted), qimage);
               }),
           "drawImage scaled");

    window.shutDown();
    image = TarpoViewerSdk::Image();
    window.renderWidget()->setImage(TarpoViewerSdk::Image());
    QCoreApplication::sendPostedEvents();
    buffer->orphan();
    return 0;
}
