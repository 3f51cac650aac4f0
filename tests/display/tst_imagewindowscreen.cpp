// labels: gui
#include "display/imagewindow.h"

#include "display/recordingstatusbar.h"
#include "display/renderwidget.h"
#include "displaytestframe.h"
#include "tests/common/xvfbserver.h"

#include <QApplication>
#include <QCursor>
#include <QDir>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QtTest>

namespace {

// What the X server shows of `widget`'s rectangle `rect`.
QImage onScreen(QWidget* widget, const QRect& rect, const char* keepAs = nullptr)
{
    const QPoint at = widget->mapToGlobal(rect.topLeft());
    const QImage shown = QGuiApplication::primaryScreen()
                             ->grabWindow(0, at.x(), at.y(), rect.width(), rect.height())
                             .toImage()
                             .convertToFormat(QImage::Format_RGB32);
    const QString folder = qEnvironmentVariable("TARPO_SCREENSHOT_DIR");
    if (keepAs && !folder.isEmpty() && QDir().mkpath(folder))
        shown.save(QDir(folder).filePath(QString(keepAs) + ".png"));
    return shown;
}

// Shows a window with the pattern at a zoom, scrolled, everything painted.
void showPattern(ImageWindow& window, const TarpoViewerSdk::Image& image, double zoom,
                 const QPoint& scroll)
{
    window.setGeometry(40, 40, 720, 520);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    window.setImage(image);
    QTRY_VERIFY(window.isRepaintDone());
    window.setZoom(zoom);
    window.scrollArea()->horizontalScrollBar()->setValue(scroll.x());
    window.scrollArea()->verticalScrollBar()->setValue(scroll.y());
    QTest::qWait(50); // the scroll and label updates are painted on the next passes
}

} // namespace

// The image window on a real X server (Xvfb): the pixels it puts on the screen at zoom 1 and
// 4, colour and grey, and its status bars as they appear with the pixel under the real pointer.
class tst_ImageWindowScreen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(QGuiApplication::platformName(), QString("xcb"));
        QCOMPARE(QGuiApplication::primaryScreen()->depth(), 24);
    }

    void imageOnScreen_data()
    {
        QTest::addColumn<bool>("grey");
        QTest::addColumn<int>("zoom");
        QTest::addColumn<QPoint>("scroll");
        QTest::newRow("colour-zoom-1") << false << 1 << QPoint(0, 0);
        QTest::newRow("colour-zoom-4") << false << 4 << QPoint(90, 70);
        QTest::newRow("grey-zoom-1") << true << 1 << QPoint(0, 0);
        QTest::newRow("grey-zoom-4") << true << 4 << QPoint(333, 222);
    }

    void imageOnScreen()
    {
        QFETCH(bool, grey);
        QFETCH(int, zoom);
        QFETCH(QPoint, scroll);
        TestFrame frame = patternFrame(300, 200, grey);
        const QImage pattern = patternImage(300, 200, grey);
        ImageWindow window;
        showPattern(window, frame.image, zoom, scroll);
        // The visible part of the image, in render widget coordinates.
        RenderWidget* widget = window.renderWidget();
        QWidget* viewport = window.scrollArea()->viewport();
        const QRect visible =
            QRect(widget->mapFrom(viewport, QPoint(0, 0)), viewport->size()) & widget->rect();
        QCOMPARE(visible, zoom == 1 ? QRect(0, 0, 300, 200) : QRect(scroll, viewport->size()));
        const QString name =
            QString("imagewindow-%1-zoom-%2").arg(grey ? "grey" : "colour").arg(zoom);
        onScreen(&window, window.rect(), qPrintable(name));
        const QImage shown = onScreen(widget, visible);
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x) {
                const QPoint at = visible.topLeft() + QPoint(x, y);
                if (shown.pixel(x, y) != pattern.pixel(at.x() / zoom, at.y() / zoom))
                    QFAIL(qPrintable(QString("widget pixel %1, %2").arg(at.x()).arg(at.y())));
            }
    }

    void statusBarsOnScreen()
    {
        TestFrame frame = patternFrame(300, 200);
        ImageWindow window;
        window.setPerfData(29.97, 147'000'000, false);
        window.updateImageCounter(1234567, 3);
        showPattern(window, frame.image, 4, QPoint(0, 0));
        // The real pointer comes in over another pixel, as a hand moves it, then stops over
        // widget position (99, 99): image pixel (24, 24), on the black diagonal, and next over
        // a coloured one.
        RenderWidget* widget = window.renderWidget();
        QCursor::setPos(widget->mapToGlobal(QPoint(150, 120)));
        QTRY_VERIFY(widget->hasMouseTracking());
        QCursor::setPos(widget->mapToGlobal(QPoint(99, 99)));
        StatusBar* bar = window.statusBar();
        QTRY_COMPARE(bar->pixelPositionLabel()->text(), QString(" 24, 24 "));
        QCOMPARE(bar->pixelValueLabel()->text(), QString(" 0, 0, 0 "));
        QCursor::setPos(widget->mapToGlobal(QPoint(130, 50)));
        QTRY_COMPARE(bar->pixelPositionLabel()->text(), QString(" 32, 12 "));
        const QRgb pixel = patternPixel(32, 12, 300, 200);
        QCOMPARE(bar->pixelValueLabel()->text(),
                 QString(" %1, %2, %3 ").arg(qRed(pixel)).arg(qGreen(pixel)).arg(qBlue(pixel)));
        const QStringList texts = {" 300 x 200 ", " 400% ", " 30.0 fps ", " 147 MB/s ",
                                   " 1,234,567 (3) "};
        for (QLabel* label : {bar->imageSizeLabel(), bar->zoomLabel(), bar->frameRateLabel(),
                              bar->dataRateLabel(), bar->imageCounterLabel()})
            QVERIFY2(texts.contains(label->text()), qPrintable(label->text()));
        QTest::qWait(50);

        // The screen shows what the bar paints, and every label has its text drawn.
        const QImage shown = onScreen(bar, bar->rect(), "statusbar");
        onScreen(&window, window.rect(), "imagewindow-status");
        QCOMPARE(shown, bar->grab().toImage().convertToFormat(QImage::Format_RGB32));
        for (QLabel* label : bar->findChildren<QLabel*>()) {
            const QImage text =
                shown.copy(QRect(label->mapTo(bar, QPoint(2, 2)), label->size() - QSize(4, 4)));
            int dark = 0;
            for (int y = 0; y < text.height(); ++y)
                for (int x = 0; x < text.width(); ++x)
                    dark += qGray(text.pixel(x, y)) < 100;
            QVERIFY2(dark > 10, qPrintable(label->text()));
        }

        // Recording: the recording bar replaces it, the lit record icon on the screen.
        window.updateRecordingStatistics(42, 5, 20, 1);
        window.recordingStateChanged(RecordingState_Recording);
        RecordingStatusBar* recording = window.recordingStatusBar();
        QVERIFY(recording->isVisible() && !bar->isVisible());
        bool same = false;
        bool red = false;
        for (int attempt = 0; attempt < 10 && !(same && red); ++attempt) {
            QTest::qWait(60);
            if (recording->isBlinkPhaseOn())
                continue; // dark: compare while lit
            const QImage painted =
                recording->grab().toImage().convertToFormat(QImage::Format_RGB32);
            const QImage shownBar = onScreen(recording, recording->rect(), "recordingstatusbar");
            if (recording->isBlinkPhaseOn())
                continue; // it went dark meanwhile
            same = shownBar == painted;
            for (int y = 0; y < shownBar.height(); ++y)
                for (int x = 0; x < 24; ++x) {
                    const QRgb p = shownBar.pixel(x, y);
                    red = red || (qRed(p) > 180 && qGreen(p) < 110 && qBlue(p) < 110);
                }
        }
        QVERIFY(same);
        QVERIFY2(red, "the lit record icon is on the screen");
        onScreen(&window, window.rect(), "imagewindow-recording");
    }
};

int main(int argc, char* argv[])
{
    XvfbServer xvfb;
    if (!xvfb.start()) {
        std::fprintf(stderr, "tst_imagewindowscreen: could not start Xvfb\n");
        return 1;
    }
    qputenv("DISPLAY", QByteArray::fromStdString(xvfb.display));
    qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication app(argc, argv);
    tst_ImageWindowScreen test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_imagewindowscreen.moc"
