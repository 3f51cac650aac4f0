// labels: netns
#include "clirun.h"

#include <QDir>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

// tarpo-cli grab against emulated cameras: exact frame and failure counts, saved files, and the
// exit statuses of bad command lines and of a grab that times out.
class tst_CliGrab : public QObject
{
    Q_OBJECT

private:
    using Result = CliRun;
    static Result run(const QStringList& args) { return runCli(args); }

private slots:
    void countsFramesExactly_data()
    {
        QTest::addColumn<QStringList>("extra");
        QTest::addColumn<QString>("lastLinePrefix");
        QTest::newRow("clean") << QStringList{"-n", "12"} << "grabbed=12 failed=0 fps=";
        // One frame in ten fails, counted from the moment the rate is set.
        QTest::newRow("injected-failures")
            << QStringList{"-n", "30", "--set", "DebugFailedBufferRate=100"}
            << "grabbed=27 failed=3 fps=";
    }

    void countsFramesExactly()
    {
        QFETCH(QStringList, extra);
        QFETCH(QString, lastLinePrefix);
        const Result r = run(QStringList{"grab", "-d", "EMU0001", "--set", "Width=64", "--set",
                                         "Height=48", "--set", "AcquisitionFrameRate=500"} +
                             extra);
        QCOMPARE(r.exitCode, 0);
        const QString last = r.lastLine();
        QVERIFY2(last.startsWith(lastLinePrefix), qPrintable(last + " / " + r.err));
    }

    void savesNumberedImages()
    {
        QTemporaryDir dir;
        const Result r = run({"grab", "-d", "EMU0002", "-n", "4", "--save", dir.path(), "--format",
                              "png", "--pixel-format", "BayerRG8", "--set", "Width=64", "--set",
                              "Height=32", "--set", "TestImageSelector=ColorBars"});
        QCOMPARE(r.exitCode, 0);
        const QStringList files = QDir(dir.path()).entryList({"*.png"}, QDir::Files, QDir::Name);
        QCOMPARE(files, (QStringList{"frame_0001.png", "frame_0002.png", "frame_0003.png",
                                     "frame_0004.png"}));
        const QImage image(dir.filePath("frame_0001.png"));
        QCOMPARE(image.size(), QSize(64, 32));
        // The first colour bar of a 1920-pixel sensor is white.
        QCOMPARE(image.pixelColor(10, 16), QColor(255, 255, 255));
    }

    void deepTiffKeepsItsBitDepth()
    {
        QTemporaryDir dir;
        const Result r =
            run({"grab", "-d", "EMU0001", "-n", "1", "--save", dir.path(), "--format", "tiff",
                 "--pixel-format", "Mono12p", "--set", "Width=64", "--set", "Height=32"});
        QCOMPARE(r.exitCode, 0);
        QProcess tiffinfo;
        tiffinfo.start("tiffinfo", {dir.filePath("frame_0001.tiff")});
        QVERIFY(tiffinfo.waitForFinished(10000));
        const QString info = QString::fromLocal8Bit(tiffinfo.readAllStandardOutput());
        QVERIFY2(info.contains("Bits/Sample: 16"), qPrintable(info));
        QVERIFY2(info.contains("Image Width: 64 Image Length: 32"), qPrintable(info));
    }

    void badCommandLines_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        QTest::newRow("no-count") << QStringList{"grab", "-d", "EMU0001"} << 2
                                  << "-n COUNT is required";
        QTest::newRow("zero-count")
            << QStringList{"grab", "-d", "EMU0001", "-n", "0"} << 2 << "at least 1";
        QTest::newRow("bad-format")
            << QStringList{"grab", "-d", "EMU0001", "-n", "1", "--format", "gif"} << 2
            << "bmp, png or tiff";
        QTest::newRow("bad-assignment")
            << QStringList{"grab", "-d", "EMU0001", "-n", "1", "--set", "Width"} << 2
            << "is not FEATURE=VALUE";
        QTest::newRow("unknown-camera")
            << QStringList{"grab", "-d", "NoSuchCamera", "-n", "1"} << 1 << "not found";
        QTest::newRow("value-refused")
            << QStringList{"grab", "-d", "EMU0001", "-n", "1", "--set", "Width=7"} << 1
            << "below the minimum";
        QTest::newRow("unknown-feature")
            << QStringList{"grab", "-d", "EMU0001", "-n", "1", "--set", "Bogus=1"} << 1
            << "Feature 'Bogus' not found";
        QTest::newRow("timeout") << QStringList{"grab",
                                                "-d",
                                                "EMU0001",
                                                "-n",
                                                "50",
                                                "--timeout-ms",
                                                "200",
                                                "--set",
                                                "AcquisitionFrameRateEnable=1",
                                                "--set",
                                                "AcquisitionFrameRate=10"}
                                 << 1 << "frames arrived within 200 ms";
    }

    void badCommandLines()
    {
        QFETCH(QStringList, args);
        QFETCH(int, exitCode);
        QFETCH(QString, message);
        const Result r = run(args);
        QCOMPARE(r.exitCode, exitCode);
        QVERIFY2(r.err.contains(message), qPrintable(r.err));
        QCOMPARE(r.err.trimmed().count('\n'), 0); // one line
    }
};

QTEST_GUILESS_MAIN(tst_CliGrab)
#include "tst_cligrab.moc"
