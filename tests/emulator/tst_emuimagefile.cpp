// labels: sanitize
#include "emulator/emuimagesynth.h"

#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

#include <tiffio.h>

#include <array>
#include <functional>
#include <stdexcept>

using namespace Emulator;
using namespace Tarpo;

Q_DECLARE_METATYPE(Tarpo::EPixelType)

namespace {

const int kFileWidth = 23;
const int kFileHeight = 11;

using Samples = std::array<int, 3>; // R, G, B

// Picture content with every bit in use, so that a lost or shifted bit shows.
Samples fileSamples(int depth, bool grey, int x, int y)
{
    const int mask = (1 << depth) - 1;
    if (grey) {
        const int v = (x * 2857 + y * 5923 + 77) & mask;
        return {v, v, v};
    }
    return {(x * 2857 + y * 101 + 5) & mask, (x * 97 + y * 6007 + 300) & mask,
            ((x + y) * 1777 + 12345) & mask};
}

bool writeTiff(const QString& path, int depth, bool grey)
{
    TIFF* tiff = TIFFOpen(path.toLocal8Bit().constData(), "w");
    if (!tiff)
        return false;
    const int samplesPerPixel = grey ? 1 : 3;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kFileWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kFileHeight);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, depth);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samplesPerPixel);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, grey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 4);
    bool ok = true;
    for (int y = 0; y < kFileHeight && ok; ++y) {
        std::vector<uint16_t> words;
        std::vector<uint8_t> bytes;
        for (int x = 0; x < kFileWidth; ++x) {
            const Samples s = fileSamples(depth, grey, x, y);
            for (int c = 0; c < samplesPerPixel; ++c) {
                words.push_back(uint16_t(s[c]));
                bytes.push_back(uint8_t(s[c]));
            }
        }
        void* line = depth == 16 ? static_cast<void*>(words.data()) : bytes.data();
        ok = TIFFWriteScanline(tiff, line, uint32_t(y), 0) >= 0;
    }
    TIFFClose(tiff);
    return ok;
}

bool writeWithQImage(const QString& path, int depth, bool grey)
{
    const QImage::Format format = depth == 16
                                      ? (grey ? QImage::Format_Grayscale16 : QImage::Format_RGBX64)
                                      : (grey ? QImage::Format_Grayscale8 : QImage::Format_RGB888);
    QImage image(kFileWidth, kFileHeight, format);
    for (int y = 0; y < kFileHeight; ++y) {
        for (int x = 0; x < kFileWidth; ++x) {
            const Samples s = fileSamples(depth, grey, x, y);
            if (depth == 16 && grey)
                reinterpret_cast<quint16*>(image.scanLine(y))[x] = quint16(s[0]);
            else if (depth == 16)
                reinterpret_cast<QRgba64*>(image.scanLine(y))[x] =
                    QRgba64::fromRgba64(quint16(s[0]), quint16(s[1]), quint16(s[2]), 0xFFFF);
            else if (grey)
                image.scanLine(y)[x] = uchar(s[0]);
            else
                std::copy(s.begin(), s.end(), image.scanLine(y) + 3 * x);
        }
    }
    return image.save(path);
}

// A file sample at the output depth: deeper sources drop low bits, 8-bit sources repeat their
// bits so that 255 becomes full scale.
int scaled(int value, int fromDepth, int toDepth)
{
    if (fromDepth >= toDepth)
        return value >> (fromDepth - toDepth);
    return (value << (toDepth - 8)) | (value >> (16 - toDepth));
}

// What the delivered image holds at (x, y): one sample, or three for RGB8.
Samples actualAt(const QByteArray& frame, EPixelType type, int width, int x, int y)
{
    const auto byte = [&](int i) { return int(uint8_t(frame[i])); };
    const QString name = GetPixelTypeName(type);
    if (name == "RGB8") {
        const int i = (y * width + x) * 3;
        return {byte(i), byte(i + 1), byte(i + 2)};
    }
    if (name == "Mono12p") {
        const int lineBytes = (width * 12 + 7) / 8;
        int value = 0;
        for (int b = 0; b < 12; ++b) {
            const int bit = x * 12 + b;
            value |= ((byte(y * lineBytes + bit / 8) >> (bit % 8)) & 1) << b;
        }
        return {value, 0, 0};
    }
    if (BitPerPixel(type) == 16) {
        const int i = (y * width + x) * 2;
        return {byte(i) | byte(i + 1) << 8, 0, 0};
    }
    return {byte(y * width + x), 0, 0};
}

Samples expectedAt(EPixelType type, int fileDepth, bool grey, int x, int y)
{
    const int depth = int(BitDepth(type));
    if (x >= kFileWidth || y >= kFileHeight)
        return {0, 0, 0}; // black beyond the picture
    const Samples file = fileSamples(fileDepth, grey, x, y);
    const Samples s = {scaled(file[0], fileDepth, depth), scaled(file[1], fileDepth, depth),
                       scaled(file[2], fileDepth, depth)};
    const QString name = GetPixelTypeName(type);
    if (name == "RGB8")
        return s;
    if (name.startsWith("Bayer")) {
        // BayerRG: R G / G B; BayerGB: G B / R G.
        const QString rows = name.startsWith("BayerRG") ? "RGGB" : "GBRG";
        const int channel = QString("RGB").indexOf(rows.at((y % 2) * 2 + x % 2));
        return {s[channel], 0, 0};
    }
    return {(299 * s[0] + 587 * s[1] + 114 * s[2] + 500) / 1000, 0, 0};
}

} // namespace

// Replays pictures written here through the image synthesiser and checks depth, layout,
// cropping, padding, the folder order, and the errors for files it cannot use.
class tst_EmuImageFile : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void replayKeepsTheDepth_data();
    void replayKeepsTheDepth();
    void folderCyclesInNameOrder_data();
    void folderCyclesInNameOrder();
    void unusableFilesAreRefused_data();
    void unusableFilesAreRefused();

private:
    QTemporaryDir m_dir;
};

void tst_EmuImageFile::initTestCase()
{
    QVERIFY(m_dir.isValid());
    QVERIFY(writeTiff(m_dir.filePath("grey16.tif"), 16, true));
    QVERIFY(writeTiff(m_dir.filePath("rgb16.tiff"), 16, false));
    QVERIFY(writeTiff(m_dir.filePath("rgb8.tif"), 8, false));
    QVERIFY(writeWithQImage(m_dir.filePath("rgb8.png"), 8, false));
    QVERIFY(writeWithQImage(m_dir.filePath("grey16.png"), 16, true));
    QVERIFY(writeWithQImage(m_dir.filePath("rgb16.png"), 16, false));
    QVERIFY(writeWithQImage(m_dir.filePath("grey8.bmp"), 8, true));
}

void tst_EmuImageFile::replayKeepsTheDepth_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("fileDepth");
    QTest::addColumn<bool>("grey");
    QTest::addColumn<EPixelType>("type");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");

    QTest::newRow("tiff16-grey-Mono16-cropped")
        << "grey16.tif" << 16 << true << PixelType_Mono16 << 16 << 8;
    QTest::newRow("tiff16-grey-Mono12-padded")
        << "grey16.tif" << 16 << true << PixelType_Mono12 << 30 << 14;
    QTest::newRow("tiff16-grey-Mono12p-odd-width")
        << "grey16.tif" << 16 << true << PixelType_Mono12p << 25 << 12;
    QTest::newRow("tiff16-grey-Mono8") << "grey16.tif" << 16 << true << PixelType_Mono8 << 23 << 11;
    QTest::newRow("tiff16-rgb-BayerRG16")
        << "rgb16.tiff" << 16 << false << PixelType_BayerRG16 << 24 << 12;
    QTest::newRow("tiff16-rgb-Mono16-luma")
        << "rgb16.tiff" << 16 << false << PixelType_Mono16 << 23 << 11;
    QTest::newRow("tiff8-rgb-RGB8-padded")
        << "rgb8.tif" << 8 << false << PixelType_RGB8packed << 27 << 13;
    QTest::newRow("png8-rgb-RGB8-cropped")
        << "rgb8.png" << 8 << false << PixelType_RGB8packed << 9 << 5;
    QTest::newRow("png8-rgb-BayerGB8")
        << "rgb8.png" << 8 << false << PixelType_BayerGB8 << 23 << 11;
    QTest::newRow("png8-rgb-Mono12-widened")
        << "rgb8.png" << 8 << false << PixelType_Mono12 << 23 << 11;
    QTest::newRow("png16-grey-Mono16")
        << "grey16.png" << 16 << true << PixelType_Mono16 << 23 << 11;
    QTest::newRow("png16-rgb-BayerRG16-padded")
        << "rgb16.png" << 16 << false << PixelType_BayerRG16 << 26 << 12;
    QTest::newRow("bmp8-grey-Mono8-padded")
        << "grey8.bmp" << 8 << true << PixelType_Mono8 << 30 << 20;
    QTest::newRow("bmp8-grey-Mono16-widened")
        << "grey8.bmp" << 8 << true << PixelType_Mono16 << 23 << 11;
}

void tst_EmuImageFile::replayKeepsTheDepth()
{
    QFETCH(QString, file);
    QFETCH(int, fileDepth);
    QFETCH(bool, grey);
    QFETCH(EPixelType, type);
    QFETCH(int, width);
    QFETCH(int, height);

    EmuImageParameters p;
    p.sensorWidth = 40;
    p.sensorHeight = 30;
    p.width = uint32_t(width);
    p.height = uint32_t(height);
    p.offsetX = 3; // the picture starts at the delivered image's corner whatever the offsets
    p.offsetY = 1;
    p.pixelType = type;
    p.gainDb = 6.0; // the camera model does not touch replayed pictures
    p.imageFilename = m_dir.filePath(file).toStdString();
    EmuImageSynth synth;
    synth.setParameters(p);
    QByteArray frame(int(synth.payloadSize()), '\0');
    QCOMPARE(synth.render(9, reinterpret_cast<uint8_t*>(frame.data()), size_t(frame.size())),
             ComputeBufferSize(type, p.width, p.height));

    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Samples actual = actualAt(frame, type, width, x, y);
            const Samples expected = expectedAt(type, fileDepth, grey, x, y);
            if (actual != expected)
                QFAIL(qPrintable(QString("(%1, %2): %3 %4 %5, expected %6 %7 %8")
                                     .arg(x)
                                     .arg(y)
                                     .arg(actual[0])
                                     .arg(actual[1])
                                     .arg(actual[2])
                                     .arg(expected[0])
                                     .arg(expected[1])
                                     .arg(expected[2])));
        }
    }
}

void tst_EmuImageFile::folderCyclesInNameOrder_data()
{
    QTest::addColumn<qulonglong>("cacheBytes");
    QTest::newRow("converted-in-advance") << qulonglong(EmuImageSynth::kDefaultFileCacheBytes);
    QTest::newRow("converted-per-frame") << 0ull;
}

void tst_EmuImageFile::folderCyclesInNameOrder()
{
    QFETCH(qulonglong, cacheBytes);
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    // Uniform pictures whose grey tells which one is in the frame; a note that is no image.
    const auto uniform = [&](const QString& name, int grey) {
        QImage image(4, 4, QImage::Format_Grayscale8);
        image.fill(grey);
        return image.save(folder.filePath(name));
    };
    QVERIFY(uniform("b.png", 20));
    QVERIFY(uniform("c.bmp", 30));
    QVERIFY(uniform("a.png", 10));
    QVERIFY(uniform("d.PNG", 40));
    QFile note(folder.filePath("notes.txt"));
    QVERIFY(note.open(QIODevice::WriteOnly));
    note.write("not an image");
    note.close();
    QVERIFY(writeTiff(folder.filePath("b2.tif"), 8, true)); // first pixel 77

    EmuImageParameters p;
    p.sensorWidth = p.width = 2;
    p.sensorHeight = p.height = 2;
    p.imageFilename = folder.path().toStdString();
    EmuImageSynth synth;
    synth.setFileCacheBytes(size_t(cacheBytes));
    synth.setParameters(p);
    const auto firstPixels = [&synth] {
        QList<int> pixels;
        for (uint64_t frameId = 0; frameId < 7; ++frameId) {
            uint8_t frame[4] = {};
            if (synth.render(frameId, frame, sizeof frame) != 4)
                return QList<int>();
            pixels << frame[0];
        }
        return pixels;
    };
    QCOMPARE(firstPixels(), QList<int>({10, 20, 77, 30, 40, 10, 20}));

    // A picture that goes away while replaying: converted in advance it still shows, converted
    // per frame it turns into a black frame instead of stopping the stream.
    QVERIFY(QFile::remove(folder.filePath("c.bmp")));
    const int removed = cacheBytes == 0 ? 0 : 30;
    QCOMPARE(firstPixels(), QList<int>({10, 20, 77, removed, 40, 10, 20}));
}

void tst_EmuImageFile::unusableFilesAreRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content"); // empty: make a folder, "-": create nothing
    QTest::addColumn<QString>("textPart");

    QTest::newRow("missing-file") << "gone.png" << QByteArray("-") << "does not exist";
    QTest::newRow("empty-folder") << "empty" << QByteArray() << "holds no BMP, PNG or TIFF image";
    QTest::newRow("png-that-is-text") << "text.png" << QByteArray("hello") << "Cannot read";
    QTest::newRow("tiff-that-is-text") << "text.tif" << QByteArray("hello, world") << "Cannot read";
    QTest::newRow("truncated-tiff") << "cut.tif" << QByteArray("cut") << "Cannot read";
}

void tst_EmuImageFile::unusableFilesAreRefused()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    QFETCH(QString, textPart);
    const QString path = m_dir.filePath(name);
    if (content.isEmpty()) {
        QVERIFY(QDir(m_dir.path()).mkpath(name));
    } else if (content == "cut") {
        QVERIFY(writeTiff(path, 16, true));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.resize(200)); // cuts the image data and the directory written after it
    } else if (content != "-") {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    EmuImageParameters p;
    p.imageFilename = path.toStdString();
    EmuImageSynth synth;
    try {
        synth.setParameters(p);
        QFAIL("no exception");
    } catch (const std::runtime_error& e) {
        const QString text = e.what();
        QVERIFY2(text.contains(textPart) && text.contains(path), e.what());
    }
}

QTEST_GUILESS_MAIN(tst_EmuImageFile)
#include "tst_emuimagefile.moc"
