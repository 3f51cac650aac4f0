#include "viewersdk/plugin.h"
#include "viewersdk/pluginmanager.h"

#include <QtTest>

#include <cstring>
#include <vector>

// The saturation highlight module, loaded as the viewer loads it: pixels at the top of the
// camera's range turn red, all others keep their grey.
class tst_SaturationHighlight : public QObject
{
    Q_OBJECT

private slots:
    void marksSaturatedPixels_data();
    void marksSaturatedPixels();
};

void tst_SaturationHighlight::marksSaturatedPixels_data()
{
    QTest::addColumn<int>("pixelType");
    QTest::addColumn<int>("top");
    QTest::addColumn<bool>("supported");
    QTest::newRow("mono8") << int(Tarpo::PixelType_Mono8) << 255 << true;
    QTest::newRow("mono12-in-16-bit") << int(Tarpo::PixelType_Mono12) << 4095 << true;
    QTest::newRow("bayer8") << int(Tarpo::PixelType_BayerRG8) << 255 << true;
    QTest::newRow("packed-left-alone") << int(Tarpo::PixelType_Mono12p) << 4095 << false;
}

void tst_SaturationHighlight::marksSaturatedPixels()
{
    QFETCH(int, pixelType);
    QFETCH(int, top);
    QFETCH(bool, supported);
    qputenv("TARPO_PLUGIN_PATH", TARPO_PLUGIN_FOLDER);
    auto* plugin = dynamic_cast<TarpoViewerSdk::IColorConverterPlugin*>(
        TarpoViewerSdk::PluginManager::createInstance("SaturationHighlight"));
    QVERIFY2(plugin, qPrintable(TarpoViewerSdk::PluginManager::lastError()));
    const auto type = Tarpo::EPixelType(pixelType);
    QCOMPARE(plugin->isSupported(type), supported);
    const int width = 4;
    const bool wide = top > 255;
    // One row: the top value, one below it, zero, the top value again.
    std::vector<uint16_t> samples{uint16_t(top), uint16_t(top - 1), 0, uint16_t(top)};
    std::vector<uint8_t> raw(size_t(width) * (wide ? 2 : 1));
    for (int x = 0; x < width; ++x) {
        if (wide)
            std::memcpy(&raw[size_t(x) * 2], &samples[size_t(x)], 2);
        else
            raw[size_t(x)] = uint8_t(samples[size_t(x)]);
    }
    TarpoViewerSdk::StreamBuffer::SImageFormatEx format;
    format.pixelType = type;
    format.width = width;
    format.height = 1;
    format.lineOffset = raw.size();
    std::vector<uint8_t> image(size_t(width) * 4, 100);
    plugin->process(raw.data(), format, image.data(), width * 4, image.size());
    for (int x = 0; x < width; ++x) {
        const bool red = supported && samples[size_t(x)] == top;
        QCOMPARE(int(image[size_t(x) * 4 + 2]), red ? 255 : 100);
        QCOMPARE(int(image[size_t(x) * 4]), red ? 0 : 100);
    }
    TarpoViewerSdk::PluginManager::destroyInstance(plugin);
}

QTEST_GUILESS_MAIN(tst_SaturationHighlight)
#include "tst_saturationhighlight.moc"
