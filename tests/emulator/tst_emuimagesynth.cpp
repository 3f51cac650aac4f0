// labels: sanitize
#include "emulator/emuimagesynth.h"

#include <QtTest>

#include <array>
#include <cmath>
#include <functional>
#include <stdexcept>

using namespace Emulator;
using namespace Tarpo;

Q_DECLARE_METATYPE(Tarpo::EPixelType)
Q_DECLARE_METATYPE(Emulator::EmuTestImage)

namespace {

// The reference below is written from the layout rules and the pattern definitions, pixel by
// pixel and bit by bit, and shares no code with the emulator.

struct Rgb
{
    int red;
    int green;
    int blue;
};

using PixelAt = std::function<Rgb(uint32_t x, uint32_t y)>; // in the delivered image

int maxValueOf(EPixelType type)
{
    return (1 << BitDepth(type)) - 1;
}

Rgb patternPixel(EmuTestImage image, uint32_t sensorX, uint32_t sensorY, uint32_t sensorWidth,
                 int maxValue, uint64_t frameId)
{
    switch (image) {
    case EmuTestImage::GreyRamp: {
        const int v = int(int64_t(sensorX) * maxValue / (sensorWidth - 1));
        return {v, v, v};
    }
    case EmuTestImage::ColorBars: {
        const Rgb unitBars[8] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                                 {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}};
        const Rgb bar = unitBars[sensorX * 8 / sensorWidth];
        return {bar.red * maxValue, bar.green * maxValue, bar.blue * maxValue};
    }
    case EmuTestImage::Checkerboard: {
        const int v = (sensorX / 16 + sensorY / 16) % 2 == 0 ? maxValue : 0;
        return {v, v, v};
    }
    case EmuTestImage::MovingStripes: {
        int64_t phase = (int64_t(sensorX) + sensorY - int64_t(frameId)) % 64;
        if (phase < 0)
            phase += 64;
        const int v = int(phase * maxValue / 63);
        return {v, v, v};
    }
    default:
        return {0, 0, 0};
    }
}

char bayerColour(const QString& name, uint32_t x, uint32_t y)
{
    const QString firstRow = name.mid(5, 2);
    const QHash<QString, QString> secondRow = {
        {"RG", "GB"}, {"GR", "BG"}, {"GB", "RG"}, {"BG", "GR"}};
    const QString row = (y % 2 == 0) ? firstRow : secondRow.value(firstRow);
    return row.at(int(x % 2)).toLatin1();
}

void setBits(QByteArray& line, uint64_t bitPosition, int value, int bits)
{
    for (int b = 0; b < bits; ++b) {
        if (value & (1 << b))
            line[int((bitPosition + b) / 8)] =
                char(line[int((bitPosition + b) / 8)] | (1 << ((bitPosition + b) % 8)));
    }
}

double yOf(const Rgb& p)
{
    return 0.299 * p.red + 0.587 * p.green + 0.114 * p.blue;
}
double uOf(const Rgb& p)
{
    return 128 - 0.168736 * p.red - 0.331264 * p.green + 0.5 * p.blue;
}
double vOf(const Rgb& p)
{
    return 128 + 0.5 * p.red - 0.418688 * p.green - 0.081312 * p.blue;
}
char byteOf(double v)
{
    return char(std::lround(std::clamp(v, 0.0, 255.0)));
}

QByteArray referenceFrame(EPixelType type, uint32_t width, uint32_t height, const PixelAt& pixelAt)
{
    const QString name = GetPixelTypeName(type);
    const int depth = int(BitDepth(type));
    QByteArray frame;
    for (uint32_t y = 0; y < height; ++y) {
        QByteArray line;
        if (name.startsWith("YUV") || name.startsWith("YCbCr")) {
            const bool uyvy = name == "YUV422_8_UYVY";
            for (uint32_t x = 0; x < width; x += 2) {
                const Rgb p0 = pixelAt(x, y);
                const Rgb p1 = x + 1 < width ? pixelAt(x + 1, y) : p0;
                const char u = byteOf((uOf(p0) + uOf(p1)) / 2);
                const char v = byteOf((vOf(p0) + vOf(p1)) / 2);
                QByteArray group = uyvy ? QByteArray{} + u + byteOf(yOf(p0)) + v + byteOf(yOf(p1))
                                        : QByteArray{} + byteOf(yOf(p0)) + u + byteOf(yOf(p1)) + v;
                line += x + 1 < width ? group : group.left(2);
            }
        } else if (name.startsWith("RGB") || name.startsWith("BGR")) {
            for (uint32_t x = 0; x < width; ++x) {
                const Rgb p = pixelAt(x, y);
                line += name.startsWith("RGB") ? char(p.red) : char(p.blue);
                line += char(p.green);
                line += name.startsWith("RGB") ? char(p.blue) : char(p.red);
                if (name.endsWith("a8"))
                    line += char(0xFF);
            }
        } else {
            std::vector<int> samples;
            for (uint32_t x = 0; x < width; ++x) {
                const Rgb p = pixelAt(x, y);
                if (!name.startsWith("Bayer"))
                    samples.push_back((299 * p.red + 587 * p.green + 114 * p.blue + 500) / 1000);
                else if (bayerColour(name, x, y) == 'R')
                    samples.push_back(p.red);
                else if (bayerColour(name, x, y) == 'G')
                    samples.push_back(p.green);
                else
                    samples.push_back(p.blue);
            }
            if (name.endsWith("p")) {
                line = QByteArray(int((uint64_t(width) * depth + 7) / 8), '\0');
                for (uint32_t x = 0; x < width; ++x)
                    setBits(line, uint64_t(x) * depth, samples[x], depth);
            } else if (name.endsWith("Packed")) {
                const int low = depth - 8;
                for (uint32_t x = 0; x < width; x += 2) {
                    const int p0 = samples[x];
                    line += char(p0 >> low);
                    if (x + 1 < width) {
                        const int p1 = samples[x + 1];
                        line += char(((p1 & ((1 << low) - 1)) << 4) | (p0 & ((1 << low) - 1)));
                        line += char(p1 >> low);
                    } else {
                        line += char(p0 & ((1 << low) - 1));
                    }
                }
            } else {
                for (int s : samples) {
                    line += char(s & 0xFF);
                    if (depth > 8)
                        line += char(s >> 8);
                }
            }
        }
        frame += line;
    }
    return frame;
}

// Empty when equal, else where the first difference is. YUV bytes may differ by one step,
// the rounding of fixed-point arithmetic against the reference's doubles.
QString firstDifference(const QByteArray& actual, const QByteArray& expected, int tolerance)
{
    if (actual.size() != expected.size())
        return QString("size %1, expected %2").arg(actual.size()).arg(expected.size());
    for (int i = 0; i < actual.size(); ++i) {
        if (std::abs(int(uint8_t(actual[i])) - int(uint8_t(expected[i]))) > tolerance)
            return QString("byte %1 is 0x%2, expected 0x%3")
                .arg(i)
                .arg(uint8_t(actual[i]), 2, 16, QChar('0'))
                .arg(uint8_t(expected[i]), 2, 16, QChar('0'));
    }
    return {};
}

QByteArray renderFrame(EmuImageSynth& synth, uint64_t frameId)
{
    QByteArray frame(int(synth.payloadSize()), '\x5A');
    const size_t written =
        synth.render(frameId, reinterpret_cast<uint8_t*>(frame.data()), size_t(frame.size()));
    return written == synth.payloadSize() ? frame : QByteArray();
}

EmuImageParameters patternParameters(EPixelType type, EmuTestImage image)
{
    // An odd width over all eight bars, crossing checkerboard squares in both directions.
    EmuImageParameters p;
    p.sensorWidth = 101;
    p.sensorHeight = 40;
    p.width = 95;
    p.height = 9;
    p.offsetX = 5;
    p.offsetY = 27;
    p.pixelType = type;
    p.testImage = image;
    return p;
}

// Channel means of an RGB8 frame, or of the sites of a Bayer frame, as fractions of full scale.
std::array<double, 3> channelMeans(const QByteArray& frame, const EmuImageParameters& p)
{
    std::array<double, 3> sum = {0, 0, 0};
    std::array<int, 3> count = {0, 0, 0};
    const QString name = GetPixelTypeName(p.pixelType);
    const bool words = BitDepth(p.pixelType) > 8;
    for (uint32_t y = 0; y < p.height; ++y) {
        for (uint32_t x = 0; x < p.width; ++x) {
            if (name == "RGB8") {
                for (int c = 0; c < 3; ++c) {
                    sum[c] += uint8_t(frame[int((y * p.width + x) * 3 + c)]);
                    ++count[c];
                }
                continue;
            }
            const int c = QString("RGB").indexOf(QChar(bayerColour(name, x, y)));
            const int i = int(y * p.width + x) * (words ? 2 : 1);
            sum[c] += words ? uint8_t(frame[i]) | uint8_t(frame[i + 1]) << 8 : uint8_t(frame[i]);
            ++count[c];
        }
    }
    const double maxValue = maxValueOf(p.pixelType);
    return {sum[0] / count[0] / maxValue, sum[1] / count[1] / maxValue,
            sum[2] / count[2] / maxValue};
}

double meanGrey(EmuImageSynth& synth)
{
    const QByteArray frame = renderFrame(synth, 1);
    double sum = 0;
    for (char c : frame)
        sum += uint8_t(c);
    return sum / frame.size() / 255.0;
}

} // namespace

// Checks every pixel type and test pattern byte by byte against the reference, the geometry
// rules, the frame-to-frame behaviour of the moving patterns, and the scene's camera model.
class tst_EmuImageSynth : public QObject
{
    Q_OBJECT

private slots:
    void patternBytes_data();
    void patternBytes();
    void bayerSitesOfPureColours_data();
    void bayerSitesOfPureColours();
    void movingStripesShiftOnePixelPerFrame_data();
    void movingStripesShiftOnePixelPerFrame();
    void frameCounterShowsTheId();
    void frameCounterInEveryLayout_data();
    void frameCounterInEveryLayout();
    void geometry_data();
    void geometry();
    void refusalsKeepThePreviousParameters_data();
    void refusalsKeepThePreviousParameters();
    void testImagesIgnoreTheCameraModel();
    void sceneRespondsMonotonically_data();
    void sceneRespondsMonotonically();
    void meanSignalMatchesTheFrame();
    void greyWorldBalanceNeutralisesTheScene_data();
    void greyWorldBalanceNeutralisesTheScene();
};

void tst_EmuImageSynth::patternBytes_data()
{
    QTest::addColumn<EPixelType>("type");
    QTest::addColumn<EmuTestImage>("image");
    const std::pair<EmuTestImage, const char*> images[] = {
        {EmuTestImage::GreyRamp, "GreyRamp"},
        {EmuTestImage::ColorBars, "ColorBars"},
        {EmuTestImage::Checkerboard, "Checkerboard"},
        {EmuTestImage::MovingStripes, "MovingStripes"}};
    for (EPixelType type : EmuImageSynth::supportedPixelTypes()) {
        for (const auto& [image, imageName] : images)
            QTest::addRow("%s-%s", GetPixelTypeName(type), imageName) << type << image;
    }
}

void tst_EmuImageSynth::patternBytes()
{
    QFETCH(EPixelType, type);
    QFETCH(EmuTestImage, image);
    const EmuImageParameters p = patternParameters(type, image);
    EmuImageSynth synth;
    synth.setParameters(p);
    const uint64_t frameId = 5;

    const QByteArray expected =
        referenceFrame(type, p.width, p.height, [&](uint32_t x, uint32_t y) {
            return patternPixel(image, p.offsetX + x, p.offsetY + y, p.sensorWidth,
                                maxValueOf(type), frameId);
        });
    QCOMPARE(synth.payloadSize(), ComputeBufferSize(type, p.width, p.height, 0));
    const QString difference =
        firstDifference(renderFrame(synth, frameId), expected, IsYUV(type) ? 1 : 0);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void tst_EmuImageSynth::bayerSitesOfPureColours_data()
{
    QTest::addColumn<EPixelType>("type");
    QTest::addColumn<uint32_t>("bar");     // 5 red, 3 green, 6 blue
    QTest::addColumn<QString>("litSites"); // row 0 col 0, row 0 col 1, row 1 col 0, row 1 col 1

    QTest::newRow("BayerRG8-red") << PixelType_BayerRG8 << 5u << "X...";
    QTest::newRow("BayerRG8-blue") << PixelType_BayerRG8 << 6u << "...X";
    QTest::newRow("BayerRG8-green") << PixelType_BayerRG8 << 3u << ".XX.";
    QTest::newRow("BayerBG8-red") << PixelType_BayerBG8 << 5u << "...X";
    QTest::newRow("BayerBG8-blue") << PixelType_BayerBG8 << 6u << "X...";
    QTest::newRow("BayerGR8-red") << PixelType_BayerGR8 << 5u << ".X..";
    QTest::newRow("BayerGR8-blue") << PixelType_BayerGR8 << 6u << "..X.";
    QTest::newRow("BayerGB8-red") << PixelType_BayerGB8 << 5u << "..X.";
    QTest::newRow("BayerGB8-blue") << PixelType_BayerGB8 << 6u << ".X..";
    QTest::newRow("BayerGB8-green") << PixelType_BayerGB8 << 3u << "X..X";
}

void tst_EmuImageSynth::bayerSitesOfPureColours()
{
    QFETCH(EPixelType, type);
    QFETCH(uint32_t, bar);
    QFETCH(QString, litSites);
    // Bars of 10 sensor pixels; the odd offset checks that the mosaic follows the delivered
    // image, not the sensor.
    EmuImageParameters p;
    p.sensorWidth = 80;
    p.sensorHeight = 20;
    p.width = 8;
    p.height = 6;
    p.offsetX = bar * 10 + 1;
    p.offsetY = 3;
    p.pixelType = type;
    p.testImage = EmuTestImage::ColorBars;
    EmuImageSynth synth;
    synth.setParameters(p);
    const QByteArray frame = renderFrame(synth, 0);
    for (uint32_t y = 0; y < p.height; ++y) {
        for (uint32_t x = 0; x < p.width; ++x) {
            const bool lit = litSites.at(int((y % 2) * 2 + x % 2)) == 'X';
            QCOMPARE(uint8_t(frame[int(y * p.width + x)]), uint8_t(lit ? 255 : 0));
        }
    }
}

void tst_EmuImageSynth::movingStripesShiftOnePixelPerFrame_data()
{
    QTest::addColumn<EPixelType>("type");
    QTest::newRow("Mono8") << PixelType_Mono8;
    QTest::newRow("Mono16") << PixelType_Mono16;
    QTest::newRow("BayerRG8") << PixelType_BayerRG8;
}

void tst_EmuImageSynth::movingStripesShiftOnePixelPerFrame()
{
    QFETCH(EPixelType, type);
    EmuImageParameters p;
    p.sensorWidth = p.width = 150;
    p.sensorHeight = p.height = 12;
    p.pixelType = type;
    p.testImage = EmuTestImage::MovingStripes;
    EmuImageSynth synth;
    synth.setParameters(p);

    const int bytesPerPixel = int(BitPerPixel(type) / 8);
    const int lineBytes = int(p.width) * bytesPerPixel;
    for (uint64_t frameId : {uint64_t(0), uint64_t(63), uint64_t(1000000007)}) {
        const QByteArray now = renderFrame(synth, frameId);
        const QByteArray next = renderFrame(synth, frameId + 1);
        QVERIFY(now != next);
        QCOMPARE(renderFrame(synth, frameId + 64), now); // one period later
        for (int y = 0; y < int(p.height); ++y) {
            QCOMPARE(next.mid(y * lineBytes + bytesPerPixel, lineBytes - bytesPerPixel),
                     now.mid(y * lineBytes, lineBytes - bytesPerPixel));
        }
    }
}

void tst_EmuImageSynth::frameCounterShowsTheId()
{
    EmuImageParameters p;
    p.sensorWidth = 300;
    p.sensorHeight = 80;
    p.width = 256;
    p.height = 64;
    p.offsetX = 20;
    p.pixelType = PixelType_Mono8;
    p.testImage = EmuTestImage::FrameCounter;
    EmuImageSynth synth;
    synth.setParameters(p);

    const auto whitePixels = [&](const QByteArray& frame) {
        int count = 0;
        for (int i = 0; i < frame.size(); ++i) {
            const int ramp = int((p.offsetX + i % p.width) * 255 / (p.sensorWidth - 1));
            const int value = uint8_t(frame[i]);
            // Outside the digits the ramp shows; the digits are white on black.
            if (value != ramp && value != 0 && value != 255)
                return -1;
            count += value == 255 && ramp != 255;
        }
        return count;
    };
    QCOMPARE(renderFrame(synth, 7), renderFrame(synth, 7));
    QVERIFY(renderFrame(synth, 7) != renderFrame(synth, 8));
    QVERIFY(renderFrame(synth, 18) != renderFrame(synth, 19));
    const int one = whitePixels(renderFrame(synth, 1));
    const int eight = whitePixels(renderFrame(synth, 8));
    const int eightyEight = whitePixels(renderFrame(synth, 88));
    QVERIFY(one > 0);
    QVERIFY(eight > one);
    QCOMPARE(eightyEight, 2 * eight);
}

void tst_EmuImageSynth::frameCounterInEveryLayout_data()
{
    QTest::addColumn<EPixelType>("type");
    for (EPixelType type : {PixelType_Mono10p, PixelType_Mono12p, PixelType_Mono12packed,
                            PixelType_BayerGB12packed, PixelType_BayerRG10p, PixelType_Mono16,
                            PixelType_RGB8packed, PixelType_YUV422packed, PixelType_YCbCr422_8})
        QTest::newRow(GetPixelTypeName(type)) << type;
}

// The counter's box, one digit cell of 6 pixels plus a margin wide, ends inside the byte
// groups of packed and 4:2:2 layouts; the pixels around it must stay intact.
void tst_EmuImageSynth::frameCounterInEveryLayout()
{
    QFETCH(EPixelType, type);
    EmuImageParameters p;
    p.sensorWidth = 230;
    p.sensorHeight = 50;
    p.width = 201;
    p.height = 40;
    p.offsetX = 9; // the ramp is neither black nor white, and has low bits set after the box
    p.testImage = EmuTestImage::FrameCounter;
    const uint64_t frameId = 123;

    // Mono8 tells where the digits and their black box are.
    EmuImageSynth mono;
    mono.setParameters(p);
    const QByteArray digits = renderFrame(mono, frameId);

    p.pixelType = type;
    EmuImageSynth synth;
    synth.setParameters(p);
    const int maxValue = maxValueOf(type);
    const QByteArray expected =
        referenceFrame(type, p.width, p.height, [&](uint32_t x, uint32_t y) {
            const int value = uint8_t(digits[int(y * p.width + x)]);
            const int ramp = int((p.offsetX + x) * 255 / (p.sensorWidth - 1));
            const int v = value == ramp
                              ? int((p.offsetX + x) * int64_t(maxValue) / (p.sensorWidth - 1))
                              : (value == 255 ? maxValue : 0);
            return Rgb{v, v, v};
        });
    const QString difference =
        firstDifference(renderFrame(synth, frameId), expected, IsYUV(type) ? 1 : 0);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void tst_EmuImageSynth::geometry_data()
{
    QTest::addColumn<EPixelType>("type");
    QTest::addColumn<uint32_t>("width");
    QTest::addColumn<uint32_t>("height");
    QTest::addColumn<int>("spareBytes"); // dst size minus payload

    QTest::newRow("Mono8-exact-buffer") << PixelType_Mono8 << 64u << 64u << 0;
    QTest::newRow("Mono8-larger-buffer") << PixelType_Mono8 << 64u << 64u << 100;
    QTest::newRow("Mono8-one-byte-short") << PixelType_Mono8 << 64u << 64u << -1;
    QTest::newRow("Mono12p-odd-width-one-byte-short") << PixelType_Mono12p << 33u << 5u << -1;
    QTest::newRow("Mono12Packed-odd-width-exact") << PixelType_Mono12packed << 33u << 5u << 0;
    QTest::newRow("BGRa8-empty-buffer") << PixelType_BGRA8packed << 10u << 3u << -120;
}

void tst_EmuImageSynth::geometry()
{
    QFETCH(EPixelType, type);
    QFETCH(uint32_t, width);
    QFETCH(uint32_t, height);
    QFETCH(int, spareBytes);
    EmuImageParameters p;
    p.sensorWidth = p.width = width;
    p.sensorHeight = p.height = height;
    p.pixelType = type;
    p.testImage = EmuTestImage::MovingStripes;
    EmuImageSynth synth;
    synth.setParameters(p);
    const size_t payload = ComputeBufferSize(type, width, height, 0);
    QCOMPARE(synth.payloadSize(), payload);

    // A guard byte after the buffer shows whether anything was written beyond it.
    std::vector<uint8_t> buffer(payload + 101, 0xA5);
    const size_t dstSize = size_t(int64_t(payload) + spareBytes);
    const size_t written = synth.render(3, buffer.data(), dstSize);
    QCOMPARE(written, spareBytes < 0 ? size_t(0) : payload);
    const size_t touched =
        size_t(std::count_if(buffer.begin(), buffer.end(), [](uint8_t b) { return b != 0xA5; }));
    QVERIFY(touched <= written);
    QCOMPARE(buffer[std::min(dstSize, payload)], uint8_t(0xA5));
}

void tst_EmuImageSynth::refusalsKeepThePreviousParameters_data()
{
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("textPart");
    QTest::newRow("pixel-type-not-offered") << "Mono1p"
                                            << "does not offer the pixel type Mono1p";
    QTest::newRow("undefined-pixel-type") << "Undefined"
                                          << "0xFFFFFFFF";
    QTest::newRow("roi-beyond-sensor-width") << "offsetX"
                                             << "does not fit on the sensor";
    QTest::newRow("roi-beyond-sensor-height") << "height"
                                              << "does not fit on the sensor";
    QTest::newRow("missing-image-file") << "file"
                                        << "does not exist";
}

void tst_EmuImageSynth::refusalsKeepThePreviousParameters()
{
    QFETCH(QString, change);
    QFETCH(QString, textPart);
    EmuImageSynth synth;
    EmuImageParameters good = patternParameters(PixelType_Mono12p, EmuTestImage::ColorBars);
    synth.setParameters(good);
    const QByteArray before = renderFrame(synth, 1);

    EmuImageParameters bad = good;
    bad.testImage = EmuTestImage::GreyRamp;
    if (change == "Mono1p")
        bad.pixelType = PixelType_Mono1p;
    else if (change == "Undefined")
        bad.pixelType = PixelType_Undefined;
    else if (change == "offsetX")
        bad.offsetX = bad.sensorWidth - bad.width + 1;
    else if (change == "height")
        bad.height = bad.sensorHeight + 1;
    else {
        bad.testImage = EmuTestImage::Off;
        bad.imageFilename = "/nonexistent/tarpo/picture.png";
    }
    try {
        synth.setParameters(bad);
        QFAIL("no exception");
    } catch (const std::exception& e) {
        QVERIFY2(QString(e.what()).contains(textPart), e.what());
    }
    QCOMPARE(synth.parameters().testImage, EmuTestImage::ColorBars);
    QCOMPARE(synth.payloadSize(), ComputeBufferSize(PixelType_Mono12p, good.width, good.height));
    QCOMPARE(renderFrame(synth, 1), before);
}

void tst_EmuImageSynth::testImagesIgnoreTheCameraModel()
{
    EmuImageParameters p = patternParameters(PixelType_BayerGR12, EmuTestImage::ColorBars);
    EmuImageSynth synth;
    synth.setParameters(p);
    const QByteArray plain = renderFrame(synth, 2);
    p.exposureTimeUs = 50.0;
    p.gainDb = 12.0;
    p.blackLevel = 30.0;
    p.gamma = 0.45;
    p.balanceRatioRed = 2.5;
    synth.setParameters(p);
    QCOMPARE(renderFrame(synth, 2), plain);
}

void tst_EmuImageSynth::sceneRespondsMonotonically_data()
{
    QTest::addColumn<QString>("feature");
    QTest::addColumn<QVector<double>>("values");
    QTest::newRow("exposure-time")
        << "exposure" << QVector<double>{100, 1000, 4000, 8000, 16000, 40000, 1e6};
    QTest::newRow("gain") << "gain" << QVector<double>{-6, 0, 3, 6, 12, 24, 48};
    QTest::newRow("black-level") << "black" << QVector<double>{0, 4, 16, 64, 255};
    QTest::newRow("gamma-brightens-below-one") << "gamma" << QVector<double>{2.0, 1.0, 0.7, 0.45};
}

void tst_EmuImageSynth::sceneRespondsMonotonically()
{
    QFETCH(QString, feature);
    QFETCH(QVector<double>, values);
    EmuImageParameters p;
    p.sensorWidth = 200;
    p.sensorHeight = 150;
    p.width = 160;
    p.height = 120;
    p.offsetX = 20;
    p.offsetY = 10;
    p.pixelType = PixelType_Mono8;
    p.exposureTimeUs = 4000.0; // dark enough for the other features to brighten it
    EmuImageSynth synth;
    double previous = -1.0;
    for (double value : values) {
        if (feature == "exposure")
            p.exposureTimeUs = value;
        else if (feature == "gain")
            p.gainDb = value;
        else if (feature == "black")
            p.blackLevel = value;
        else
            p.gamma = value;
        synth.setParameters(p);
        const double mean = meanGrey(synth);
        // Strictly brighter until the image saturates: an automatic loop can always converge.
        QVERIFY2(mean > previous || (mean == previous && mean > 0.99),
                 qPrintable(QString("%1 %2: mean %3 after %4")
                                .arg(feature)
                                .arg(value)
                                .arg(mean)
                                .arg(previous)));
        previous = mean;
    }
    QVERIFY2(previous > 0.99 || feature == "gamma", qPrintable(QString::number(previous)));

    if (feature == "exposure") {
        // Linear below saturation: twice the exposure, twice the signal.
        p.exposureTimeUs = 4000.0;
        synth.setParameters(p);
        const double single = meanGrey(synth);
        p.exposureTimeUs = 8000.0;
        synth.setParameters(p);
        QVERIFY(std::abs(meanGrey(synth) / single - 2.0) < 0.02);
    }
}

void tst_EmuImageSynth::meanSignalMatchesTheFrame()
{
    EmuImageParameters p;
    p.sensorWidth = 320;
    p.sensorHeight = 240;
    p.width = 256;
    p.height = 192;
    p.offsetX = 32;
    p.offsetY = 16;
    p.pixelType = PixelType_RGB8packed;
    p.gainDb = 3.0;
    p.gamma = 0.8;
    p.blackLevel = 5.0;
    p.balanceRatioBlue = 1.4;
    EmuImageSynth synth;
    synth.setParameters(p);
    const std::array<double, 3> measured = channelMeans(renderFrame(synth, 1), p);
    const EmuScene::MeanSignal predicted = EmuScene::meanSignal(p);
    QVERIFY(std::abs(measured[0] - predicted.red) < 0.01);
    QVERIFY(std::abs(measured[1] - predicted.green) < 0.01);
    QVERIFY(std::abs(measured[2] - predicted.blue) < 0.01);
}

void tst_EmuImageSynth::greyWorldBalanceNeutralisesTheScene_data()
{
    QTest::addColumn<EPixelType>("type");
    QTest::newRow("RGB8") << PixelType_RGB8packed;
    QTest::newRow("BayerBG16-balanced-before-the-mosaic") << PixelType_BayerBG16;
}

void tst_EmuImageSynth::greyWorldBalanceNeutralisesTheScene()
{
    QFETCH(EPixelType, type);
    EmuImageParameters p;
    p.sensorWidth = p.width = 240;
    p.sensorHeight = p.height = 180;
    p.pixelType = type;
    p.exposureTimeUs = 8000.0; // no channel clips, so grey world is exact
    EmuImageSynth synth;
    synth.setParameters(p);
    const std::array<double, 3> warm = channelMeans(renderFrame(synth, 1), p);
    p.balanceRatioRed = warm[1] / warm[0];
    p.balanceRatioBlue = warm[1] / warm[2];
    QVERIFY2(p.balanceRatioRed < 0.95, qPrintable(QString::number(p.balanceRatioRed)));
    QVERIFY2(p.balanceRatioBlue > 1.1, qPrintable(QString::number(p.balanceRatioBlue)));

    synth.setParameters(p);
    const std::array<double, 3> neutral = channelMeans(renderFrame(synth, 1), p);
    QVERIFY(std::abs(neutral[0] / neutral[1] - 1.0) < 0.015);
    QVERIFY(std::abs(neutral[2] / neutral[1] - 1.0) < 0.015);
}

QTEST_GUILESS_MAIN(tst_EmuImageSynth)
#include "tst_emuimagesynth.moc"
