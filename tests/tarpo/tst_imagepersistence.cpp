// labels: sanitize
// Image persistence against independent readers: tiffinfo must report the bit depth and sample
// count we promise for every kind of source, ffmpeg must decode our TIFFs to the camera's
// values (unscaled, the right colour order, the right way up), and QImage must read our BMPs
// back pixel for pixel.

#include "mediaprobes.h"

#include "genapi/genicamexception.h"
#include "tarpo/imagepersistence.h"

#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <vector>

using namespace Tarpo;

namespace {

// Samples of `bytesPerSample` little-endian bytes, `perPixel` per pixel; sample i of line y is
// value(x, y, i), masked to `depth` bits. `paddingX` bytes follow each line.
std::vector<uint8_t> image(uint32_t width, uint32_t height, uint32_t perPixel,
                           uint32_t bytesPerSample, uint32_t depth, size_t paddingX,
                           uint32_t (*value)(uint32_t x, uint32_t y, uint32_t sample))
{
    const size_t line = size_t(width) * perPixel * bytesPerSample + paddingX;
    std::vector<uint8_t> data(line * height, 0xAB);
    const uint32_t mask = depth >= 32 ? 0xFFFFFFFFu : (1u << depth) - 1;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            for (uint32_t s = 0; s < perPixel; ++s) {
                const uint32_t v = value(x, y, s) & mask;
                uint8_t* p = &data[y * line + (size_t(x) * perPixel + s) * bytesPerSample];
                for (uint32_t b = 0; b < bytesPerSample; ++b)
                    p[b] = uint8_t(v >> (8 * b));
            }
    return data;
}

uint32_t ramp(uint32_t x, uint32_t y, uint32_t s)
{
    return x * 37 + y * 1013 + s * 500;
}

uint16_t word(const QByteArray& data, size_t index)
{
    uint16_t v = 0;
    std::memcpy(&v, data.constData() + 2 * index, 2);
    return v;
}

} // namespace

class tst_ImagePersistence : public QObject
{
    Q_OBJECT

private slots:
    void tiffinfoReadsTheDepth_data()
    {
        QTest::addColumn<uint>("pixelType");
        QTest::addColumn<int>("bitsPerSample");
        QTest::addColumn<int>("samplesPerPixel");
        QTest::addColumn<int>("maxSampleValue"); // 0: not written

        QTest::newRow("mono8") << uint(PixelType_Mono8) << 8 << 1 << 0;
        QTest::newRow("mono10") << uint(PixelType_Mono10) << 16 << 1 << 1023;
        QTest::newRow("mono12") << uint(PixelType_Mono12) << 16 << 1 << 4095;
        QTest::newRow("mono12p") << uint(PixelType_Mono12p) << 16 << 1 << 4095;
        QTest::newRow("mono12packed") << uint(PixelType_Mono12packed) << 16 << 1 << 4095;
        QTest::newRow("mono16") << uint(PixelType_Mono16) << 16 << 1 << 65535;
        QTest::newRow("bayerrg8") << uint(PixelType_BayerRG8) << 8 << 3 << 0;
        QTest::newRow("bayerbg12") << uint(PixelType_BayerBG12) << 16 << 3 << 4095;
        QTest::newRow("bayergr12p") << uint(PixelType_BayerGR12p) << 16 << 3 << 4095;
        QTest::newRow("bayergb16") << uint(PixelType_BayerGB16) << 16 << 3 << 65535;
        QTest::newRow("rgb8") << uint(PixelType_RGB8packed) << 8 << 3 << 0;
        QTest::newRow("bgra8") << uint(PixelType_BGRA8packed) << 8 << 3 << 0;
        QTest::newRow("rgb12") << uint(PixelType_RGB12packed) << 16 << 3 << 4095;
        QTest::newRow("bgr10") << uint(PixelType_BGR10packed) << 16 << 3 << 1023;
        QTest::newRow("yuv422") << uint(PixelType_YUV422packed) << 8 << 3 << 0;
    }

    void tiffinfoReadsTheDepth()
    {
        QFETCH(uint, pixelType);
        QFETCH(int, bitsPerSample);
        QFETCH(int, samplesPerPixel);
        QFETCH(int, maxSampleValue);

        const EPixelType type = EPixelType(pixelType);
        const uint32_t width = 64, height = 16;
        const size_t bytes = ComputeBufferSize(type, width, height);
        std::vector<uint8_t> data(bytes);
        for (size_t i = 0; i < bytes; ++i)
            data[i] = uint8_t(i * 7);
        if (BitPerPixel(type) == 16 || BitPerPixel(type) == 48) {
            // Unpacked deep samples stay within their depth.
            const uint32_t mask = (1u << BitDepth(type)) - 1;
            for (size_t i = 0; i + 1 < bytes; i += 2) {
                const uint16_t v = uint16_t((i * 13) & mask);
                std::memcpy(&data[i], &v, 2);
            }
        }
        QTemporaryDir dir;
        const QString file = dir.filePath("frame.tiff");
        CImagePersistence persistence;
        persistence.Save(ImageFileFormat_Tiff, file.toStdString(), data.data(), data.size(), type,
                         width, height, 0, TopDown);
        const QString info = MediaProbes::tiffinfo(file);
        QVERIFY2(info.contains(QString("Image Width: %1 Image Length: %2").arg(width).arg(height)),
                 qPrintable(info));
        QVERIFY2(info.contains(QString("Bits/Sample: %1").arg(bitsPerSample)), qPrintable(info));
        QVERIFY2(info.contains(QString("Samples/Pixel: %1").arg(samplesPerPixel)),
                 qPrintable(info));
        QVERIFY2(info.contains(samplesPerPixel == 1 ? "min-is-black" : "RGB color"),
                 qPrintable(info));
        if (maxSampleValue)
            QVERIFY2(info.contains(QString("Max Sample Value: %1").arg(maxSampleValue)),
                     qPrintable(info));
        else
            QVERIFY2(!info.contains("Max Sample Value"), qPrintable(info));
    }

    // The camera's values survive unscaled, in R G B order, top line first.
    void tiffKeepsTheValues()
    {
        QTemporaryDir dir;
        CImagePersistence persistence;
        const uint32_t width = 21, height = 9;

        // Mono12 with padding, delivered bottom-up.
        const std::vector<uint8_t> mono = image(width, height, 1, 2, 12, 6, ramp);
        const QString monoFile = dir.filePath("mono12.tiff");
        persistence.Save(ImageFileFormat_Tiff, monoFile.toStdString(), mono.data(), mono.size(),
                         PixelType_Mono12, width, height, 6, BottomUp);
        const QByteArray grey = MediaProbes::decode(monoFile, "gray16le");
        QCOMPARE(grey.size(), int(width * height * 2));
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x)
                QCOMPARE(word(grey, y * width + x), uint16_t(ramp(x, height - 1 - y, 0) & 0xFFF));

        // BGR12: stored as R G B.
        const std::vector<uint8_t> bgr = image(width, height, 3, 2, 12, 0, ramp);
        const QString bgrFile = dir.filePath("bgr12.tiff");
        persistence.Save(ImageFileFormat_Tiff, bgrFile.toStdString(), bgr.data(), bgr.size(),
                         PixelType_BGR12packed, width, height, 0, TopDown);
        const QByteArray rgb = MediaProbes::decode(bgrFile, "rgb48le");
        QCOMPARE(rgb.size(), int(width * height * 6));
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x)
                for (uint32_t c = 0; c < 3; ++c)
                    QCOMPARE(word(rgb, (y * width + x) * 3 + c),
                             uint16_t(ramp(x, y, 2 - c) & 0xFFF));
    }

    // A flat Bayer scene demosaics to the flat colour, up to the image's edge: the Bayer order
    // is read right and the 12 bits stay 12 bits.
    void tiffOfBayer12IsTheScenesColour_data()
    {
        QTest::addColumn<uint>("pixelType");
        QTest::newRow("bayerrg12") << uint(PixelType_BayerRG12);
        QTest::newRow("bayerbg12") << uint(PixelType_BayerBG12);
        QTest::newRow("bayergr12") << uint(PixelType_BayerGR12);
        QTest::newRow("bayergb12") << uint(PixelType_BayerGB12);
    }

    void tiffOfBayer12IsTheScenesColour()
    {
        QFETCH(uint, pixelType);
        const EPixelType type = EPixelType(pixelType);
        const uint32_t width = 16, height = 12;
        const uint16_t red = 1000, green = 2000, blue = 3000;
        // The colours of the first 2 x 2 pixels, row by row: RG is R G / G B, and so on.
        const EBayerOrder order = GetBayerOrder(type);
        const uint16_t cell[4][4] = {{red, green, green, blue},  // BayerOrder_RG
                                     {green, blue, red, green},  // BayerOrder_GB
                                     {green, red, blue, green},  // BayerOrder_GR
                                     {blue, green, green, red}}; // BayerOrder_BG
        std::vector<uint16_t> samples(width * height);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x)
                samples[y * width + x] = cell[order][(y % 2) * 2 + x % 2];
        QTemporaryDir dir;
        const QString file = dir.filePath("bayer.tiff");
        CImagePersistence persistence;
        persistence.Save(ImageFileFormat_Tiff, file.toStdString(), samples.data(),
                         samples.size() * 2, type, width, height, 0, TopDown);
        const QByteArray rgb = MediaProbes::decode(file, "rgb48le");
        QCOMPARE(rgb.size(), int(width * height * 6));
        for (uint32_t y = 0; y < height; ++y) // the border too
            for (uint32_t x = 0; x < width; ++x) {
                const size_t p = (y * width + x) * 3;
                QCOMPARE(word(rgb, p), red);
                QCOMPARE(word(rgb, p + 1), green);
                QCOMPARE(word(rgb, p + 2), blue);
            }
    }

    void bmpReadsBack_data()
    {
        QTest::addColumn<uint>("pixelType");
        QTest::addColumn<int>("paddingX");
        QTest::addColumn<bool>("bottomUp");
        QTest::addColumn<int>("width");

        QTest::newRow("mono8-aligned") << uint(PixelType_Mono8) << 0 << false << 64;
        QTest::newRow("mono8-odd-width") << uint(PixelType_Mono8) << 0 << false << 61;
        QTest::newRow("mono8-padded-bottom-up") << uint(PixelType_Mono8) << 7 << true << 61;
        QTest::newRow("mono12-top-8-bits") << uint(PixelType_Mono12) << 0 << false << 61;
        QTest::newRow("rgb8") << uint(PixelType_RGB8packed) << 3 << false << 61;
        QTest::newRow("bgr8-bottom-up") << uint(PixelType_BGR8packed) << 0 << true << 61;
    }

    void bmpReadsBack()
    {
        QFETCH(uint, pixelType);
        QFETCH(int, paddingX);
        QFETCH(bool, bottomUp);
        QFETCH(int, width);

        const EPixelType type = EPixelType(pixelType);
        const uint32_t height = 13;
        const bool mono = IsMono(type);
        const uint32_t perPixel = mono ? 1 : 3;
        const uint32_t bytesPerSample = BitDepth(type) > 8 ? 2 : 1;
        const std::vector<uint8_t> data = image(uint32_t(width), height, perPixel, bytesPerSample,
                                                BitDepth(type), size_t(paddingX), ramp);
        QTemporaryDir dir;
        const QString file = dir.filePath("frame.bmp");
        CImagePersistence persistence;
        persistence.Save(ImageFileFormat_Bmp, file.toStdString(), data.data(), data.size(), type,
                         uint32_t(width), height, size_t(paddingX), bottomUp ? BottomUp : TopDown);

        QImage read(file, "BMP");
        QVERIFY(!read.isNull());
        QCOMPARE(read.width(), width);
        QCOMPARE(read.height(), int(height));
        QCOMPARE(read.depth(), mono ? 8 : 32);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < uint32_t(width); ++x) {
                const uint32_t sy = bottomUp ? height - 1 - y : y;
                auto sample = [&](uint32_t s) {
                    const uint32_t v = ramp(x, sy, s) & ((1u << BitDepth(type)) - 1);
                    return int(v >> (BitDepth(type) - 8));
                };
                const QRgb pixel = read.pixel(int(x), int(y));
                if (mono) {
                    QCOMPARE(qGray(pixel), sample(0));
                } else {
                    const bool bgr = IsBGR(type);
                    QCOMPARE(qRed(pixel), sample(bgr ? 2 : 0));
                    QCOMPARE(qGreen(pixel), sample(1));
                    QCOMPARE(qBlue(pixel), sample(bgr ? 0 : 2));
                }
            }
    }

    void failures()
    {
        QTemporaryDir dir;
        CImagePersistence persistence;
        const std::vector<uint8_t> data(64 * 48, 100);
        for (EImageFileFormat format : {ImageFileFormat_Bmp, ImageFileFormat_Tiff}) {
            const QString missingFolder = dir.filePath("missing/frame");
            QVERIFY_EXCEPTION_THROWN(persistence.Save(format, missingFolder.toStdString(),
                                                      data.data(), data.size(), PixelType_Mono8, 64,
                                                      48, 0, TopDown),
                                     GenICam::RuntimeException);
            // A truncated frame is refused before a file is made.
            const QString truncated = dir.filePath("truncated");
            QVERIFY_EXCEPTION_THROWN(persistence.Save(format, truncated.toStdString(), data.data(),
                                                      data.size(), PixelType_Mono12, 64, 48, 0,
                                                      TopDown),
                                     GenICam::OutOfRangeException);
            QVERIFY(!QFile::exists(truncated));
        }
    }
};

QTEST_GUILESS_MAIN(tst_ImagePersistence)
#include "tst_imagepersistence.moc"
