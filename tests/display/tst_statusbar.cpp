#include "display/statusbar.h"

#include <QLabel>
#include <QtTest>

Q_DECLARE_METATYPE(PixelValue)

namespace {

PixelValue pixel(QRgb rgb, bool grey, RawPixel::Kind kind, std::initializer_list<int> values,
                 char filter = 0)
{
    PixelValue value{rgb, grey, RawPixel()};
    value.raw.kind = kind;
    value.raw.count = int(values.size());
    std::copy(values.begin(), values.end(), value.raw.values);
    value.raw.filter = filter;
    return value;
}

} // namespace

// The image status bar: the texts of each group, shown only when the group changed, and the
// pixel value with its raw samples and tool tip table.
class tst_StatusBar : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void groups_data()
    {
        QTest::addColumn<QString>("group");
        QTest::addColumn<QString>("text");
        QTest::newRow("image-size-1920x1200") << "size"
                                              << " 1920 x 1200 ";
        QTest::newRow("zoom-a-twelfth") << "zoom"
                                        << " 8.33% ";
        QTest::newRow("frame-rate-not-known") << "fps-unknown"
                                              << " -- ";
        QTest::newRow("data-rate-not-known") << "rate-unknown"
                                             << " -- ";
        QTest::newRow("frame-rate") << "fps"
                                    << " 29.9 fps ";
        QTest::newRow("data-rate") << "rate"
                                   << " 147 MB/s ";
        QTest::newRow("image-counter") << "counter"
                                       << " 1,234,567 ";
        QTest::newRow("image-counter-failed") << "failed"
                                              << " 12 (3) ";
    }

    void groups()
    {
        QFETCH(QString, group);
        QFETCH(QString, text);
        StatusBar bar;
        StatusBar::StatusInfo info;
        info.imageWidth = 1920;
        info.imageHeight = 1200;
        info.zoom = 0.08333;
        info.framesPerSecond = group.endsWith("unknown") ? -1.0 : 29.93;
        info.bytesPerSecond = 147'000'000;
        info.imageCounter = group == "counter" ? 1234567 : 12;
        info.imageErrorCounter = group == "counter" ? 0 : 3;
        info.recordingChanged = true; // not this bar's group
        // Nothing changed: nothing shown.
        bar.update(&info);
        for (QLabel* label : bar.findChildren<QLabel*>())
            QVERIFY2(label->text().isEmpty(), qPrintable(label->text()));
        QLabel* label = nullptr;
        if (group == "size") {
            info.imageSizeChanged = true;
            label = bar.imageSizeLabel();
        } else if (group == "zoom") {
            info.zoomChanged = true;
            label = bar.zoomLabel();
        } else if (group.startsWith("fps") || group.startsWith("rate")) {
            info.perfDataChanged = true;
            label = group.startsWith("fps") ? bar.frameRateLabel() : bar.dataRateLabel();
        } else {
            info.imageCounterChanged = true;
            label = bar.imageCounterLabel();
        }
        bar.update(&info);
        QCOMPARE(label->text(), text);
        QVERIFY(!info.imageSizeChanged && !info.zoomChanged && !info.perfDataChanged &&
                !info.imageCounterChanged);
        QVERIFY(info.recordingChanged);
    }

    void pixelValue_data()
    {
        QTest::addColumn<PixelValue>("value");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("toolTipRow");
        QTest::newRow("mono8-raw-equals-shown")
            << pixel(qRgb(128, 128, 128), true, RawPixel::Mono, {128}) << " 128 "
            << "Mono:";
        QTest::newRow("mono12-raw-in-brackets")
            << pixel(qRgb(255, 255, 255), true, RawPixel::Mono, {4095}) << " 255 (4095) "
            << "<td align='left' width='20%'>Mono:</td><td align='right' width='20%'>4095</td>"
               "<td align='right' width='9%'> </td><td align='left' width='12%'>RGB:</td>"
               "<td align='right' width='12%'>255</td><td align='right' width='12%'>255</td>"
               "<td align='right' width='12%'>255</td>";
        QTest::newRow("rgb12") << pixel(qRgb(255, 128, 0), false, RawPixel::Rgb, {4095, 2048, 3})
                               << " 255, 128, 0 (4095, 2048, 3) "
                               << "Raw:";
        QTest::newRow("bayer-names-its-filter")
            << pixel(qRgb(200, 100, 50), false, RawPixel::Bayer, {1600}, 'G')
            << " 200, 100, 50 (G 1600) "
            << "Bayer G:";
        QTest::newRow("yuv")
            << pixel(qRgb(10, 20, 30), false, RawPixel::Yuv, {18, 134, 120})
            << " 10, 20, 30 (18, 134, 120) "
            << "<td align='left' width='12%'>YUV:</td><td align='right' width='12%'>18</td>"
               "<td align='right' width='12%'>134</td><td align='right' width='12%'>120</td>"
               "<td align='right' width='2%'> </td><td align='left' width='12%'>RGB:</td>"
               "<td align='right' width='12%'>10</td><td align='right' width='12%'>20</td>"
               "<td align='right' width='12%'>30</td>";
        QTest::newRow("colour-without-frame")
            << pixel(qRgb(1, 2, 3), false, RawPixel::None, {}) << " 1, 2, 3 "
            << ">RGB:";
    }

    void pixelValue()
    {
        QFETCH(PixelValue, value);
        QFETCH(QString, text);
        QFETCH(QString, toolTipRow);
        StatusBar bar;
        const int minimumWidth = bar.minimumSizeHint().width();
        StatusBar::StatusInfo info;
        info.pixelX = 24;
        info.pixelY = 7;
        info.pixelValue = value;
        info.pixelValid = true;
        info.pixelChanged = true;
        bar.update(&info);
        QCOMPARE(bar.pixelPositionLabel()->text(), QString(" 24, 7 "));
        QCOMPARE(bar.pixelValueLabel()->text(), text);
        const QString toolTip = bar.pixelValueLabel()->toolTip();
        QVERIFY(toolTip.startsWith(
            "<table border='1' width='100%' cellpadding='0' cellspacing='0'><tr>"));
        QVERIFY2(toolTip.contains(toolTipRow), qPrintable(toolTip));
        // A long value never makes the bar, and so the window, wider.
        QCOMPARE(bar.minimumSizeHint().width(), minimumWidth);
        // Laid out in a narrow window, every field keeps its width beside the others.
        bar.resize(bar.minimumSizeHint().width(), 30);
        bar.show();
        QVERIFY(QTest::qWaitForWindowExposed(&bar));
        int right = 0;
        for (QLabel* field : {bar.imageSizeLabel(), bar.zoomLabel(), bar.pixelPositionLabel(),
                              bar.pixelValueLabel(), bar.frameRateLabel(), bar.dataRateLabel(),
                              bar.imageCounterLabel()}) {
            QVERIFY2(field->x() >= right && field->width() >= field->minimumWidth(),
                     qPrintable(QString("%1 at %2").arg(field->text()).arg(field->x())));
            right = field->geometry().right();
        }
        // The mouse leaves: position and value go.
        info.pixelValid = false;
        info.pixelChanged = true;
        bar.update(&info);
        QVERIFY(bar.pixelPositionLabel()->text().isEmpty());
        QVERIFY(bar.pixelValueLabel()->text().isEmpty());
    }
};

QTEST_MAIN(tst_StatusBar)
#include "tst_statusbar.moc"
