#include "recordcommand.h"

#include "camerasession.h"
#include "usageerror.h"

#include "acquisition/stdfeaturelistcamera.h"
#include "genapi/genapi.h"
#include "recording/imediaimagecontroller.h"
#include "recording/recordingassembly.h"
#include "recording/recordingcontroller.h"
#include "tarpo/tlfactory.h"
#include "viewersdk/streambuffer.h"

#include <QCoreApplication>
#include <QDir>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <iostream>
#include <mutex>
#include <ostream>

namespace {

volatile std::sig_atomic_t g_interrupts = 0;

void onInterrupt(int)
{
    g_interrupts = g_interrupts + 1;
}

// SIGINT and SIGTERM end the recording while this lives.
class InterruptHandler
{
public:
    InterruptHandler()
    {
        g_interrupts = 0;
        m_int = std::signal(SIGINT, onInterrupt);
        m_term = std::signal(SIGTERM, onInterrupt);
    }
    ~InterruptHandler()
    {
        std::signal(SIGINT, m_int);
        std::signal(SIGTERM, m_term);
    }

private:
    void (*m_int)(int);
    void (*m_term)(int);
};

struct RecordOptions
{
    std::string device;
    CRecordingOptions recording;
    bool frameSampling = false;
    bool timeSampling = false;
    std::vector<std::pair<std::string, std::string>> assignments;
};

uint32_t parseNumber(const std::string& option, const std::string& text)
{
    size_t used = 0;
    unsigned long value = 0;
    try {
        value = std::stoul(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != text.size() || value < 1 || value > 0xFFFFFFFFul || text[0] == '-')
        throw UsageError("record: " + option + " takes a whole number of at least 1, not '" + text +
                         "'");
    return uint32_t(value);
}

RecordOptions parse(const std::vector<std::string>& args)
{
    RecordOptions options;
    CRecordingOptions& r = options.recording;
    r.OutputFolder = QDir::currentPath().toStdString();
    bool imageFormatGiven = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        auto value = [&]() -> const std::string& {
            if (i + 1 >= args.size())
                throw UsageError("record: " + arg + " needs a value");
            return args[++i];
        };
        if (arg == "-d" || arg == "--device") {
            options.device = value();
        } else if (arg == "--output-type") {
            const std::string& type = value();
            if (type != "video" && type != "images")
                throw UsageError("record: --output-type takes video or images, not '" + type + "'");
            r.OutputType = type == "video" ? 0 : 1;
        } else if (arg == "--image-format") {
            const std::string& format = value();
            if (format != "bmp" && format != "tiff")
                throw UsageError("record: --image-format takes bmp or tiff, not '" + format + "'");
            r.ImageOutputType = format == "bmp" ? 0 : 1;
            imageFormatGiven = true;
        } else if (arg == "--folder") {
            r.OutputFolder = QDir(QString::fromStdString(value())).absolutePath().toStdString();
        } else if (arg == "--frame-rate-sample") {
            r.FrameBasedFrameSampleRate = parseNumber(arg, value());
            options.frameSampling = true;
        } else if (arg == "--frame-limit") {
            r.FrameBasedFrameLimit = parseNumber(arg, value());
            r.FrameBasedFrameLimitEnabled = true;
            options.frameSampling = true;
        } else if (arg == "--time-sample") {
            r.TimeBasedTimeSampleRate = parseNumber(arg, value());
            r.TimeBasedTimeSampleRateUnit = CRecordingOptions::TimeUnit_Milliseconds;
            options.timeSampling = true;
        } else if (arg == "--time-limit") {
            r.TimeBasedTimeLimit = parseNumber(arg, value());
            r.TimeBasedTimeLimitUnit = CRecordingOptions::TimeUnit_Milliseconds;
            r.TimeBasedTimeLimitEnabled = true;
            options.timeSampling = true;
        } else if (arg == "--queue") {
            r.QueueBufferSize = parseNumber(arg, value());
        } else if (arg == "--codec") {
            const std::string& fourCC = value();
            if (fourCC.empty() || fourCC.size() > 4)
                throw UsageError("record: --codec takes a FourCC of up to four characters, not '" +
                                 fourCC + "'");
            r.UseCompression = true;
            r.CompressionOptions.aviCompressOptions.fccType = Tarpo::streamtypeVIDEO;
            r.CompressionOptions.aviCompressOptions.fccHandler = Tarpo::FourCCFromString(fourCC);
            r.CompressionOptions.aviCompressOptions.dwQuality = Tarpo::ICQUALITY_DEFAULT;
        } else if (arg == "--set") {
            const std::string& assignment = value();
            const size_t equals = assignment.find('=');
            if (equals == 0 || equals == std::string::npos)
                throw UsageError("record: '" + assignment + "' is not FEATURE=VALUE");
            options.assignments.emplace_back(assignment.substr(0, equals),
                                             assignment.substr(equals + 1));
        } else {
            throw UsageError("record: unknown argument '" + arg + "'");
        }
    }
    if (options.device.empty())
        throw UsageError("record: -d DEVICE is required");
    if (options.frameSampling && options.timeSampling)
        throw UsageError("record: frame-based (--frame-rate-sample, --frame-limit) and "
                         "time-based (--time-sample, --time-limit) sampling exclude each other");
    if (r.UseCompression && r.OutputType != 0)
        throw UsageError("record: --codec is for video output");
    if (imageFormatGiven && r.OutputType != 1)
        throw UsageError("record: --image-format is for --output-type images");
    r.SamplingMethod = options.timeSampling ? 1 : 0;
    return options;
}

// The camera's frame rate now, as the viewer takes it for an automatic playback rate.
double currentFrameRate(GenApi::INodeMap* map)
{
    for (const char* name :
         {"ResultingFrameRateAbs", "ResultingFrameRate", "AcquisitionFrameRate"}) {
        GenApi::CFloatPtr rate = map->GetNode(name);
        if (rate && GenApi::IsReadable(rate))
            return rate->GetValue();
    }
    return -1.0;
}

// What the recording reports from its threads, for the main thread to act on.
struct RecordingEvents
{
    std::mutex mutex; // guards state, failures
    std::condition_variable changed;
    ERecordingState state = RecordingState_None;
    std::vector<std::pair<QString, QString>> failures;
};

} // namespace

int RecordCommand::run(const std::vector<std::string>& args, std::ostream& out)
{
    RecordOptions options = parse(args);
    CRecordingOptions& recordingOptions = options.recording;

    CameraSession session(options.device);
    StdFeatureListCamera& camera = session.camera();
    const Tarpo::CDeviceInfo& info = camera.deviceInfo();
    GenApi::INodeMap* map = camera.device()->GetNodeMap();
    const std::string name = camera.displayName().toStdString();
    session.writeFeatures(options.assignments);

    std::atomic<bool> removed{false};
    const Tarpo::DeviceCallbackHandle removal = camera.device()->RegisterRemovalCallback(
        [&removed](Tarpo::ITarpoDevice*) { removed = true; });
    struct Deregister
    {
        Camera& camera;
        Tarpo::DeviceCallbackHandle handle;
        ~Deregister()
        {
            if (camera.device())
                camera.device()->DeregisterRemovalCallback(handle);
        }
    } deregister{camera, removal};

    camera.startContinuousShot();
    if (camera.state() != Camera::ContinuousShot)
        throw RUNTIME_EXCEPTION("Camera '%s' could not start grabbing", name.c_str());
    // As the device context does: the camera's rate becomes the playback rate.
    if (recordingOptions.AutomaticAviFpsPlayback) {
        const double rate = currentFrameRate(map);
        if (rate > 0)
            recordingOptions.AviFpsPlayback = rate;
    }

    CRecordingAssembly::SCameraFormat format;
    format.pixelType = Tarpo::GetPixelTypeFromName(
        GenApi::CEnumerationPtr(map->GetNode("PixelFormat"))->ToString());
    format.width = uint32_t(GenApi::CIntegerPtr(map->GetNode("Width"))->GetValue());
    format.height = uint32_t(GenApi::CIntegerPtr(map->GetNode("Height"))->GetValue());
    format.serial = QString::fromStdString(info.GetSerialNumber());
    CRecordingAssembly recording(recordingOptions, format);
    CRecordingController* controller = recording.controller();

    RecordingEvents events;
    // writer, timer or grab thread -> events, direct: only records and wakes the main thread
    QObject::connect(
        controller, &CRecordingController::stateChanged, controller,
        [&events](ERecordingState state) {
            std::lock_guard<std::mutex> lock(events.mutex);
            events.state = state;
            events.changed.notify_all();
        },
        Qt::DirectConnection);
    QObject::connect(
        controller, &CRecordingController::recordingFailure, controller,
        [&events](const QString& message, const QString& detail) {
            std::lock_guard<std::mutex> lock(events.mutex);
            events.failures.emplace_back(message, detail);
            events.changed.notify_all();
        },
        Qt::DirectConnection);
    // grab thread -> controller, direct: the controller copies kept frames on that thread
    QObject::connect(&camera, &Camera::bufferAvailable, controller,
                     &CRecordingController::onCameraBufferAvailable, Qt::DirectConnection);

    InterruptHandler interrupts;
    controller->startRecording(QString::fromStdString(info.GetFriendlyName()));
    if (controller->state() == RecordingState_Recording &&
        !recording.samplingController()->hasLimit())
        std::cerr << "tarpo-cli: record: recording until interrupted (Ctrl+C)\n";

    bool stopRequested = false;
    bool aborted = false;
    size_t failuresSeen = 0;
    for (;;) {
        ERecordingState state;
        size_t failures;
        {
            std::unique_lock<std::mutex> lock(events.mutex);
            events.changed.wait_for(lock, std::chrono::milliseconds(50));
            state = events.state;
            failures = events.failures.size();
        }
        // The camera hands its stop requests to this thread.
        QCoreApplication::processEvents();
        if (state == RecordingState_Stopped)
            break;
        if (failures > failuresSeen) {
            // As the device context does once it has shown the failure.
            failuresSeen = failures;
            controller->abortRecording();
            aborted = true;
            continue;
        }
        if (aborted)
            continue;
        const bool stopWanted =
            g_interrupts > 0 || removed.load() || camera.state() != Camera::ContinuousShot;
        if (stopWanted && !stopRequested &&
            (state == RecordingState_Recording || state == RecordingState_Paused)) {
            controller->stopRecording();
            stopRequested = true;
        } else if (g_interrupts > 1 && state == RecordingState_WaitingForQueue) {
            // A second interrupt does not wait for the queue.
            controller->abortRecording();
            aborted = true;
        }
    }
    controller->releaseResources();
    controller->updateStatistics();
    const RecordingStatistics statistics = controller->statistics();
    camera.stopGrab();

    for (const auto& failure : events.failures) {
        std::cerr << "tarpo-cli: record: " << failure.first.toStdString() << '\n';
        if (!failure.second.isEmpty() && !failure.second.startsWith(failure.first))
            std::cerr << "tarpo-cli: record: " << failure.second.toStdString() << '\n';
    }
    out << "recorded=" << statistics.framesWritten << " dropped=" << statistics.framesDropped
        << " state=Stopped\n";
    return events.failures.empty() ? 0 : 1;
}
