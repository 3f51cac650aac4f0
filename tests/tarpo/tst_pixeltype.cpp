// labels: sanitize
#include "tarpo/pixeltype.h"

#include <arv.h>

#include <QSet>
#include <QtTest>

#include <stdexcept>

using namespace Tarpo;

Q_DECLARE_METATYPE(Tarpo::EPixelType)

// Checks the pixel types against Aravis' codes, the names cameras use, the layout facts the
// converter relies on, and the buffer arithmetic for odd widths and packed lines.
class tst_PixelType : public QObject
{
    Q_OBJECT

private slots:
    void codesMatchAravis_data();
    void codesMatchAravis();
    void nameRoundTrip_data();
    void nameRoundTrip();
    void camerasNames_data();
    void camerasNames();
    void layoutFacts_data();
    void layoutFacts();
    void tableIsConsistent();
    void bufferSize_data();
    void bufferSize();
    void paddingX_data();
    void paddingX();
    void refusals_data();
    void refusals();
};

void tst_PixelType::codesMatchAravis_data()
{
    QTest::addColumn<EPixelType>("type");
    QTest::addColumn<quint32>("aravisCode");

#define ROW(ours, aravis) QTest::newRow(#aravis) << ours << quint32(ARV_PIXEL_FORMAT_##aravis)
    ROW(PixelType_Mono8, MONO_8);
    ROW(PixelType_Mono8signed, MONO_8_SIGNED);
    ROW(PixelType_Mono10, MONO_10);
    ROW(PixelType_Mono10packed, MONO_10_PACKED);
    ROW(PixelType_Mono12, MONO_12);
    ROW(PixelType_Mono12packed, MONO_12_PACKED);
    ROW(PixelType_Mono14, MONO_14);
    ROW(PixelType_Mono16, MONO_16);
#ifdef ARV_PIXEL_FORMAT_MONO_10P // newer Aravis releases only
    ROW(PixelType_Mono10p, MONO_10P);
    ROW(PixelType_Mono12p, MONO_12P);
#endif
#ifdef ARV_PIXEL_FORMAT_YCBCR_422_8_PACKED
    ROW(PixelType_YCbCr422_8, YCBCR_422_8_PACKED);
#endif
#define BAYER(o, O)                                                                                \
    ROW(PixelType_Bayer##o##8, BAYER_##O##_8);                                                     \
    ROW(PixelType_Bayer##o##10, BAYER_##O##_10);                                                   \
    ROW(PixelType_Bayer##o##10p, BAYER_##O##_10P);                                                 \
    ROW(PixelType_Bayer##o##10packed, BAYER_##O##_10_PACKED);                                      \
    ROW(PixelType_Bayer##o##12, BAYER_##O##_12);                                                   \
    ROW(PixelType_Bayer##o##12p, BAYER_##O##_12P);                                                 \
    ROW(PixelType_Bayer##o##12packed, BAYER_##O##_12_PACKED);                                      \
    ROW(PixelType_Bayer##o##16, BAYER_##O##_16)
    BAYER(GR, GR);
    BAYER(RG, RG);
    BAYER(GB, GB);
    BAYER(BG, BG);
#undef BAYER
    ROW(PixelType_RGB8packed, RGB_8_PACKED);
    ROW(PixelType_BGR8packed, BGR_8_PACKED);
    ROW(PixelType_RGBA8packed, RGBA_8_PACKED);
    ROW(PixelType_BGRA8packed, BGRA_8_PACKED);
    ROW(PixelType_RGB10packed, RGB_10_PACKED);
    ROW(PixelType_BGR10packed, BGR_10_PACKED);
    ROW(PixelType_RGB12packed, RGB_12_PACKED);
    ROW(PixelType_BGR12packed, BGR_12_PACKED);
    ROW(PixelType_YUV411packed, YUV_411_PACKED);
    ROW(PixelType_YUV422packed, YUV_422_PACKED);
    ROW(PixelType_YUV422_YUYV_Packed, YUV_422_YUYV_PACKED);
    ROW(PixelType_YUV444packed, YUV_444_PACKED);
#undef ROW
}

void tst_PixelType::codesMatchAravis()
{
    QFETCH(EPixelType, type);
    QFETCH(quint32, aravisCode);
    QCOMPARE(quint32(type), aravisCode);
    QCOMPARE(BitPerPixel(type), quint32(ARV_PIXEL_FORMAT_BIT_PER_PIXEL(aravisCode)));
}

void tst_PixelType::nameRoundTrip_data()
{
    QTest::addColumn<EPixelType>("type");
    for (EPixelType type : GetKnownPixelTypes())
        QTest::newRow(GetPixelTypeName(type)) << type;
}

void tst_PixelType::nameRoundTrip()
{
    QFETCH(EPixelType, type);
    const std::string name = GetPixelTypeName(type);
    QVERIFY(!name.empty());
    QCOMPARE(GetPixelTypeFromName(name), type);
}

void tst_PixelType::camerasNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<EPixelType>("type");

    QTest::newRow("Mono12p") << "Mono12p" << PixelType_Mono12p;
    QTest::newRow("Mono12Packed-is-the-legacy-layout") << "Mono12Packed" << PixelType_Mono12packed;
    QTest::newRow("Mono8s") << "Mono8s" << PixelType_Mono8signed;
    QTest::newRow("legacy-Mono8Signed") << "Mono8Signed" << PixelType_Mono8signed;
    QTest::newRow("BayerRG12p") << "BayerRG12p" << PixelType_BayerRG12p;
    QTest::newRow("BayerRG12Packed") << "BayerRG12Packed" << PixelType_BayerRG12packed;
    QTest::newRow("RGB8") << "RGB8" << PixelType_RGB8packed;
    QTest::newRow("legacy-RGB8Packed") << "RGB8Packed" << PixelType_RGB8packed;
    QTest::newRow("BGRa8") << "BGRa8" << PixelType_BGRA8packed;
    QTest::newRow("legacy-BGRA8Packed") << "BGRA8Packed" << PixelType_BGRA8packed;
    QTest::newRow("RGB16") << "RGB16" << PixelType_RGB16packed;
    QTest::newRow("YUV422_8_UYVY") << "YUV422_8_UYVY" << PixelType_YUV422packed;
    QTest::newRow("legacy-YUV422Packed-is-UYVY") << "YUV422Packed" << PixelType_YUV422packed;
    QTest::newRow("YUV422_8-is-YUYV") << "YUV422_8" << PixelType_YUV422_YUYV_Packed;
    QTest::newRow("YUV422_YUYV_Packed") << "YUV422_YUYV_Packed" << PixelType_YUV422_YUYV_Packed;
    QTest::newRow("YCbCr422_8") << "YCbCr422_8" << PixelType_YCbCr422_8;
    QTest::newRow("unknown-empty") << "" << PixelType_Undefined;
    QTest::newRow("unknown-case-differs") << "mono8" << PixelType_Undefined;
    QTest::newRow("unknown-trailing-space") << "Mono8 " << PixelType_Undefined;
    QTest::newRow("unknown-format") << "Coord3D_C16" << PixelType_Undefined;
}

void tst_PixelType::camerasNames()
{
    QFETCH(QString, name);
    QFETCH(EPixelType, type);
    QCOMPARE(GetPixelTypeFromName(name.toStdString()), type);
}

void tst_PixelType::layoutFacts_data()
{
    QTest::addColumn<EPixelType>("type");
    QTest::addColumn<uint>("bitPerPixel");
    QTest::addColumn<uint>("bitDepth");
    QTest::addColumn<uint>("samples");
    // m mono, b Bayer, c colour, y YUV, p PFNC packed, g GigE legacy packed
    QTest::addColumn<QString>("flags");
    QTest::addColumn<int>("bayerOrder");

    QTest::newRow("Mono8") << PixelType_Mono8 << 8u << 8u << 1u << "m" << 4;
    QTest::newRow("Mono12-unpacked") << PixelType_Mono12 << 16u << 12u << 1u << "m" << 4;
    QTest::newRow("Mono12p") << PixelType_Mono12p << 12u << 12u << 1u << "mp" << 4;
    QTest::newRow("Mono12Packed") << PixelType_Mono12packed << 12u << 12u << 1u << "mg" << 4;
    QTest::newRow("Mono10Packed-3-bytes-per-2")
        << PixelType_Mono10packed << 12u << 10u << 1u << "mg" << 4;
    QTest::newRow("Mono10p") << PixelType_Mono10p << 10u << 10u << 1u << "mp" << 4;
    QTest::newRow("Mono1p") << PixelType_Mono1p << 1u << 1u << 1u << "mp" << 4;
    QTest::newRow("BayerRG12p-not-mono")
        << PixelType_BayerRG12p << 12u << 12u << 1u << "bcp" << int(BayerOrder_RG);
    QTest::newRow("BayerGR12Packed")
        << PixelType_BayerGR12packed << 12u << 12u << 1u << "bcg" << int(BayerOrder_GR);
    QTest::newRow("BayerGB8") << PixelType_BayerGB8 << 8u << 8u << 1u << "bc" << int(BayerOrder_GB);
    QTest::newRow("BayerBG16") << PixelType_BayerBG16 << 16u << 16u << 1u << "bc"
                               << int(BayerOrder_BG);
    QTest::newRow("RGB8") << PixelType_RGB8packed << 24u << 8u << 3u << "c" << 4;
    QTest::newRow("BGRa8") << PixelType_BGRA8packed << 32u << 8u << 4u << "c" << 4;
    QTest::newRow("RGB12-in-16-bit-words") << PixelType_RGB12packed << 48u << 12u << 3u << "c" << 4;
    QTest::newRow("YUV411") << PixelType_YUV411packed << 12u << 8u << 2u << "cy" << 4;
    QTest::newRow("YUV422-UYVY") << PixelType_YUV422packed << 16u << 8u << 2u << "cy" << 4;
    QTest::newRow("YCbCr422_8") << PixelType_YCbCr422_8 << 16u << 8u << 2u << "cy" << 4;
    QTest::newRow("Undefined") << PixelType_Undefined << 0u << 0u << 0u << "" << 4;
}

void tst_PixelType::layoutFacts()
{
    QFETCH(EPixelType, type);
    QFETCH(uint, bitPerPixel);
    QFETCH(uint, bitDepth);
    QFETCH(uint, samples);
    QFETCH(QString, flags);
    QFETCH(int, bayerOrder);

    QCOMPARE(BitPerPixel(type), bitPerPixel);
    QCOMPARE(BitDepth(type), bitDepth);
    QCOMPARE(SamplesPerPixel(type), samples);
    QCOMPARE(IsMono(type), flags.contains('m'));
    QCOMPARE(IsBayer(type), flags.contains('b'));
    QCOMPARE(IsColor(type), flags.contains('c'));
    QCOMPARE(IsYUV(type), flags.contains('y'));
    QCOMPARE(IsPFNCPacked(type), flags.contains('p'));
    QCOMPARE(IsGigELegacyPacked(type), flags.contains('g'));
    QCOMPARE(IsPacked(type), flags.contains('p') || flags.contains('g'));
    QCOMPARE(IsMonoPacked(type), flags.contains('m') && IsPacked(type));
    QCOMPARE(int(GetBayerOrder(type)), bayerOrder);
}

// Invariants that every row of the table must keep; a mistyped code or depth breaks one.
void tst_PixelType::tableIsConsistent()
{
    QSet<quint32> codes;
    QSet<QString> names;
    for (EPixelType type : GetKnownPixelTypes()) {
        const QString name = GetPixelTypeName(type);
        QVERIFY2(!codes.contains(type), qPrintable(name));
        QVERIFY2(!names.contains(name), qPrintable(name));
        codes.insert(type);
        names.insert(name);

        // Exactly one colour class per type, and the code's mono bit agrees with it.
        const int classes = IsMono(type) + IsBayer(type) + IsRGB(type) + IsBGR(type) +
                            IsRGBA(type) + IsBGRA(type) + IsYUV(type);
        QVERIFY2(classes == 1, qPrintable(name));
        const bool monoBit = (type & 0x01000000u) != 0;
        QVERIFY2(monoBit == (IsMono(type) || IsBayer(type)), qPrintable(name));

        // The bits in memory follow from depth, samples and packing.
        const uint32_t bpp = BitPerPixel(type);
        if (IsPFNCPacked(type))
            QVERIFY2(bpp == BitDepth(type), qPrintable(name));
        else if (IsGigELegacyPacked(type))
            QVERIFY2(bpp == 12 && BitDepth(type) <= 12, qPrintable(name));
        else if (type == PixelType_YUV411packed)
            QCOMPARE(bpp, 12u);
        else if (BitDepth(type) > 8)
            QVERIFY2(bpp == 16 * SamplesPerPixel(type), qPrintable(name));
        else
            QVERIFY2(bpp == 8 * SamplesPerPixel(type), qPrintable(name));

        // A PFNC "p" name ends in 'p', a legacy packed name in "Packed".
        QVERIFY2(name.endsWith("p") == IsPFNCPacked(type), qPrintable(name));
        QVERIFY2(name.endsWith("Packed") == IsGigELegacyPacked(type), qPrintable(name));
    }
}

void tst_PixelType::bufferSize_data()
{
    QTest::addColumn<EPixelType>("type");
    QTest::addColumn<uint>("width");
    QTest::addColumn<uint>("height");
    QTest::addColumn<uint>("paddingX");
    QTest::addColumn<qulonglong>("bytes");

    QTest::newRow("Mono8-VGA") << PixelType_Mono8 << 640u << 480u << 0u << 307200ull;
    QTest::newRow("Mono16-odd-width-padded") << PixelType_Mono16 << 1921u << 2u << 1u << 7686ull;
    QTest::newRow("Mono12p-odd-width-half-byte-rounds-up")
        << PixelType_Mono12p << 5u << 3u << 0u << 24ull;
    QTest::newRow("Mono12p-even-width") << PixelType_Mono12p << 4u << 2u << 0u << 12ull;
    QTest::newRow("Mono12Packed-odd-width") << PixelType_Mono12packed << 3u << 2u << 0u << 10ull;
    QTest::newRow("Mono10p-3-pixels") << PixelType_Mono10p << 3u << 1u << 0u << 4ull;
    QTest::newRow("Mono10p-4-pixels-5-bytes") << PixelType_Mono10p << 4u << 1u << 0u << 5ull;
    QTest::newRow("Mono1p-9-pixels-2-bytes") << PixelType_Mono1p << 9u << 2u << 0u << 4ull;
    QTest::newRow("BayerBG10p-each-line-byte-aligned")
        << PixelType_BayerBG10p << 5u << 4u << 0u << 28ull;
    QTest::newRow("RGB8-padded") << PixelType_RGB8packed << 3u << 3u << 3u << 36ull;
    QTest::newRow("YUV411") << PixelType_YUV411packed << 6u << 1u << 0u << 9ull;
    QTest::newRow("YUV422-odd-width") << PixelType_YUV422packed << 3u << 1u << 0u << 6ull;
    QTest::newRow("zero-width-keeps-padding") << PixelType_Mono8 << 0u << 2u << 4u << 8ull;
    QTest::newRow("beyond-32-bit")
        << PixelType_RGB16packed << 65535u << 65535u << 0u << 25769017350ull;
}

void tst_PixelType::bufferSize()
{
    QFETCH(EPixelType, type);
    QFETCH(uint, width);
    QFETCH(uint, height);
    QFETCH(uint, paddingX);
    QFETCH(qulonglong, bytes);
    QCOMPARE(qulonglong(ComputeBufferSize(type, width, height, paddingX)), bytes);
}

void tst_PixelType::paddingX_data()
{
    QTest::addColumn<qulonglong>("lineOffset");
    QTest::addColumn<EPixelType>("type");
    QTest::addColumn<uint>("width");
    QTest::addColumn<uint>("paddingX");

    QTest::newRow("Mono8-exact") << 640ull << PixelType_Mono8 << 640u << 0u;
    QTest::newRow("Mono12p-odd-width-exact") << 8ull << PixelType_Mono12p << 5u << 0u;
    QTest::newRow("Mono12p-odd-width-padded") << 12ull << PixelType_Mono12p << 5u << 4u;
    QTest::newRow("BGRa8-aligned-to-16") << 16ull << PixelType_BGRA8packed << 3u << 4u;
    QTest::newRow("Mono16-odd-width") << 3844ull << PixelType_Mono16 << 1921u << 2u;
}

void tst_PixelType::paddingX()
{
    QFETCH(qulonglong, lineOffset);
    QFETCH(EPixelType, type);
    QFETCH(uint, width);
    QFETCH(uint, paddingX);
    QCOMPARE(ComputePaddingX(lineOffset, type, width), paddingX);
    // The two functions must agree: the padded buffer holds exactly lineOffset per line.
    QCOMPARE(qulonglong(ComputeBufferSize(type, width, 3, paddingX)), 3 * lineOffset);
}

void tst_PixelType::refusals_data()
{
    QTest::addColumn<int>("call"); // 0 ComputeBufferSize, 1 ComputePaddingX
    QTest::addColumn<EPixelType>("type");
    QTest::addColumn<qulonglong>("lineOffset");
    QTest::addColumn<QString>("textPart");

    QTest::newRow("buffer-size-undefined") << 0 << PixelType_Undefined << 0ull << "undefined";
    QTest::newRow("buffer-size-no-bits")
        << 0 << EPixelType(0x01000001u) << 0ull << "no bits per pixel";
    QTest::newRow("padding-undefined") << 1 << PixelType_Undefined << 100ull << "undefined";
    QTest::newRow("padding-line-offset-too-short")
        << 1 << PixelType_Mono12p << 7ull << "needs 8 bytes";
}

void tst_PixelType::refusals()
{
    QFETCH(int, call);
    QFETCH(EPixelType, type);
    QFETCH(qulonglong, lineOffset);
    QFETCH(QString, textPart);
    try {
        if (call == 0)
            ComputeBufferSize(type, 5, 2);
        else
            ComputePaddingX(lineOffset, type, 5);
        QFAIL("no exception");
    } catch (const std::invalid_argument& e) {
        QVERIFY2(QString(e.what()).contains(textPart), e.what());
    }
}

QTEST_GUILESS_MAIN(tst_PixelType)
#include "tst_pixeltype.moc"
