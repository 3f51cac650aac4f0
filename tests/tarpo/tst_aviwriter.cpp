// labels: sanitize
// The AVI writer against FFmpeg's own reader: ffprobe must read every kind of video we write
// (uncompressed grey and colour, MJPG, FFV1, H.264 where the build has it) with the codec, size
// and frame count we wrote, and ffmpeg must decode lossless videos to exactly our pixels, the
// right way up. Key frames, quality, codec refusals and the codec list are checked against the
// build.

#include "mediaprobes.h"

#include "genapi/genicamexception.h"
#include "tarpo/avicodeccatalog.h"
#include "tarpo/aviwriter.h"

#include <QTemporaryDir>
#include <QtTest>

#include <vector>

using namespace Tarpo;

namespace {

SAviCompressionOptions codec(const QString& fourCC, uint32_t quality = ICQUALITY_DEFAULT)
{
    SAviCompressionOptions options;
    options.aviCompressOptions.fccHandler = FourCCFromString(fourCC.toStdString());
    options.aviCompressOptions.dwQuality = quality;
    return options;
}

// A picture that shows flips, mirrors and swapped channels: every sample differs from its
// neighbours in x and y, and from one frame to the next.
std::vector<uint8_t> pattern(uint32_t width, uint32_t height, uint32_t bytesPerPixel,
                             size_t paddingX, int frame)
{
    const size_t line = size_t(width) * bytesPerPixel + paddingX;
    std::vector<uint8_t> data(line * height, 0xEE);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width * bytesPerPixel; ++x)
            data[y * line + x] = uint8_t(x * 3 + y * 7 + frame * 11);
    return data;
}

// Writes `frames` pattern frames of `input` as `output` and closes the video.
void writeVideo(const QString& file, const QString& fourCC, EPixelType input, EPixelType output,
                uint32_t width, uint32_t height, int frames, size_t paddingX = 0)
{
    const SAviCompressionOptions options = codec(fourCC);
    CAviWriter writer;
    writer.Open(file.toStdString(), 25.0, output, width, height, TopDown,
                fourCC.isEmpty() ? nullptr : &options);
    for (int i = 0; i < frames; ++i) {
        const std::vector<uint8_t> data =
            pattern(width, height, BitPerPixel(input) / 8, paddingX, i);
        writer.Add(data.data(), data.size(), input, width, height, paddingX, TopDown);
    }
    QCOMPARE(writer.GetCountOfAddedImages(), size_t(frames));
    writer.Close(); // codecs with a delay hand over their last frames here
    QVERIFY(writer.GetImageDataBytesWritten() > 0);
}

bool hasCodec(const char* fourCC)
{
    SAviCodecInfo info;
    return CAviCodecCatalog::FindCodec(FourCCFromString(fourCC), info);
}

} // namespace

class tst_AviWriter : public QObject
{
    Q_OBJECT

private slots:
    void ffprobeReadsEveryVideo_data()
    {
        QTest::addColumn<QString>("fourCC");
        QTest::addColumn<uint>("input");
        QTest::addColumn<uint>("output");
        QTest::addColumn<QString>("expected"); // codec, tag, pixel format

        const QString dib = "rawvideo [0][0][0][0] ";
        QTest::newRow("uncompressed-mono8")
            << "DIB " << uint(PixelType_Mono8) << uint(PixelType_Mono8) << dib + "pal8";
        QTest::newRow("uncompressed-colour-from-bayer")
            << "" << uint(PixelType_BayerRG8) << uint(PixelType_BGR8packed) << dib + "bgr24";
        QTest::newRow("uncompressed-colour-from-mono12")
            << "" << uint(PixelType_Mono12) << uint(PixelType_BGR8packed) << dib + "bgr24";
        QTest::newRow("mjpg-mono8")
            << "MJPG" << uint(PixelType_Mono8) << uint(PixelType_Mono8) << "mjpeg MJPG yuvj420p";
        QTest::newRow("mjpg-colour") << "MJPG" << uint(PixelType_RGB8packed)
                                     << uint(PixelType_BGR8packed) << "mjpeg MJPG yuvj420p";
        QTest::newRow("ffv1-mono8")
            << "FFV1" << uint(PixelType_Mono8) << uint(PixelType_Mono8) << "ffv1 FFV1 gray";
        QTest::newRow("ffv1-colour")
            << "FFV1" << uint(PixelType_BayerGB8) << uint(PixelType_BGR8packed) << "ffv1 FFV1 bgr0";
        QTest::newRow("ffv1-bgra") << "FFV1" << uint(PixelType_RGB8packed)
                                   << uint(PixelType_BGRA8packed) << "ffv1 FFV1 bgra";
        if (hasCodec("H264"))
            QTest::newRow("h264-colour") << "H264" << uint(PixelType_BGR8packed)
                                         << uint(PixelType_BGR8packed) << "h264 H264 yuv420p";
    }

    void ffprobeReadsEveryVideo()
    {
        QFETCH(QString, fourCC);
        QFETCH(uint, input);
        QFETCH(uint, output);
        QFETCH(QString, expected);

        // Odd sizes, so that DIB lines need padding; H.264's 4:2:0 needs even ones.
        const bool h264 = fourCC == "H264";
        const uint32_t width = h264 ? 160 : 161, height = h264 ? 48 : 47;
        QTemporaryDir dir;
        const QString file = dir.filePath("video.avi");
        writeVideo(file, fourCC, EPixelType(input), EPixelType(output), width, height, 9);
        const QMap<QString, QString> probe = MediaProbes::ffprobe(file);
        QVERIFY2(!probe.contains("errors"), qPrintable(probe.value("errors")));
        QCOMPARE(QStringList({probe["codec_name"], probe["codec_tag_string"], probe["pix_fmt"]})
                     .join(' '),
                 expected);
        QCOMPARE(probe["width"], QString::number(width));
        QCOMPARE(probe["height"], QString::number(height));
        QCOMPARE(probe["nb_read_frames"], QString("9"));
    }

    // Lossless videos decode to exactly the frames we wrote, top line on top: this catches
    // flipped DIB lines, a black palette, wrong line padding and swapped channels. Grey is
    // compared as RGB: FFmpeg's palette-to-grey conversion rounds, its palette lookup does not.
    void losslessVideoDecodesToOurPixels_data()
    {
        QTest::addColumn<QString>("fourCC");
        QTest::addColumn<uint>("type");
        QTest::newRow("uncompressed-mono8") << "DIB " << uint(PixelType_Mono8);
        QTest::newRow("uncompressed-bgr") << "" << uint(PixelType_BGR8packed);
        QTest::newRow("ffv1-mono8") << "FFV1" << uint(PixelType_Mono8);
        QTest::newRow("ffv1-bgr") << "FFV1" << uint(PixelType_BGR8packed);
    }

    void losslessVideoDecodesToOurPixels()
    {
        QFETCH(QString, fourCC);
        QFETCH(uint, type);
        const uint32_t width = 67, height = 33, bytesPerPixel = BitPerPixel(EPixelType(type)) / 8;
        QTemporaryDir dir;
        const QString file = dir.filePath("video.avi");
        // Camera lines with 5 bytes of padding.
        writeVideo(file, fourCC, EPixelType(type), EPixelType(type), width, height, 3, 5);
        QByteArray expected;
        for (int i = 0; i < 3; ++i)
            for (uint8_t sample : pattern(width, height, bytesPerPixel, 0, i))
                expected.append(QByteArray(bytesPerPixel == 1 ? 3 : 1, char(sample)));
        const QByteArray decoded =
            MediaProbes::decode(file, bytesPerPixel == 1 ? "rgb24" : "bgr24");
        QCOMPARE(decoded.size(), expected.size());
        QVERIFY(decoded == expected);
    }

    void keyFrames_data()
    {
        QTest::addColumn<QString>("fourCC");
        QTest::addColumn<uint>("interval");
        QTest::addColumn<int>("forcedFrame");
        QTest::addColumn<QString>("flags");

        QTest::newRow("uncompressed-every-frame") << "DIB " << 0u << -1 << "KKKKKKKKKK";
        QTest::newRow("mjpg-every-frame") << "MJPG" << 0u << -1 << "KKKKKKKKKK";
        if (hasCodec("H264")) {
            QTest::newRow("h264-every-4th") << "H264" << 4u << -1 << "K___K___K_";
            QTest::newRow("h264-forced-key-frame") << "H264" << 100u << 6 << "K_____K___";
        }
    }

    void keyFrames()
    {
        QFETCH(QString, fourCC);
        QFETCH(uint, interval);
        QFETCH(int, forcedFrame);
        QFETCH(QString, flags);

        QTemporaryDir dir;
        const QString file = dir.filePath("video.avi");
        SAviCompressionOptions options = codec(fourCC);
        if (interval) {
            options.aviCompressOptions.dwFlags |= AVICOMPRESSF_KEYFRAMES;
            options.aviCompressOptions.dwKeyFrameEvery = interval;
        }
        {
            CAviWriter writer;
            writer.Open(file.toStdString(), 25.0, PixelType_Mono8, 64, 48, TopDown, &options);
            for (int i = 0; i < 10; ++i) {
                const std::vector<uint8_t> data = pattern(64, 48, 1, 0, i);
                writer.Add(data.data(), data.size(), PixelType_Mono8, 64, 48, 0, TopDown,
                           i == forcedFrame ? KeyFrameSelection_KeyFrame : KeyFrameSelection_Auto);
            }
        }
        QString seen;
        for (const QString& line :
             MediaProbes::run("ffprobe", {"-v", "error", "-show_entries", "packet=flags", "-of",
                                          "csv=p=0", file})
                 .split('\n', Qt::SkipEmptyParts))
            seen += line.startsWith('K') ? 'K' : '_';
        QCOMPARE(seen, flags);
    }

    // Quality 0..10000 moves the size of lossy frames; the default is a usable quality, not
    // FFmpeg's 200 kbit/s.
    void qualitySetsTheSizeOfLossyFrames_data()
    {
        QTest::addColumn<QString>("fourCC");
        QTest::addColumn<uint>("lower");
        QTest::addColumn<uint>("higher");
        QTest::newRow("mjpg-500-vs-9500") << "MJPG" << 500u << 9500u;
        QTest::newRow("mjpg-500-vs-default") << "MJPG" << 500u << ICQUALITY_DEFAULT;
        if (hasCodec("H264"))
            QTest::newRow("h264-2000-vs-9000") << "H264" << 2000u << 9000u;
    }

    void qualitySetsTheSizeOfLossyFrames()
    {
        QFETCH(QString, fourCC);
        QFETCH(uint, lower);
        QFETCH(uint, higher);
        QTemporaryDir dir;
        int64_t bytes[2] = {0, 0};
        const uint32_t qualities[2] = {lower, higher};
        for (int q = 0; q < 2; ++q) {
            const SAviCompressionOptions options = codec(fourCC, qualities[q]);
            CAviWriter writer;
            writer.Open(dir.filePath(QString("q%1.avi").arg(q)).toStdString(), 25.0,
                        PixelType_Mono8, 320, 240, TopDown, &options);
            for (int i = 0; i < 5; ++i) {
                const std::vector<uint8_t> data = pattern(320, 240, 1, 0, i);
                writer.Add(data.data(), data.size(), PixelType_Mono8, 320, 240, 0, TopDown);
            }
            writer.Close();
            bytes[q] = writer.GetImageDataBytesWritten();
        }
        QVERIFY2(bytes[1] > 3 * bytes[0] / 2,
                 qPrintable(QString("%1 %2").arg(bytes[0]).arg(bytes[1])));
    }

    // What Open refuses leaves no file behind.
    void refusals_data()
    {
        QTest::addColumn<QString>("fourCC");
        QTest::addColumn<QByteArray>("parameters");
        QTest::addColumn<QString>("message");

        QTest::newRow("unknown-codec") << "ZZZZ" << QByteArray() << "is not available";
        QTest::newRow("unknown-encoder-option")
            << "MJPG" << QByteArray("no_such_option=1\n") << "has no option 'no_such_option'";
        QTest::newRow("malformed-parameter")
            << "MJPG" << QByteArray("just words") << "is not name=value";
        QTest::newRow("missing-folder") << "DIB " << QByteArray() << "Cannot create AVI file";
    }

    void refusals()
    {
        QFETCH(QString, fourCC);
        QFETCH(QByteArray, parameters);
        QFETCH(QString, message);

        QTemporaryDir dir;
        const QString file = dir.filePath(fourCC == "DIB " ? "missing/video.avi" : "video.avi");
        SAviCompressionOptions options = codec(fourCC);
        options.aviCompressOptions.lpParms = parameters.data();
        options.aviCompressOptions.cbParms = uint32_t(parameters.size());
        CAviWriter writer;
        try {
            writer.Open(file.toStdString(), 25.0, PixelType_Mono8, 64, 48, TopDown, &options);
            QFAIL("Open accepted what it must refuse");
        } catch (const GenICam::RuntimeException& e) {
            QVERIFY2(QString(e.GetDescription()).contains(message), e.GetDescription());
        }
        QVERIFY(!writer.IsOpen());
        QVERIFY(!QFile::exists(file));
    }

    void outputFormatOffers_data()
    {
        QTest::addColumn<QString>("fourCC");
        QTest::addColumn<uint>("candidate");
        QTest::addColumn<uint>("width");
        QTest::addColumn<bool>("accepted");

        QTest::newRow("mjpg-takes-grey") << "MJPG" << uint(PixelType_Mono8) << 640u << true;
        QTest::newRow("ffv1-takes-bgra") << "FFV1" << uint(PixelType_BGRA8packed) << 640u << true;
        QTest::newRow("unknown-codec-takes-nothing")
            << "ZZZZ" << uint(PixelType_Mono8) << 640u << false;
        QTest::newRow("uncompressed-is-no-codec")
            << "DIB " << uint(PixelType_Mono8) << 640u << false;
        if (hasCodec("H264")) {
            // H.264 is written as 4:2:0, which needs even sizes.
            QTest::newRow("h264-odd-width-colour")
                << "H264" << uint(PixelType_BGR8packed) << 641u << false;
            QTest::newRow("h264-odd-width-grey")
                << "H264" << uint(PixelType_Mono8) << 641u << false;
            QTest::newRow("h264-even-width-colour")
                << "H264" << uint(PixelType_BGR8packed) << 640u << true;
        }
    }

    void outputFormatOffers()
    {
        QFETCH(QString, fourCC);
        QFETCH(uint, candidate);
        QFETCH(uint, width);
        QFETCH(bool, accepted);
        QCOMPARE(
            CAviWriter::IsOutputFormatSupported(codec(fourCC), EPixelType(candidate), width, 480),
            accepted);
    }

    // A frame of another size, or one its buffer cannot hold, is refused before the file sees
    // it; the video stays open for the next.
    void framesThatDoNotFit()
    {
        QTemporaryDir dir;
        CAviWriter writer;
        writer.Open(dir.filePath("a.avi").toStdString(), 25.0, PixelType_Mono8, 64, 48);
        const std::vector<uint8_t> frame = pattern(64, 48, 1, 0, 0);
        const std::vector<uint8_t> larger = pattern(80, 48, 1, 0, 0);
        QVERIFY_EXCEPTION_THROWN(
            writer.Add(larger.data(), larger.size(), PixelType_Mono8, 80, 48, 0, TopDown),
            GenICam::RuntimeException);
        QVERIFY_EXCEPTION_THROWN(
            writer.Add(frame.data(), frame.size() / 2, PixelType_Mono8, 64, 48, 0, TopDown),
            GenICam::OutOfRangeException);
        writer.Add(frame.data(), frame.size(), PixelType_Mono8, 64, 48, 0, TopDown);
        QCOMPARE(writer.GetCountOfAddedImages(), size_t(1));
        writer.Close();
        QCOMPARE(MediaProbes::ffprobe(dir.filePath("a.avi"))["nb_read_frames"], QString("1"));
    }

    void codecCatalog()
    {
        const std::vector<SAviCodecInfo> codecs = CAviCodecCatalog::GetAvailableCodecs();
        QStringList fourCCs;
        for (const SAviCodecInfo& info : codecs)
            fourCCs << QString::fromStdString(info.fourCCText);
        QCOMPARE(fourCCs.value(0), QString("DIB "));
        QVERIFY2(fourCCs.contains("MJPG") && fourCCs.contains("FFV1"),
                 qPrintable(fourCCs.join(',')));
        QCOMPARE(CAviCodecCatalog::GetCompressionInfoText(SAviCompressionOptions()),
                 std::string("Uncompressed"));
        QCOMPARE(CAviCodecCatalog::GetCompressionInfoText(codec("DIB ")),
                 std::string("Uncompressed"));
        QVERIFY(QString::fromStdString(CAviCodecCatalog::GetCompressionInfoText(codec("MJPG")))
                    .contains("JPEG"));
        QCOMPARE(CAviCodecCatalog::GetCompressionInfoText(codec("ZZZZ")),
                 std::string("Unknown codec 'ZZZZ'"));
        // Other FourCCs of AVI files find their codec too.
        SAviCodecInfo info;
        QVERIFY(CAviCodecCatalog::FindCodec(FourCCFromString("DIVX"), info));
        QCOMPARE(QString::fromStdString(info.encoderName), QString("mpeg4"));
    }
};

QTEST_GUILESS_MAIN(tst_AviWriter)
#include "tst_aviwriter.moc"
