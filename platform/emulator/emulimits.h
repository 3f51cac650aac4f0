#pragma once

// Value limits of the emulated camera's features. The register behaviour (EmuRegisterSpace)
// enforces them for every write, whichever way it arrives; emucamera.xml states the same numbers
// as Min, Max and Inc so that GenApi refuses bad values before they reach the camera.
// tst_emucamera checks that both agree.
// Thread: constants only.

#include <cstdint>

namespace Emulator {
namespace EmuLimits {

// The sensor the camera emulates unless DebugSensorWidth/Height say otherwise.
constexpr int64_t kDefaultSensorWidth = 1920;
constexpr int64_t kDefaultSensorHeight = 1200;
constexpr int64_t kSensorWidthMin = 16;
constexpr int64_t kSensorWidthMax = 8192;
constexpr int64_t kSensorHeightMin = 2;
constexpr int64_t kSensorHeightMax = 8192;

// The longest delay a register read can be given (DebugReadDelay), in microseconds.
constexpr int64_t kMaxReadDelayUs = 100000;

// Region of interest: widths and horizontal offsets in steps of 4 keep every packed format on
// whole bytes; heights and vertical offsets in steps of 2 keep the Bayer phase.
constexpr int64_t kWidthMin = 16;
constexpr int64_t kWidthInc = 4;
constexpr int64_t kHeightMin = 2;
constexpr int64_t kHeightInc = 2;
constexpr int64_t kOffsetXInc = 4;
constexpr int64_t kOffsetYInc = 2;

constexpr double kExposureTimeMinUs = 10.0;
constexpr double kExposureTimeMaxUs = 10000000.0;
constexpr double kGainMinDb = 0.0;
constexpr double kGainMaxDb = 24.0;
constexpr double kBlackLevelMin = 0.0;
constexpr double kBlackLevelMax = 63.0;
constexpr double kGammaMin = 0.25;
constexpr double kGammaMax = 4.0;
constexpr double kBalanceRatioMin = 0.125;
constexpr double kBalanceRatioMax = 8.0;
constexpr double kFrameRateMinHz = 0.1;
constexpr double kFrameRateMaxHz = 100000.0;
constexpr int64_t kFrameCountMin = 1;
constexpr int64_t kFrameCountMax = 65535;
constexpr int64_t kLinkThroughputMinBps = 1000000;
constexpr int64_t kLinkThroughputMaxBps = 10000000000;

constexpr int kAutoRoiCount = 2;
constexpr int kUserSetCount = 3; // UserSet1..3 beside Default

constexpr int64_t kDeviceUserIdLength = 64; // bytes of the register, the text is one less
constexpr int64_t kImageFilenameLength = 256;
constexpr int64_t kUserDataFileCapacity = 1048576;

} // namespace EmuLimits
} // namespace Emulator
