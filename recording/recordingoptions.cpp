#include "recording/recordingoptions.h"

#include "genapi/genicamexception.h"

#include <QDir>
#include <QSettings>

#include <algorithm>
#include <cstring>

namespace {

const char* const kGroup = "Recording";
const char* const kCompressionKey = "AviCompressionOptionsx64";
constexpr int kRecordBytes = int(sizeof(Tarpo::SAviCompressionOptions));

} // namespace

CRecordingOptions::CRecordingOptions()
{
    pointAtBlocks();
}

CRecordingOptions::CRecordingOptions(const CRecordingOptions& other)
{
    *this = other;
}

CRecordingOptions& CRecordingOptions::operator=(const CRecordingOptions& other)
{
    if (this == &other)
        return *this;
    OutputType = other.OutputType;
    ImageOutputType = other.ImageOutputType;
    OutputFolder = other.OutputFolder;
    SamplingMethod = other.SamplingMethod;
    TimeBasedTimeLimitEnabled = other.TimeBasedTimeLimitEnabled;
    TimeBasedTimeLimitUnit = other.TimeBasedTimeLimitUnit;
    TimeBasedTimeLimit = other.TimeBasedTimeLimit;
    TimeBasedTimeSampleRateUnit = other.TimeBasedTimeSampleRateUnit;
    TimeBasedTimeSampleRate = other.TimeBasedTimeSampleRate;
    FrameBasedFrameLimitEnabled = other.FrameBasedFrameLimitEnabled;
    FrameBasedFrameLimit = other.FrameBasedFrameLimit;
    FrameBasedFrameSampleRate = other.FrameBasedFrameSampleRate;
    QueueBufferSize = other.QueueBufferSize;
    AutomaticAviFpsPlayback = other.AutomaticAviFpsPlayback;
    AviFpsPlayback = other.AviFpsPlayback;
    ShowOptionsOnRecordStart = other.ShowOptionsOnRecordStart;
    UseCompression = other.UseCompression;
    CompressionOptions = other.CompressionOptions;
    m_formatBlock = other.m_formatBlock;
    m_parameterBlock = other.m_parameterBlock;
    // The copied pointers still point into the other record's blocks.
    pointAtBlocks();
    return *this;
}

void CRecordingOptions::pointAtBlocks()
{
    Tarpo::AVICOMPRESSOPTIONS& avi = CompressionOptions.aviCompressOptions;
    avi.lpFormat = m_formatBlock.empty() ? nullptr : m_formatBlock.data();
    avi.cbFormat = uint32_t(m_formatBlock.size());
    avi.lpParms = m_parameterBlock.empty() ? nullptr : m_parameterBlock.data();
    avi.cbParms = uint32_t(m_parameterBlock.size());
}

void CRecordingOptions::setFormatBlock(const void* data, size_t size)
{
    const auto* bytes = static_cast<const uint8_t*>(data);
    m_formatBlock.assign(bytes, bytes + (data ? size : 0));
    pointAtBlocks();
}

void CRecordingOptions::setParameterBlock(const void* data, size_t size)
{
    const auto* bytes = static_cast<const uint8_t*>(data);
    m_parameterBlock.assign(bytes, bytes + (data ? size : 0));
    pointAtBlocks();
}

void CRecordingOptions::setCompressionOptions(const Tarpo::SAviCompressionOptions& options)
{
    // Copies first: `options` may point into this record's own blocks.
    const auto& avi = options.aviCompressOptions;
    const auto* format = static_cast<const uint8_t*>(avi.lpFormat);
    const auto* parms = static_cast<const uint8_t*>(avi.lpParms);
    std::vector<uint8_t> formatBlock(format, format + (format ? avi.cbFormat : 0));
    std::vector<uint8_t> parameterBlock(parms, parms + (parms ? avi.cbParms : 0));
    CompressionOptions = options;
    m_formatBlock.swap(formatBlock);
    m_parameterBlock.swap(parameterBlock);
    pointAtBlocks();
}

QByteArray CRecordingOptions::compressionOptionsToByteArray() const
{
    QByteArray bytes(reinterpret_cast<const char*>(&CompressionOptions), kRecordBytes);
    bytes.append(reinterpret_cast<const char*>(m_parameterBlock.data()),
                 int(m_parameterBlock.size()));
    bytes.append(reinterpret_cast<const char*>(m_formatBlock.data()), int(m_formatBlock.size()));
    return bytes;
}

void CRecordingOptions::compressionOptionsFromByteArray(const QByteArray& bytes)
{
    if (bytes.size() < kRecordBytes)
        return;
    std::memcpy(&CompressionOptions, bytes.constData(), size_t(kRecordBytes));
    Tarpo::AVICOMPRESSOPTIONS& avi = CompressionOptions.aviCompressOptions;
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.constData());
    size_t offset = size_t(kRecordBytes);
    const size_t total = size_t(bytes.size());
    const size_t parms = std::min<size_t>(avi.cbParms, total - offset);
    m_parameterBlock.assign(data + offset, data + offset + parms);
    offset += parms;
    const size_t format = std::min<size_t>(avi.cbFormat, total - offset);
    m_formatBlock.assign(data + offset, data + offset + format);
    pointAtBlocks();
}

void CRecordingOptions::load(QSettings& settings)
{
    settings.beginGroup(kGroup);
    OutputType = settings.value("OutputType", 0).toUInt();
    ImageOutputType = settings.value("ImageOutputType", 1).toUInt();
    OutputFolder = settings.value("OutputFolder", QDir::toNativeSeparators(QDir::homePath()))
                       .toString()
                       .toStdString();
    SamplingMethod = settings.value("SamplingMethod", 0).toUInt();
    TimeBasedTimeLimitEnabled = settings.value("TimeBasedTimeLimitEnabled", true).toBool();
    TimeBasedTimeLimitUnit = settings.value("TimeBasedTimeLimitUnit", 1).toUInt();
    TimeBasedTimeLimit = settings.value("TimeBasedTimeLimit", 30).toUInt();
    TimeBasedTimeSampleRateUnit = settings.value("TimeBasedTimeSampleRateUnit", 1).toUInt();
    TimeBasedTimeSampleRate = settings.value("TimeBasedTimeSampleRate", 1).toUInt();
    FrameBasedFrameLimitEnabled = settings.value("FrameBasedFrameLimitEnabled", true).toBool();
    FrameBasedFrameLimit = settings.value("FrameBasedFrameLimit", 500).toUInt();
    FrameBasedFrameSampleRate = settings.value("FrameBasedFrameSampleRate", 1).toUInt();
    QueueBufferSize = settings.value("QueueBufferSize", 100).toUInt();
    AutomaticAviFpsPlayback = settings.value("AutomaticAviFpsPlayback", true).toBool();
    AviFpsPlayback = settings.value("AviFpsPlayback", 10.0).toDouble();
    ShowOptionsOnRecordStart = settings.value("ShowOptionsOnRecordStart", true).toBool();
    UseCompression = settings.value("UseCompression", false).toBool();
    const QByteArray compression = settings.value(kCompressionKey).toByteArray();
    if (!compression.isEmpty())
        compressionOptionsFromByteArray(compression);
    settings.endGroup();
}

void CRecordingOptions::save(QSettings& settings) const
{
    settings.beginGroup(kGroup);
    settings.setValue("OutputType", OutputType);
    settings.setValue("ImageOutputType", ImageOutputType);
    settings.setValue("OutputFolder", QString::fromStdString(OutputFolder));
    settings.setValue("SamplingMethod", SamplingMethod);
    settings.setValue("TimeBasedTimeLimitEnabled", TimeBasedTimeLimitEnabled);
    settings.setValue("TimeBasedTimeLimitUnit", TimeBasedTimeLimitUnit);
    settings.setValue("TimeBasedTimeLimit", TimeBasedTimeLimit);
    settings.setValue("TimeBasedTimeSampleRateUnit", TimeBasedTimeSampleRateUnit);
    settings.setValue("TimeBasedTimeSampleRate", TimeBasedTimeSampleRate);
    settings.setValue("FrameBasedFrameLimitEnabled", FrameBasedFrameLimitEnabled);
    settings.setValue("FrameBasedFrameLimit", FrameBasedFrameLimit);
    settings.setValue("FrameBasedFrameSampleRate", FrameBasedFrameSampleRate);
    settings.setValue("QueueBufferSize", QueueBufferSize);
    settings.setValue("AutomaticAviFpsPlayback", AutomaticAviFpsPlayback);
    settings.setValue("AviFpsPlayback", AviFpsPlayback);
    settings.setValue("ShowOptionsOnRecordStart", ShowOptionsOnRecordStart);
    settings.setValue("UseCompression", UseCompression);
    settings.setValue(kCompressionKey, compressionOptionsToByteArray());
    settings.endGroup();
}

std::string CRecordingOptions::toLogText() const
{
    return GenICam::formatMessage(
        "Recording settings:\n OutputType: %d\nImageOutputType: %d\nOutputFolder: "
        "%s\nSamplingMethod: %d\nTimeBasedTimeLimitEnabled: %d\nTimeBasedTimeLimitUnit: "
        "%d\nTimeBasedTimeLimit: %d\nTimeBasedTimeSampleRateUnit: "
        "%d\nTimeBasedTimeSampleRate: %d\nFrameBasedFrameLimitEnabled: "
        "%d\nFrameBasedFrameLimit: %d\nFrameBasedFrameSampleRate: %d\nQueueBufferSize: "
        "%d\nAutomaticAviFpsPlayback: %d\nAviFpsPlayback: %f\nShowOptionsOnRecordStart: "
        "%d\nUseCompression: %d",
        int(OutputType), int(ImageOutputType), OutputFolder.c_str(), int(SamplingMethod),
        int(TimeBasedTimeLimitEnabled), int(TimeBasedTimeLimitUnit), int(TimeBasedTimeLimit),
        int(TimeBasedTimeSampleRateUnit), int(TimeBasedTimeSampleRate),
        int(FrameBasedFrameLimitEnabled), int(FrameBasedFrameLimit), int(FrameBasedFrameSampleRate),
        int(QueueBufferSize), int(AutomaticAviFpsPlayback), AviFpsPlayback,
        int(ShowOptionsOnRecordStart), int(UseCompression));
}
