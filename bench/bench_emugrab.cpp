// Throughput of the camera emulator through its stream grabber: frames per second at the
// shortest exposure (the emulator paces nothing then), for a full HD-class sensor and a tiny
// image, against memcpy of the same bytes into the same buffers measured in the same run.
// The emulator must never be what limits a measurement of the viewer's pipeline.
// Run from a Release build: bench_emugrab [seconds per case, default 2] [part of a case's name]

#include "emulator/emutransportlayer.h"
#include "genapi/genapi.h"
#include "tarpo/tarpodevice.h"

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace GenApi;
using Clock = std::chrono::steady_clock;

namespace {

struct Case
{
    const char* name;
    int64_t width;
    int64_t height;
    const char* pixelFormat;
    const char* testImage;
    double requiredFps;
};

struct Figures
{
    double framesPerSecond = 0;
    double cpuCores = 0; // process CPU time per wall time
    uint64_t frames = 0;
    uint64_t failed = 0;
};

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

Figures grab(Tarpo::ITarpoDevice* device, const Case& c, double seconds, size_t* payload)
{
    INodeMap* map = device->GetNodeMap();
    CIntegerPtr(map->GetNode("Width"))->SetValue(c.width);
    CIntegerPtr(map->GetNode("Height"))->SetValue(c.height);
    CEnumerationPtr(map->GetNode("PixelFormat"))->FromString(c.pixelFormat);
    CEnumerationPtr(map->GetNode("TestImageSelector"))->FromString(c.testImage);
    CBooleanPtr(map->GetNode("AcquisitionFrameRateEnable"))->SetValue(false);
    CFloatPtr exposure(map->GetNode("ExposureTime"));
    exposure->SetValue(exposure->GetMin());
    *payload = size_t(CIntegerPtr(map->GetNode("PayloadSize"))->GetValue());

    const int bufferCount = 16;
    Tarpo::IStreamGrabber* grabber = device->GetStreamGrabber(0);
    grabber->Open();
    CIntegerPtr(grabber->GetNodeMap()->GetNode("MaxNumBuffer"))->SetValue(bufferCount);
    grabber->PrepareGrab();
    std::vector<std::vector<uint8_t>> buffers(bufferCount, std::vector<uint8_t>(*payload));
    for (auto& buffer : buffers)
        grabber->QueueBuffer(grabber->RegisterBuffer(buffer.data(), buffer.size()));

    CCommandPtr(map->GetNode("AcquisitionStart"))->Execute();
    Figures figures;
    Tarpo::GrabResult result;
    // The first frames pay for the synthesis' set-up; the measurement starts after them.
    for (int warmUp = 0; warmUp < 20 && grabber->GetWaitObject().Wait(5000);) {
        if (grabber->RetrieveResult(result)) {
            grabber->QueueBuffer(result.Handle());
            ++warmUp;
        }
    }
    const double cpuStart = cpuSeconds();
    const Clock::time_point start = Clock::now();
    const Clock::time_point end =
        start + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    Clock::time_point now = start;
    while (now < end) {
        if (grabber->GetWaitObject().Wait(1000)) {
            while (grabber->RetrieveResult(result)) {
                ++figures.frames;
                if (!result.Succeeded())
                    ++figures.failed;
                grabber->QueueBuffer(result.Handle());
            }
        }
        now = Clock::now();
    }
    const double elapsed = std::chrono::duration<double>(now - start).count();
    figures.cpuCores = (cpuSeconds() - cpuStart) / elapsed;
    figures.framesPerSecond = double(figures.frames) / elapsed;

    CCommandPtr(map->GetNode("AcquisitionStop"))->Execute();
    grabber->CancelGrab();
    while (grabber->RetrieveResult(result)) {
    }
    grabber->FinishGrab();
    grabber->Close();
    return figures;
}

// memcpy of one payload from a source into the same 16 buffers in turn, as often as fits.
double memcpyFramesPerSecond(size_t payload, double seconds)
{
    std::vector<uint8_t> source(payload);
    for (size_t i = 0; i < payload; ++i)
        source[i] = uint8_t(i * 31);
    std::vector<std::vector<uint8_t>> buffers(16, std::vector<uint8_t>(payload));
    uint64_t copies = 0;
    const Clock::time_point start = Clock::now();
    Clock::time_point now = start;
    while (std::chrono::duration<double>(now - start).count() < seconds) {
        for (int i = 0; i < 64; ++i) {
            std::memcpy(buffers[copies % buffers.size()].data(), source.data(), payload);
            ++copies;
        }
        now = Clock::now();
    }
    // Keeps the copies from being optimised away.
    volatile uint8_t sink = buffers[copies % buffers.size()][payload / 2];
    (void)sink;
    return double(copies) / std::chrono::duration<double>(now - start).count();
}

} // namespace

int main(int argc, char** argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 2.0;
    const std::string only = argc > 2 ? argv[2] : "";
    const Case cases[] = {
        {"1920x1200 Mono8 MovingStripes", 1920, 1200, "Mono8", "MovingStripes", 1000.0},
        {"64x64 Mono8 MovingStripes", 64, 64, "Mono8", "MovingStripes", 20000.0},
        {"1920x1200 Mono8 GreyRamp", 1920, 1200, "Mono8", "GreyRamp", 1000.0},
        {"1920x1200 BayerRG12p MovingStripes", 1920, 1200, "BayerRG12p", "MovingStripes", 0.0},
        {"1920x1200 RGB8 FrameCounter", 1920, 1200, "RGB8", "FrameCounter", 0.0},
    };

    try {
        Emulator::EmuTransportLayer transportLayer(1);
        Tarpo::DeviceInfoList_t infos;
        transportLayer.EnumerateDevices(infos);
        Tarpo::ITarpoDevice* device = transportLayer.CreateDevice(infos.at(0));
        device->Open();

        std::printf("Camera emulator through IStreamGrabber, %.1f s per case, 16 buffers\n",
                    seconds);
        std::printf("%-36s %10s %9s %12s %7s %9s %6s  %s\n", "case", "frames/s", "MB/s",
                    "memcpy f/s", "ratio", "extra us", "cores", "required");
        bool allMet = true;
        for (const Case& c : cases) {
            if (!only.empty() && std::string(c.name).find(only) == std::string::npos)
                continue;
            size_t payload = 0;
            const Figures figures = grab(device, c, seconds, &payload);
            const double reference = memcpyFramesPerSecond(payload, seconds / 2);
            const bool met = c.requiredFps <= 0 || figures.framesPerSecond >= c.requiredFps;
            allMet = allMet && met && figures.failed == 0;
            char required[32] = "-";
            if (c.requiredFps > 0)
                std::snprintf(required, sizeof required, ">= %.0f %s", c.requiredFps,
                              met ? "met" : "NOT MET");
            const double extraUs = 1e6 / figures.framesPerSecond - 1e6 / reference;
            std::printf("%-36s %10.0f %9.1f %12.0f %7.3f %9.2f %6.2f  %s%s\n", c.name,
                        figures.framesPerSecond, figures.framesPerSecond * double(payload) / 1e6,
                        reference, figures.framesPerSecond / reference, extraUs, figures.cpuCores,
                        required, figures.failed ? " (failed frames!)" : "");
        }
        std::printf("ratio: emulator frames/s over memcpy of the same payload into the same "
                    "buffers; extra us: time per frame beyond that memcpy; cores: process CPU "
                    "time per second while grabbing\n");
        transportLayer.DestroyDevice(device);
        return allMet ? 0 : 1;
    } catch (const GenICam::GenericException& e) {
        std::fprintf(stderr, "bench_emugrab: %s\n", e.what());
        return 2;
    }
}
