// GigE figures of the camera layer against Aravis' fake camera on loopback: discovery time,
// open time, and frames per second through our stream grabber at 512x512 Mono8, against
// Aravis' own arv-camera-test-0.8 on the same camera in the same run.
// Run it inside a private network namespace, so that no packet leaves this host:
//   scripts/netns-run.sh build/release/bench/bench_gigegrab [seconds]

#include "tarpo/tlfactory.h"

#include "genapi/genapi.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>

#include <cstdio>
#include <vector>

using namespace Tarpo;
using namespace GenApi;

namespace {

const char* const serialNumber = "GVBENCH";

double elapsedMs(const QElapsedTimer& timer)
{
    return timer.nsecsElapsed() / 1e6;
}

// Frames per second through our grabber, and failed frames, over `seconds`.
std::pair<double, int> grabWithTarpo(ITarpoDevice* device, int seconds)
{
    INodeMap* map = device->GetNodeMap();
    CIntegerPtr(map->GetNode("Width"))->SetValue(512);
    CIntegerPtr(map->GetNode("Height"))->SetValue(512);
    CEnumerationPtr(map->GetNode("PixelFormat"))->FromString("Mono8");
    CFloatPtr(map->GetNode("AcquisitionFrameRate"))->SetValue(1000.0);

    IStreamGrabber* grabber = device->GetStreamGrabber(0);
    grabber->Open();
    // As arv-camera-test -r: the fake camera does not resend. (A new stream each run.)
    CBooleanPtr(grabber->GetNodeMap()->GetNode("PacketResendEnable"))->SetValue(false);
    const int64_t payloadSize =
        CIntegerPtr(grabber->GetNodeMap()->GetNode("PayloadSize"))->GetValue();
    grabber->PrepareGrab();
    std::vector<std::vector<uint8_t>> memory(16, std::vector<uint8_t>(size_t(payloadSize)));
    std::vector<StreamBufferHandle> handles;
    for (auto& buffer : memory) {
        handles.push_back(grabber->RegisterBuffer(buffer.data(), buffer.size()));
        grabber->QueueBuffer(handles.back());
    }
    CCommandPtr(map->GetNode("AcquisitionStart"))->Execute();
    QElapsedTimer timer;
    timer.start();
    int grabbed = 0;
    int failed = 0;
    GrabResult result;
    while (timer.elapsed() < seconds * 1000) {
        if (!grabber->GetWaitObject().Wait(1000))
            continue;
        grabber->RetrieveResult(result);
        (result.Succeeded() ? grabbed : failed)++;
        grabber->QueueBuffer(result.Handle());
    }
    const double fps = grabbed * 1000.0 / elapsedMs(timer);
    CCommandPtr(map->GetNode("AcquisitionStop"))->Execute();
    grabber->CancelGrab();
    while (grabber->RetrieveResult(result)) {
    }
    for (StreamBufferHandle handle : handles)
        grabber->DeregisterBuffer(handle);
    grabber->FinishGrab();
    grabber->Close();
    return {fps, failed};
}

// Frames per second arv-camera-test-0.8 reports completing over `seconds`.
double grabWithAravisTool(int seconds)
{
    QProcess tool;
    tool.setProcessChannelMode(QProcess::MergedChannels);
    tool.start("arv-camera-test-0.8",
               {"-n", QString("Aravis-Fake-") + serialNumber, "-w", "512", "-h", "512", "-f",
                "1000", "-r", "--duration", QString::number(seconds)});
    if (!tool.waitForFinished((seconds + 20) * 1000))
        return -1;
    const QString output = QString::fromUtf8(tool.readAll());
    const auto match = QRegularExpression("n_completed_buffers\\s*=\\s*(\\d+)").match(output);
    return match.hasMatch() ? match.captured(1).toLongLong() / double(seconds) : -1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (qgetenv("TARPO_IN_NETNS") != "1") {
        std::fprintf(stderr,
                     "Run me inside a private network namespace: "
                     "scripts/netns-run.sh %s\n",
                     argv[0]);
        return 2;
    }
    const int seconds = argc > 1 ? std::max(1, atoi(argv[1])) : 3;
    qputenv("TARPO_CAMEMU", "0");
    TarpoAutoInitTerm autoInitTerm;

    QProcess camera;
    camera.start(QStandardPaths::findExecutable("arv-fake-gv-camera-0.8"),
                 {"-i", "127.0.0.1", "-s", serialNumber});
    if (!camera.waitForStarted(5000)) {
        std::fprintf(stderr, "arv-fake-gv-camera-0.8 does not start\n");
        return 1;
    }
    QThread::msleep(500);

    CTlFactory& factory = CTlFactory::GetInstance();
    ITransportLayer* gigE = factory.CreateTl("MorvexGigE");
    QElapsedTimer timer;
    timer.start();
    DeviceInfoList_t found;
    gigE->EnumerateDevices(found);
    const double discoveryMs = elapsedMs(timer);
    if (found.empty()) {
        std::fprintf(stderr, "the fake camera was not discovered\n");
        return 1;
    }

    timer.restart();
    ITarpoDevice* device = factory.CreateDevice(found.front());
    const double createMs = elapsedMs(timer);
    timer.restart();
    device->Open();
    const double openMs = elapsedMs(timer);
    timer.restart();
    device->Close();
    const double closeMs = elapsedMs(timer);

    // The fake camera is the bottleneck and shares the processor with the receiver, so the two
    // receivers take turns, in both orders, and the ratio is over all rounds.
    constexpr int rounds = 4;
    double tarpoSum = 0;
    double aravisSum = 0;
    int failed = 0;
    std::printf("512x512 Mono8, %d s per run, frames/s:\n  round  Tarpo grabber  arv-camera-test\n",
                seconds);
    for (int round = 0; round < rounds; ++round) {
        std::pair<double, int> tarpo;
        double aravis = 0;
        // The camera has one controller at a time: ours is closed while the tool runs.
        const auto grabOnce = [&] {
            device->Open();
            tarpo = grabWithTarpo(device, seconds);
            device->Close();
        };
        if (round % 2 == 0) {
            grabOnce();
            aravis = grabWithAravisTool(seconds);
        } else {
            aravis = grabWithAravisTool(seconds);
            grabOnce();
        }
        std::printf("  %5d  %13.1f  %15.1f\n", round + 1, tarpo.first, aravis);
        tarpoSum += tarpo.first;
        aravisSum += aravis;
        failed += tarpo.second;
    }
    factory.DestroyDevice(device);
    factory.ReleaseTl(gigE);
    camera.kill();
    camera.waitForFinished();

    std::printf("  mean   %13.1f  %15.1f   (Tarpo failed frames: %d)\n", tarpoSum / rounds,
                aravisSum / rounds, failed);
    if (aravisSum > 0)
        std::printf("ratio Tarpo / arv-camera-test        %8.2f\n", tarpoSum / aravisSum);
    std::printf("discovery (EnumerateDevices, GigE)   %8.1f ms\n", discoveryMs);
    std::printf("CreateDevice (unicast check)         %8.1f ms\n", createMs);
    std::printf("Open                                 %8.1f ms\n", openMs);
    std::printf("Close                                %8.1f ms\n", closeMs);
    return 0;
}
