#include "emulator/emuregistertable.h"

#include "emulator/emulimits.h"
#include "emulator/emuregisters.h"

#include <cstring>

namespace Emulator {

namespace {

using namespace EmuLimits;
using Register = EmuRegisterTable::Register;
using Kind = EmuRegisterTable::Kind;
using Access = EmuRegisterTable::Access;

const Register kScalars[] = {
    {EmuReg::DeviceTemperature, 8, Kind::Float, Access::RO, "DeviceTemperature"},
    {EmuReg::DeviceLinkThroughputLimitMode, 4, Kind::Integer, Access::RW,
     "DeviceLinkThroughputLimitMode"},
    {EmuReg::DeviceLinkThroughputLimit, 8, Kind::Integer, Access::RW, "DeviceLinkThroughputLimit"},
    {EmuReg::SensorWidth, 4, Kind::Integer, Access::RO, "SensorWidth"},
    {EmuReg::SensorHeight, 4, Kind::Integer, Access::RO, "SensorHeight"},
    {EmuReg::Width, 4, Kind::Integer, Access::RW, "Width"},
    {EmuReg::Height, 4, Kind::Integer, Access::RW, "Height"},
    {EmuReg::OffsetX, 4, Kind::Integer, Access::RW, "OffsetX"},
    {EmuReg::OffsetY, 4, Kind::Integer, Access::RW, "OffsetY"},
    {EmuReg::PixelFormat, 4, Kind::Integer, Access::RW, "PixelFormat"},
    {EmuReg::PixelDynamicRangeMin, 4, Kind::Integer, Access::RO, "PixelDynamicRangeMin"},
    {EmuReg::PixelDynamicRangeMax, 4, Kind::Integer, Access::RO, "PixelDynamicRangeMax"},
    {EmuReg::TestImageSelector, 4, Kind::Integer, Access::RW, "TestImageSelector"},
    {EmuReg::PixelSize, 4, Kind::Integer, Access::RO, "PixelSize"},
    {EmuReg::AcquisitionMode, 4, Kind::Integer, Access::RW, "AcquisitionMode"},
    {EmuReg::AcquisitionStart, 4, Kind::Integer, Access::Command, "AcquisitionStart"},
    {EmuReg::AcquisitionStop, 4, Kind::Integer, Access::Command, "AcquisitionStop"},
    {EmuReg::AcquisitionFrameCount, 4, Kind::Integer, Access::RW, "AcquisitionFrameCount"},
    {EmuReg::AcquisitionFrameRateEnable, 4, Kind::Integer, Access::RW,
     "AcquisitionFrameRateEnable"},
    {EmuReg::AcquisitionFrameRate, 8, Kind::Float, Access::RW, "AcquisitionFrameRate"},
    {EmuReg::ResultingFrameRate, 8, Kind::Float, Access::RO, "ResultingFrameRate"},
    {EmuReg::AcquisitionStatusSelector, 4, Kind::Integer, Access::RW, "AcquisitionStatusSelector"},
    {EmuReg::AcquisitionStatus, 4, Kind::Integer, Access::RO, "AcquisitionStatus"},
    {EmuReg::TriggerSelector, 4, Kind::Integer, Access::RW, "TriggerSelector"},
    {EmuReg::TriggerMode, 4, Kind::Integer, Access::RW, "TriggerMode"},
    {EmuReg::TriggerSource, 4, Kind::Integer, Access::RW, "TriggerSource"},
    {EmuReg::TriggerActivation, 4, Kind::Integer, Access::RW, "TriggerActivation"},
    {EmuReg::TriggerSoftware, 4, Kind::Integer, Access::Command, "TriggerSoftware"},
    {EmuReg::ExposureTime, 8, Kind::Float, Access::RW, "ExposureTime"},
    {EmuReg::ExposureAuto, 4, Kind::Integer, Access::RW, "ExposureAuto"},
    {EmuReg::GainSelector, 4, Kind::Integer, Access::RW, "GainSelector"},
    {EmuReg::Gain, 8, Kind::Float, Access::RW, "Gain"},
    {EmuReg::GainAuto, 4, Kind::Integer, Access::RW, "GainAuto"},
    {EmuReg::BlackLevel, 8, Kind::Float, Access::RW, "BlackLevel"},
    {EmuReg::Gamma, 8, Kind::Float, Access::RW, "Gamma"},
    {EmuReg::BalanceRatioSelector, 4, Kind::Integer, Access::RW, "BalanceRatioSelector"},
    {EmuReg::BalanceRatio, 8, Kind::Float, Access::RW, "BalanceRatio"},
    {EmuReg::BalanceRatio + EmuReg::BalanceRatioStride, 8, Kind::Float, Access::RW, "BalanceRatio"},
    {EmuReg::BalanceRatio + 2 * EmuReg::BalanceRatioStride, 8, Kind::Float, Access::RW,
     "BalanceRatio"},
    {EmuReg::BalanceWhiteAuto, 4, Kind::Integer, Access::RW, "BalanceWhiteAuto"},
    {EmuReg::LightSourcePreset, 4, Kind::Integer, Access::RW, "LightSourcePreset"},
    {EmuReg::AutoTargetBrightness, 8, Kind::Float, Access::RW, "AutoTargetBrightness"},
    {EmuReg::AutoFunctionProfile, 4, Kind::Integer, Access::RW, "AutoFunctionProfile"},
    {EmuReg::AutoGainLowerLimit, 8, Kind::Float, Access::RW, "AutoGainLowerLimit"},
    {EmuReg::AutoGainUpperLimit, 8, Kind::Float, Access::RW, "AutoGainUpperLimit"},
    {EmuReg::AutoExposureTimeLowerLimit, 8, Kind::Float, Access::RW, "AutoExposureTimeLowerLimit"},
    {EmuReg::AutoExposureTimeUpperLimit, 8, Kind::Float, Access::RW, "AutoExposureTimeUpperLimit"},
    {EmuReg::AutoFunctionROISelector, 4, Kind::Integer, Access::RW, "AutoFunctionROISelector"},
    {EmuReg::UserSetSelector, 4, Kind::Integer, Access::RW, "UserSetSelector"},
    {EmuReg::UserSetLoad, 4, Kind::Integer, Access::Command, "UserSetLoad"},
    {EmuReg::UserSetSave, 4, Kind::Integer, Access::Command, "UserSetSave"},
    {EmuReg::UserSetDefault, 4, Kind::Integer, Access::RW, "UserSetDefault"},
    {EmuReg::FileSelector, 4, Kind::Integer, Access::RW, "FileSelector"},
    {EmuReg::FileOperationSelector, 4, Kind::Integer, Access::RW, "FileOperationSelector"},
    {EmuReg::FileOpenMode, 4, Kind::Integer, Access::RW, "FileOpenMode"},
    {EmuReg::FileOperationExecute, 4, Kind::Integer, Access::Command, "FileOperationExecute"},
    {EmuReg::FileOperationStatus, 4, Kind::Integer, Access::RO, "FileOperationStatus"},
    {EmuReg::FileOperationResult, 8, Kind::Integer, Access::RO, "FileOperationResult"},
    {EmuReg::FileAccessOffset, 8, Kind::Integer, Access::RW, "FileAccessOffset"},
    {EmuReg::FileAccessLength, 8, Kind::Integer, Access::RW, "FileAccessLength"},
    {EmuReg::FileSize, 8, Kind::Integer, Access::RO, "FileSize"},
    {EmuReg::PayloadSize, 8, Kind::Integer, Access::RO, "PayloadSize"},
    {EmuReg::TLParamsLocked, 4, Kind::Integer, Access::RW, "TLParamsLocked"},
    {EmuReg::DebugFailedBufferRate, 4, Kind::Integer, Access::RW, "DebugFailedBufferRate"},
    {EmuReg::DebugTruncatedFrameRate, 4, Kind::Integer, Access::RW, "DebugTruncatedFrameRate"},
    {EmuReg::DebugDeviceVanish, 4, Kind::Integer, Access::Command, "DebugDeviceVanish"},
    {EmuReg::DebugSensorWidth, 4, Kind::Integer, Access::RW, "DebugSensorWidth"},
    {EmuReg::DebugSensorHeight, 4, Kind::Integer, Access::RW, "DebugSensorHeight"},
    {EmuReg::DebugLine1Pulse, 4, Kind::Integer, Access::Command, "DebugLine1Pulse"},
    {EmuReg::DebugFrameCounter, 8, Kind::Integer, Access::RO, "DebugFrameCounter"},
    {EmuReg::DebugReadDelay, 4, Kind::Integer, Access::RW, "DebugReadDelay"},
};

// The registers of one auto-function ROI, at their offsets within its block.
const Register kRoiFields[] = {
    {EmuReg::AutoFunctionROIOffsetX, 4, Kind::Integer, Access::RW, "AutoFunctionROIOffsetX"},
    {EmuReg::AutoFunctionROIOffsetY, 4, Kind::Integer, Access::RW, "AutoFunctionROIOffsetY"},
    {EmuReg::AutoFunctionROIWidth, 4, Kind::Integer, Access::RW, "AutoFunctionROIWidth"},
    {EmuReg::AutoFunctionROIHeight, 4, Kind::Integer, Access::RW, "AutoFunctionROIHeight"},
    {EmuReg::AutoFunctionROIUseBrightness, 4, Kind::Integer, Access::RW,
     "AutoFunctionROIUseBrightness"},
    {EmuReg::AutoFunctionROIUseWhiteBalance, 4, Kind::Integer, Access::RW,
     "AutoFunctionROIUseWhiteBalance"},
};

const Register kStrings[] = {
    {EmuReg::DeviceVendorName, 32, Kind::String, Access::RO, "DeviceVendorName"},
    {EmuReg::DeviceModelName, 32, Kind::String, Access::RO, "DeviceModelName"},
    {EmuReg::DeviceManufacturerInfo, 48, Kind::String, Access::RO, "DeviceManufacturerInfo"},
    {EmuReg::DeviceVersion, 32, Kind::String, Access::RO, "DeviceVersion"},
    {EmuReg::DeviceFirmwareVersion, 32, Kind::String, Access::RO, "DeviceFirmwareVersion"},
    {EmuReg::DeviceSerialNumber, 32, Kind::String, Access::RO, "DeviceSerialNumber"},
    {EmuReg::DeviceUserID, int(kDeviceUserIdLength), Kind::String, Access::RW, "DeviceUserID"},
    {EmuReg::ImageFilename, int(kImageFilenameLength), Kind::String, Access::RW, "ImageFilename"},
};

const Register kFileAccessBuffer = {EmuReg::FileAccessBuffer, int(EmuReg::FileAccessBufferSize),
                                    Kind::Buffer, Access::RW, "FileAccessBuffer"};

} // namespace

const EmuRegisterTable::Register* EmuRegisterTable::find(int64_t address, int64_t length, int* roi)
{
    *roi = -1;
    for (const Register& r : kScalars) {
        if (r.address == address)
            return r.length == length ? &r : nullptr;
    }
    const int64_t roiEnd =
        EmuReg::AutoFunctionROIBase + kAutoRoiCount * EmuReg::AutoFunctionROIStride;
    if (address >= EmuReg::AutoFunctionROIBase && address < roiEnd) {
        const int64_t relative = address - EmuReg::AutoFunctionROIBase;
        for (const Register& r : kRoiFields) {
            if (r.address == relative % EmuReg::AutoFunctionROIStride && r.length == length) {
                *roi = int(relative / EmuReg::AutoFunctionROIStride);
                return &r;
            }
        }
        return nullptr;
    }
    // Strings and the file access buffer may be read or written in part.
    for (const Register& r : kStrings) {
        if (address >= r.address && address + length <= r.address + r.length)
            return &r;
    }
    const Register& b = kFileAccessBuffer;
    if (address >= b.address && length >= 0 && address + length <= b.address + b.length)
        return &b;
    return nullptr;
}

std::vector<EmuRegisterTable::Register> EmuRegisterTable::all()
{
    std::vector<Register> registers(std::begin(kScalars), std::end(kScalars));
    for (int roi = 0; roi < kAutoRoiCount; ++roi) {
        for (Register r : kRoiFields) {
            r.address += EmuReg::AutoFunctionROIBase + roi * EmuReg::AutoFunctionROIStride;
            registers.push_back(r);
        }
    }
    registers.insert(registers.end(), std::begin(kStrings), std::end(kStrings));
    registers.push_back(kFileAccessBuffer);
    return registers;
}

int64_t EmuRegisterTable::decodeInteger(const void* buffer, int length)
{
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    uint64_t value = 0;
    for (int i = length - 1; i >= 0; --i)
        value = (value << 8) | bytes[i];
    if (length == 4) // 4-byte registers hold unsigned 32-bit values (PFNC codes included)
        return int64_t(uint32_t(value));
    return int64_t(value);
}

void EmuRegisterTable::encodeInteger(int64_t value, void* buffer, int length)
{
    auto* bytes = static_cast<uint8_t*>(buffer);
    auto bits = uint64_t(value);
    for (int i = 0; i < length; ++i) {
        bytes[i] = uint8_t(bits & 0xFF);
        bits >>= 8;
    }
}

double EmuRegisterTable::decodeFloat(const void* buffer)
{
    const int64_t bits = decodeInteger(buffer, 8);
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void EmuRegisterTable::encodeFloat(double value, void* buffer)
{
    int64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    encodeInteger(bits, buffer, 8);
}

} // namespace Emulator
