#pragma once

// The register map of the emulated camera: the addresses its GenICam description (emucamera.xml)
// names and its register behaviour (EmuRegisterSpace) answers. Integers are little-endian,
// 4 bytes unless the comment says 8; floats are 8-byte little-endian IEEE doubles; strings are
// zero-padded. The description and this table are checked against each other by
// tst_emucamera.
// Thread: constants only.

#include <cstdint>

namespace Emulator {
namespace EmuReg {

// Device control
constexpr int64_t DeviceVendorName = 0x0000;              // string, 32
constexpr int64_t DeviceModelName = 0x0020;               // string, 32
constexpr int64_t DeviceManufacturerInfo = 0x0040;        // string, 48
constexpr int64_t DeviceVersion = 0x0070;                 // string, 32
constexpr int64_t DeviceFirmwareVersion = 0x0090;         // string, 32
constexpr int64_t DeviceSerialNumber = 0x00B0;            // string, 32
constexpr int64_t DeviceUserID = 0x00D0;                  // string, 64, RW
constexpr int64_t DeviceTemperature = 0x0110;             // float, RO
constexpr int64_t DeviceLinkThroughputLimitMode = 0x0118; // 0 Off, 1 On
constexpr int64_t DeviceLinkThroughputLimit = 0x0120;     // 8, bytes per second
constexpr int64_t DeviceLinkSpeed = 0x0128;               // 8, bytes per second, RO

// Image format control
constexpr int64_t SensorWidth = 0x1000;  // RO
constexpr int64_t SensorHeight = 0x1004; // RO
constexpr int64_t Width = 0x1008;
constexpr int64_t Height = 0x100C;
constexpr int64_t OffsetX = 0x1010;
constexpr int64_t OffsetY = 0x1014;
constexpr int64_t PixelFormat = 0x1018;          // PFNC code
constexpr int64_t PixelDynamicRangeMin = 0x101C; // RO
constexpr int64_t PixelDynamicRangeMax = 0x1020; // RO
constexpr int64_t TestImageSelector = 0x1024;
constexpr int64_t PixelSize = 0x1028;     // RO, bits per pixel in memory
constexpr int64_t ImageFilename = 0x1100; // string, 256

// Acquisition control
constexpr int64_t AcquisitionMode = 0x2000;  // 0 SingleFrame, 1 MultiFrame, 2 Continuous
constexpr int64_t AcquisitionStart = 0x2004; // command
constexpr int64_t AcquisitionStop = 0x2008;  // command
constexpr int64_t AcquisitionFrameCount = 0x200C;
constexpr int64_t AcquisitionFrameRateEnable = 0x2010;
constexpr int64_t AcquisitionFrameRate = 0x2018;      // float, Hz
constexpr int64_t ResultingFrameRate = 0x2020;        // float, Hz, RO
constexpr int64_t AcquisitionStatusSelector = 0x2028; // 0 AcquisitionActive
constexpr int64_t AcquisitionStatus = 0x202C;         // RO
constexpr int64_t TriggerSelector = 0x2030;           // 0 FrameStart
constexpr int64_t TriggerMode = 0x2034;               // 0 Off, 1 On
constexpr int64_t TriggerSource = 0x2038;             // 0 Software, 1 Line1
constexpr int64_t TriggerActivation = 0x203C;         // 0 RisingEdge, 1 FallingEdge, 2 AnyEdge
constexpr int64_t TriggerSoftware = 0x2040;           // command
constexpr int64_t ExposureTime = 0x2048;              // float, us
constexpr int64_t ExposureAuto = 0x2050;              // 0 Off, 1 Once, 2 Continuous

// Analog control
constexpr int64_t GainSelector = 0x3000; // 0 All
constexpr int64_t Gain = 0x3008;         // float, dB
constexpr int64_t GainAuto = 0x3010;
constexpr int64_t BlackLevel = 0x3018;           // float
constexpr int64_t Gamma = 0x3020;                // float
constexpr int64_t BalanceRatioSelector = 0x3028; // 0 Red, 1 Green, 2 Blue
constexpr int64_t BalanceRatio = 0x3030;         // 3 floats, indexed by the selector
constexpr int64_t BalanceRatioStride = 8;
constexpr int64_t BalanceWhiteAuto = 0x3048;
constexpr int64_t LightSourcePreset = 0x304C;

// Automatic functions
constexpr int64_t AutoTargetBrightness = 0x4000;       // float, 0..1
constexpr int64_t AutoFunctionProfile = 0x4008;        // 0 MinimizeGain, 1 MinimizeExposureTime
constexpr int64_t AutoGainLowerLimit = 0x4010;         // float, dB
constexpr int64_t AutoGainUpperLimit = 0x4018;         // float, dB
constexpr int64_t AutoExposureTimeLowerLimit = 0x4020; // float, us
constexpr int64_t AutoExposureTimeUpperLimit = 0x4028; // float, us
constexpr int64_t AutoFunctionROISelector = 0x4030;    // 0 ROI1, 1 ROI2
// One block per auto-function ROI, indexed by the selector.
constexpr int64_t AutoFunctionROIBase = 0x4040;
constexpr int64_t AutoFunctionROIStride = 0x20;
constexpr int64_t AutoFunctionROIOffsetX = 0x00;
constexpr int64_t AutoFunctionROIOffsetY = 0x04;
constexpr int64_t AutoFunctionROIWidth = 0x08;
constexpr int64_t AutoFunctionROIHeight = 0x0C;
constexpr int64_t AutoFunctionROIUseBrightness = 0x10;
constexpr int64_t AutoFunctionROIUseWhiteBalance = 0x14;

// User sets
constexpr int64_t UserSetSelector = 0x5000; // 0 Default, 1..3 UserSet1..3
constexpr int64_t UserSetLoad = 0x5004;     // command
constexpr int64_t UserSetSave = 0x5008;     // command
constexpr int64_t UserSetDefault = 0x500C;

// File access
constexpr int64_t FileSelector = 0x6000;          // 0 UserData, 1..3 UserSet1..3
constexpr int64_t FileOperationSelector = 0x6004; // 0 Open, 1 Close, 2 Read, 3 Write, 4 Delete
constexpr int64_t FileOpenMode = 0x6008;          // 0 Read, 1 Write, 2 ReadWrite
constexpr int64_t FileOperationExecute = 0x600C;  // command
constexpr int64_t FileOperationStatus = 0x6010;   // RO, 0 Success, 1 Failure
constexpr int64_t FileOperationResult = 0x6018;   // 8, RO
constexpr int64_t FileAccessOffset = 0x6020;      // 8
constexpr int64_t FileAccessLength = 0x6028;      // 8
constexpr int64_t FileSize = 0x6030;              // 8, RO
constexpr int64_t FileAccessBuffer = 0x6400;      // register of FileAccessBufferSize bytes
constexpr int64_t FileAccessBufferSize = 1024;

// Transport layer control
constexpr int64_t PayloadSize = 0x7000;    // 8, RO
constexpr int64_t TLParamsLocked = 0x7008; // 0 or 1

// Debug and fault injection (invisible features)
constexpr int64_t DebugFailedBufferRate = 0xF000;   // per mille of frames
constexpr int64_t DebugTruncatedFrameRate = 0xF004; // per mille of frames
constexpr int64_t DebugDeviceVanish = 0xF008;       // command
constexpr int64_t DebugSensorWidth = 0xF00C;
constexpr int64_t DebugSensorHeight = 0xF010;
constexpr int64_t DebugLine1Pulse = 0xF014;   // command
constexpr int64_t DebugFrameCounter = 0xF018; // 8, RO
constexpr int64_t DebugReadDelay = 0xF020;    // microseconds every register read takes

} // namespace EmuReg
} // namespace Emulator
