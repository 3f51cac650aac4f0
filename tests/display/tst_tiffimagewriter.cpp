// labels: sanitize
#include "display/tiffimagewriter.h"

#include "displaytestframe.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <tiffio.h>

#include <functional>

using Layout = Tarpo::ESampleLayout;
using TarpoViewerSdk::Image;

namespace {

// A TIFF file read back with libtiff: its tags and every sample.
struct TiffContents
{
    uint32_t width = 0;
    uint16_t bits = 0;
    uint16_t samples = 0;
    uint16_t maxValue = 0;
    std::vector<uint32_t> values;

    uint32_t at(int x, int y, int c) const
    {
        return values.at((size_t(y) * width + size_t(x)) * samples + size_t(c));
    }
};

TiffContents readTiff(const QString& fileName)
{
    TiffContents contents;
    TIFF* tiff = TIFFOpen(QFile::encodeName(fileName).constData(), "r");
    if (!tiff)
        return contents;
    uint32_t height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &contents.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &contents.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &contents.samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_MAXSAMPLEVALUE, &contents.maxValue);
    std::vector<uint8_t> line(size_t(TIFFScanlineSize(tiff)));
    for (uint32_t y = 0; y < height && TIFFReadScanline(tiff, line.data(), y, 0) >= 0; ++y)
        for (size_t i = 0; i < size_t(contents.width) * contents.samples; ++i)
            contents.values.push_back(
                contents.bits == 16 ? reinterpret_cast<const uint16_t*>(line.data())[i] : line[i]);
    TIFFClose(tiff);
    return contents;
}

// A frame whose samples are `sample(x, y, c)` (c in memory order), shown as the converter
// shows it, with displayed pixels all 0x11.
TestFrame rawFrame(Tarpo::EPixelType type, Layout layout, int width, int height,
                   const std::function<int(int, int, int)>& sample)
{
    TestFrame frame;
    frame.buffer = makeBuffer(type, width, height);
    for (int y = 0; y < height; ++y) {
        std::vector<int> samples;
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < int(Tarpo::SamplesPerPixel(type)); ++c)
                samples.push_back(sample(x, y, c));
        const auto line = encodeSamples(layout, int(Tarpo::BitDepth(type)), samples);
        std::memcpy(frame.buffer->data() + frame.buffer->lineOffset() * size_t(y), line.data(),
                    line.size());
    }
    frame.image = Image(width, height, Tarpo::IsMono(type) ? Image::Mono8 : Image::BGRA32,
                        frame.buffer.get());
    std::memset(frame.image.pixelData(), 0x11, frame.image.sizeInBytes());
    return frame;
}

int bayerChannel(Tarpo::EPixelType type, int x, int y)
{
    static const char tiles[4][5] = {"RGGB", "GBRG", "GRBG", "BGGR"};
    const char c = tiles[Tarpo::GetBayerOrder(type)][(y & 1) * 2 + (x & 1)];
    return c == 'R' ? 0 : c == 'G' ? 1 : 2;
}

} // namespace

// TIFF files of saved images, read back with libtiff and checked with tiffinfo: the camera's
// own values at 16 bits for deep sources (Bayer demosaiced), the display at 8 bits otherwise.
class tst_TiffImageWriter : public QObject
{
    Q_OBJECT

private slots:
    void deepSourcesKeepTheirValues_data()
    {
        QTest::addColumn<uint>("type");
        QTest::addColumn<int>("layout");
        QTest::addColumn<int>("samples"); // in the file
        QTest::newRow("mono12") << uint(Tarpo::PixelType_Mono12) << int(Layout::Word16) << 1;
        QTest::newRow("mono12p") << uint(Tarpo::PixelType_Mono12p) << int(Layout::PfncPacked) << 1;
        QTest::newRow("mono10packed")
            << uint(Tarpo::PixelType_Mono10packed) << int(Layout::GigEPacked) << 1;
        QTest::newRow("mono16") << uint(Tarpo::PixelType_Mono16) << int(Layout::Word16) << 1;
        QTest::newRow("rgb12") << uint(Tarpo::PixelType_RGB12packed) << int(Layout::Word16) << 3;
        QTest::newRow("bgr10-written-rgb")
            << uint(Tarpo::PixelType_BGR10packed) << int(Layout::Word16) << 3;
    }

    void deepSourcesKeepTheirValues()
    {
        QFETCH(uint, type);
        QFETCH(int, layout);
        QFETCH(int, samples);
        const auto pixelType = Tarpo::EPixelType(type);
        const int max = (1 << Tarpo::BitDepth(pixelType)) - 1;
        const auto sample = [max](int x, int y, int c) {
            return x == 0 && y == 0 ? max : (x * 97 + y * 31 + c * 1000) & max;
        };
        TestFrame frame = rawFrame(pixelType, Layout(layout), 21, 6, sample);
        QCOMPARE(TiffImageWriter::bitsPerSample(frame.image), 16);
        QTemporaryDir dir;
        const QString path = dir.filePath("deep.tiff");
        QVERIFY(TiffImageWriter::write(path, frame.image));
        const TiffContents tiff = readTiff(path);
        QCOMPARE(tiff.bits, uint16_t(16));
        QCOMPARE(tiff.samples, uint16_t(samples));
        QCOMPARE(tiff.maxValue, uint16_t(max));
        const bool bgr = Tarpo::IsBGR(pixelType);
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 21; ++x)
                for (int c = 0; c < samples; ++c)
                    QCOMPARE(tiff.at(x, y, c), uint32_t(sample(x, y, bgr ? 2 - c : c)));
        // The real peer: libtiff's own tool reads the file and its tags.
        QProcess tiffinfo;
        tiffinfo.start("tiffinfo", {path});
        QVERIFY(tiffinfo.waitForFinished(10000));
        const QString info = QString::fromLatin1(tiffinfo.readAllStandardOutput());
        QCOMPARE(tiffinfo.exitCode(), 0);
        QVERIFY2(info.contains("Bits/Sample: 16") &&
                     info.contains(QString("Max Sample Value: %1").arg(max)) &&
                     info.contains(samples == 1 ? "min-is-black" : "RGB color"),
                 qPrintable(info));
    }

    void bayerIsDemosaicedAtFullDepth_data()
    {
        QTest::addColumn<uint>("type");
        QTest::addColumn<int>("layout");
        QTest::newRow("bayer-rg12") << uint(Tarpo::PixelType_BayerRG12) << int(Layout::Word16);
        QTest::newRow("bayer-gb12p")
            << uint(Tarpo::PixelType_BayerGB12p) << int(Layout::PfncPacked);
        QTest::newRow("bayer-bg12packed")
            << uint(Tarpo::PixelType_BayerBG12packed) << int(Layout::GigEPacked);
    }

    void bayerIsDemosaicedAtFullDepth()
    {
        QFETCH(uint, type);
        QFETCH(int, layout);
        const auto pixelType = Tarpo::EPixelType(type);
        // One colour over the sensor plus a ramp: bilinear interpolation gives the colour back
        // everywhere and the ramp exactly inside the border; a site keeps its own sample.
        const int colour[3] = {1000, 600, 200};
        const auto value = [&](int x, int y) {
            return colour[bayerChannel(pixelType, x, y)] + 23 * x + 11 * y;
        };
        TestFrame frame = rawFrame(pixelType, Layout(layout), 12, 9,
                                   [&](int x, int y, int) { return value(x, y); });
        QTemporaryDir dir;
        QVERIFY(TiffImageWriter::write(dir.filePath("bayer.tif"), frame.image));
        const TiffContents tiff = readTiff(dir.filePath("bayer.tif"));
        QCOMPARE(tiff.bits, uint16_t(16));
        QCOMPARE(tiff.samples, uint16_t(3));
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 12; ++x) {
                QCOMPARE(tiff.at(x, y, bayerChannel(pixelType, x, y)), uint32_t(value(x, y)));
                if (x > 0 && y > 0 && x < 11 && y < 8)
                    for (int c = 0; c < 3; ++c)
                        QCOMPARE(tiff.at(x, y, c), uint32_t(colour[c] + 23 * x + 11 * y));
            }
    }

    void otherSourcesAreWrittenAsShown_data()
    {
        QTest::addColumn<uint>("type");
        QTest::addColumn<QSize>("imageSize"); // the frame is 8 x 4
        QTest::addColumn<int>("samples");
        QTest::newRow("mono8") << uint(Tarpo::PixelType_Mono8) << QSize(8, 4) << 1;
        QTest::newRow("bayer8") << uint(Tarpo::PixelType_BayerRG8) << QSize(8, 4) << 3;
        QTest::newRow("yuv422") << uint(Tarpo::PixelType_YUV422packed) << QSize(8, 4) << 3;
        QTest::newRow("frame-with-fewer-lines-than-told")
            << uint(Tarpo::PixelType_Mono12) << QSize(8, 5) << 1;
        QTest::newRow("plug-in-image-of-another-size")
            << uint(Tarpo::PixelType_RGB12packed) << QSize(24, 4) << 3;
    }

    void otherSourcesAreWrittenAsShown()
    {
        QFETCH(uint, type);
        QFETCH(QSize, imageSize);
        QFETCH(int, samples);
        TestFrame frame;
        frame.buffer = makeBuffer(Tarpo::EPixelType(type), 8, 4);
        // A grabber that reports more lines than the buffer holds.
        frame.buffer->setFrame(Tarpo::EPixelType(type), 8, imageSize.height(), 0, 64, 1, 0);
        frame.image = Image(imageSize.width(), imageSize.height(),
                            samples == 1 ? Image::Mono8 : Image::BGRA32, frame.buffer.get());
        // Grey 0x5A, or blue 0x5A with red and green 0x33 (B G R A in memory).
        for (int i = 0; i < int(frame.image.sizeInBytes()); ++i)
            frame.image.pixelData()[i] = uint8_t(samples == 1 || i % 4 == 0 ? 0x5A : 0x33);
        QCOMPARE(TiffImageWriter::bitsPerSample(frame.image), 8);
        QTemporaryDir dir;
        QVERIFY(TiffImageWriter::write(dir.filePath("shown.tif"), frame.image));
        const TiffContents tiff = readTiff(dir.filePath("shown.tif"));
        QCOMPARE(tiff.bits, uint16_t(8));
        QCOMPARE(tiff.samples, uint16_t(samples));
        QCOMPARE(tiff.width, uint32_t(imageSize.width()));
        QCOMPARE(tiff.at(1, 1, samples - 1), 0x5Au);
        if (samples == 3)
            QCOMPARE(tiff.at(1, 1, 0), 0x33u);
    }

    void failuresLeaveNoFile()
    {
        TestFrame frame = patternFrame(4, 4);
        QTemporaryDir dir;
        QVERIFY(!TiffImageWriter::write(dir.filePath("missing/folder.tif"), frame.image));
        QVERIFY(!TiffImageWriter::write(dir.filePath("empty.tif"), Image()));
        QVERIFY(!QFile::exists(dir.filePath("empty.tif")));
    }
};

QTEST_MAIN(tst_TiffImageWriter)
#include "tst_tiffimagewriter.moc"
