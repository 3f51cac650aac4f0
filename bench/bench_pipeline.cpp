// The acquisition path at full speed from the emulator, 1920 x 1200 BayerRG8, free-running:
//   1. pure grab (frames counted, not handed on): the reference frame rate;
//   2. the display path (grab thread -> decoupler -> converter) with the throttle at 50 fps:
//      the camera must keep >= 95 % of the pure-grab rate, the converter run <= 50 times/s,
//      and no frame may fail;
// and the grab thread's own CPU time per frame (retrieve, lock, counters, hand-over).
// Arguments: seconds per run (4), paced frame rate (1000). Run from a Release build.

#include "acquisition/converter.h"
#include "acquisition/decoupler.h"
#include "acquisition/stdfeaturelistcamera.h"
#include "genapi/genapi.h"
#include "qtbase/hirestimer.h"
#include "tarpo/tlfactory.h"
#include "viewersdk/streambuffer.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <ctime>

namespace {

double threadCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec + ts.tv_nsec / 1e9;
}

struct Run
{
    double cameraFps = 0;
    double converterPerSecond = 0;
    uint32_t failed = 0;
    double grabCpuUsPerFrame = 0;
};

// `pacedFps` 0 lets the emulator run as fast as it can; otherwise it delivers at that rate.
Run measure(const Tarpo::CDeviceInfo& info, bool display, int seconds, int pacedFps)
{
    StdFeatureListCamera camera(&info, nullptr, 512u << 20, false);
    camera.attachTarpoDevice(Tarpo::CTlFactory::GetInstance().CreateDevice(info));
    camera.open();
    GenApi::INodeMap* map = camera.device()->GetNodeMap();
    auto set = [map](const char* name, const char* value) {
        GenApi::CValuePtr(map->GetNode(name))->FromString(value);
    };
    set("Width", "1920");
    set("Height", "1200");
    set("PixelFormat", "BayerRG8");
    set("TestImageSelector", "MovingStripes");
    GenApi::CFloatPtr exposure = map->GetNode("ExposureTime");
    exposure->SetValue(exposure->GetMin()); // as fast as the emulator goes
    set("AcquisitionFrameRateEnable", pacedFps > 0 ? "1" : "0");
    if (pacedFps > 0)
        GenApi::CFloatPtr(map->GetNode("AcquisitionFrameRate"))->SetValue(pacedFps);

    Decoupler decoupler(nullptr, "Decoupler_bench");
    Converter converter;
    HiResTimer throttle;
    std::atomic<int> conversions{0};
    std::atomic<int> handedOn{0};
    std::atomic<double> grabCpu{0};
    double lastCpu = -1;
    if (display) {
        decoupler.enableThrottle(true);
        // grab thread -> decoupler, direct: one lock and one wake-up per frame
        QObject::connect(&camera, &Camera::bufferAvailable, &decoupler, &Decoupler::setBuffer,
                         Qt::DirectConnection);
        // grab thread -> CPU meter, direct: the grab thread's CPU time between hand-overs
        QObject::connect(&camera, &Camera::bufferAvailable, &camera,
                         [&](TarpoViewerSdk::StreamBuffer*) {
                             const double now = threadCpuSeconds();
                             if (lastCpu >= 0)
                                 grabCpu = grabCpu + (now - lastCpu);
                             lastCpu = now;
                             ++handedOn;
                         },
                         Qt::DirectConnection);
        QObject::connect(&decoupler, &Decoupler::bufferAvailable, &converter, &Converter::setBuffer,
                         Qt::DirectConnection); // decoupler thread -> converter, direct
        QObject::connect(&converter, &Converter::imageAvailable, &converter,
                         [&](const TarpoViewerSdk::Image&) { ++conversions; },
                         Qt::DirectConnection); // decoupler thread -> counter, direct
        QObject::connect(&throttle, &HiResTimer::timeout, &decoupler,
                         &Decoupler::throttleTimerTick, Qt::DirectConnection); // timer thread -> decoupler, direct
        throttle.start(20);
    } else {
        camera.setPureGrab(true);
    }
    camera.startContinuousShot();
    QThread::msleep(500); // warm-up: buffers queued, caches filled
    const uint32_t startFrames = camera.totalCounter();
    const int startConversions = conversions.load();
    QElapsedTimer clock;
    clock.start();
    QThread::sleep(static_cast<unsigned long>(seconds));
    const double elapsed = clock.elapsed() / 1000.0;
    Run run;
    run.cameraFps = (camera.totalCounter() - startFrames) / elapsed;
    run.converterPerSecond = (conversions.load() - startConversions) / elapsed;
    run.failed = camera.erroneousTotal();
    throttle.stop();
    camera.stopGrab();
    decoupler.shutDown();
    if (handedOn.load() > 1)
        run.grabCpuUsPerFrame = grabCpu.load() * 1e6 / (handedOn.load() - 1);
    camera.shutDown();
    camera.detachTarpoDevice();
    return run;
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
    // Free-running, the emulator and the grab thread compete with the display path for the
    // same cores; paced, the emulator leaves room and the figure shows whether the pipeline
    // keeps up with the camera.
    for (int paced : {0, pacedFps}) {
        const Run pure = measure(devices[0], false, seconds, paced);
        const Run shown = measure(devices[0], true, seconds, paced);
        if (paced == 0)
            std::printf("1920x1200 BayerRG8, emulator free-running, %d s each\n", seconds);
        else
            std::printf("1920x1200 BayerRG8, emulator paced at %d fps, %d s each\n", paced,
                        seconds);
        std::printf("  pure grab:            %8.1f frames/s (reference)\n", pure.cameraFps);
        std::printf("  with display path:    %8.1f frames/s  ratio %.3f (>= 0.95 required)\n",
                    shown.cameraFps, shown.cameraFps / pure.cameraFps);
        std::printf("  converter:            %8.1f conversions/s (<= 50 required)\n",
                    shown.converterPerSecond);
        std::printf("  failed frames:        %u pure, %u with display (0 required)\n",
                    pure.failed, shown.failed);
        std::printf("  grab thread CPU:      %8.2f us per frame (retrieve, lock, counters, "
                    "hand-over)\n",
                    shown.grabCpuUsPerFrame);
    }
    return 0;
}
