// labels: sanitize
#include "display/renderwidget.h"

#include "displaytestframe.h"

#include <QMouseEvent>
#include <QtTest>

namespace {

// As the mouse comes: entering switches tracking on, without which Qt drops moves.
void moveMouse(QWidget& widget, const QPoint& pos)
{
    if (!widget.hasMouseTracking()) {
        QEvent enter(QEvent::Enter);
        QApplication::sendEvent(&widget, &enter);
    }
    QMouseEvent move(QEvent::MouseMove, pos, widget.mapToGlobal(pos), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QApplication::sendEvent(&widget, &move);
}

// The widget as the image window sets it up for an image and a zoom.
void showAt(RenderWidget& widget, const TarpoViewerSdk::Image& image, double zoom)
{
    widget.setImage(image);
    widget.setZoom(zoom);
    widget.resize(int(image.width() * zoom), int(image.height() * zoom));
}

// The image pixel under the centre of a widget pixel; where the centre is on a border, the
// left (upper) one or the other.
int under(int pos, int imageExtent, int widgetExtent, bool leftOfBorder)
{
    const qint64 twice = 2 * qint64(widgetExtent);
    const qint64 scaled = (2 * qint64(pos) + 1) * imageExtent;
    return int(leftOfBorder ? (scaled + twice - 1) / twice - 1 : scaled / twice);
}

} // namespace

// The render widget: what it paints at each zoom, and which image pixel it reports under the
// mouse, compared with what it painted there.
class tst_RenderWidget : public QObject
{
    Q_OBJECT

private slots:
    void withoutImagePaintsWindowColour()
    {
        RenderWidget widget(nullptr);
        QCOMPARE(widget.sizeHint(), QSize(640, 480));
        widget.resize(widget.sizeHint());
        const QImage shown = widget.grab().toImage();
        QCOMPARE(shown.pixel(320, 240), widget.palette().window().color().rgb());
    }

    void paintsAtZoom_data()
    {
        QTest::addColumn<double>("zoom");
        QTest::addColumn<bool>("grey");
        QTest::newRow("zoom-1") << 1.0 << false;
        QTest::newRow("zoom-0.995-unscaled") << 0.995 << false;
        QTest::newRow("zoom-1.009-unscaled") << 1.009 << true;
        QTest::newRow("zoom-4") << 4.0 << false;
        QTest::newRow("zoom-3-grey") << 3.0 << true;
        QTest::newRow("zoom-0.5") << 0.5 << false;
        QTest::newRow("zoom-a-twelfth-grey") << 0.08333 << true;
    }

    void paintsAtZoom()
    {
        QFETCH(double, zoom);
        QFETCH(bool, grey);
        const QSize size = zoom < 0.4 ? QSize(1224, 120) : QSize(200, 100);
        TestFrame frame = patternFrame(size.width(), size.height(), grey);
        const QImage pattern = patternImage(size.width(), size.height(), grey);
        RenderWidget widget(nullptr);
        showAt(widget, frame.image, zoom);
        const QImage shown = widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
        const QRgb window = widget.palette().window().color().rgb();
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x) {
                QList<QRgb> expected;
                if (!RenderWidget::isScaled(zoom)) {
                    // Widget pixel = image pixel; past the image, the window colour.
                    expected << (x < size.width() && y < size.height() ? pattern.pixel(x, y)
                                                                       : window);
                } else {
                    // Qt's 32-bit scaler takes the left pixel at a border, its generic one
                    // (grey images) the right one.
                    for (bool left : {true, false})
                        expected << pattern.pixel(under(x, size.width(), shown.width(), left),
                                                  under(y, size.height(), shown.height(), left));
                }
                if (!expected.contains(shown.pixel(x, y)))
                    QFAIL(qPrintable(QString("widget pixel %1, %2").arg(x).arg(y)));
            }
    }

    void reportsThePixelUnderTheMouse_data()
    {
        QTest::addColumn<double>("zoom");
        QTest::addColumn<QPoint>("mouse");
        QTest::addColumn<QPoint>("pixel");
        QTest::newRow("zoom-4-at-99-99") << 4.0 << QPoint(99, 99) << QPoint(24, 24);
        QTest::newRow("zoom-1") << 1.0 << QPoint(150, 60) << QPoint(150, 60);
        QTest::newRow("zoom-0.995-unscaled") << 0.995 << QPoint(198, 98) << QPoint(198, 98);
        QTest::newRow("zoom-0.5-border-takes-left") << 0.5 << QPoint(50, 20) << QPoint(100, 40);
    }

    void reportsThePixelUnderTheMouse()
    {
        QFETCH(double, zoom);
        QFETCH(QPoint, mouse);
        QFETCH(QPoint, pixel);
        TestFrame frame = patternFrame(200, 100);
        RenderWidget widget(nullptr);
        showAt(widget, frame.image, zoom);
        moveMouse(widget, mouse);
        PixelValue value;
        int32_t x = -1;
        int32_t y = -1;
        QVERIFY(widget.pixelUnderMouse(&value, &x, &y));
        QCOMPARE(QPoint(x, y), pixel);
        QCOMPARE(value.rgb, widget.grab().toImage().pixel(mouse)); // what is painted there
        QCOMPARE(value.raw.kind, RawPixel::Rgb);
        QCOMPARE(value.raw.values[0], qRed(value.rgb));
    }

    void reportedPixelIsPaintedPixelAtEveryZoomStep()
    {
        // A wide image at the steps below 1, where dividing by the zoom would drift by several
        // pixels. Qt's scaler steps in 16.16 fixed point and may drift by one pixel over a
        // line: the reported pixel may then be the painted one's neighbour, never further.
        TestFrame frame = patternFrame(2448, 40);
        for (double zoom : {0.03, 0.05, 0.0625, 0.08333, 0.16666, 0.33333, 0.66666, 1.37}) {
            RenderWidget widget(nullptr);
            showAt(widget, frame.image, zoom);
            const QImage shown = widget.grab().toImage();
            int neighbours = 0;
            for (int wx = 0; wx < widget.width(); ++wx) {
                moveMouse(widget, QPoint(wx, 0));
                PixelValue value;
                int32_t x = 0;
                int32_t y = 0;
                QVERIFY(widget.pixelUnderMouse(&value, &x, &y));
                if (shown.pixel(wx, 0) == value.rgb)
                    continue;
                ++neighbours;
                QVERIFY2(shown.pixel(wx, 0) == patternPixel(x - 1, y, 2448, 40) ||
                             shown.pixel(wx, 0) == patternPixel(x + 1, y, 2448, 40),
                         qPrintable(QString("zoom %1, widget x %2").arg(zoom).arg(wx)));
            }
            QVERIFY2(neighbours * 100 <= widget.width(), qPrintable(QString::number(zoom)));
        }
    }

    void rawValueComesFromTheSourceFrame()
    {
        // A Mono12 frame shown as grey: the 12-bit value comes with the grey.
        TestFrame frame;
        frame.buffer = makeBuffer(Tarpo::PixelType_Mono12, 4, 2);
        const uint16_t word = 0x0ABC;
        std::memcpy(frame.buffer->data() + frame.buffer->lineOffset() + 2 * 3, &word, 2);
        frame.image = TarpoViewerSdk::Image(4, 2, TarpoViewerSdk::Image::Mono8, frame.buffer.get());
        frame.image.pixelData()[frame.image.lineOffset() + 3] = 0xAB;
        RenderWidget widget(nullptr);
        showAt(widget, frame.image, 1.0);
        moveMouse(widget, QPoint(3, 1));
        PixelValue value;
        QVERIFY(widget.pixelUnderMouse(&value));
        QVERIFY(value.grey);
        QCOMPARE(qRed(value.rgb), 0xAB);
        QCOMPARE(value.raw.values[0], 0xABC);
    }

    void noPixelToReport_data()
    {
        QTest::addColumn<QString>("situation");
        QTest::newRow("mouse-not-moved-yet") << "entered";
        QTest::newRow("nothing-asked") << "nothing-asked";
        QTest::newRow("image-without-buffer-not-painted") << "no-buffer";
        QTest::newRow("no-image") << "no-image";
    }

    void noPixelToReport()
    {
        QFETCH(QString, situation);
        TestFrame frame = patternFrame(20, 10);
        RenderWidget widget(nullptr);
        if (situation == "no-buffer") {
            showAt(widget, frame.image.deepCopy(), 1.0);
            QTest::ignoreMessage(QtWarningMsg, "Invalid streambuffer passed. Skipping render()");
            QCOMPARE(widget.grab().toImage().pixel(5, 5), widget.palette().window().color().rgb());
        } else if (situation != "no-image") {
            showAt(widget, frame.image, 1.0);
        }
        QEvent enter(QEvent::Enter);
        QApplication::sendEvent(&widget, &enter);
        if (situation != "entered")
            moveMouse(widget, QPoint(5, 5));
        PixelValue value;
        QVERIFY(situation == "nothing-asked" ? !widget.pixelUnderMouse(nullptr)
                                             : !widget.pixelUnderMouse(&value));
    }
};

QTEST_MAIN(tst_RenderWidget)
#include "tst_renderwidget.moc"
