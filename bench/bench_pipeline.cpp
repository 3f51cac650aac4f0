// The acquisition path at full speed from the emulator, 1920 x 1200 BayerRG8, free-running:
//   1. pure grab (frames counted, not handed on): the reference frame rate;
//   2. the display path (grab thread -> decoupler -> converter) with the throttle at 50 fps:
//      the camera must keep >= 95 % of the pure-grab rate, the converter run <= 50 times/s,
//      and no frame may fail;
// the same paced at a fixed frame rate; the grab thread's own CPU time per frame (retrieve,
// lock, counters, hand-over); and 64 x 64 Mono8 through the display path, where every frame
// the emulator sent must be counted, with no gap in the frame ids.
// Arguments: seconds per run (4), paced frame rate (1000), rounds (3). Run from a Release build.

#include "acquisition/converter.h"
#include "acquisition/decoupler.h"
#include "acquisition/stdfeaturelistcamera.h"
#include "genapi/genapi.h"
#include "qtbase/hirestimer.h"
#include "tarpo/tlfactory.h"
#include "viewersdk/streambuffer.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <vector>

namespace {

// The CPU time a thread of this process has spent, in nanoseconds, found by its name; the
// kernel keeps it (schedstat), so reading it costs the measured thread nothing per frame.
uint64_t threadCpuNs(const char* namePrefix)
{
    QDir tasks("/proc/self/task");
    for (const QString& tid : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(tasks.filePath(tid + "/comm"));
        if (!comm.open(QIODevice::ReadOnly) || !comm.readAll().startsWith(namePrefix))
            continue;
        QFile stat(tasks.filePath(tid + "/schedstat"));
        if (stat.open(QIODevice::ReadOnly))
            return stat.readAll().split(' ').value(0).toULongLong();
    }
    return 0;
}

struct Setup
{
    int width = 1920;
    int height = 1200;
    const char* pixelFormat = "BayerRG8";
    int pacedFps = 0; // 0: as fast as the emulator goes
    bool display = false;
    bool recordFrameIds = false;
    int seconds = 4;
};

struct Run
{
    double cameraFps = 0;
    double converterPerSecond = 0;
    uint32_t failed = 0;
    double grabCpuUsPerFrame = 0;
    uint64_t framesCounted = 0;
    uint64_t framesSent = 0;  // what the emulator's stream delivered in the same time
    uint64_t frameIdGaps = 0; // frames missing between consecutive ids the camera saw
};

Run measure(const Tarpo::CDeviceInfo& info, const Setup& setup)
{
    StdFeatureListCamera camera(&info, nullptr, 512u << 20, false);
    camera.attachTarpoDevice(Tarpo::CTlFactory::GetInstance().CreateDevice(info));
    camera.open();
    GenApi::INodeMap* map = camera.device()->GetNodeMap();
    auto set = [map](const char* name, const QByteArray& value) {
        GenApi::CValuePtr(map->GetNode(name))->FromString(value.constData());
    };
    set("Width", QByteArray::number(setup.width));
    set("Height", QByteArray::number(setup.height));
    set("PixelFormat", setup.pixelFormat);
    set("TestImageSelector", "MovingStripes");
    GenApi::CFloatPtr exposure = map->GetNode("ExposureTime");
    exposure->SetValue(exposure->GetMin()); // as fast as the emulator goes
    set("AcquisitionFrameRateEnable", setup.pacedFps > 0 ? "1" : "0");
    if (setup.pacedFps > 0)
        GenApi::CFloatPtr(map->GetNode("AcquisitionFrameRate"))->SetValue(setup.pacedFps);

    Decoupler decoupler(nullptr, "Decoupler_bench");
    Converter converter;
    HiResTimer throttle;
    std::atomic<int> conversions{0};
    // Frame ids seen by the grab thread, written by it alone until the grab has stopped.
    std::vector<uint64_t> frameIds;
    if (setup.recordFrameIds) {
        frameIds.reserve(size_t(2'000'000));
        QObject::connect(
            &camera, &Camera::bufferAvailable, &camera,
            [&frameIds](TarpoViewerSdk::StreamBuffer* buffer) {
                if (frameIds.size() < frameIds.capacity())
                    frameIds.push_back(buffer->frameNumber());
            },
            Qt::DirectConnection); // grab thread -> id list, direct
    }
    if (setup.display) {
        decoupler.enableThrottle(true);
        QObject::connect(&camera, &Camera::bufferAvailable, &decoupler, &Decoupler::setBuffer,
                         Qt::DirectConnection); // grab thread -> decoupler, direct
        QObject::connect(&decoupler, &Decoupler::bufferAvailable, &converter, &Converter::setBuffer,
                         Qt::DirectConnection); // decoupler thread -> converter, direct
        QObject::connect(
            &converter, &Converter::imageAvailable, &converter,
            [&](const TarpoViewerSdk::Image&) { ++conversions; },
            Qt::DirectConnection); // decoupler thread -> counter, direct
        QObject::connect(&throttle, &HiResTimer::timeout, &decoupler, &Decoupler::throttleTimerTick,
                         Qt::DirectConnection); // timer thread -> decoupler, direct
        throttle.start(20);
    } else {
        camera.setPureGrab(!setup.recordFrameIds);
    }
    GenApi::INodeMap* stream = camera.streamGrabber()->GetNodeMap();
    GenApi::CIntegerPtr sent = stream->GetNode("StatisticTotalBufferCount");

    camera.startContinuousShot();
    QThread::msleep(500); // warm-up: buffers queued, caches filled
    const QByteArray grabThread = "Grab_" + QByteArray::fromStdString(info.GetSerialNumber());
    const uint32_t startFrames = camera.totalCounter();
    const int startConversions = conversions.load();
    const uint64_t startCpu = threadCpuNs(grabThread.constData());
    QElapsedTimer clock;
    clock.start();
    QThread::sleep(static_cast<unsigned long>(setup.seconds));
    const double elapsed = clock.elapsed() / 1000.0;
    const uint32_t frames = camera.totalCounter() - startFrames;
    const uint64_t cpu = threadCpuNs(grabThread.constData()) - startCpu;
    Run run;
    run.cameraFps = frames / elapsed;
    run.converterPerSecond = (conversions.load() - startConversions) / elapsed;
    run.grabCpuUsPerFrame = frames ? cpu / 1e3 / frames : 0;
    throttle.stop();
    camera.stopGrab();
    decoupler.shutDown();
    run.failed = camera.erroneousTotal();
    run.framesCounted = camera.totalCounter();
    run.framesSent = uint64_t(sent->GetValue());
    for (size_t i = 1; i < frameIds.size(); ++i)
        run.frameIdGaps += frameIds[i] - frameIds[i - 1] - 1;
    camera.shutDown();
    camera.detachTarpoDevice();
    return run;
}

// The run with the median camera frame rate.
Run medianByRate(std::vector<Run> runs)
{
    std::sort(runs.begin(), runs.end(),
              [](const Run& a, const Run& b) { return a.cameraFps < b.cameraFps; });
    return runs[runs.size() / 2];
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("TARPO_CAMEMU", "1");
    QCoreApplication application(argc, argv);
    Tarpo::TarpoAutoInitTerm autoInitTerm;
    Tarpo::ITransportLayer* tl = Tarpo::CTlFactory::GetInstance().CreateTl("MorvexCamEmu");
    Tarpo::DeviceInfoList_t devices;
    tl->EnumerateDevices(devices);
    Tarpo::CTlFactory::GetInstance().ReleaseTl(tl);
    if (devices.empty()) {
        std::fprintf(stderr, "no emulated camera\n");
        return 1;
    }
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 4;
    const int pacedFps = argc > 2 ? std::atoi(argv[2]) : 1000;
    const int rounds = std::max(argc > 3 ? std::atoi(argv[3]) : 3, 1);
    // Free-running, the emulator and the grab thread compete with the display path for the
    // same cores; paced, the emulator leaves room and the figure shows whether the pipeline
    // keeps up with the camera.
    for (int paced : {0, pacedFps}) {
        // Pure grab and the display path take turns, and each figure is the median of its
        // rounds: a single pair of runs moves by several per cent with what else the machine does.
        std::vector<Run> pure;
        std::vector<Run> shown;
        for (int round = 0; round < rounds; ++round) {
            Setup setup;
            setup.seconds = seconds;
            setup.pacedFps = paced;
            pure.push_back(measure(devices[0], setup));
            setup.display = true;
            shown.push_back(measure(devices[0], setup));
        }
        const Run p = medianByRate(pure);
        const Run d = medianByRate(shown);
        uint32_t failedPure = 0;
        uint32_t failedShown = 0;
        double converterMax = 0;
        for (int round = 0; round < rounds; ++round) {
            failedPure += pure[size_t(round)].failed;
            failedShown += shown[size_t(round)].failed;
            converterMax = std::max(converterMax, shown[size_t(round)].converterPerSecond);
        }
        if (paced == 0)
            std::printf("1920x1200 BayerRG8, emulator free-running, median of %d rounds of %d s\n",
                        rounds, seconds);
        else
            std::printf(
                "1920x1200 BayerRG8, emulator paced at %d fps, median of %d rounds of %d s\n",
                paced, rounds, seconds);
        std::printf("  pure grab:            %8.1f frames/s (reference)\n", p.cameraFps);
        std::printf("  with display path:    %8.1f frames/s  ratio %.3f (>= 0.95 required)\n",
                    d.cameraFps, d.cameraFps / p.cameraFps);
        std::printf("  rounds:              ");
        for (int round = 0; round < rounds; ++round)
            std::printf(" %.3f", shown[size_t(round)].cameraFps / pure[size_t(round)].cameraFps);
        std::printf(" (each round's ratio)\n");
        std::printf("  converter:            %8.1f conversions/s at most (<= 50 required)\n",
                    converterMax);
        std::printf("  failed frames:        %u pure, %u with display (0 required)\n", failedPure,
                    failedShown);
        std::printf("  grab thread CPU:      %8.2f us per frame pure, %.2f with display\n",
                    p.grabCpuUsPerFrame, d.grabCpuUsPerFrame);
    }

    // Small frames as fast as the emulator goes, through the display path: every frame the
    // emulator sent is counted, and the ids the grab thread saw follow each other.
    Setup small;
    small.width = 64;
    small.height = 64;
    small.pixelFormat = "Mono8";
    small.seconds = seconds;
    small.display = true;
    small.recordFrameIds = true;
    const Run tiny = measure(devices[0], small);
    std::printf("64x64 Mono8, emulator free-running, display path, %d s\n", seconds);
    std::printf("  camera:               %8.1f frames/s\n", tiny.cameraFps);
    std::printf("  counted / sent:       %llu / %llu (equal required)\n",
                static_cast<unsigned long long>(tiny.framesCounted),
                static_cast<unsigned long long>(tiny.framesSent));
    std::printf("  frame id gaps:        %llu (0 required)\n",
                static_cast<unsigned long long>(tiny.frameIdGaps));
    std::printf("  grab thread CPU:      %8.2f us per frame\n", tiny.grabCpuUsPerFrame);
    return 0;
}
