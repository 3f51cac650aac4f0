#include "acquisition/converter.h"
#include "acquisition/defaultcolorconverterplugin.h"
#include "genapi/genapi.h"
#include "viewersdk/streambuffer.h"

#include <QSignalSpy>
#include <QtTest>

#include <cstring>

using TarpoViewerSdk::Image;
using TarpoViewerSdk::StreamBuffer;

namespace {

// A Bayer mosaic of one colour: each site gets the value of its filter's channel.
void fillBayer(StreamBuffer& buffer, Tarpo::EPixelType type, int width, int height, int r, int g,
               int b)
{
    const auto order = DefaultColorConverterPlugin::bayerClassification(type);
    // Colour of the first two pixels of the first line per order: RG 0, GB 1, GR 2, BG 3.
    static const char* const firstRows[] = {"RG", "GB", "GR", "BG"};
    static const char* const secondRows[] = {"GB", "RG", "BG", "GR"};
    const bool sixteen = Tarpo::BitPerPixel(type) == 16;
    const int shift = sixteen ? int(Tarpo::BitDepth(type)) - 8 : 0;
    for (int y = 0; y < height; ++y) {
        const char* row = (y % 2 == 0 ? firstRows : secondRows)[order];
        for (int x = 0; x < width; ++x) {
            const char c = row[x % 2];
            const int v = (c == 'R' ? r : c == 'G' ? g : b) << shift;
            if (sixteen) {
                const uint16_t word = static_cast<uint16_t>(v);
                std::memcpy(buffer.data() + (y * width + x) * 2, &word, 2);
            } else {
                buffer.data()[y * width + x] = static_cast<uint8_t>(v);
            }
        }
    }
    buffer.setFrame(type, width, height, 0, buffer.size(), 1, 0);
}

} // namespace

// The converter on its own: which buffers become grey and which BGRA, Bayer classification,
// speed-test frames, node maps announced, and the grey-to-BGRA widening.
class tst_Converter : public QObject
{
    Q_OBJECT

private slots:
    void bayerClassification_data()
    {
        QTest::addColumn<uint>("type");
        QTest::addColumn<int>("classification");
        QTest::addColumn<bool>("trueMono");
        QTest::newRow("bayer-gr8") << uint(Tarpo::PixelType_BayerGR8) << 2 << false;
        QTest::newRow("bayer-rg12p") << uint(Tarpo::PixelType_BayerRG12p) << 0 << false;
        QTest::newRow("bayer-gb10p") << uint(Tarpo::PixelType_BayerGB10p) << 1 << false;
        QTest::newRow("bayer-bg12") << uint(Tarpo::PixelType_BayerBG12) << 3 << false;
        QTest::newRow("bayer-bg16") << uint(Tarpo::PixelType_BayerBG16) << 3 << false;
        QTest::newRow("mono8") << uint(Tarpo::PixelType_Mono8) << 4 << true;
        QTest::newRow("mono12p") << uint(Tarpo::PixelType_Mono12p) << 4 << true;
        QTest::newRow("rgb8") << uint(Tarpo::PixelType_RGB8packed) << 4 << false;
        QTest::newRow("yuv422") << uint(Tarpo::PixelType_YUV422packed) << 4 << false;
    }

    void bayerClassification()
    {
        QFETCH(uint, type);
        QFETCH(int, classification);
        QFETCH(bool, trueMono);
        QCOMPARE(DefaultColorConverterPlugin::bayerClassification(Tarpo::EPixelType(type)),
                 classification);
        QCOMPARE(DefaultColorConverterPlugin::isTrueMono(Tarpo::EPixelType(type)), trueMono);
    }

    void pureColoursStayPure_data()
    {
        QTest::addColumn<uint>("type");
        QTest::addColumn<int>("r");
        QTest::addColumn<int>("g");
        QTest::addColumn<int>("b");
        const uint types[] = {Tarpo::PixelType_BayerRG8, Tarpo::PixelType_BayerGR8,
                              Tarpo::PixelType_BayerGB8, Tarpo::PixelType_BayerBG8,
                              Tarpo::PixelType_BayerBG12, Tarpo::PixelType_BayerRG16};
        for (uint type : types) {
            const QByteArray name = Tarpo::GetPixelTypeName(Tarpo::EPixelType(type));
            QTest::newRow(name + "-red") << type << 200 << 0 << 0;
            QTest::newRow(name + "-green") << type << 0 << 200 << 0;
            QTest::newRow(name + "-blue") << type << 0 << 0 << 200;
        }
    }

    void pureColoursStayPure()
    {
        QFETCH(uint, type);
        QFETCH(int, r);
        QFETCH(int, g);
        QFETCH(int, b);
        const int width = 33, height = 21; // odd on purpose
        StreamBuffer buffer(width * height * 2, Tarpo::EPixelType(type), width, height, 1);
        fillBayer(buffer, Tarpo::EPixelType(type), width, height, r, g, b);
        Converter converter;
        QVERIFY(converter.isSupported(Tarpo::EPixelType(type)));
        const Image image = converter.convert(&buffer);
        QCOMPARE(image.format(), int(Image::BGRA32));
        QCOMPARE(image.width(), width);
        QCOMPARE(image.height(), height);
        for (int y = 2; y < height - 2; ++y) {
            for (int x = 2; x < width - 2; ++x) {
                const uint8_t* p = image.pixelData() + y * image.lineOffset() + 4 * x;
                QVERIFY2(std::abs(p[0] - b) <= 1 && std::abs(p[1] - g) <= 1 && std::abs(p[2] - r) <= 1,
                         qPrintable(QString("(%1,%2) = %3 %4 %5").arg(x).arg(y).arg(p[2]).arg(p[1]).arg(p[0])));
            }
        }
    }

    void monoStaysGrey()
    {
        const int width = 13, height = 5;
        StreamBuffer buffer(width * height, Tarpo::PixelType_Mono8, width, height, 1);
        for (int i = 0; i < width * height; ++i)
            buffer.data()[i] = static_cast<uint8_t>(i * 3);
        buffer.setFrame(Tarpo::PixelType_Mono8, width, height, 0, buffer.size(), 1, 0);
        Converter converter;
        const Image image = converter.convert(&buffer);
        QCOMPARE(image.format(), int(Image::Mono8));
        QCOMPARE(image.lineOffset(), 16);
        for (int y = 0; y < height; ++y)
            QCOMPARE(QByteArray(reinterpret_cast<const char*>(image.pixelData() + y * 16), width),
                     QByteArray(reinterpret_cast<const char*>(buffer.data() + y * width), width));
        QCOMPARE(image.buffer(), &buffer);

        const Image rgb = Converter::mono8Image2RgbImage(image);
        QCOMPARE(rgb.format(), int(Image::BGRA32));
        const uint8_t* p = rgb.pixelData() + 2 * rgb.lineOffset() + 4 * 7;
        const uint8_t grey = buffer.data()[2 * width + 7];
        QCOMPARE(int(p[0]), int(grey));
        QCOMPARE(int(p[1]), int(grey));
        QCOMPARE(int(p[2]), int(grey));
        QVERIFY(!Converter::mono8Image2RgbImage(rgb).isValid()); // only grey images widen
    }

    void speedTestFramesCarryNoPixels()
    {
        StreamBuffer buffer(64, Tarpo::PixelType_Mono8, 8, 8, 1);
        buffer.setFrame(Tarpo::PixelType_Mono8, 8, 8, 0, 64, 1, 0);
        buffer.setDisplay(false);
        Converter converter;
        QSignalSpy spy(&converter, &Converter::imageAvailable);
        converter.setBuffer(&buffer);
        QCOMPARE(spy.count(), 1);
        const Image image = spy.at(0).at(0).value<Image>();
        QCOMPARE(image.format(), int(Image::NoPixels));
        QVERIFY(!image.pixelData());
        QCOMPARE(image.buffer(), &buffer);
        converter.setBuffer(nullptr);
        QCOMPARE(spy.count(), 1);
    }

    void unsupportedFormatsGiveEmptyImages()
    {
        Converter converter;
        QVERIFY(converter.isSupported(Tarpo::PixelType_Mono8));
        QVERIFY(!converter.isSupported(Tarpo::PixelType_Undefined));
        StreamBuffer buffer(64, Tarpo::PixelType_Mono1p, 8, 8, 1);
        buffer.setFrame(Tarpo::PixelType_Mono1p, 8, 8, 0, 64, 1, 0);
        QVERIFY(!converter.convert(&buffer).isValid());
    }

    void announcesItsNodeMap()
    {
        qunsetenv("TARPO_EXTENSION_PLUGIN");
        Converter converter;
        QSignalSpy spy(&converter, &Converter::nodemapAvailable);
        converter.announceNodemaps();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0).at(2).toString(), QString("ColorConverter"));
        auto* map = spy.at(0).at(0).value<GenApi::INodeMap*>();
        QVERIFY(map);
        // The defaults the viewer relies on: edges extended, high bits kept, top 8 bits.
        QCOMPARE(GenApi::CEnumerationPtr(map->GetNode("InconvertibleEdgeHandling"))->GetIntValue(),
                 int64_t(3));
        QCOMPARE(GenApi::CEnumerationPtr(map->GetNode("OutputBitAlignment"))->GetIntValue(), int64_t(2));
        QCOMPARE(GenApi::CEnumerationPtr(map->GetNode("MonoConversionMethod"))->GetIntValue(), int64_t(1));
    }
};

QTEST_GUILESS_MAIN(tst_Converter)
#include "tst_converter.moc"
