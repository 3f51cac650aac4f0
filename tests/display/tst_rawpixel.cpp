// labels: sanitize
#include "display/rawpixel.h"

#include "displaytestframe.h"

#include <QtTest>

using Tarpo::EPixelType;
using Layout = Tarpo::ESampleLayout;

namespace {

// Two lines, the first padded with a byte; the second holds the samples and ends the memory,
// so that a read past its last pixel is caught.
std::vector<uint8_t> frameOf(const std::vector<uint8_t>& line, size_t& lineOffset)
{
    lineOffset = line.size() + 1;
    std::vector<uint8_t> frame(lineOffset, 0xEE);
    frame.insert(frame.end(), line.begin(), line.end());
    return frame;
}

} // namespace

// One pixel of a camera frame at its own bit depth: every sample layout, colour order, Bayer
// filter and YUV packing, and frames too short for the pixel.
class tst_RawPixel : public QObject
{
    Q_OBJECT

private slots:
    void samples_data()
    {
        QTest::addColumn<uint>("type");
        QTest::addColumn<int>("layout");
        QTest::addColumn<int>("perPixel");  // samples per pixel in memory
        QTest::addColumn<QString>("order"); // "" mono, "rgb"/"bgr", or line 1's Bayer filters
        const auto row = [](const char* name, EPixelType type, Layout layout, int perPixel,
                            const char* order) {
            QTest::newRow(name) << uint(type) << int(layout) << perPixel << QString(order);
        };
        row("mono8", Tarpo::PixelType_Mono8, Layout::Byte, 1, "");
        row("mono12", Tarpo::PixelType_Mono12, Layout::Word16, 1, "");
        row("mono16", Tarpo::PixelType_Mono16, Layout::Word16, 1, "");
        row("mono10p", Tarpo::PixelType_Mono10p, Layout::PfncPacked, 1, "");
        row("mono12p", Tarpo::PixelType_Mono12p, Layout::PfncPacked, 1, "");
        row("mono10packed", Tarpo::PixelType_Mono10packed, Layout::GigEPacked, 1, "");
        row("mono12packed", Tarpo::PixelType_Mono12packed, Layout::GigEPacked, 1, "");
        row("mono2p", Tarpo::PixelType_Mono2p, Layout::PfncPacked, 1, "");
        row("bayer-rg8", Tarpo::PixelType_BayerRG8, Layout::Byte, 1, "GBGBGBGBG");
        row("bayer-bg12p", Tarpo::PixelType_BayerBG12p, Layout::PfncPacked, 1, "GRGRGRGRG");
        row("bayer-gr12packed", Tarpo::PixelType_BayerGR12packed, Layout::GigEPacked, 1,
            "BGBGBGBGB");
        row("bayer-gb10", Tarpo::PixelType_BayerGB10, Layout::Word16, 1, "RGRGRGRGR");
        row("rgb8", Tarpo::PixelType_RGB8packed, Layout::Byte, 3, "rgb");
        row("bgra8", Tarpo::PixelType_BGRA8packed, Layout::Byte, 4, "bgr");
        row("rgb12", Tarpo::PixelType_RGB12packed, Layout::Word16, 3, "rgb");
        row("bgr10", Tarpo::PixelType_BGR10packed, Layout::Word16, 3, "bgr");
    }

    void samples()
    {
        QFETCH(uint, type);
        QFETCH(int, layout);
        QFETCH(int, perPixel);
        QFETCH(QString, order);
        const int depth = int(Tarpo::BitDepth(EPixelType(type)));
        // Nine pixels, an odd count, so that the last group of a packing is a partial one.
        std::vector<int> samples;
        for (int i = 0; i < 9 * perPixel; ++i)
            samples.push_back(i == 2 ? (1 << depth) - 1 : (i * 0x9E3 + 0x5A) & ((1 << depth) - 1));
        size_t lineOffset = 0;
        const std::vector<uint8_t> frame =
            frameOf(encodeSamples(Layout(layout), depth, samples), lineOffset);
        for (int x = 0; x < 9; ++x) {
            const RawPixel raw = RawPixel::read(frame.data(), frame.size(), EPixelType(type), 9, 2,
                                                lineOffset, x, 1);
            const int* p = samples.data() + x * perPixel;
            QCOMPARE(raw.bitDepth, uint32_t(depth));
            if (perPixel == 1) {
                QCOMPARE(raw.kind, order.isEmpty() ? RawPixel::Mono : RawPixel::Bayer);
                QCOMPARE(raw.values[0], p[0]);
                if (!order.isEmpty())
                    QCOMPARE(QChar(raw.filter), order[x]);
            } else {
                const bool bgr = order == "bgr";
                QCOMPARE(raw.kind, RawPixel::Rgb);
                QCOMPARE(raw.text(),
                         QString("%1, %2, %3").arg(p[bgr ? 2 : 0]).arg(p[1]).arg(p[bgr ? 0 : 2]));
            }
        }
    }

    void yuv_data()
    {
        QTest::addColumn<uint>("type");
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<QString>("expected"); // Y,U,V of each pixel
        const QString pairs = "10,200,100 11,200,100 12,210,110 13,210,110";
        QTest::newRow("yuv422-uyvy") << uint(Tarpo::PixelType_YUV422packed)
                                     << QByteArray("\xC8\x0A\x64\x0B\xD2\x0C\x6E\x0D") << pairs;
        QTest::newRow("yuv422-yuyv") << uint(Tarpo::PixelType_YUV422_YUYV_Packed)
                                     << QByteArray("\x0A\xC8\x0B\x64\x0C\xD2\x0D\x6E") << pairs;
        QTest::newRow("ycbcr422-8") << uint(Tarpo::PixelType_YCbCr422_8)
                                    << QByteArray("\x0A\xC8\x0B\x64\x0C\xD2\x0D\x6E") << pairs;
        QTest::newRow("yuv411") << uint(Tarpo::PixelType_YUV411packed)
                                << QByteArray("\xC8\x0A\x0B\x64\x0C\x0D\xD2\x0E\x0F\x6E\x10\x11")
                                << "10,200,100 11,200,100 12,200,100 13,200,100 "
                                   "14,210,110 15,210,110 16,210,110 17,210,110";
        QTest::newRow("yuv444") << uint(Tarpo::PixelType_YUV444packed)
                                << QByteArray("\xC8\x0A\x64\xD2\x0B\x6E")
                                << "10,200,100 11,210,110";
    }

    void yuv()
    {
        QFETCH(uint, type);
        QFETCH(QByteArray, line);
        QFETCH(QString, expected);
        size_t lineOffset = 0;
        const auto frame = frameOf(std::vector<uint8_t>(line.begin(), line.end()), lineOffset);
        const QStringList pixels = expected.split(' ');
        for (int x = 0; x < pixels.size(); ++x) {
            const RawPixel raw = RawPixel::read(frame.data(), frame.size(), EPixelType(type),
                                                pixels.size(), 2, lineOffset, x, 1);
            QCOMPARE(raw.kind, RawPixel::Yuv);
            QCOMPARE(raw.text().remove(' '), pixels[x]);
        }
    }

    void nothingOutsideFrameOrMemory_data()
    {
        QTest::addColumn<uint>("type");
        QTest::addColumn<QPoint>("pixel");
        QTest::addColumn<int>("dataSize");
        // An 8 x 2 frame with 16-byte lines; Mono12p needs 12 bytes a line, YUV 4:2:2 16.
        QTest::newRow("left-of-frame") << uint(Tarpo::PixelType_Mono8) << QPoint(-1, 0) << 32;
        QTest::newRow("right-of-frame") << uint(Tarpo::PixelType_Mono8) << QPoint(8, 0) << 32;
        QTest::newRow("below-frame") << uint(Tarpo::PixelType_Mono8) << QPoint(0, 2) << 32;
        QTest::newRow("truncated-packed") << uint(Tarpo::PixelType_Mono12p) << QPoint(7, 1) << 27;
        QTest::newRow("truncated-yuv") << uint(Tarpo::PixelType_YUV422packed) << QPoint(7, 1) << 31;
        QTest::newRow("truncated-word") << uint(Tarpo::PixelType_Mono16) << QPoint(7, 1) << 31;
        QTest::newRow("unknown-type") << 0x01990099u << QPoint(0, 0) << 32;
    }

    void nothingOutsideFrameOrMemory()
    {
        QFETCH(uint, type);
        QFETCH(QPoint, pixel);
        QFETCH(int, dataSize);
        const std::vector<uint8_t> frame(32, 0x55);
        QVERIFY(!RawPixel::read(frame.data(), size_t(dataSize), EPixelType(type), 8, 2, 16,
                                pixel.x(), pixel.y())
                     .isValid());
    }
};

QTEST_APPLESS_MAIN(tst_RawPixel)
#include "tst_rawpixel.moc"
