// labels: slow
// Recordings against a disk that refuses: a full disk (a 2 MiB tmpfs) and a read-only folder
// give the recording's failure messages, never a crash, and leave only whole files behind: a video
// with an index up to its last written frame, still images that all open.
//
// The file systems live in a private mount namespace (unshare -rm), so the test needs neither
// root on the machine nor a real disk: each test function runs this executable again inside
// such a namespace, where its "inside..." twin does the work.

#include "recordingtestsupport.h"

#include "recording/recordingassembly.h"

#include <QCoreApplication>
#include <QImage>
#include <QTemporaryDir>
#include <QtTest>

namespace {

const char* const kFullVariable = "TARPO_TMPFS_FULL";
const char* const kReadOnlyVariable = "TARPO_TMPFS_READONLY";

CRecordingOptions optionsFor(const QString& kind, const QString& folder)
{
    CRecordingOptions options;
    options.OutputType = kind == "avi" ? 0 : 1;
    options.ImageOutputType = kind == "bmp" ? 0 : 1;
    options.OutputFolder = folder.toStdString();
    options.QueueBufferSize = 100;
    return options;
}

CRecordingAssembly::SCameraFormat mono8()
{
    CRecordingAssembly::SCameraFormat format;
    format.pixelType = Tarpo::PixelType_Mono8;
    format.width = 320;
    format.height = 240;
    format.serial = "DISK01";
    return format;
}

void rowsPerKind()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("avi") << "avi";
    QTest::newRow("tiff") << "tiff";
    QTest::newRow("bmp") << "bmp";
}

} // namespace

class tst_RecordingDisk : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_mountPoints;

    // Runs `function` of this executable inside a private mount namespace in which the folder
    // "full" is a 2 MiB tmpfs and "readonly" a read-only tmpfs.
    void runInNamespace(const char* function)
    {
        const QString full = m_mountPoints.filePath("full");
        const QString readOnly = m_mountPoints.filePath("readonly");
        QVERIFY(QDir().mkpath(full) && QDir().mkpath(readOnly));
        QProcess probe;
        probe.start("unshare", {"-rm", "sh", "-c", "mount -t tmpfs -o size=2m tmpfs \"$0\"", full});
        probe.waitForFinished(30000);
        if (probe.exitStatus() != QProcess::NormalExit || probe.exitCode() != 0)
            QSKIP(qPrintable("a private mount namespace with a tmpfs cannot be made here "
                             "(unshare -rm; mount -t tmpfs): " +
                             QString::fromUtf8(probe.readAllStandardError()).trimmed()));

        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(kFullVariable, full);
        environment.insert(kReadOnlyVariable, readOnly);
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::MergedChannels);
        child.start("unshare", {"-rm", "sh", "-c",
                                "mount -t tmpfs -o size=2m tmpfs \"$1\" && "
                                "mount -t tmpfs -o ro,size=64k tmpfs \"$2\" && exec \"$0\" \"$3\"",
                                QCoreApplication::applicationFilePath(), full, readOnly, function});
        QVERIFY(child.waitForFinished(240000));
        const QString output = QString::fromUtf8(child.readAll());
        QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0,
                 qPrintable(output));
        QVERIFY2(output.contains("PASS   : tst_RecordingDisk::" + QString(function)),
                 qPrintable(output));
        QVERIFY2(!output.contains("SKIP"), qPrintable(output));
    }

    static bool insideNamespace() { return qEnvironmentVariableIsSet(kFullVariable); }

    // Feeds frames until the writer fails once, for `reason`, as the user is told.
    static void writeFails(CRecordingController* controller, FrameFeeder& feeder,
                           RecordingProbe& probe, int frames, const char* reason)
    {
        feeder.feed(controller, frames);
        QTRY_COMPARE_WITH_TIMEOUT(int(probe.failures().size()), 1, 30000);
        QCOMPARE(probe.failures().front().first,
                 QString("An error occurred during recording. Frame could not be written from "
                         "buffer to disk. The recording was stopped."));
        QVERIFY2(probe.failures().front().second.contains(reason),
                 qPrintable(probe.failures().front().second));
        QCOMPARE(controller->state(), RecordingState_Error);
    }

private slots:
    void fullDisk() { runInNamespace("insideFullDisk"); }
    void readOnlyFolder() { runInNamespace("insideReadOnlyFolder"); }

    void insideFullDisk_data() { rowsPerKind(); }

    void insideFullDisk()
    {
        if (!insideNamespace())
            QSKIP("runs inside the mount namespace that fullDisk makes");
        QFETCH(QString, kind);
        // One row's files must not fill the disk for the next.
        const QString folder = qEnvironmentVariable(kFullVariable) + "/" + kind;
        RecordingProbe probe;
        FrameFeeder feeder(Tarpo::PixelType_Mono8, 320, 240);
        {
            CRecordingAssembly recording(optionsFor(kind, folder), mono8());
            CRecordingController* controller = recording.controller();
            probe.attach(controller);
            controller->startRecording("Camera");
            QCOMPARE(controller->state(), RecordingState_Recording);
            // 60 frames of 75 KiB cannot fit into 2 MiB.
            writeFails(controller, feeder, probe, 60, "No space left on device");
            controller->abortRecording();
            controller->releaseResources();
            QCOMPARE(probe.lastState(), int(RecordingState_Stopped));

            const size_t counted = recording.writer()->GetCountOfAddedImages();
            if (kind == "avi") {
                const QStringList videos = recordedFiles(folder, "*.avi");
                QCOMPARE(videos.size(), 1);
                const QMap<QString, QString> probed =
                    MediaProbes::ffprobe(folder + "/" + videos.first());
                QVERIFY2(!probed.contains("errors"), qPrintable(probed.value("errors")));
                QVERIFY(counted > 5);
                QCOMPARE(probed["nb_read_frames"], QString::number(counted));
            } else {
                // The frame that failed used up its number and left no file.
                const QStringList images = recordedFiles(folder, "*." + kind);
                QVERIFY(images.size() > 5);
                QCOMPARE(size_t(images.size()), counted - 1);
                for (const QString& image : images) {
                    if (kind == "tiff") {
                        int exitCode = -1;
                        const QString info = MediaProbes::tiffinfo(folder + "/" + image, &exitCode);
                        QVERIFY2(exitCode == 0 &&
                                     info.contains("Image Width: 320 Image Length: 240"),
                                 qPrintable(info));
                    } else {
                        QCOMPARE(QImage(folder + "/" + image).size(), QSize(320, 240));
                    }
                }
            }
        }
        QCOMPARE(feeder.lockedBuffers(), 0);
        QVERIFY(QDir(folder).removeRecursively()); // room for the next row
    }

    void insideReadOnlyFolder_data() { rowsPerKind(); }

    void insideReadOnlyFolder()
    {
        if (!insideNamespace())
            QSKIP("runs inside the mount namespace that readOnlyFolder makes");
        QFETCH(QString, kind);
        const QString folder = qEnvironmentVariable(kReadOnlyVariable);
        RecordingProbe probe;
        FrameFeeder feeder(Tarpo::PixelType_Mono8, 320, 240);
        CRecordingAssembly recording(optionsFor(kind, folder), mono8());
        CRecordingController* controller = recording.controller();
        probe.attach(controller);
        controller->startRecording("Camera");
        if (kind == "avi") {
            // The video cannot be created: the recording does not start.
            QCOMPARE(controller->state(), RecordingState_None);
            QCOMPARE(int(probe.failures().size()), 1);
            QVERIFY2(probe.failures().front().first.startsWith("Cannot create AVI file") &&
                         probe.failures().front().first.contains("Read-only file system"),
                     qPrintable(probe.failures().front().first));
            QVERIFY(probe.failures().front().second.contains("RuntimeException"));
        } else {
            // Still images open no file before the first frame, which then fails.
            QCOMPARE(controller->state(), RecordingState_Recording);
            writeFails(controller, feeder, probe, 3, "Read-only file system");
        }
        controller->abortRecording();
        controller->releaseResources();
        QCOMPARE(controller->state(), RecordingState_Stopped);
        QVERIFY(QDir(folder).entryList(QDir::Files).isEmpty());
    }
};

QTEST_GUILESS_MAIN(tst_RecordingDisk)
#include "tst_recordingdisk.moc"
