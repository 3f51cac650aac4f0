// labels: slow
// Recordings of an emulated camera, wired as the device context wires them: time-based
// sampling keeps limit / interval + 1 frames, a frame limit ends the recording by itself, and a
// camera that vanishes mid-recording leaves the frames written so far in a whole file.

#include "../acquisition/emulatorrig.h"
#include "recordingtestsupport.h"

#include "recording/recordingassembly.h"

#include <QTemporaryDir>
#include <QtTest>

#include <atomic>

namespace {

CRecordingAssembly::SCameraFormat formatOf(EmulatorRig& rig)
{
    CRecordingAssembly::SCameraFormat format;
    format.pixelType = Tarpo::GetPixelTypeFromName(
        GenApi::CEnumerationPtr(rig.map()->GetNode("PixelFormat"))->ToString());
    format.width = uint32_t(GenApi::CIntegerPtr(rig.map()->GetNode("Width"))->GetValue());
    format.height = uint32_t(GenApi::CIntegerPtr(rig.map()->GetNode("Height"))->GetValue());
    format.serial = QString::fromStdString(rig.info.GetSerialNumber());
    return format;
}

// A recording of the rig's camera, wired as the device context wires it, started on the
// grabbing camera.
struct CameraRecording
{
    RecordingProbe probe;
    CRecordingAssembly assembly;
    CRecordingController* controller;

    CameraRecording(EmulatorRig& rig, const CRecordingOptions& options, const QString& prefix)
        : assembly(options, formatOf(rig)), controller(assembly.controller())
    {
        probe.attach(controller);
        // grab thread -> controller, direct: the controller copies kept frames on that thread
        QObject::connect(rig.camera.get(), &Camera::bufferAvailable, controller,
                         &CRecordingController::onCameraBufferAvailable, Qt::DirectConnection);
        rig.camera->startContinuousShot();
        controller->startRecording(prefix);
    }
    // What the owner does once the recording has stopped by itself.
    void finish()
    {
        QTRY_COMPARE_WITH_TIMEOUT(probe.lastState(), int(RecordingState_Stopped), 15000);
        controller->releaseResources();
        QVERIFY(probe.failures().empty());
    }
};

CRecordingOptions intoFolder(const QTemporaryDir& dir, uint32_t outputType)
{
    CRecordingOptions options;
    options.OutputType = outputType;
    options.OutputFolder = dir.path().toStdString();
    return options;
}

} // namespace

class tst_RecordingCamera : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TARPO_CAMEMU", "2"); }

    void timeBasedRecordsElevenFramesIn1sAt100ms()
    {
        EmulatorRig rig;
        QVERIFY(rig.open(0));
        rig.smallFastStream("50");
        QTemporaryDir dir;
        CRecordingOptions options = intoFolder(dir, 1);
        options.SamplingMethod = 1;
        options.TimeBasedTimeLimitEnabled = true;
        options.TimeBasedTimeLimitUnit = CRecordingOptions::TimeUnit_Milliseconds;
        options.TimeBasedTimeLimit = 1000;
        options.TimeBasedTimeSampleRateUnit = CRecordingOptions::TimeUnit_Milliseconds;
        options.TimeBasedTimeSampleRate = 100;
        CameraRecording recording(rig, options, "Camera");
        recording.finish();
        rig.camera->stopGrab();
        QCOMPARE(int(recording.assembly.writer()->GetCountOfAddedImages()), 11);
        QCOMPARE(recordedFiles(dir.path(), "*.tiff").size(), 11);
    }

    void frameLimitEndsTheRecordingByItself()
    {
        EmulatorRig rig;
        QVERIFY(rig.open(0));
        rig.smallFastStream("400");
        QTemporaryDir dir;
        CRecordingOptions options = intoFolder(dir, 1);
        options.ImageOutputType = 0;
        options.FrameBasedFrameLimitEnabled = true;
        options.FrameBasedFrameLimit = 20;
        options.FrameBasedFrameSampleRate = 2;
        CameraRecording recording(rig, options, QString::fromStdString(rig.info.GetFriendlyName()));
        recording.finish();
        rig.camera->stopGrab();
        const QStringList files = recordedFiles(dir.path(), "*.bmp");
        QCOMPARE(files.size(), 20);
        QVERIFY2(files.first().endsWith("_0001.bmp"), qPrintable(files.first()));
        QVERIFY2(files.first().startsWith(QString::fromStdString(rig.info.GetFriendlyName())),
                 qPrintable(files.first()));
        const QImage first(dir.filePath(files.first()));
        QCOMPARE(first.size(), QSize(64, 48));
    }

    // What the context manager does when the camera is removed: the recording is stopped, the
    // queue written out, the camera shut down. The video holds every frame written.
    void vanishingCameraLeavesAWholeVideo()
    {
        EmulatorRig rig;
        QVERIFY(rig.open(1));
        rig.monoStream("320", "240", "100");
        std::atomic<int> removals{0};
        rig.camera->device()->RegisterRemovalCallback([&](Tarpo::ITarpoDevice*) { ++removals; });
        QTemporaryDir dir;
        CRecordingOptions options = intoFolder(dir, 0);
        options.AviFpsPlayback = 100.0;
        CameraRecording recording(rig, options, "Camera");
        IMediaWriter* writer = recording.assembly.writer();
        QTRY_VERIFY_WITH_TIMEOUT(writer->GetCountOfAddedImages() >= 10, 15000);

        GenApi::CCommandPtr(rig.map()->GetNode("DebugDeviceVanish"))->Execute();
        QTRY_COMPARE_WITH_TIMEOUT(removals.load(), 1, 15000);
        rig.camera->setRemoved(true);
        recording.controller->stopRecording();
        recording.finish();
        rig.camera->shutDown();

        const size_t written = writer->GetCountOfAddedImages();
        const QStringList files = recordedFiles(dir.path(), "*.avi");
        QCOMPARE(files.size(), 1);
        const QMap<QString, QString> probed = MediaProbes::ffprobe(dir.filePath(files.first()));
        QVERIFY2(!probed.contains("errors"), qPrintable(probed.value("errors")));
        QCOMPARE(probed["codec_name"], QString("rawvideo"));
        QCOMPARE(probed["width"], QString("320"));
        QCOMPARE(probed["nb_read_frames"], QString::number(written));
    }
};

QTEST_GUILESS_MAIN(tst_RecordingCamera)
#include "tst_recordingcamera.moc"
