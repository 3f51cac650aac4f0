// Sustained recording of 1920x1200 Mono8 from the camera emulator through the viewer's
// recording path (grab thread -> recording controller -> queue of 100 -> writer thread), for
// BMP, TIFF, uncompressed AVI and FFV1 AVI: the highest camera frame rate that a recording of
// the given length sustains without dropping a single frame, found by recording at fixed rates
// (down until nothing is dropped, up until something is, then two halvings of the gap). It is
// compared with plain write() of the same 2,304,000-byte frames into the same folder, measured
// in the same run: one file per frame for still images, one growing file for video.
// Run from a Release build: bench_recording [seconds per run, default 10] [folder, default a
// new folder in /tmp] [part of a format's name]

#include "acquisition/stdfeaturelistcamera.h"
#include "genapi/genapi.h"
#include "recording/recordingassembly.h"
#include "recording/recordingcontroller.h"
#include "tarpo/tlfactory.h"
#include "viewersdk/streambuffer.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

using Clock = std::chrono::steady_clock;

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1200;
constexpr size_t kFrameBytes = size_t(kWidth) * kHeight;
constexpr uint32_t kQueue = 100;

struct Format
{
    const char* name;
    uint32_t outputType;
    uint32_t imageType;
    const char* codec; // null: uncompressed
};

// The product stops an AVI recording at 2,100,000,000 bytes of frames: 911 frames of this size,
// less than 10 s above 91 frames/s. The writer's speed is measured past it, as OpenDML AVI files
// allow; the table says where the product's limit would have ended the recording.
constexpr int64_t kUnlimitedAviBytes = int64_t(1) << 40;

struct Run
{
    bool failed = false;
    double writtenPerSecond = 0;
    uint64_t written = 0;
    uint64_t dropped = 0;
};

double seconds(Clock::duration d)
{
    return std::chrono::duration<double>(d).count();
}

void setCameraRate(GenApi::INodeMap* map, double framesPerSecond)
{
    GenApi::CBooleanPtr(map->GetNode("AcquisitionFrameRateEnable"))->SetValue(framesPerSecond > 0);
    if (framesPerSecond > 0)
        GenApi::CFloatPtr(map->GetNode("AcquisitionFrameRate"))->SetValue(framesPerSecond);
}

void removeFiles(const QString& folder)
{
    QDir dir(folder);
    for (const QString& file : dir.entryList(QDir::Files))
        dir.remove(file);
}

// One recording of `duration` seconds; the camera at `framesPerSecond` (0: free-running).
Run record(Camera& camera, const Format& format, const QString& folder, double duration,
           double framesPerSecond)
{
    GenApi::INodeMap* map = camera.device()->GetNodeMap();
    setCameraRate(map, framesPerSecond);
    CRecordingOptions options;
    options.OutputType = format.outputType;
    options.ImageOutputType = format.imageType;
    options.OutputFolder = folder.toStdString();
    options.QueueBufferSize = kQueue;
    options.AviFpsPlayback = framesPerSecond > 0 ? framesPerSecond : 100.0;
    if (format.codec) {
        options.UseCompression = true;
        options.CompressionOptions.aviCompressOptions.fccHandler =
            Tarpo::FourCCFromString(format.codec);
        options.CompressionOptions.aviCompressOptions.dwQuality = Tarpo::ICQUALITY_DEFAULT;
    }
    CRecordingAssembly::SCameraFormat cameraFormat;
    cameraFormat.pixelType = Tarpo::PixelType_Mono8;
    cameraFormat.width = kWidth;
    cameraFormat.height = kHeight;
    cameraFormat.serial = "BENCH";
    CRecordingAssembly recording(options, cameraFormat, kUnlimitedAviBytes);
    CRecordingController* controller = recording.controller();
    std::atomic<int> state{RecordingState_None};
    QObject::connect(
        controller, &CRecordingController::stateChanged, controller,
        [&state](ERecordingState s) { state = int(s); },
        Qt::DirectConnection); // any thread -> atomic, direct
    // grab thread -> controller, direct, as the device context wires it
    QObject::connect(&camera, &Camera::bufferAvailable, controller,
                     &CRecordingController::onCameraBufferAvailable, Qt::DirectConnection);

    camera.startContinuousShot();
    // The first frames pay for the emulator's set-up; the measurement starts after them.
    const uint32_t firstFrame = camera.totalCounter();
    const Clock::time_point warmUp = Clock::now();
    while (camera.totalCounter() < firstFrame + 5 && seconds(Clock::now() - warmUp) < 60)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    controller->startRecording("Bench");
    const Clock::time_point start = Clock::now();
    std::this_thread::sleep_for(std::chrono::duration<double>(duration));
    const double elapsed = seconds(Clock::now() - start);
    controller->stopRecording();
    while (state.load() != RecordingState_Stopped && state.load() != RecordingState_Error)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    controller->releaseResources();
    camera.stopGrab();
    controller->updateStatistics();
    const RecordingStatistics atEnd = controller->statistics();
    Run run;
    run.failed = state.load() == RecordingState_Error;
    if (run.failed)
        std::fprintf(stderr, "bench_recording: %s: the recording failed\n", format.name);
    run.written = atEnd.framesWritten;
    run.dropped = atEnd.framesDropped;
    // Every frame that arrived while recording, written once the queue has drained.
    run.writtenPerSecond = double(run.written) / elapsed;
    removeFiles(folder);
    return run;
}

// Frames per second that write() puts into `folder`: one new file per frame, or one file.
double plainWrite(const QString& folder, bool filePerFrame, double duration)
{
    std::vector<uint8_t> frame(kFrameBytes);
    for (size_t i = 0; i < frame.size(); ++i)
        frame[i] = uint8_t(i * 7 + i / kWidth);
    const std::string base = (folder + "/plain").toStdString();
    int fd = -1;
    uint64_t frames = 0;
    const Clock::time_point start = Clock::now();
    while (seconds(Clock::now() - start) < duration) {
        if (fd < 0 || filePerFrame) {
            if (fd >= 0)
                ::close(fd);
            const std::string name = filePerFrame ? base + std::to_string(frames) : base;
            fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
            if (fd < 0) {
                std::perror("bench_recording: open");
                std::exit(2);
            }
        }
        if (::write(fd, frame.data(), frame.size()) != ssize_t(frame.size())) {
            std::perror("bench_recording: write");
            std::exit(2);
        }
        ++frames;
    }
    ::close(fd);
    const double perSecond = double(frames) / seconds(Clock::now() - start);
    removeFiles(folder);
    return perSecond;
}

} // namespace

int main(int argc, char** argv)
{
    // The camera emulator builds on Qt; give it its application object.
    QCoreApplication application(argc, argv);
    const double duration = argc > 1 ? std::atof(argv[1]) : 10.0;
    QTemporaryDir ownFolder(QDir::tempPath() + "/bench_recording-XXXXXX");
    const QString folder = argc > 2 ? QString::fromLocal8Bit(argv[2]) : ownFolder.path();
    const std::string only = argc > 3 ? argv[3] : "";
    QDir().mkpath(folder);
    qputenv("TARPO_CAMEMU", "1");

    const Format formats[] = {{"BMP", 1, 0, nullptr},
                              {"TIFF", 1, 1, nullptr},
                              {"AVI uncompressed", 0, 0, nullptr},
                              {"AVI FFV1", 0, 0, "FFV1"}};

    try {
        Tarpo::TarpoAutoInitTerm autoInitTerm;
        Tarpo::DeviceInfoList_t devices;
        Tarpo::ITransportLayer* tl = Tarpo::CTlFactory::GetInstance().CreateTl("MorvexCamEmu");
        tl->EnumerateDevices(devices);
        Tarpo::CTlFactory::GetInstance().ReleaseTl(tl);
        const Tarpo::CDeviceInfo info = devices.at(0);
        StdFeatureListCamera camera(&info, nullptr, 512u << 20, false);
        camera.attachTarpoDevice(Tarpo::CTlFactory::GetInstance().CreateDevice(info));
        camera.open();
        GenApi::INodeMap* map = camera.device()->GetNodeMap();
        GenApi::CIntegerPtr(map->GetNode("Width"))->SetValue(kWidth);
        GenApi::CIntegerPtr(map->GetNode("Height"))->SetValue(kHeight);
        GenApi::CEnumerationPtr(map->GetNode("PixelFormat"))->FromString("Mono8");
        GenApi::CFloatPtr exposure(map->GetNode("ExposureTime"));
        exposure->SetValue(exposure->GetMin());

        std::printf("Recording 1920x1200 Mono8 from the camera emulator (its default image), "
                    "queue of %u frames, %.0f s per run, into %s\n",
                    kQueue, duration, qPrintable(folder));
        // The reference before and after the recordings, so that a page cache filling up or a
        // neighbour on the machine shows as a spread rather than a skewed ratio.
        const double writePerFileBefore = plainWrite(folder, true, duration);
        const double writeAppendBefore = plainWrite(folder, false, duration);
        std::printf("reference write() of the same 2,304,000-byte frames, before: %.1f frames/s "
                    "as one file per frame, %.1f frames/s into one file\n",
                    writePerFileBefore, writeAppendBefore);
        const double writePerFile = writePerFileBefore;
        const double writeAppend = writeAppendBefore;
        std::printf("%-18s %14s %8s %8s %9s %9s  %s\n", "format", "sustained", "dropped", "MB/s",
                    "write()", "ratio", "rates tried (frames/s: dropped)");
        for (const Format& format : formats) {
            if (!only.empty() && std::string(format.name).find(only) == std::string::npos)
                continue;
            const double reference = format.outputType == 1 ? writePerFile : writeAppend;
            std::string tried;
            auto attempt = [&](double rate) {
                const Run run = record(camera, format, folder, duration, rate);
                char text[64];
                std::snprintf(text, sizeof text, "%s%.0f: %llu", tried.empty() ? "" : ", ", rate,
                              static_cast<unsigned long long>(run.dropped));
                tried += text;
                return run;
            };
            // Where to start: what the writer gets through while the camera floods it. On a
            // small machine the flooding camera takes CPU from the writer, so this is low.
            const Run flooded = record(camera, format, folder, duration, 0);
            double good = 0, bad = 0;
            Run best;
            auto held = [&](double rate) {
                const Run run = attempt(rate);
                const bool ok = run.dropped == 0 && !run.failed;
                (ok ? good : bad) = rate;
                if (ok)
                    best = run;
                return ok;
            };
            // Down until no frame is dropped, then up until one is, then halve the gap twice.
            double rate = std::max(5.0, 0.9 * flooded.writtenPerSecond);
            for (int i = 0; i < 6 && !held(rate); ++i)
                rate *= 0.8;
            for (int i = 0; i < 6 && good > 0 && bad == 0; ++i)
                held(good * 1.3);
            for (int i = 0; i < 2 && good > 0 && bad > 0; ++i)
                held((good + bad) / 2);
            std::printf("%-18s %10.1f f/s %8llu %8.1f %9.1f %9.3f  %s\n", format.name,
                        best.writtenPerSecond, static_cast<unsigned long long>(best.dropped),
                        best.writtenPerSecond * double(kFrameBytes) / 1e6, reference,
                        best.writtenPerSecond / reference, tried.c_str());
            std::fflush(stdout);
        }
        const double writePerFileAfter = plainWrite(folder, true, duration);
        const double writeAppendAfter = plainWrite(folder, false, duration);
        std::printf("reference write(), after: %.1f frames/s as one file per frame, %.1f frames/s "
                    "into one file\n",
                    writePerFileAfter, writeAppendAfter);
        std::printf(
            "sustained: frames written per second over %.0f s with the camera at a fixed "
            "rate and no frame dropped (the highest such rate found); MB/s: camera data "
            "recorded; write(): frames/s of plain write() of the same bytes into the same "
            "folder (still images: one file per frame; video: one file); ratio: "
            "sustained / write() before; the AVI writer ran past the product's 2,100,000,000-byte "
            "limit, which a %.0f s recording reaches above %.0f frames/s\n",
            duration, duration, 2100000000.0 / double(kFrameBytes) / duration);
        camera.shutDown();
        camera.detachTarpoDevice();
        return 0;
    } catch (const GenICam::GenericException& e) {
        std::fprintf(stderr, "bench_recording: %s\n", e.what());
        return 2;
    }
}
