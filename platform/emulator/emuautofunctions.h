#pragma once

// The emulated camera's automatic exposure, gain and white balance. After each frame it
// measures the scene the frame showed (EmuScene::meanSignal over the auto-function region) and
// says which exposure time, gain and balance ratios the next frame uses:
// - Exposure Auto / Gain Auto scale the signal towards AutoTargetBrightness within the auto
//   limits; with both on, AutoFunctionProfile says which one moves first.
// - Balance White Auto sets red and blue so that the region's mean becomes grey (green stays).
// "Once" ends when the target is reached, when the limits leave nothing to change, or after
// kOnceFrameLimit frames. Test images and replayed files ignore the camera model, so the
// functions measure the scene behind them all the same.
// Thread: the camera's frame thread only.

#include "emulator/emufeaturestate.h"

#include <cstdint>

namespace Emulator {

class EmuAutoFunctions
{
public:
    // Brightness within this distance of the target counts as reached (fraction of full scale).
    static constexpr double kBrightnessTolerance = 0.01;
    // Red/green and blue/green within this relative distance of 1 count as balanced.
    static constexpr double kBalanceTolerance = 0.01;
    static constexpr int kOnceFrameLimit = 30;

    struct Step
    {
        bool exposureChanged = false;
        bool gainChanged = false;
        bool balanceChanged = false;
        double exposureTimeUs = 0.0;
        double gainDb = 0.0;
        double balanceRatio[3] = {1.0, 1.0, 1.0};
        // "Once" functions that finished with this frame and go back to Off.
        bool exposureOnceDone = false;
        bool gainOnceDone = false;
        bool balanceOnceDone = false;

        bool any() const
        {
            return exposureChanged || gainChanged || balanceChanged || exposureOnceDone ||
                   gainOnceDone || balanceOnceDone;
        }
    };

    // The settings the frame was taken with; nothing changes while every function is Off.
    Step step(const EmuFeatureState& settings, int64_t sensorWidth, int64_t sensorHeight);

    // The region a function measures: the first auto-function ROI that is used for it, cut to
    // the image, or the whole image when there is none or it lies outside the image.
    static EmuImageParameters measuredRegion(const EmuFeatureState& settings, int64_t sensorWidth,
                                             int64_t sensorHeight, bool forWhiteBalance);

private:
    void stepBrightness(const EmuFeatureState& settings, int64_t sensorWidth, int64_t sensorHeight,
                        Step& step);
    void stepBalance(const EmuFeatureState& settings, int64_t sensorWidth, int64_t sensorHeight,
                     Step& step);

    int m_brightnessOnceFrames = 0;
    int m_balanceOnceFrames = 0;
};

} // namespace Emulator
