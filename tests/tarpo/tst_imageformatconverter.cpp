// labels: sanitize
#include "tarpo/imageformatconverter.h"

#include "emulator/emuimagesynth.h"
#include "genapi/genapi.h"

#include <QtTest>

#include <atomic>
#include <cmath>
#include <functional>
#include <thread>
#include <vector>

using namespace Tarpo;
using Emulator::EmuImageParameters;
using Emulator::EmuImageSynth;
using Emulator::EmuTestImage;

// Checks every input type against images packed by a deliberately plain reference packer, pure
// colours through every Bayer order, edge handling, orientation, padding, the refusals, and the
// parameters' node map; and, end to end, the emulator's test pattern through the converter.
class tst_ImageFormatConverter : public QObject
{
    Q_OBJECT

private slots:
    void monoInputs_data();
    void monoInputs();
    void oneSample_data();
    void oneSample();
    void bayerPureColours_data();
    void bayerPureColours();
    void bayerDepthsAgree_data();
    void bayerDepthsAgree();
    void edgeHandling_data();
    void edgeHandling();
    void rgbInputs_data();
    void rgbInputs();
    void yuvInputs_data();
    void yuvInputs();
    void bottomUp_data();
    void bottomUp();
    void refusals_data();
    void refusals();
    void parametersAgree_data();
    void parametersAgree();
    void parameterRefusals_data();
    void parameterRefusals();
    void rootCategory();
    void parametersReadWhileConverting();
    void emulatorPattern_data();
    void emulatorPattern();
};

namespace {

// Odd in both directions, so that packed groups, 4:2:2 pairs and Bayer cells end half-way.
const uint32_t kWidth = 13;
const uint32_t kHeight = 7;
const uint32_t kSrcPadding = 3;
const uint32_t kDstPadding = 5;
const char kSrcPadByte = char(0xEE);
const char kCanary = char(0xCD);
const int kGuardBytes = 16;

// One output pixel; grey outputs use r only.
struct Px
{
    int r;
    int g;
    int b;
    int a;
};

using SampleFn = std::function<uint32_t(uint32_t x, uint32_t y, uint32_t channel)>;
using ExpectFn = std::function<Px(uint32_t x, uint32_t y)>;

uint32_t maxOf(uint32_t bitDepth)
{
    return (1u << bitDepth) - 1;
}

// Known samples over the whole range of a bit depth, full scale and zero at the first pixels.
uint32_t knownSample(uint32_t x, uint32_t y, uint32_t channel, uint32_t bitDepth)
{
    if (y == 0 && x == 0)
        return maxOf(bitDepth);
    if (y == 0 && x == 1)
        return 0;
    uint32_t h = (x * 0x9E3779B1u) ^ (y * 0x85EBCA77u) ^ (channel * 0xC2B2AE3Du);
    h ^= h >> 13;
    h *= 0x27D4EB2Fu;
    h ^= h >> 16;
    return h & maxOf(bitDepth);
}

// The reference packer: one line of samples into the bytes of `type`, pixel by pixel.
void packLine(EPixelType type, const std::vector<uint32_t>& samples, uint8_t* line)
{
    const uint32_t depth = BitDepth(type);
    const size_t count = samples.size();
    if (IsPFNCPacked(type)) {
        for (size_t i = 0; i < count; ++i) {
            for (uint32_t bit = 0; bit < depth; ++bit) {
                if ((samples[i] >> bit) & 1) {
                    const size_t position = i * depth + bit;
                    line[position / 8] |= uint8_t(1u << (position % 8));
                }
            }
        }
    } else if (IsGigELegacyPacked(type)) {
        const uint32_t low = depth - 8;
        const uint32_t mask = (1u << low) - 1;
        for (size_t i = 0; i < count; i += 2) {
            const uint32_t p0 = samples[i];
            const uint32_t p1 = i + 1 < count ? samples[i + 1] : 0;
            uint8_t* group = line + i / 2 * 3;
            group[0] = uint8_t(p0 >> low);
            group[1] = uint8_t(((p1 & mask) << 4) | (p0 & mask));
            if (i + 1 < count)
                group[2] = uint8_t(p1 >> low);
        }
    } else if (depth == 8) {
        for (size_t i = 0; i < count; ++i)
            line[i] = uint8_t(samples[i]);
    } else {
        for (size_t i = 0; i < count; ++i) {
            line[2 * i] = uint8_t(samples[i]);
            line[2 * i + 1] = uint8_t(samples[i] >> 8);
        }
    }
}

// A mono, Bayer or RGB image of `type` whose samples come from `sample`, with line padding.
QByteArray packImage(EPixelType type, uint32_t width, uint32_t height, uint32_t padding,
                     const SampleFn& sample)
{
    const size_t lineBytes = (size_t(width) * BitPerPixel(type) + 7) / 8;
    const uint32_t channels = SamplesPerPixel(type);
    QByteArray image(int((lineBytes + padding) * height), kSrcPadByte);
    for (uint32_t y = 0; y < height; ++y) {
        std::vector<uint32_t> samples;
        for (uint32_t x = 0; x < width; ++x)
            for (uint32_t c = 0; c < channels; ++c)
                samples.push_back(sample(x, y, c));
        uint8_t* line = reinterpret_cast<uint8_t*>(image.data()) + y * (lineBytes + padding);
        std::fill(line, line + lineBytes, 0);
        packLine(type, samples, line);
    }
    return image;
}

// The colour (0 red, 1 green, 2 blue) of a Bayer site, from the name: it gives the first two
// pixels of the first line; the second line holds the other two colours of the 2 x 2 cell.
int bayerSite(EPixelType type, uint32_t x, uint32_t y)
{
    static const int kCells[4][2][2] = {
        {{0, 1}, {1, 2}}, {{1, 2}, {0, 1}}, {{1, 0}, {2, 1}}, {{2, 1}, {1, 0}}};
    return kCells[GetBayerOrder(type)][y & 1][x & 1];
}

void configure(CImageFormatConverter& converter, EPixelType output, uint32_t padding,
               EOutputBitAlignment alignment = OutputBitAlignment_MsbAligned)
{
    converter.setOutputPixelFormat(output);
    converter.setOutputPaddingX(padding);
    converter.setOutputBitAlignment(alignment);
}

// Converts into a destination filled with canaries, with guard bytes behind its end.
QByteArray convert(CImageFormatConverter& converter, const QByteArray& src, EPixelType type,
                   uint32_t width, uint32_t height, uint32_t srcPadding,
                   EImageOrientation orientation = TopDown)
{
    const size_t size = converter.GetBufferSizeForConversion(type, width, height);
    QByteArray dst(int(size) + kGuardBytes, kCanary);
    converter.Convert(dst.data(), size, src.constData(), size_t(src.size()), type, width, height,
                      srcPadding, orientation);
    return dst;
}

Px readPixel(const QByteArray& dst, EPixelType output, uint32_t width, uint32_t padding, uint32_t x,
             uint32_t y)
{
    const uint32_t bytesPerPixel = BitPerPixel(output) / 8;
    const auto* p = reinterpret_cast<const uint8_t*>(dst.constData()) +
                    size_t(y) * (width * bytesPerPixel + padding) + x * bytesPerPixel;
    switch (output) {
    case PixelType_Mono8:
        return {p[0], 0, 0, 0};
    case PixelType_Mono16:
        return {p[0] | p[1] << 8, 0, 0, 0};
    case PixelType_RGB8packed:
        return {p[0], p[1], p[2], 0};
    case PixelType_BGR8packed:
        return {p[2], p[1], p[0], 0};
    default:
        return {p[2], p[1], p[0], p[3]};
    }
}

QString text(const Px& p, EPixelType output)
{
    if (output == PixelType_Mono8 || output == PixelType_Mono16)
        return QString::number(p.r);
    return QString("(%1,%2,%3,%4)").arg(p.r).arg(p.g).arg(p.b).arg(p.a);
}

// The first pixel that differs by more than `tolerance` (alpha exactly), or a padding or guard
// byte that was written; empty when the image matches. `border` pixels at each edge are skipped.
QString compareImage(const QByteArray& dst, EPixelType output, uint32_t width, uint32_t height,
                     uint32_t padding, const ExpectFn& expected, int tolerance = 0,
                     uint32_t border = 0)
{
    const bool grey = output == PixelType_Mono8 || output == PixelType_Mono16;
    for (uint32_t y = border; y + border < height; ++y) {
        for (uint32_t x = border; x + border < width; ++x) {
            const Px a = readPixel(dst, output, width, padding, x, y);
            const Px e = expected(x, y);
            const bool same = grey ? std::abs(a.r - e.r) <= tolerance
                                   : std::abs(a.r - e.r) <= tolerance &&
                                         std::abs(a.g - e.g) <= tolerance &&
                                         std::abs(a.b - e.b) <= tolerance &&
                                         (output != PixelType_BGRA8packed || a.a == e.a);
            if (!same)
                return QString("pixel (%1,%2) is %3, expected %4")
                    .arg(x)
                    .arg(y)
                    .arg(text(a, output), text(e, output));
        }
    }
    const uint32_t lineBytes = width * (BitPerPixel(output) / 8);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t i = 0; i < padding; ++i) {
            if (dst[int(y * (lineBytes + padding) + lineBytes + i)] != kCanary)
                return QString("padding byte %1 of line %2 was written").arg(i).arg(y);
        }
    }
    for (int i = dst.size() - kGuardBytes; i < dst.size(); ++i) {
        if (dst[i] != kCanary)
            return QString("byte %1 behind the destination was written").arg(i);
    }
    return {};
}

Px greyPx(int value)
{
    return {value, value, value, 255};
}

// ITU-R BT.601 luma, rounded.
int luma(double r, double g, double b)
{
    return int(std::lround(0.299 * r + 0.587 * g + 0.114 * b));
}

struct OutputCase
{
    const char* name;
    EPixelType output;
    EOutputBitAlignment alignment;
};

const OutputCase kOutputs[] = {{"Mono8", PixelType_Mono8, OutputBitAlignment_MsbAligned},
                               {"Mono16-lsb", PixelType_Mono16, OutputBitAlignment_LsbAligned},
                               {"Mono16-msb", PixelType_Mono16, OutputBitAlignment_MsbAligned},
                               {"BGRA8", PixelType_BGRA8packed, OutputBitAlignment_MsbAligned},
                               {"BGR8", PixelType_BGR8packed, OutputBitAlignment_MsbAligned},
                               {"RGB8", PixelType_RGB8packed, OutputBitAlignment_MsbAligned}};

const EPixelType kMonoTypes[] = {PixelType_Mono8,        PixelType_Mono10, PixelType_Mono10p,
                                 PixelType_Mono10packed, PixelType_Mono12, PixelType_Mono12p,
                                 PixelType_Mono12packed, PixelType_Mono14, PixelType_Mono16};

std::vector<EPixelType> bayerTypes()
{
    std::vector<EPixelType> types;
    for (EPixelType type : GetKnownPixelTypes()) {
        if (IsBayer(type))
            types.push_back(type);
    }
    return types;
}

EPixelType bayer8Of(EPixelType type)
{
    switch (GetBayerOrder(type)) {
    case BayerOrder_RG:
        return PixelType_BayerRG8;
    case BayerOrder_GB:
        return PixelType_BayerGB8;
    case BayerOrder_GR:
        return PixelType_BayerGR8;
    default:
        return PixelType_BayerBG8;
    }
}

// Runs `call` and returns the GenICam exception type it threw, or "" when it returned.
QString thrownType(const std::function<void()>& call)
{
    try {
        call();
    } catch (const GenICam::GenericException& e) {
        return e.GetExceptionType();
    }
    return QString();
}

} // namespace

void tst_ImageFormatConverter::monoInputs_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<quint32>("output");
    QTest::addColumn<int>("alignment");
    QTest::addColumn<quint32>("padding"); // of source and destination lines
    for (EPixelType type : kMonoTypes) {
        for (const OutputCase& c : kOutputs)
            QTest::addRow("%s-to-%s", GetPixelTypeName(type), c.name)
                << quint32(type) << quint32(c.output) << int(c.alignment) << kSrcPadding;
    }
    QTest::newRow("Mono8-to-Mono8-unpadded") << quint32(PixelType_Mono8) << quint32(PixelType_Mono8)
                                             << int(OutputBitAlignment_MsbAligned) << 0u;
}

void tst_ImageFormatConverter::monoInputs()
{
    QFETCH(quint32, type);
    QFETCH(quint32, output);
    QFETCH(int, alignment);
    QFETCH(quint32, padding);
    const auto srcType = EPixelType(type);
    const auto out = EPixelType(output);
    const uint32_t depth = BitDepth(srcType);
    const auto sample = [depth](uint32_t x, uint32_t y, uint32_t) {
        return knownSample(x, y, 0, depth);
    };

    CImageFormatConverter converter;
    configure(converter, out, padding, EOutputBitAlignment(alignment));
    const QByteArray src = packImage(srcType, kWidth, kHeight, padding, sample);
    const QByteArray dst = convert(converter, src, srcType, kWidth, kHeight, padding);

    const QString difference =
        compareImage(dst, out, kWidth, kHeight, padding, [&](uint32_t x, uint32_t y) {
            const uint32_t value = sample(x, y, 0);
            if (out == PixelType_Mono16)
                return greyPx(int(alignment == OutputBitAlignment_MsbAligned ? value << (16 - depth)
                                                                             : value));
            return greyPx(int(value >> (depth - 8)));
        });
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void tst_ImageFormatConverter::oneSample_data()
{
    // One pixel; `raw` is the sample, or for unpacked types the whole 16-bit word.
    QTest::addColumn<quint32>("type");
    QTest::addColumn<quint32>("raw");
    QTest::addColumn<quint32>("output");
    QTest::addColumn<int>("alignment");
    QTest::addColumn<int>("method");
    QTest::addColumn<double>("gamma");
    QTest::addColumn<int>("expected");

    const auto row = [](const char* name, EPixelType type, quint32 raw, EPixelType output,
                        int alignmentOrMethod, double gamma, int expected) {
        const bool mono16 = output == PixelType_Mono16;
        QTest::newRow(name) << quint32(type) << raw << quint32(output)
                            << (mono16 ? alignmentOrMethod : int(OutputBitAlignment_MsbAligned))
                            << (mono16 ? int(MonoConversionMethod_Truncation) : alignmentOrMethod)
                            << gamma << expected;
    };
    const EPixelType mono16 = PixelType_Mono16;
    const EPixelType mono8 = PixelType_Mono8;
    const int lsb = OutputBitAlignment_LsbAligned;
    const int msb = OutputBitAlignment_MsbAligned;
    const int truncation = MonoConversionMethod_Truncation;
    const int gamma = MonoConversionMethod_Gamma;
    row("mono12-white-lsb", PixelType_Mono12, 4095, mono16, lsb, 1, 4095);
    row("mono12-white-msb", PixelType_Mono12, 4095, mono16, msb, 1, 65520);
    row("mono12-one-msb", PixelType_Mono12, 1, mono16, msb, 1, 16);
    row("mono10p-white-msb", PixelType_Mono10p, 1023, mono16, msb, 1, 65472);
    row("mono12packed-msb", PixelType_Mono12packed, 0x7F3, mono16, msb, 1, 0x7F30);
    row("mono8-white-msb", PixelType_Mono8, 255, mono16, msb, 1, 65280);
    row("mono16-msb-unchanged", PixelType_Mono16, 0xBEEF, mono16, msb, 1, 0xBEEF);
    // A 12-bit camera cannot send 0xF123; if the high bits are set anyway, the value saturates.
    row("mono12-above-depth-saturates-lsb", PixelType_Mono12, 0xF123, mono16, lsb, 1, 4095);
    row("mono12-above-depth-saturates-msb", PixelType_Mono12, 0xF123, mono16, msb, 1, 65520);
    row("mono12-above-depth-saturates-mono8", PixelType_Mono12, 0xF123, mono8, truncation, 1, 255);
    row("truncation-drops-low-bits", PixelType_Mono12, 2047, mono8, truncation, 2, 127);
    row("gamma-1-rounds-linearly", PixelType_Mono12, 2047, mono8, gamma, 1, 127); // 127.47
    row("gamma-1-full-scale", PixelType_Mono12p, 4095, mono8, gamma, 1, 255);
    row("gamma-2-brightens", PixelType_Mono12p, 1024, mono8, gamma, 2, 128);   // 127.5
    row("gamma-half-darkens", PixelType_Mono16, 32768, mono8, gamma, 0.5, 64); // 63.75
    row("gamma-leaves-8-bit-alone", PixelType_Mono8, 64, mono8, gamma, 2, 64);
}

void tst_ImageFormatConverter::oneSample()
{
    QFETCH(quint32, type);
    QFETCH(quint32, raw);
    QFETCH(quint32, output);
    QFETCH(int, alignment);
    QFETCH(int, method);
    QFETCH(double, gamma);
    QFETCH(int, expected);
    const auto srcType = EPixelType(type);
    QByteArray src(int(ComputeBufferSize(srcType, 1, 1)), 0);
    packLine(srcType, {raw}, reinterpret_cast<uint8_t*>(src.data()));

    CImageFormatConverter converter;
    configure(converter, EPixelType(output), 0, EOutputBitAlignment(alignment));
    // A gamma table built for other parameters must not be reused.
    converter.setMonoConversionMethod(MonoConversionMethod_Gamma);
    converter.setGamma(3.0);
    convert(converter, src, srcType, 1, 1, 0);

    converter.setMonoConversionMethod(EMonoConversionMethod(method));
    converter.setGamma(gamma);
    const QByteArray dst = convert(converter, src, srcType, 1, 1, 0);
    QCOMPARE(readPixel(dst, EPixelType(output), 1, 0, 0, 0).r, expected);
}

void tst_ImageFormatConverter::bayerPureColours_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<int>("colour"); // 0 red, 1 green, 2 blue
    QTest::addColumn<quint32>("output");
    QTest::addColumn<int>("method");

    const char* const colours[] = {"red", "green", "blue"};
    for (EPixelType type : bayerTypes()) {
        for (int colour = 0; colour < 3; ++colour) {
            QTest::addRow("%s-%s-to-BGRA8", GetPixelTypeName(type), colours[colour])
                << quint32(type) << colour << quint32(PixelType_BGRA8packed)
                << int(DemosaicingMethod_Simple);
        }
    }
    const EPixelType samples[] = {PixelType_BayerRG8, PixelType_BayerGB10p, PixelType_BayerGR12p,
                                  PixelType_BayerBG16};
    for (EPixelType type : samples) {
        for (const OutputCase& c : kOutputs) {
            if (c.alignment == OutputBitAlignment_LsbAligned)
                continue;
            for (int colour = 0; colour < 3; ++colour) {
                for (int method : {DemosaicingMethod_Simple, DemosaicingMethod_EdgeAware}) {
                    QTest::addRow("%s-%s-to-%s-%s", GetPixelTypeName(type), colours[colour], c.name,
                                  method == DemosaicingMethod_Simple ? "simple" : "edge-aware")
                        << quint32(type) << colour << quint32(c.output) << method;
                }
            }
        }
    }
}

void tst_ImageFormatConverter::bayerPureColours()
{
    QFETCH(quint32, type);
    QFETCH(int, colour);
    QFETCH(quint32, output);
    QFETCH(int, method);
    const auto srcType = EPixelType(type);
    const auto out = EPixelType(output);
    const uint32_t depth = BitDepth(srcType);
    // 0xA5 in the top 8 bits, low bits set as well: truncation must give 0xA5 at every depth.
    const uint32_t level = 0xA5A5u >> (16 - depth);
    const QByteArray src =
        packImage(srcType, kWidth, kHeight, kSrcPadding, [&](uint32_t x, uint32_t y, uint32_t) {
            return bayerSite(srcType, x, y) == colour ? level : 0u;
        });

    CImageFormatConverter converter;
    configure(converter, out, kDstPadding);
    converter.setDemosaicingMethod(EDemosaicingMethod(method));
    const QByteArray dst = convert(converter, src, srcType, kWidth, kHeight, kSrcPadding);

    // Demosaicing a uniform scene is exact, border included (Extend repeats exact pixels).
    int rgb[3] = {0, 0, 0};
    rgb[colour] = 0xA5;
    Px expected{rgb[0], rgb[1], rgb[2], 255};
    int tolerance = 0;
    if (out == PixelType_Mono8) {
        expected.r = luma(rgb[0], rgb[1], rgb[2]);
        tolerance = 1;
    } else if (out == PixelType_Mono16) {
        const double msb = double(level << (16 - depth));
        expected.r = luma(colour == 0 ? msb : 0, colour == 1 ? msb : 0, colour == 2 ? msb : 0);
        tolerance = 2;
    }
    const QString difference = compareImage(
        dst, out, kWidth, kHeight, kDstPadding, [&](uint32_t, uint32_t) { return expected; },
        tolerance);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void tst_ImageFormatConverter::bayerDepthsAgree_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<quint32>("output");
    for (EPixelType type : bayerTypes()) {
        if (BitDepth(type) == 8)
            continue;
        QTest::addRow("%s-to-BGRA8", GetPixelTypeName(type))
            << quint32(type) << quint32(PixelType_BGRA8packed);
        QTest::addRow("%s-to-Mono8", GetPixelTypeName(type))
            << quint32(type) << quint32(PixelType_Mono8);
    }
}

// A deep Bayer image converts exactly as the 8-bit image of its top 8 bits: the unpacking of
// every depth and packing is right, and the unpacked path meets the direct one.
void tst_ImageFormatConverter::bayerDepthsAgree()
{
    QFETCH(quint32, type);
    QFETCH(quint32, output);
    const auto srcType = EPixelType(type);
    const auto out = EPixelType(output);
    const uint32_t depth = BitDepth(srcType);
    const auto deep = [depth](uint32_t x, uint32_t y, uint32_t) {
        return knownSample(x, y, 0, depth);
    };
    const auto top8 = [&](uint32_t x, uint32_t y, uint32_t c) {
        return deep(x, y, c) >> (depth - 8);
    };

    CImageFormatConverter converter;
    configure(converter, out, kDstPadding);
    const QByteArray expected =
        convert(converter, packImage(bayer8Of(srcType), kWidth, kHeight, 0, top8),
                bayer8Of(srcType), kWidth, kHeight, 0);
    const QByteArray actual =
        convert(converter, packImage(srcType, kWidth, kHeight, kSrcPadding, deep), srcType, kWidth,
                kHeight, kSrcPadding);
    QCOMPARE(actual, expected);
}

void tst_ImageFormatConverter::edgeHandling_data()
{
    QTest::addColumn<int>("edges");
    QTest::addColumn<int>("method");
    QTest::addColumn<quint32>("type");
    QTest::addColumn<quint32>("width");
    QTest::addColumn<quint32>("height");
    QTest::addColumn<quint32>("output");
    QTest::addColumn<bool>("pureRed"); // else a ramp that makes the border pixels differ

    const int zero = InconvertibleEdgeHandling_SetZero;
    const int clip = InconvertibleEdgeHandling_Clip;
    const int extend = InconvertibleEdgeHandling_Extend;
    const int simple = DemosaicingMethod_Simple;
    const int edgeAware = DemosaicingMethod_EdgeAware;
    const quint32 bgra = PixelType_BGRA8packed;
    const quint32 rgb = PixelType_RGB8packed;
    const quint32 grey = PixelType_Mono8;
    QTest::newRow("set-zero-simple")
        << zero << simple << quint32(PixelType_BayerGR8) << 13u << 7u << bgra << true;
    QTest::newRow("set-zero-edge-aware")
        << zero << edgeAware << quint32(PixelType_BayerBG12p) << 13u << 7u << rgb << true;
    QTest::newRow("set-zero-grey")
        << zero << simple << quint32(PixelType_BayerRG8) << 13u << 7u << grey << true;
    QTest::newRow("clip-simple") << clip << simple << quint32(PixelType_BayerRG8) << 13u << 7u
                                 << bgra << false;
    QTest::newRow("clip-edge-aware")
        << clip << edgeAware << quint32(PixelType_BayerGB8) << 12u << 6u << rgb << false;
    QTest::newRow("clip-pure-red")
        << clip << simple << quint32(PixelType_BayerGB10) << 13u << 7u << bgra << true;
    QTest::newRow("extend-simple")
        << extend << simple << quint32(PixelType_BayerBG8) << 13u << 7u << bgra << false;
    QTest::newRow("extend-edge-aware")
        << extend << edgeAware << quint32(PixelType_BayerGR8) << 13u << 8u << bgra << false;
    QTest::newRow("tiny-2x2-extend")
        << extend << simple << quint32(PixelType_BayerRG8) << 2u << 2u << bgra << true;
    QTest::newRow("tiny-5x2-clip")
        << clip << simple << quint32(PixelType_BayerGB8) << 5u << 2u << bgra << true;
    QTest::newRow("tiny-2x3-edge-aware")
        << extend << edgeAware << quint32(PixelType_BayerBG8) << 2u << 3u << rgb << true;
    QTest::newRow("tiny-2x2-grey")
        << extend << simple << quint32(PixelType_BayerGR8) << 2u << 2u << grey << true;
    QTest::newRow("tiny-3x2-set-zero")
        << zero << simple << quint32(PixelType_BayerRG8) << 3u << 2u << bgra << true;
}

void tst_ImageFormatConverter::edgeHandling()
{
    QFETCH(int, edges);
    QFETCH(int, method);
    QFETCH(quint32, type);
    QFETCH(quint32, width);
    QFETCH(quint32, height);
    QFETCH(quint32, output);
    QFETCH(bool, pureRed);
    const auto srcType = EPixelType(type);
    const auto out = EPixelType(output);
    const uint32_t depth = BitDepth(srcType);
    const auto sample = [&](uint32_t x, uint32_t y, uint32_t) -> uint32_t {
        if (pureRed)
            return bayerSite(srcType, x, y) == 0 ? maxOf(depth) : 0;
        return ((x * 19 + y * 7) % 256) << (depth - 8); // top 8 bits: a ramp
    };
    const QByteArray src = packImage(srcType, width, height, 0, sample);

    CImageFormatConverter converter;
    configure(converter, out, 1);
    converter.setInconvertibleEdgeHandling(EInconvertibleEdgeHandling(edges));
    converter.setDemosaicingMethod(EDemosaicingMethod(method));
    const QByteArray dst = convert(converter, src, srcType, width, height, 0);
    const auto at = [&](uint32_t x, uint32_t y) { return readPixel(dst, out, width, 1, x, y); };
    const auto isBorder = [&](uint32_t x, uint32_t y) {
        return width < 3 || height < 3 || x == 0 || y == 0 || x == width - 1 || y == height - 1;
    };
    const Px red = out == PixelType_Mono8 ? Px{luma(255, 0, 0), 0, 0, 0} : Px{255, 0, 0, 255};
    const Px black{0, 0, 0, 255};

    const bool zero = edges == InconvertibleEdgeHandling_SetZero;
    const QString difference = compareImage(
        dst, out, width, height, 1,
        [&](uint32_t x, uint32_t y) {
            if (pureRed)
                return zero && isBorder(x, y) ? black : red;
            if (edges == InconvertibleEdgeHandling_Extend) // repeats the inner line or column
                return at(std::clamp(x, 1u, width - 2), std::clamp(y, 1u, height - 2));
            // Clipped interpolation keeps each border site's own sample as its colour.
            Px p = at(x, y);
            int* own[3] = {&p.r, &p.g, &p.b};
            if (isBorder(x, y))
                *own[bayerSite(srcType, x, y)] = int(sample(x, y, 0) >> (depth - 8));
            return p;
        },
        pureRed && out == PixelType_Mono8 ? 1 : 0);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void tst_ImageFormatConverter::rgbInputs_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<quint32>("output");
    QTest::addColumn<int>("alignment");
    const EPixelType types[] = {
        PixelType_RGB8packed,  PixelType_BGR8packed,  PixelType_RGBA8packed,
        PixelType_BGRA8packed, PixelType_RGB10packed, PixelType_BGR12packed,
        PixelType_RGB12packed, PixelType_RGB16packed, PixelType_BGR16packed};
    for (EPixelType type : types) {
        for (const OutputCase& c : kOutputs)
            QTest::addRow("%s-to-%s", GetPixelTypeName(type), c.name)
                << quint32(type) << quint32(c.output) << int(c.alignment);
    }
}

void tst_ImageFormatConverter::rgbInputs()
{
    QFETCH(quint32, type);
    QFETCH(quint32, output);
    QFETCH(int, alignment);
    const auto srcType = EPixelType(type);
    const auto out = EPixelType(output);
    const uint32_t depth = BitDepth(srcType);
    const bool blueFirst = IsBGR(srcType) || IsBGRA(srcType);
    const bool alpha = SamplesPerPixel(srcType) == 4;
    // Channel c of the known colour: 0 red, 1 green, 2 blue, 3 alpha.
    const auto colour = [&](uint32_t x, uint32_t y, uint32_t c) {
        return knownSample(x, y, c, c == 3 ? 8 : depth);
    };
    const QByteArray src =
        packImage(srcType, kWidth, kHeight, kSrcPadding, [&](uint32_t x, uint32_t y, uint32_t i) {
            return colour(x, y, i == 3 ? 3 : (blueFirst ? 2 - i : i));
        });

    CImageFormatConverter converter;
    configure(converter, out, kDstPadding, EOutputBitAlignment(alignment));
    const QByteArray dst = convert(converter, src, srcType, kWidth, kHeight, kSrcPadding);

    const uint32_t shift8 = depth - 8;
    const uint32_t shift16 = alignment == OutputBitAlignment_MsbAligned ? 16 - depth : 0;
    const int tolerance = out == PixelType_Mono8 ? 1 : out == PixelType_Mono16 ? 1 << shift16 : 0;
    const QString difference = compareImage(
        dst, out, kWidth, kHeight, kDstPadding,
        [&](uint32_t x, uint32_t y) {
            const double r = colour(x, y, 0), g = colour(x, y, 1), b = colour(x, y, 2);
            if (out == PixelType_Mono16)
                return greyPx(luma(r, g, b) << shift16);
            const int r8 = int(r) >> shift8, g8 = int(g) >> shift8, b8 = int(b) >> shift8;
            if (out == PixelType_Mono8)
                return greyPx(luma(r8, g8, b8));
            return Px{r8, g8, b8, alpha ? int(colour(x, y, 3)) : 255};
        },
        tolerance);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void tst_ImageFormatConverter::yuvInputs_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<quint32>("output");
    QTest::addColumn<int>("alignment");
    for (EPixelType type :
         {PixelType_YUV422packed, PixelType_YUV422_YUYV_Packed, PixelType_YCbCr422_8}) {
        for (const OutputCase& c : kOutputs)
            QTest::addRow("%s-to-%s", GetPixelTypeName(type), c.name)
                << quint32(type) << quint32(c.output) << int(c.alignment);
    }
}

void tst_ImageFormatConverter::yuvInputs()
{
    QFETCH(quint32, type);
    QFETCH(quint32, output);
    QFETCH(int, alignment);
    const auto srcType = EPixelType(type);
    const auto out = EPixelType(output);
    const bool lumaFirst = srcType != PixelType_YUV422packed;
    const auto lumaAt = [](uint32_t x, uint32_t y) { return knownSample(x, y, 0, 8); };
    const auto uOfPair = [](uint32_t pair, uint32_t y) { return knownSample(pair, y, 1, 8); };
    const auto vOfPair = [](uint32_t pair, uint32_t y) { return knownSample(pair, y, 2, 8); };

    // Per pair U Y V Y (UYVY) or Y U Y V; the odd last pixel sends its first half only.
    const size_t lineBytes = 2 * kWidth + kSrcPadding;
    QByteArray src(int(lineBytes * kHeight), kSrcPadByte);
    for (uint32_t y = 0; y < kHeight; ++y) {
        auto* line = reinterpret_cast<uint8_t*>(src.data()) + y * lineBytes;
        for (uint32_t x = 0; x < kWidth; ++x) {
            const uint8_t chroma = uint8_t(x % 2 == 0 ? uOfPair(x / 2, y) : vOfPair(x / 2, y));
            line[2 * x + (lumaFirst ? 0 : 1)] = uint8_t(lumaAt(x, y));
            line[2 * x + (lumaFirst ? 1 : 0)] = chroma;
        }
    }

    CImageFormatConverter converter;
    configure(converter, out, kDstPadding, EOutputBitAlignment(alignment));
    const QByteArray dst = convert(converter, src, srcType, kWidth, kHeight, kSrcPadding);

    const QString difference = compareImage(
        dst, out, kWidth, kHeight, kDstPadding,
        [&](uint32_t x, uint32_t y) {
            const int luma8 = int(lumaAt(x, y));
            if (out == PixelType_Mono8)
                return greyPx(luma8);
            if (out == PixelType_Mono16)
                return greyPx(alignment == OutputBitAlignment_MsbAligned ? luma8 << 8 : luma8);
            // Full-range BT.601; the unpaired last pixel borrows the V of the pair before it.
            const uint32_t pair = x / 2;
            const bool unpaired = x == kWidth - 1 && kWidth % 2 == 1;
            const double u = uOfPair(pair, y) - 128.0;
            const double v = (unpaired ? vOfPair(pair - 1, y) : vOfPair(pair, y)) - 128.0;
            const auto clamp = [](double c) { return int(std::lround(std::clamp(c, 0.0, 255.0))); };
            return Px{clamp(luma8 + 1.402 * v), clamp(luma8 - 0.344136 * u - 0.714136 * v),
                      clamp(luma8 + 1.772 * u), 255};
        },
        1);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void tst_ImageFormatConverter::bottomUp_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<quint32>("output");
    QTest::addColumn<quint32>("height");
    const EPixelType types[] = {PixelType_Mono8,       PixelType_Mono12p,     PixelType_BayerRG8,
                                PixelType_BayerGB12p,  PixelType_RGB8packed,  PixelType_BGRA8packed,
                                PixelType_RGB12packed, PixelType_YUV422packed};
    for (EPixelType type : types) {
        for (EPixelType output : {PixelType_BGRA8packed, PixelType_BGR8packed, PixelType_Mono16}) {
            for (quint32 height : {7u, 6u})
                QTest::addRow("%s-to-%s-%u-lines", GetPixelTypeName(type), GetPixelTypeName(output),
                              height)
                    << quint32(type) << quint32(output) << height;
        }
    }
}

// A bottom-up source gives the top-down output with its lines in reverse order.
void tst_ImageFormatConverter::bottomUp()
{
    QFETCH(quint32, type);
    QFETCH(quint32, output);
    QFETCH(quint32, height);
    const auto srcType = EPixelType(type);
    const auto out = EPixelType(output);
    QByteArray src(int(ComputeBufferSize(srcType, kWidth, height, kSrcPadding)), 0);
    for (int i = 0; i < src.size(); ++i)
        src[i] = char(knownSample(uint32_t(i), 3, 0, 8));

    CImageFormatConverter converter;
    configure(converter, out, kDstPadding);
    const QByteArray topDown = convert(converter, src, srcType, kWidth, height, kSrcPadding);
    const QByteArray bottomUp =
        convert(converter, src, srcType, kWidth, height, kSrcPadding, BottomUp);
    const QString difference =
        compareImage(bottomUp, out, kWidth, height, kDstPadding, [&](uint32_t x, uint32_t y) {
            return readPixel(topDown, out, kWidth, kDstPadding, x, height - 1 - y);
        });
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void tst_ImageFormatConverter::refusals_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<quint32>("width");
    QTest::addColumn<quint32>("height");
    QTest::addColumn<int>("srcShortBy");
    QTest::addColumn<int>("dstShortBy");
    QTest::addColumn<bool>("nullSource");
    QTest::addColumn<QString>("exception");

    const QString invalid = "InvalidArgumentException";
    const QString range = "OutOfRangeException";
    const quint32 mono12p = PixelType_Mono12p;
    QTest::newRow("truncated-source") << mono12p << 13u << 7u << 1 << 0 << false << range;
    QTest::newRow("truncated-source-padding-of-last-line")
        << quint32(PixelType_BayerRG8) << 13u << 7u << 1 << 0 << false << range;
    QTest::newRow("small-destination") << mono12p << 13u << 7u << 0 << 1 << false << range;
    QTest::newRow("unsupported-mono1p")
        << quint32(PixelType_Mono1p) << 13u << 7u << 0 << 0 << false << invalid;
    QTest::newRow("unsupported-yuv411")
        << quint32(PixelType_YUV411packed) << 13u << 7u << 0 << 0 << false << invalid;
    QTest::newRow("unsupported-undefined")
        << quint32(PixelType_Undefined) << 13u << 7u << 0 << 0 << false << invalid;
    QTest::newRow("unsupported-unknown-code")
        << 0x01080099u << 13u << 7u << 0 << 0 << false << invalid;
    QTest::newRow("zero-width") << mono12p << 0u << 7u << 0 << 0 << false << invalid;
    QTest::newRow("zero-height") << mono12p << 13u << 0u << 0 << 0 << false << invalid;
    QTest::newRow("null-source") << mono12p << 13u << 7u << 0 << 0 << true << invalid;
    QTest::newRow("too-large-to-address")
        << quint32(PixelType_Mono16) << 0xFFFFFFFFu << 0xFFFFFFFFu << 0 << 0 << false << range;
}

// A refused conversion throws the right kind and leaves the destination as it was.
void tst_ImageFormatConverter::refusals()
{
    QFETCH(quint32, type);
    QFETCH(quint32, width);
    QFETCH(quint32, height);
    QFETCH(int, srcShortBy);
    QFETCH(int, dstShortBy);
    QFETCH(bool, nullSource);
    QFETCH(QString, exception);
    const auto srcType = EPixelType(type);
    const bool small = width < 1000 && height < 1000;
    const uint32_t padding = 2;

    CImageFormatConverter converter;
    configure(converter, PixelType_BGRA8packed, 1);
    const size_t srcNeeded =
        small && BitPerPixel(srcType) ? ComputeBufferSize(srcType, width, height, padding) : 64;
    const size_t dstNeeded = small ? (size_t(width) * 4 + 1) * height : 64;
    const QByteArray src(int(srcNeeded - size_t(srcShortBy)), '\x11');
    QByteArray dst(int(dstNeeded), '\x5A');
    const QByteArray before = dst;

    const QString thrown = thrownType([&] {
        converter.Convert(dst.data(), dstNeeded - size_t(dstShortBy),
                          nullSource ? nullptr : src.constData(), size_t(src.size()), srcType,
                          width, height, padding);
    });
    QCOMPARE(thrown, exception);
    QCOMPARE(dst, before);
}

void tst_ImageFormatConverter::parametersAgree_data()
{
    QTest::addColumn<QString>("feature");
    QTest::addColumn<qint64>("value");
    QTest::addColumn<QString>("symbolic"); // empty for the integer feature

    QTest::newRow("output-format-mono8")
        << "OutputPixelFormat" << qint64(PixelType_Mono8) << "Mono8";
    QTest::newRow("output-format-mono16")
        << "OutputPixelFormat" << qint64(PixelType_Mono16) << "Mono16";
    QTest::newRow("output-format-bgr8")
        << "OutputPixelFormat" << qint64(PixelType_BGR8packed) << "BGR8packed";
    QTest::newRow("output-format-bgra8")
        << "OutputPixelFormat" << qint64(PixelType_BGRA8packed) << "BGRA8packed";
    QTest::newRow("output-format-rgb8")
        << "OutputPixelFormat" << qint64(PixelType_RGB8packed) << "RGB8packed";
    QTest::newRow("padding-3") << "OutputPaddingX" << qint64(3) << "";
    QTest::newRow("padding-max") << "OutputPaddingX" << qint64(1 << 20) << "";
    QTest::newRow("alignment-lsb") << "OutputBitAlignment" << qint64(1) << "LsbAligned";
    QTest::newRow("alignment-msb") << "OutputBitAlignment" << qint64(2) << "MsbAligned";
    QTest::newRow("edges-set-zero") << "InconvertibleEdgeHandling" << qint64(1) << "SetZero";
    QTest::newRow("edges-clip") << "InconvertibleEdgeHandling" << qint64(2) << "Clip";
    QTest::newRow("edges-3-is-extend") << "InconvertibleEdgeHandling" << qint64(3) << "Extend";
    QTest::newRow("mono-truncation") << "MonoConversionMethod" << qint64(1) << "Truncation";
    QTest::newRow("mono-gamma") << "MonoConversionMethod" << qint64(2) << "Gamma";
    QTest::newRow("demosaic-simple") << "DemosaicingMethod" << qint64(1) << "Simple";
    QTest::newRow("demosaic-edge-aware") << "DemosaicingMethod" << qint64(2) << "EdgeAware";
}

// The typed API and the node map are two views of one set of parameters.
void tst_ImageFormatConverter::parametersAgree()
{
    QFETCH(QString, feature);
    QFETCH(qint64, value);
    QFETCH(QString, symbolic);
    CImageFormatConverter converter;
    GenApi::INodeMap* map = converter.GetNodeMap();
    GenApi::INode* node = map->GetNode(qPrintable(feature));
    QVERIFY(node);

    const auto setTyped = [&](qint64 v) {
        if (feature == "OutputPixelFormat")
            converter.setOutputPixelFormat(EPixelType(v));
        else if (feature == "OutputPaddingX")
            converter.setOutputPaddingX(uint32_t(v));
        else if (feature == "OutputBitAlignment")
            converter.setOutputBitAlignment(EOutputBitAlignment(v));
        else if (feature == "InconvertibleEdgeHandling")
            converter.setInconvertibleEdgeHandling(EInconvertibleEdgeHandling(v));
        else if (feature == "MonoConversionMethod")
            converter.setMonoConversionMethod(EMonoConversionMethod(v));
        else
            converter.setDemosaicingMethod(EDemosaicingMethod(v));
    };
    const auto typed = [&]() -> qint64 {
        if (feature == "OutputPixelFormat")
            return converter.outputPixelFormat();
        if (feature == "OutputPaddingX")
            return converter.outputPaddingX();
        if (feature == "OutputBitAlignment")
            return converter.outputBitAlignment();
        if (feature == "InconvertibleEdgeHandling")
            return converter.inconvertibleEdgeHandling();
        if (feature == "MonoConversionMethod")
            return converter.monoConversionMethod();
        return converter.demosaicingMethod();
    };
    const auto mapped = [&]() -> qint64 {
        if (symbolic.isEmpty())
            return GenApi::CIntegerPtr(node)->GetValue();
        return GenApi::CEnumerationPtr(node)->GetIntValue();
    };

    // Typed setter -> node map.
    setTyped(value);
    QCOMPARE(mapped(), value);
    if (!symbolic.isEmpty())
        QCOMPARE(QString(GenApi::CEnumerationPtr(node)->ToString().c_str()), symbolic);

    // Node map -> typed getter, starting from another value.
    if (symbolic.isEmpty()) {
        GenApi::CIntegerPtr(node)->SetValue(value == 7 ? 8 : 7);
        QVERIFY(typed() != value);
        GenApi::CIntegerPtr(node)->SetValue(value);
    } else {
        GenApi::CEnumerationPtr enumeration(node);
        GenApi::NodeList_t entries;
        enumeration->GetEntries(entries);
        for (GenApi::INode* entry : entries) {
            if (GenApi::CEnumEntryPtr(entry)->GetValue() != value) {
                enumeration->SetIntValue(GenApi::CEnumEntryPtr(entry)->GetValue());
                break;
            }
        }
        QVERIFY(typed() != value);
        enumeration->FromString(qPrintable(symbolic));
    }
    QCOMPARE(typed(), value);
}

void tst_ImageFormatConverter::parameterRefusals_data()
{
    QTest::addColumn<QString>("feature");
    QTest::addColumn<QString>("exception");

    // Each row tries one refused value; the feature keeps its previous value.
    QTest::newRow("output-format-not-an-output") << "OutputPixelFormat"
                                                 << "InvalidArgumentException";
    QTest::newRow("output-format-unknown-name") << "OutputPixelFormat"
                                                << "InvalidArgumentException";
    QTest::newRow("padding-above-maximum") << "OutputPaddingX"
                                           << "OutOfRangeException";
    QTest::newRow("gamma-zero") << "Gamma"
                                << "OutOfRangeException";
    QTest::newRow("gamma-above-maximum") << "Gamma"
                                         << "OutOfRangeException";
    QTest::newRow("edges-value-of-no-entry") << "InconvertibleEdgeHandling"
                                             << "InvalidArgumentException";
    QTest::newRow("register-written-directly") << "OutputBitAlignment"
                                               << "";
}

void tst_ImageFormatConverter::parameterRefusals()
{
    QFETCH(QString, feature);
    QFETCH(QString, exception);
    const QByteArray row = QTest::currentDataTag();
    CImageFormatConverter converter;
    GenApi::INodeMap* map = converter.GetNodeMap();
    const QString before = GenApi::CValuePtr(map->GetNode(qPrintable(feature)))->ToString().c_str();

    const QString thrown = thrownType([&] {
        if (row == "output-format-not-an-output")
            converter.setOutputPixelFormat(PixelType_Mono12p);
        else if (row == "output-format-unknown-name")
            GenApi::CEnumerationPtr(map->GetNode("OutputPixelFormat"))->FromString("Mono12");
        else if (row == "padding-above-maximum")
            converter.setOutputPaddingX((1u << 20) + 1);
        else if (row == "gamma-zero")
            converter.setGamma(0.0);
        else if (row == "gamma-above-maximum")
            GenApi::CFloatPtr(map->GetNode("Gamma"))->SetValue(10.5);
        else if (row == "edges-value-of-no-entry")
            GenApi::CEnumerationPtr(map->GetNode("InconvertibleEdgeHandling"))->SetIntValue(4);
        else
            GenApi::CIntegerPtr(map->GetNode("OutputBitAlignmentReg"))->SetValue(7);
    });
    if (exception.isEmpty())
        QVERIFY2(!thrown.isEmpty(), "a bad register value was accepted");
    else
        QCOMPARE(thrown, exception);
    QCOMPARE(QString(GenApi::CValuePtr(map->GetNode(qPrintable(feature)))->ToString().c_str()),
             before);
}

void tst_ImageFormatConverter::rootCategory()
{
    CImageFormatConverter converter;
    GenApi::CCategoryPtr root(converter.GetNodeMap()->GetNode("Root"));
    QVERIFY(root);
    GenApi::FeatureList_t features;
    root->GetFeatures(features);
    QStringList names;
    for (GenApi::IValue* feature : features) {
        GenApi::INode* node = feature->GetNode();
        names << node->GetName().c_str();
        QVERIFY2(!node->GetToolTip().empty(), node->GetName().c_str());
        QVERIFY2(!node->GetDescription().empty(), node->GetName().c_str());
        QVERIFY2(node->GetDisplayName() != node->GetName() || node->GetName() == "Gamma",
                 node->GetName().c_str());
        QVERIFY2(GenApi::IsWritable(node), node->GetName().c_str());
        if (GenApi::CEnumerationPtr enumeration = node) {
            GenApi::NodeList_t entries;
            enumeration->GetEntries(entries);
            for (GenApi::INode* entry : entries)
                QVERIFY2(!entry->GetToolTip().empty(), entry->GetName().c_str());
        }
    }
    QCOMPARE(names, QStringList({"OutputPixelFormat", "OutputPaddingX", "OutputBitAlignment",
                                 "MonoConversionMethod", "Gamma", "DemosaicingMethod",
                                 "InconvertibleEdgeHandling"}));
}

// The feature tree reads and writes the parameters on its own thread while frames convert:
// every frame must come out whole with one of the two settings (under TSan: without a race).
void tst_ImageFormatConverter::parametersReadWhileConverting()
{
    CImageFormatConverter converter;
    configure(converter, PixelType_BGRA8packed, kDstPadding);
    const QByteArray src =
        packImage(PixelType_BayerRG12p, kWidth, kHeight, 0, [](uint32_t x, uint32_t y, uint32_t) {
            return (x + y) % 2 == 0 && x % 2 == 0 ? 0xA5Au : 0u; // red sites only
        });
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::thread gui([&] {
        GenApi::INodeMap* map = converter.GetNodeMap();
        GenApi::CEnumerationPtr method(map->GetNode("DemosaicingMethod"));
        GenApi::CEnumerationPtr edges(map->GetNode("InconvertibleEdgeHandling"));
        for (int i = 0; !stop; ++i) {
            method->FromString(i % 2 ? "EdgeAware" : "Simple");
            edges->SetIntValue(i % 2 ? InconvertibleEdgeHandling_Clip
                                     : InconvertibleEdgeHandling_Extend);
            GenApi::CIntegerPtr(map->GetNode("OutputPaddingX"))->GetValue();
            ++reads;
        }
    });
    QString difference;
    for (int frame = 0; (frame < 100 || reads < 100) && difference.isEmpty(); ++frame) {
        const QByteArray dst = convert(converter, src, PixelType_BayerRG12p, kWidth, kHeight, 0);
        difference = compareImage(dst, PixelType_BGRA8packed, kWidth, kHeight, kDstPadding,
                                  [](uint32_t, uint32_t) {
                                      return Px{0xA5, 0, 0, 255};
                                  });
    }
    stop = true;
    gui.join();
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

void tst_ImageFormatConverter::emulatorPattern_data()
{
    QTest::addColumn<quint32>("type");
    QTest::addColumn<quint32>("output");
    for (EPixelType type : EmuImageSynth::supportedPixelTypes()) {
        for (EPixelType output : {PixelType_BGRA8packed, PixelType_Mono8})
            QTest::addRow("%s-to-%s", GetPixelTypeName(type), GetPixelTypeName(output))
                << quint32(type) << quint32(output);
    }
}

// The emulator's colour bars, rendered in each of its pixel types, convert back to the bars:
// the emulator's writer and our unpacking agree on every layout.
void tst_ImageFormatConverter::emulatorPattern()
{
    QFETCH(quint32, type);
    QFETCH(quint32, output);
    const auto srcType = EPixelType(type);
    const auto out = EPixelType(output);
    EmuImageParameters p;
    p.sensorWidth = p.width = 64; // bars of 8 pixels
    p.sensorHeight = p.height = 6;
    p.pixelType = srcType;
    p.testImage = EmuTestImage::ColorBars;
    EmuImageSynth synth;
    synth.setParameters(p);
    QByteArray frame(int(synth.payloadSize()), 0);
    QCOMPARE(synth.render(1, reinterpret_cast<uint8_t*>(frame.data()), size_t(frame.size())),
             synth.payloadSize());

    CImageFormatConverter converter;
    configure(converter, out, 0);
    const QByteArray dst = convert(converter, frame, srcType, p.width, p.height, 0);

    // Bars in the order white, yellow, cyan, green, magenta, red, blue, black (red 4, green 2,
    // blue 1). The emulator's mono sensors see the bars' rounded luma at their own depth.
    static const int kBars[8] = {7, 6, 3, 2, 5, 4, 1, 0};
    const uint32_t depth = BitDepth(srcType);
    const bool monoSensor = IsMono(srcType);
    // Colour through Bayer or YUV is a reconstruction: a little tolerance; mono is exact.
    const int tolerance =
        monoSensor ? 0 : (IsYUV(srcType) ? 3 : 1) + (out == PixelType_Mono8 ? 1 : 0);
    const QString difference = compareImage(
        dst, out, p.width, p.height, 0,
        [&](uint32_t x, uint32_t y) {
            if (x % 8 == 0 || x % 8 == 7) // a bar's outer columns mix with the neighbour bars
                return readPixel(dst, out, p.width, 0, x, y);
            const int bar = kBars[x / 8];
            const int r = bar & 4 ? 255 : 0, g = bar & 2 ? 255 : 0, b = bar & 1 ? 255 : 0;
            if (monoSensor) {
                const uint32_t on = maxOf(depth);
                const uint32_t grey =
                    (299 * (r ? on : 0) + 587 * (g ? on : 0) + 114 * (b ? on : 0) + 500) / 1000;
                return greyPx(int(grey >> (depth - 8)));
            }
            return out == PixelType_Mono8 ? greyPx(luma(r, g, b)) : Px{r, g, b, 255};
        },
        tolerance);
    QVERIFY2(difference.isEmpty(), qPrintable(difference));
}

QTEST_GUILESS_MAIN(tst_ImageFormatConverter)
#include "tst_imageformatconverter.moc"
