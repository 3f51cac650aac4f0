#include "emulator/emuautofunctions.h"

#include "emulator/emulimits.h"
#include "emulator/emuscene.h"

#include <algorithm>
#include <cmath>

namespace Emulator {

namespace {

double dbToFactor(double db)
{
    return std::pow(10.0, db / 20.0);
}
double factorToDb(double factor)
{
    return 20.0 * std::log10(factor);
}

// Values this close count as unchanged, so that "Once" sees when the limits stop it.
bool same(double a, double b)
{
    return std::fabs(a - b) <= 1e-9 * std::max(1.0, std::fabs(a));
}

} // namespace

EmuImageParameters EmuAutoFunctions::measuredRegion(const EmuFeatureState& settings,
                                                    int64_t sensorWidth, int64_t sensorHeight,
                                                    bool forWhiteBalance)
{
    EmuImageParameters p = settings.imageParameters(sensorWidth, sensorHeight);
    for (const EmuAutoRoi& roi : settings.autoRoi) {
        if (!(forWhiteBalance ? roi.useWhiteBalance : roi.useBrightness))
            continue;
        const int64_t left = std::max(roi.offsetX, settings.offsetX);
        const int64_t top = std::max(roi.offsetY, settings.offsetY);
        const int64_t right = std::min(roi.offsetX + roi.width, settings.offsetX + settings.width);
        const int64_t bottom =
            std::min(roi.offsetY + roi.height, settings.offsetY + settings.height);
        if (right > left && bottom > top) {
            p.offsetX = uint32_t(left);
            p.offsetY = uint32_t(top);
            p.width = uint32_t(right - left);
            p.height = uint32_t(bottom - top);
        }
        break;
    }
    return p;
}

EmuAutoFunctions::Step EmuAutoFunctions::step(const EmuFeatureState& settings, int64_t sensorWidth,
                                              int64_t sensorHeight)
{
    Step step;
    step.exposureTimeUs = settings.exposureTimeUs;
    step.gainDb = settings.gainDb;
    std::copy(settings.balanceRatio, settings.balanceRatio + 3, step.balanceRatio);

    if (settings.exposureAuto != EmuAutoMode::Off || settings.gainAuto != EmuAutoMode::Off)
        stepBrightness(settings, sensorWidth, sensorHeight, step);
    else
        m_brightnessOnceFrames = 0;
    if (settings.balanceWhiteAuto != EmuAutoMode::Off)
        stepBalance(settings, sensorWidth, sensorHeight, step);
    else
        m_balanceOnceFrames = 0;
    return step;
}

void EmuAutoFunctions::stepBrightness(const EmuFeatureState& settings, int64_t sensorWidth,
                                      int64_t sensorHeight, Step& step)
{
    const bool exposureOn = settings.exposureAuto != EmuAutoMode::Off;
    const bool gainOn = settings.gainAuto != EmuAutoMode::Off;
    const EmuScene::MeanSignal mean =
        EmuScene::meanSignal(measuredRegion(settings, sensorWidth, sensorHeight, false));
    const double target = settings.autoTargetBrightness;
    const bool reached = std::fabs(mean.grey - target) <= kBrightnessTolerance;

    if (!reached) {
        // The signal is linear in exposure time and gain below the gamma curve; a black
        // frame still gets a finite step, a clipped one at least halves.
        const double measured = std::clamp(mean.grey, 1e-3, 1.0);
        double scale = std::pow(target / measured, 1.0 / settings.gamma);
        if (mean.grey >= 0.999)
            scale = std::min(scale, 0.5);
        const double product = settings.exposureTimeUs * dbToFactor(settings.gainDb) * scale;

        const double exposureLow = settings.autoExposureTimeLowerLimitUs;
        const double exposureHigh = settings.autoExposureTimeUpperLimitUs;
        const double gainLow = dbToFactor(settings.autoGainLowerLimitDb);
        const double gainHigh = dbToFactor(settings.autoGainUpperLimitDb);
        double exposure = settings.exposureTimeUs;
        double gain = dbToFactor(settings.gainDb);
        if (exposureOn && gainOn) {
            if (settings.autoFunctionProfile == EmuAutoProfile::MinimizeGain) {
                exposure = std::clamp(product / gainLow, exposureLow, exposureHigh);
                gain = std::clamp(product / exposure, gainLow, gainHigh);
            } else {
                gain = std::clamp(product / exposureLow, gainLow, gainHigh);
                exposure = std::clamp(product / gain, exposureLow, exposureHigh);
            }
        } else if (exposureOn) {
            exposure = std::clamp(product / gain, exposureLow, exposureHigh);
        } else {
            gain = std::clamp(product / exposure, gainLow, gainHigh);
        }
        const double gainDb = std::clamp(factorToDb(gain), settings.autoGainLowerLimitDb,
                                         settings.autoGainUpperLimitDb);
        step.exposureChanged = exposureOn && !same(exposure, settings.exposureTimeUs);
        step.gainChanged = gainOn && !same(gainDb, settings.gainDb);
        if (step.exposureChanged)
            step.exposureTimeUs = exposure;
        if (step.gainChanged)
            step.gainDb = gainDb;
    }

    const bool once =
        settings.exposureAuto == EmuAutoMode::Once || settings.gainAuto == EmuAutoMode::Once;
    if (!once) {
        m_brightnessOnceFrames = 0;
        return;
    }
    const bool stuck = !reached && !step.exposureChanged && !step.gainChanged;
    if (reached || stuck || ++m_brightnessOnceFrames >= kOnceFrameLimit) {
        step.exposureOnceDone = settings.exposureAuto == EmuAutoMode::Once;
        step.gainOnceDone = settings.gainAuto == EmuAutoMode::Once;
        m_brightnessOnceFrames = 0;
    }
}

void EmuAutoFunctions::stepBalance(const EmuFeatureState& settings, int64_t sensorWidth,
                                   int64_t sensorHeight, Step& step)
{
    // Measured in colour whatever the pixel format: a mono format shows the luma of the same
    // colours, so its balance is still that of the scene.
    EmuImageParameters region = measuredRegion(settings, sensorWidth, sensorHeight, true);
    region.pixelType = Tarpo::PixelType_RGB8packed;
    const EmuScene::MeanSignal mean = EmuScene::meanSignal(region);
    const double redError = mean.green > 0 ? mean.red / mean.green - 1.0 : 0.0;
    const double blueError = mean.green > 0 ? mean.blue / mean.green - 1.0 : 0.0;
    const bool reached =
        std::fabs(redError) <= kBalanceTolerance && std::fabs(blueError) <= kBalanceTolerance;

    if (!reached && mean.red > 0 && mean.blue > 0) {
        const double exponent = 1.0 / settings.gamma;
        const double red =
            std::clamp(settings.balanceRatio[0] * std::pow(mean.green / mean.red, exponent),
                       EmuLimits::kBalanceRatioMin, EmuLimits::kBalanceRatioMax);
        const double blue =
            std::clamp(settings.balanceRatio[2] * std::pow(mean.green / mean.blue, exponent),
                       EmuLimits::kBalanceRatioMin, EmuLimits::kBalanceRatioMax);
        step.balanceChanged =
            !same(red, settings.balanceRatio[0]) || !same(blue, settings.balanceRatio[2]);
        step.balanceRatio[0] = red;
        step.balanceRatio[2] = blue;
    }

    if (settings.balanceWhiteAuto != EmuAutoMode::Once) {
        m_balanceOnceFrames = 0;
        return;
    }
    const bool stuck = !reached && !step.balanceChanged;
    if (reached || stuck || ++m_balanceOnceFrames >= kOnceFrameLimit) {
        step.balanceOnceDone = true;
        m_balanceOnceFrames = 0;
    }
}

} // namespace Emulator
