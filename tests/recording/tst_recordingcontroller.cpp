// The recording controller with real writers, fed frames as a camera feeds them: its state
// machine, frame sampling and file names, its statistics, the writer's pixel type, and every
// failure with the text the user sees.

#include "recordingtestsupport.h"

#include "recording/avimediawriteradapter.h"
#include "recording/framebasedmediaimagecontroller.h"
#include "recording/mediafilelimitreachedexception.h"
#include "recording/recordingassembly.h"
#include "recording/recordingcontroller.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using namespace Tarpo;

namespace {

const QString kCodecRefuses = QString::fromUtf8("Failed to start recording, because the codec "
                                                "doesn\xEF\xBF\xBDt support the pixel format or "
                                                "image size.");

CRecordingOptions stillImages(const QString& folder, uint32_t imageType = 1)
{
    CRecordingOptions options;
    options.OutputType = 1;
    options.ImageOutputType = imageType;
    options.OutputFolder = folder.toStdString();
    return options;
}

CRecordingAssembly::SCameraFormat mono8(uint32_t width = 32, uint32_t height = 8)
{
    CRecordingAssembly::SCameraFormat format;
    format.pixelType = PixelType_Mono8;
    format.width = width;
    format.height = height;
    format.serial = "TEST01";
    return format;
}

std::vector<int> withoutWaiting(std::vector<int> states)
{
    states.erase(std::remove(states.begin(), states.end(), int(RecordingState_WaitingForQueue)),
                 states.end());
    return states;
}

} // namespace

class tst_RecordingController : public QObject
{
    Q_OBJECT

private slots:
    // A script of owner commands and frames; WaitingForQueue depends on the disk's speed and is
    // left out of the comparison.
    void stateMachine_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QList<int>>("states");
        QTest::addColumn<int>("written"); // -1: depends on timing

        QTest::newRow("stop-before-any-frame") << "start stop" << QList<int>{1, 4} << 0;
        QTest::newRow("frames-then-stop") << "start f5 stop" << QList<int>{1, 4} << 5;
        QTest::newRow("pause-then-stop") << "start f3 pause f4 stop" << QList<int>{1, 2, 4} << 3;
        QTest::newRow("pause-and-resume")
            << "start f2 pause f3 resume f2 stop" << QList<int>{1, 2, 1, 4} << 4;
        QTest::newRow("same-state-twice-emits-once")
            << "start pause pause resume resume stop" << QList<int>{1, 2, 1, 4} << 0;
        QTest::newRow("stop-twice") << "start f1 stop stop" << QList<int>{1, 4} << 1;
        QTest::newRow("abort-while-recording") << "start f2 abort" << QList<int>{1, 4} << -1;
        QTest::newRow("pause-before-start-does-nothing")
            << "pause start f1 stop" << QList<int>{1, 4} << 1;
    }

    void stateMachine()
    {
        QFETCH(QString, script);
        QFETCH(QList<int>, states);
        QFETCH(int, written);

        QTemporaryDir dir;
        FrameFeeder feeder(PixelType_Mono8, 32, 8);
        RecordingProbe probe;
        {
            CRecordingAssembly recording(stillImages(dir.path()), mono8());
            CRecordingController* controller = recording.controller();
            probe.attach(controller);
            for (const QString& step : script.split(' ')) {
                if (step == "start")
                    controller->startRecording("Camera");
                else if (step == "pause")
                    controller->setPaused(true);
                else if (step == "resume")
                    controller->setPaused(false);
                else if (step == "stop")
                    controller->stopRecording();
                else if (step == "abort")
                    controller->abortRecording();
                else if (step.startsWith('f'))
                    feeder.feed(controller, step.mid(1).toInt());
            }
            QTRY_COMPARE(probe.lastState(), int(RecordingState_Stopped));
            controller->releaseResources();
            QVERIFY(!recording.writer()->IsOpen());
            QCOMPARE(feeder.lockedBuffers(), 0);
            if (written >= 0)
                QCOMPARE(int(recording.writer()->GetCountOfAddedImages()), written);
        }
        const std::vector<int> seen = withoutWaiting(probe.states());
        QCOMPARE(QList<int>(seen.begin(), seen.end()), states);
        QVERIFY(probe.failures().empty());
    }

    void frameSamplingN3Over100FramesRecords34()
    {
        QTemporaryDir dir;
        CRecordingOptions options = stillImages(dir.path());
        options.FrameBasedFrameSampleRate = 3;
        FrameFeeder feeder(PixelType_Mono8, 32, 8);
        RecordingProbe probe;
        CRecordingAssembly recording(options, mono8());
        probe.attach(recording.controller());
        recording.controller()->startRecording("Cam/One");
        feeder.feed(recording.controller(), 100);
        recording.controller()->stopRecording();
        QTRY_COMPARE(probe.lastState(), int(RecordingState_Stopped));
        const QStringList files = recordedFiles(dir.path(), "*.tiff");
        QCOMPARE(files.size(), 34);
        QVERIFY2(files.first().endsWith("_0001.tiff"), qPrintable(files.first()));
        QVERIFY2(files.last().endsWith("_0034.tiff"), qPrintable(files.last()));
        QVERIFY(MediaProbes::tiffinfo(dir.filePath(files.first())).contains("Bits/Sample: 8"));
        // The base path: folder, separator, prefix (a slash would open a folder), "_", the
        // local time to the millisecond.
        QVERIFY2(QRegularExpression("/Cam_One_\\d{8}_\\d{9}$")
                     .match(recording.controller()->basePath())
                     .hasMatch(),
                 qPrintable(recording.controller()->basePath()));
    }

    // A queue of one frame in front of a writer that cannot keep up: frames are dropped and
    // counted, and the recording goes on.
    void slowWriterDropsFramesAndGoesOn()
    {
        QTemporaryDir dir;
        CRecordingOptions options = stillImages(dir.path());
        options.QueueBufferSize = 1;
        GatedMediaWriterDouble writer;
        writer.setGateOpen(false);
        CFrameBasedMediaImageController sampling(false, 0, 1);
        RecordingProbe probe;
        {
            CRecordingController controller(options, &sampling, &writer, nullptr, "SLOW");
            probe.attach(&controller);
            controller.startRecording("Camera");
            FrameFeeder feeder(PixelType_Mono8, 32, 8);
            feeder.feed(&controller, 1);
            QVERIFY(writer.waitEntered(1));
            feeder.feed(&controller, 5);
            controller.updateStatistics();
            const RecordingStatistics statistics = controller.statistics();
            QCOMPARE(statistics.framesWaiting, uint64_t(1));
            QCOMPARE(statistics.queueCapacity, uint64_t(1));
            QCOMPARE(statistics.framesDropped, uint64_t(4));
            QCOMPARE(statistics.framesWritten, uint64_t(0));
            QCOMPARE(controller.statisticsState(), RecordingState_Recording);
            QCOMPARE(controller.state(), RecordingState_Recording);
            writer.setGateOpen(true);
            controller.stopRecording();
            QTRY_COMPARE(probe.lastState(), int(RecordingState_Stopped));
            controller.releaseResources();
            QCOMPARE(writer.GetCountOfAddedImages(), size_t(2));
        }
        QVERIFY(probe.failures().empty());
    }

    void outputFolderThatCannotBeCreated()
    {
        QTemporaryDir dir;
        QFile file(dir.filePath("a-file"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        const QString folder = dir.filePath("a-file/recordings");
        RecordingProbe probe;
        CRecordingAssembly recording(stillImages(folder), mono8());
        probe.attach(recording.controller());
        recording.controller()->startRecording("Camera");
        QCOMPARE(recording.controller()->state(), RecordingState_None);
        QVERIFY(probe.states().empty());
        QCOMPARE(int(probe.failures().size()), 1);
        QCOMPARE(probe.failures().front().first,
                 QString("The output folder %1 could not be created.").arg(folder));
        QCOMPARE(probe.failures().front().second, QString());
        QVERIFY(!recording.writer()->IsOpen());
    }

    void failures_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("message");
        QTest::addColumn<bool>("detailExpected");
        QTest::addColumn<int>("stateAfter");

        QTest::newRow("truncated-frame")
            << "truncated"
            << "An error occurred during recording. Frame could not be written from buffer to "
               "disk. The recording was stopped."
            << true << int(RecordingState_Error);
        QTest::newRow("avi-file-limit")
            << "avi-limit"
            << "An error occurred during recording. Maximum AVI file size has been reached. The "
               "recording was stopped."
            << false << int(RecordingState_Error);
        QTest::newRow("codec-refuses-every-format")
            << "codec-refuses" << kCodecRefuses << true << int(RecordingState_None);
        QTest::newRow("fatal-codec-error-with-compression")
            << "fatal-compressed"
            << "An error occurred during recording. The codec reported a fatal error. The "
               "recording was stopped.\n\nTry another codec or change the pixel format or image "
               "size."
            << true << int(RecordingState_Error);
        QTest::newRow("fatal-error-without-compression")
            << "fatal-uncompressed"
            << "An unknown fatal error occurred during recording. The recording was stopped."
            << true << int(RecordingState_Error);
    }

    void failures()
    {
        QFETCH(QString, how);
        QFETCH(QString, message);
        QFETCH(bool, detailExpected);
        QFETCH(int, stateAfter);

        QTemporaryDir dir;
        CRecordingOptions options = stillImages(dir.path());
        int64_t aviLimit = CAviMediaWriterAdapter::MaxImageDataBytes;
        const uint32_t width = 64, height = 48;
        if (how == "avi-limit" || how == "codec-refuses") {
            options.OutputType = 0;
            // Five uncompressed frames reach this limit; the fifth crosses it.
            aviLimit = 4 * int64_t(width * height) + 1;
        }
        if (how == "codec-refuses" || how == "fatal-compressed") {
            options.UseCompression = true;
            options.CompressionOptions.aviCompressOptions.fccHandler = FourCCFromString("ZZZZ");
        }
        // A buffer that holds less than its frame: the writer's converter refuses it. It outlives
        // the recording, which holds it.
        TarpoViewerSdk::StreamBuffer truncated(100, PixelType_Mono8, int(width), int(height), 1);
        truncated.setFrame(PixelType_Mono8, int(width), int(height), 0, 100, 1, 0);
        FrameFeeder feeder(PixelType_Mono8, int(width), int(height));
        RecordingProbe probe;
        CRecordingAssembly recording(options, mono8(width, height), aviLimit);
        CRecordingController* controller = recording.controller();
        probe.attach(controller);
        controller->startRecording("Camera");
        if (how == "truncated") {
            truncated.lock();
            controller->onCameraBufferAvailable(&truncated);
            truncated.unlock();
        } else if (how == "avi-limit") {
            feeder.feed(controller, 8);
            QTRY_COMPARE(int(probe.failures().size()), 1);
        } else if (how == "fatal-compressed" || how == "fatal-uncompressed") {
            controller->onFatalMediaWriterError("codec broke");
        }
        QTRY_COMPARE(int(probe.failures().size()), 1);
        QCOMPARE(probe.failures().front().first, message);
        QCOMPARE(!probe.failures().front().second.isEmpty(), detailExpected);
        QCOMPARE(int(controller->state()), stateAfter);
        if (stateAfter == int(RecordingState_None))
            QVERIFY(probe.states().empty());

        // What the owner does after showing the failure.
        controller->abortRecording();
        controller->releaseResources();
        if (how == "avi-limit") {
            // The frame that crossed the limit is in the file, and the file is whole.
            QCOMPARE(int(recording.writer()->GetCountOfAddedImages()), 5);
            const QStringList files = recordedFiles(dir.path(), "*.avi");
            QCOMPARE(files.size(), 1);
            const QMap<QString, QString> probed = MediaProbes::ffprobe(dir.filePath(files.first()));
            QVERIFY2(!probed.contains("errors"), qPrintable(probed.value("errors")));
            QCOMPARE(probed["nb_read_frames"], QString("5"));
        }
        QCOMPARE(probe.lastState(), int(RecordingState_Stopped));
        QCOMPARE(int(probe.failures().size()), 1);
    }

    // The product's limit, and the exception the limit raises.
    void aviLimit()
    {
        QCOMPARE(CAviMediaWriterAdapter::MaxImageDataBytes, int64_t(2100000000));
        QTemporaryDir dir;
        CAviMediaWriterAdapter writer(25.0, PixelType_Mono8, 64, 48, TopDown, nullptr, 3 * 64 * 48);
        writer.Open(dir.filePath("limit").toStdString());
        QVERIFY(QFile::exists(dir.filePath("limit.avi")));
        QCOMPARE(writer.outputPixelType(), PixelType_Mono8);
        std::vector<uint8_t> frame(64 * 48, 7);
        for (int i = 0; i < 3; ++i)
            writer.Add(frame.data(), frame.size(), PixelType_Mono8, 64, 48, 0, TopDown);
        try {
            writer.Add(frame.data(), frame.size(), PixelType_Mono8, 64, 48, 0, TopDown);
            QFAIL("no limit");
        } catch (const MediaFileLimitReachedException& e) {
            QCOMPARE(QString(e.GetDescription()), QString("2GB limit of AVI file reached."));
        }
        QCOMPARE(writer.GetCountOfAddedImages(), size_t(4));
    }

    void outputPixelType_data()
    {
        QTest::addColumn<uint>("camera");
        QTest::addColumn<bool>("compressed");
        QTest::addColumn<QList<uint>>("codecTakes");
        QTest::addColumn<uint>("chosen"); // 0: refused

        const QList<uint> all{PixelType_Mono8, PixelType_BGR8packed, PixelType_BGRA8packed};
        QTest::newRow("uncompressed-mono8")
            << uint(PixelType_Mono8) << false << all << uint(PixelType_Mono8);
        QTest::newRow("uncompressed-bayer")
            << uint(PixelType_BayerRG8) << false << all << uint(PixelType_BGR8packed);
        QTest::newRow("uncompressed-mono12")
            << uint(PixelType_Mono12) << false << all << uint(PixelType_BGR8packed);
        QTest::newRow("codec-mono8-camera")
            << uint(PixelType_Mono8) << true << all << uint(PixelType_Mono8);
        QTest::newRow("codec-colour-camera")
            << uint(PixelType_RGB8packed) << true << all << uint(PixelType_BGR8packed);
        QTest::newRow("codec-without-24-bit")
            << uint(PixelType_RGB8packed) << true
            << QList<uint>{PixelType_Mono8, PixelType_BGRA8packed} << uint(PixelType_Mono8);
        QTest::newRow("codec-only-32-bit")
            << uint(PixelType_Mono8) << true << QList<uint>{PixelType_BGRA8packed}
            << uint(PixelType_BGRA8packed);
        QTest::newRow("codec-refuses-all") << uint(PixelType_Mono8) << true << QList<uint>{} << 0u;
    }

    void outputPixelType()
    {
        QFETCH(uint, camera);
        QFETCH(bool, compressed);
        QFETCH(QList<uint>, codecTakes);
        QFETCH(uint, chosen);
        QList<uint> offered;
        auto codec = [&](EPixelType candidate) {
            offered << uint(candidate);
            return codecTakes.contains(uint(candidate));
        };
        try {
            const EPixelType type = CAviMediaWriterAdapter::chooseOutputPixelType(
                EPixelType(camera), compressed, codec);
            QCOMPARE(uint(type), chosen);
        } catch (const GenICam::RuntimeException& e) {
            QCOMPARE(chosen, 0u);
            QCOMPARE(QString::fromUtf8(e.GetDescription()), kCodecRefuses);
            QCOMPARE(offered.size(), 3);
        }
    }
};

QTEST_GUILESS_MAIN(tst_RecordingController)
#include "tst_recordingcontroller.moc"
