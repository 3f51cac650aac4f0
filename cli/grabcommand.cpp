#include "grabcommand.h"

#include "camerasession.h"
#include "usageerror.h"

#include "acquisition/converter.h"
#include "acquisition/decoupler.h"
#include "acquisition/stdfeaturelistcamera.h"
#include "genapi/genapi.h"
#include "display/tiffimagewriter.h"
#include "tarpo/tlfactory.h"
#include "viewersdk/streambuffer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QImage>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <iomanip>
#include <mutex>
#include <ostream>

namespace {

struct GrabOptions
{
    std::string device;
    long long count = -1;
    std::string saveFolder;
    std::string format = "bmp";
    std::string pixelFormat;
    std::vector<std::pair<std::string, std::string>> assignments;
    long long timeoutMs = 30000;
};

long long parseCount(const std::string& option, const std::string& text, long long minimum)
{
    size_t used = 0;
    long long value = 0;
    try {
        value = std::stoll(text, &used);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used != text.size() || value < minimum)
        throw UsageError("grab: " + option + " takes a whole number of at least " +
                         std::to_string(minimum) + ", not '" + text + "'");
    return value;
}

GrabOptions parse(const std::vector<std::string>& args)
{
    GrabOptions options;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        auto value = [&]() -> const std::string& {
            if (i + 1 >= args.size())
                throw UsageError("grab: " + arg + " needs a value");
            return args[++i];
        };
        if (arg == "-d" || arg == "--device") {
            options.device = value();
        } else if (arg == "-n" || arg == "--count") {
            options.count = parseCount(arg, value(), 1);
        } else if (arg == "--save") {
            options.saveFolder = value();
        } else if (arg == "--format") {
            options.format = value();
            if (options.format != "bmp" && options.format != "png" && options.format != "tiff")
                throw UsageError("grab: --format takes bmp, png or tiff, not '" + options.format + "'");
        } else if (arg == "--pixel-format") {
            options.pixelFormat = value();
        } else if (arg == "--set") {
            const std::string& assignment = value();
            const size_t equals = assignment.find('=');
            if (equals == 0 || equals == std::string::npos)
                throw UsageError("grab: '" + assignment + "' is not FEATURE=VALUE");
            options.assignments.emplace_back(assignment.substr(0, equals),
                                             assignment.substr(equals + 1));
        } else if (arg == "--timeout-ms") {
            options.timeoutMs = parseCount(arg, value(), 1);
        } else {
            throw UsageError("grab: unknown argument '" + arg + "'");
        }
    }
    if (options.device.empty())
        throw UsageError("grab: -d DEVICE is required");
    if (options.count < 1)
        throw UsageError("grab: -n COUNT is required");
    return options;
}

// Saves frames one by one on the main thread, converted as the viewer shows them; a TIFF of
// deeper data keeps the camera's bit depth (16-bit grey, or 16-bit RGB for colour).
class FrameSaver
{
public:
    FrameSaver(const std::string& folder, const std::string& format) : m_folder(folder), m_format(format) {}

    void save(TarpoViewerSdk::StreamBuffer* buffer, long long index)
    {
        const QString file = QDir(QString::fromStdString(m_folder))
                                 .filePath(QString("frame_%1.%2")
                                               .arg(index, 4, 10, QChar('0'))
                                               .arg(QString::fromStdString(m_format)));
        const TarpoViewerSdk::Image image = m_converter.convert(buffer);
        const bool written = image.isValid() && (m_format == "tiff"
                                                     ? TiffImageWriter::write(file, image)
                                                     : image.qimage().save(file));
        if (!written)
            throw RUNTIME_EXCEPTION("Could not write '%s'", file.toLocal8Bit().constData());
    }

private:
    std::string m_folder;
    std::string m_format;
    Converter m_converter;
};

} // namespace

int GrabCommand::run(const std::vector<std::string>& args, std::ostream& out)
{
    const GrabOptions options = parse(args);
    if (!options.saveFolder.empty() && !QDir().mkpath(QString::fromStdString(options.saveFolder)))
        throw RUNTIME_EXCEPTION("Cannot create the folder '%s'", options.saveFolder.c_str());

    CameraSession session(options.device);
    StdFeatureListCamera& camera = session.camera();
    const std::string name = camera.displayName().toStdString();
    if (!options.pixelFormat.empty())
        session.writeFeature("PixelFormat", options.pixelFormat);
    session.writeFeatures(options.assignments);

    // The display path, as in the viewer: grab thread -> decoupler -> converter.
    Decoupler decoupler(nullptr, "Decoupler_cli");
    Converter converter;
    QObject::connect(&camera, &Camera::bufferAvailable, &decoupler, &Decoupler::setBuffer,
                     Qt::DirectConnection); // grab thread -> decoupler, direct
    QObject::connect(&decoupler, &Decoupler::bufferAvailable, &converter, &Converter::setBuffer,
                     Qt::DirectConnection); // decoupler thread -> converter, direct
    // On any way out the camera stops before the decoupler and converter go.
    struct StopGrab
    {
        Camera& camera;
        ~StopGrab() { camera.stopGrab(); }
    } stopGrab{camera};

    // The first COUNT frames: every result reaches bufferAvailable (failed ones too, as
    // failed buffers are shown), so the grab thread counts them there and queues those to save
    // (locked); the main thread writes them.
    camera.setShowFailedBuffers(true);
    std::mutex mutex; // guards pending, taken, failedAtCount
    std::condition_variable arrived;
    std::deque<TarpoViewerSdk::StreamBuffer*> pending;
    long long taken = 0;
    long long failedAtCount = -1;
    const bool saving = !options.saveFolder.empty();
    QObject::connect(&camera, &Camera::bufferAvailable, &camera,
                     [&](TarpoViewerSdk::StreamBuffer* buffer) {
                         std::lock_guard<std::mutex> lock(mutex);
                         if (taken >= options.count)
                             return;
                         if (++taken == options.count)
                             failedAtCount = camera.erroneousTotal();
                         if (saving) {
                             buffer->lock();
                             pending.push_back(buffer);
                         }
                         arrived.notify_one();
                     },
                     Qt::DirectConnection); // grab thread -> counter and saver queue, direct

    FrameSaver saver(options.saveFolder, options.format);
    QElapsedTimer clock;
    clock.start();
    camera.startContinuousShot();
    if (camera.state() != Camera::ContinuousShot)
        throw RUNTIME_EXCEPTION("Camera '%s' could not start grabbing", name.c_str());
    long long saved = 0;
    bool timedOut = false;
    auto frames = [&] {
        std::lock_guard<std::mutex> lock(mutex);
        return taken;
    };
    while (frames() < options.count || (saving && saved < options.count)) {
        if (clock.elapsed() > options.timeoutMs) {
            timedOut = true;
            break;
        }
        TarpoViewerSdk::StreamBuffer* buffer = nullptr;
        {
            std::unique_lock<std::mutex> lock(mutex);
            arrived.wait_for(lock, std::chrono::milliseconds(10), [&] { return !pending.empty(); });
            if (!pending.empty()) {
                buffer = pending.front();
                pending.pop_front();
            }
        }
        if (buffer) {
            try {
                saver.save(buffer, ++saved);
            } catch (...) {
                buffer->unlock();
                throw;
            }
            buffer->unlock();
        }
        if (camera.state() != Camera::ContinuousShot)
            break; // the camera stopped by itself (vanished)
    }
    double fps = -1;
    uint64_t bytesPerSecond = 0;
    camera.getPerfData(&fps, &bytesPerSecond, nullptr);
    camera.stopGrab();
    long long failed = 0;
    long long grabbed = 0;
    {
        std::lock_guard<std::mutex> lock(mutex);
        failed = failedAtCount >= 0 ? failedAtCount : camera.erroneousTotal();
        grabbed = taken - failed;
    }
    decoupler.shutDown();
    {
        std::lock_guard<std::mutex> lock(mutex);
        for (TarpoViewerSdk::StreamBuffer* buffer : pending)
            buffer->unlock();
        pending.clear();
    }
    out << "grabbed=" << grabbed << " failed=" << failed << " fps=" << std::fixed
        << std::setprecision(1) << std::max(fps, 0.0) << '\n';
    if (timedOut)
        throw TIMEOUT_EXCEPTION("Only %lld of %lld frames arrived within %lld ms", grabbed + failed,
                                options.count, options.timeoutMs);
    return 0;
}
