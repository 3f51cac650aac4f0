#include "recording/recordingassembly.h"

#include "recording/avimediawriteradapter.h"
#include "recording/bitmapmediawriter.h"
#include "recording/framebasedmediaimagecontroller.h"
#include "recording/recordingcontroller.h"
#include "recording/tiffmediawriter.h"
#include "recording/timebasedmediaimagecontroller.h"
#include "trace/trace.h"

namespace {

const char* const kCategory = "Recording";

} // namespace

std::unique_ptr<IMediaWriter> CRecordingAssembly::createWriter(const CRecordingOptions& options,
                                                               const SCameraFormat& camera,
                                                               int64_t aviImageDataLimitBytes)
{
    if (options.OutputType == 0)
        return std::make_unique<CAviMediaWriterAdapter>(
            options.AviFpsPlayback, camera.pixelType, camera.width, camera.height, Tarpo::TopDown,
            options.UseCompression ? &options.CompressionOptions : nullptr, aviImageDataLimitBytes);
    if (options.ImageOutputType == 0)
        return std::make_unique<CBitmapMediaWriter>();
    return std::make_unique<CTiffMediaWriter>();
}

std::unique_ptr<IMediaImageController>
CRecordingAssembly::createSamplingController(const CRecordingOptions& options,
                                             const QString& serial)
{
    if (options.SamplingMethod == 1)
        return std::make_unique<CTimeBasedMediaImageController>(
            options.TimeBasedTimeLimitEnabled, options.TimeBasedTimeLimitUnit,
            options.TimeBasedTimeLimit, options.TimeBasedTimeSampleRateUnit,
            options.TimeBasedTimeSampleRate,
            serial.isEmpty() ? std::string("Sampler") : "Sampler_" + serial.toStdString());
    return std::make_unique<CFrameBasedMediaImageController>(
        options.FrameBasedFrameLimitEnabled, int32_t(options.FrameBasedFrameLimit),
        int32_t(options.FrameBasedFrameSampleRate));
}

CRecordingAssembly::CRecordingAssembly(const CRecordingOptions& options,
                                       const SCameraFormat& camera, int64_t aviImageDataLimitBytes)
    : m_options(options)
{
    TARPO_TRACE(kCategory, "Start creating CRecordingController");
    m_writer = createWriter(m_options, camera, aviImageDataLimitBytes);
    m_samplingController = createSamplingController(m_options, camera.serial);
    m_controller = std::make_unique<CRecordingController>(m_options, m_samplingController.get(),
                                                          m_writer.get(), nullptr, camera.serial);
    TARPO_TRACE(kCategory, "Finished creating CRecordingController");
}

CRecordingAssembly::~CRecordingAssembly()
{
    TARPO_TRACE(kCategory, "Start destroying CRecordingController");
    m_controller->releaseResources();
    m_writer.reset();
    m_samplingController.reset();
    m_controller.reset();
    TARPO_TRACE(kCategory, "Finished destroying CRecordingController");
}
