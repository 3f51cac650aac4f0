#pragma once

// The settings one user set of the emulated camera holds: image format, acquisition, analog,
// auto-function and link settings. The camera's current settings are one of these; the Default
// set and UserSet1..3 are others. As a user set file it is text, one "Name<TAB>Value" line per
// feature (selected features as "Name[Selector]"), which fromText() checks line by line.
// Thread: a plain value; its owner guards it.

#include "emulator/emuimageparameters.h"
#include "tarpo/pixeltype.h"

#include <cstdint>
#include <string>

namespace Emulator {

enum class EmuAcquisitionMode : int64_t
{
    SingleFrame = 0,
    MultiFrame = 1,
    Continuous = 2
};

enum class EmuAutoMode : int64_t
{
    Off = 0,
    Once = 1,
    Continuous = 2
};

enum class EmuTriggerSource : int64_t
{
    Software = 0,
    Line1 = 1
};

enum class EmuTriggerActivation : int64_t
{
    RisingEdge = 0,
    FallingEdge = 1,
    AnyEdge = 2
};

enum class EmuAutoProfile : int64_t
{
    MinimizeGain = 0,
    MinimizeExposureTime = 1
};

enum class EmuLightSource : int64_t
{
    Off = 0,
    Daylight5000K = 1,
    Daylight6500K = 2,
    Tungsten2800K = 3
};

// One region the automatic functions measure, in sensor pixels.
struct EmuAutoRoi
{
    int64_t offsetX = 0;
    int64_t offsetY = 0;
    int64_t width = 0;
    int64_t height = 0;
    bool useBrightness = false;
    bool useWhiteBalance = false;
};

struct EmuFeatureState
{
    // Image format
    int64_t width = 0;
    int64_t height = 0;
    int64_t offsetX = 0;
    int64_t offsetY = 0;
    Tarpo::EPixelType pixelFormat = Tarpo::PixelType_Mono8;
    EmuTestImage testImage = EmuTestImage::Off;
    std::string imageFilename;

    // Acquisition
    EmuAcquisitionMode acquisitionMode = EmuAcquisitionMode::Continuous;
    int64_t acquisitionFrameCount = 10;
    bool frameRateEnable = false;
    double frameRateHz = 100.0;
    bool triggerMode = false;
    EmuTriggerSource triggerSource = EmuTriggerSource::Software;
    EmuTriggerActivation triggerActivation = EmuTriggerActivation::RisingEdge;
    double exposureTimeUs = 10000.0;
    EmuAutoMode exposureAuto = EmuAutoMode::Off;

    // Analog
    double gainDb = 0.0;
    EmuAutoMode gainAuto = EmuAutoMode::Off;
    double blackLevel = 0.0;
    double gamma = 1.0;
    double balanceRatio[3] = {1.0, 1.0, 1.0}; // red, green, blue
    EmuAutoMode balanceWhiteAuto = EmuAutoMode::Off;
    EmuLightSource lightSourcePreset = EmuLightSource::Off;

    // Automatic functions
    double autoTargetBrightness = 0.5;
    EmuAutoProfile autoFunctionProfile = EmuAutoProfile::MinimizeGain;
    double autoGainLowerLimitDb = 0.0;
    double autoGainUpperLimitDb = 24.0;
    double autoExposureTimeLowerLimitUs = 100.0;
    double autoExposureTimeUpperLimitUs = 100000.0;
    EmuAutoRoi autoRoi[2];

    // Link
    bool linkThroughputLimitOn = false;
    int64_t linkThroughputLimitBps = 400000000;

    // The factory settings for a sensor of this size: the full sensor in Mono8, continuous
    // acquisition, 10 ms exposure, ROI1 over the whole sensor for every automatic function.
    static EmuFeatureState factoryDefaults(int64_t sensorWidth, int64_t sensorHeight);

    // Brings the regions of interest onto a sensor of this size: offsets first, then sizes, in
    // their increments.
    void fitToSensor(int64_t sensorWidth, int64_t sensorHeight);

    // What the image synthesis renders with these settings on a sensor of this size. The light
    // source preset's correction is folded into the balance ratios.
    EmuImageParameters imageParameters(int64_t sensorWidth, int64_t sensorHeight) const;
    // The factors a light source preset multiplies red, green and blue with.
    static void lightSourceFactors(EmuLightSource preset, double factors[3]);

    // The user set file's text.
    std::string toText() const;
    // Reads a user set file: every line must name a known feature with a valid value; features
    // the text leaves out keep their value in `state`. On failure `state` is unchanged and
    // `error` says which line is wrong.
    static bool fromText(const std::string& text, EmuFeatureState* state, std::string* error);
};

} // namespace Emulator
