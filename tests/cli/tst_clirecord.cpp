// labels: slow
// tarpo-cli record on an emulated camera: every output kind ends with "recorded=N dropped=N
// state=Stopped", its files read back with ffprobe and tiffinfo, limits end the recording by
// themselves, and refusals come back with their message and exit status.

#include "../tarpo/mediaprobes.h"
#include "clirun.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

namespace {

// A small, fast stream, so that a recording takes well under a second once the camera runs.
const QStringList kSmallStream{"--set", "Width=64",
                               "--set", "Height=48",
                               "--set", "ExposureTime=100",
                               "--set", "AcquisitionFrameRateEnable=1",
                               "--set", "AcquisitionFrameRate=200"};

using Run = CliRun;

Run record(const QStringList& args)
{
    return runCli(QStringList{"record", "-d", "EMU0001"} + args, "2", 120000);
}

// ffprobe's codec, size and frame count as "codec,width,height,frames", and what it complained of.
QString probeVideo(const QString& file)
{
    const QMap<QString, QString> probe = MediaProbes::ffprobe(file);
    return QStringList{probe["codec_name"], probe["width"], probe["height"],
                       probe["nb_read_frames"]}
               .join(',') +
           probe.value("errors");
}

} // namespace

class tst_CliRecord : public QObject
{
    Q_OBJECT

private slots:
    void recordings_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("recorded");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>(
            "check"); // ffprobe's "codec,width,height,frames" or tiffinfo text

        QTest::newRow("tiff-every-third-frame-limit-20")
            << QStringList{"--output-type", "images", "--frame-rate-sample", "3",
                           "--frame-limit", "20"}
            << 20 << "*.tiff"
            << "Bits/Sample: 8";
        QTest::newRow("tiff-mono12-keeps-16-bits")
            << QStringList{"--output-type",     "images", "--frame-limit", "5", "--set",
                           "PixelFormat=Mono12"}
            << 5 << "*.tiff"
            << "Bits/Sample: 16";
        QTest::newRow("bmp-frame-limit")
            << QStringList{"--output-type", "images", "--image-format", "bmp", "--frame-limit", "7"}
            << 7 << "*.bmp"
            << "";
        QTest::newRow("uncompressed-video") << QStringList{"--frame-limit", "15"} << 15 << "*.avi"
                                            << "rawvideo,64,48,15";
        QTest::newRow("mjpg-video")
            << QStringList{"--frame-limit", "12", "--codec", "MJPG"} << 12 << "*.avi"
            << "mjpeg,64,48,12";
        QTest::newRow("ffv1-time-based-100ms-for-1s")
            << QStringList{"--time-sample", "100", "--time-limit", "1000", "--codec", "FFV1"} << 11
            << "*.avi"
            << "ffv1,64,48,11";
    }

    void recordings()
    {
        QFETCH(QStringList, args);
        QFETCH(int, recorded);
        QFETCH(QString, pattern);
        QFETCH(QString, check);

        QTemporaryDir dir;
        const Run run = record(args + QStringList{"--folder", dir.path()} + kSmallStream);
        QVERIFY2(run.exitCode == 0, qPrintable(run.err));
        QVERIFY(!run.out.isEmpty());
        QCOMPARE(run.out.last(), QString("recorded=%1 dropped=0 state=Stopped").arg(recorded));
        const QStringList files = QDir(dir.path()).entryList({pattern}, QDir::Files, QDir::Name);
        QVERIFY(!files.isEmpty());
        QVERIFY2(files.first().startsWith("Emulated Camera (EMU0001)_"), qPrintable(files.first()));
        if (pattern == "*.avi") {
            QCOMPARE(files.size(), 1);
            QCOMPARE(probeVideo(dir.filePath(files.first())), check);
        } else {
            QCOMPARE(files.size(), recorded);
            QVERIFY2(files.first().endsWith("_0001." + pattern.mid(2)), qPrintable(files.first()));
            if (!check.isEmpty())
                QVERIFY(MediaProbes::tiffinfo(dir.filePath(files.first())).contains(check));
        }
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");

        QTest::newRow("codec-refuses")
            << QStringList{"--codec", "ZZZZ"} << 1
            << QString::fromUtf8("Failed to start recording, because the codec doesn\xEF\xBF\xBDt "
                                 "support the pixel format or image size.");
        QTest::newRow("frame-and-time-sampling")
            << QStringList{"--frame-limit", "3", "--time-limit", "100"} << 2
            << "exclude each other";
        QTest::newRow("codec-for-images")
            << QStringList{"--output-type", "images", "--codec", "MJPG"} << 2
            << "--codec is for video output";
        QTest::newRow("zero-queue")
            << QStringList{"--queue", "0"} << 2 << "--queue takes a whole number of at least 1";
        QTest::newRow("unknown-feature")
            << QStringList{"--set", "NoSuchFeature=1"} << 1 << "Feature 'NoSuchFeature' not found";
    }

    void refusals()
    {
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        QTemporaryDir dir;
        const Run run = record(args + QStringList{"--folder", dir.path()});
        QCOMPARE(run.exitCode, exitCode);
        QVERIFY2(run.err.contains(message), qPrintable(run.err));
        if (exitCode == 1 && !run.out.isEmpty())
            QCOMPARE(run.out.last(), QString("recorded=0 dropped=0 state=Stopped"));
        QVERIFY(QDir(dir.path()).entryList(QDir::Files).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_CliRecord)
#include "tst_clirecord.moc"
