#pragma once

// How a recording is made: where and in which format frames go, how frames are sampled, when
// the recording stops by itself, how many frames may wait in memory, and how AVI video is
// played back and compressed. A plain value record: the main window keeps the persistent copy,
// the options dialog edits a copy and each recording keeps its own.
//
// The fields are public and carry the names under which the settings store them. Two sets of
// defaults exist on purpose: a constructed record has both limits off and a frame limit of 200,
// while loading from empty settings switches both limits on with a frame limit of 500.
// Thread: a value; copies are independent (the compression record's pointers always point into
// the copy's own blocks), so each thread works on its own.

#include "genapi/gcstring.h"
#include "tarpo/avicompressionoptions.h"

#include <QByteArray>

#include <cstdint>
#include <string>
#include <vector>

class QSettings;

class CRecordingOptions
{
public:
    // Time units of TimeBasedTimeLimitUnit and TimeBasedTimeSampleRateUnit; the values are the
    // indexes of the unit combo boxes. Any other value counts as one second.
    enum ETimeUnit
    {
        TimeUnit_Milliseconds = 0,
        TimeUnit_Seconds = 1,
        TimeUnit_Minutes = 2,
        TimeUnit_Hours = 3,
        TimeUnit_Days = 4
    };

    CRecordingOptions();
    CRecordingOptions(const CRecordingOptions& other);
    CRecordingOptions& operator=(const CRecordingOptions& other);
    ~CRecordingOptions() = default;

    // Reads group "Recording" with the settings defaults. "AviCompressionOptionsx64" is decoded
    // only when present and not empty; otherwise the compression options stay as they are.
    void load(QSettings& settings);
    // Writes group "Recording": the keys in declaration order, "AviCompressionOptionsx64" last.
    void save(QSettings& settings) const;

    // The 72 bytes of CompressionOptions as they stand in memory, then the parameter block, then
    // the format block.
    QByteArray compressionOptionsToByteArray() const;
    // The reverse. A record of fewer than 72 bytes is ignored (the options stay as they are); a
    // block size beyond the bytes that follow is cut to what is there.
    void compressionOptionsFromByteArray(const QByteArray& bytes);

    // Takes a compression record and copies the blocks its pointers reference (as a codec
    // dialog returns them); the record then points at this object's copies.
    void setCompressionOptions(const Tarpo::SAviCompressionOptions& options);
    void setFormatBlock(const void* data, size_t size);
    void setParameterBlock(const void* data, size_t size);
    const std::vector<uint8_t>& formatBlock() const { return m_formatBlock; }
    const std::vector<uint8_t>& parameterBlock() const { return m_parameterBlock; }

    // "Recording settings:\n OutputType: %d\n..." as a recording logs it at its start.
    std::string toLogText() const;

    uint32_t OutputType = 0;      // 0 video (AVI), 1 still images
    uint32_t ImageOutputType = 1; // 0 BMP, 1 TIFF
    GenICam::gcstring OutputFolder;
    uint32_t SamplingMethod = 0; // 0 frame-based, 1 time-based
    bool TimeBasedTimeLimitEnabled = false;
    uint32_t TimeBasedTimeLimitUnit = TimeUnit_Seconds;
    uint32_t TimeBasedTimeLimit = 30;
    uint32_t TimeBasedTimeSampleRateUnit = TimeUnit_Seconds;
    uint32_t TimeBasedTimeSampleRate = 1;
    bool FrameBasedFrameLimitEnabled = false;
    uint32_t FrameBasedFrameLimit = 200;
    uint32_t FrameBasedFrameSampleRate = 1;
    uint32_t QueueBufferSize = 100;
    bool AutomaticAviFpsPlayback = true;
    double AviFpsPlayback = 10.0;
    bool ShowOptionsOnRecordStart = true;
    bool UseCompression = false;
    Tarpo::SAviCompressionOptions CompressionOptions;

private:
    // Points lpFormat and lpParms at the blocks, or null for an empty block.
    void pointAtBlocks();

    std::vector<uint8_t> m_formatBlock;
    std::vector<uint8_t> m_parameterBlock;
};
