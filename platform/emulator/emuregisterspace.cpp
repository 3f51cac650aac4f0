#include "emulator/emuregisterspace.h"

#include "emulator/emuenumtable.h"
#include "emulator/emuregisters.h"
#include "emulator/emuregistertable.h"
#include "genapi/genicamexception.h"
#include "tarpo/pixeltype.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace Emulator {

namespace {

using namespace EmuLimits;
using Register = EmuRegisterTable::Register;
using Kind = EmuRegisterTable::Kind;
using Access = EmuRegisterTable::Access;

void requireRange(const char* name, int64_t value, int64_t min, int64_t max, int64_t inc = 1)
{
    if (value < min || value > max)
        throw OUT_OF_RANGE_EXCEPTION("%s: %lld is out of range [%lld, %lld]", name,
                                     static_cast<long long>(value), static_cast<long long>(min),
                                     static_cast<long long>(max));
    if ((value - min) % inc != 0)
        throw OUT_OF_RANGE_EXCEPTION("%s: %lld is not %lld plus a multiple of %lld", name,
                                     static_cast<long long>(value), static_cast<long long>(min),
                                     static_cast<long long>(inc));
}

void requireRange(const char* name, double value, double min, double max)
{
    if (!(value >= min && value <= max))
        throw OUT_OF_RANGE_EXCEPTION("%s: %g is out of range [%g, %g]", name, value, min, max);
}

void requireEntry(const EmuEnumTable& table, int64_t value)
{
    if (!table.contains(value))
        throw INVALID_ARGUMENT_EXCEPTION("%s: %lld is not a valid entry",
                                         table.featureName().c_str(),
                                         static_cast<long long>(value));
}

void requireBoolean(const char* name, int64_t value)
{
    if (value != 0 && value != 1)
        throw INVALID_ARGUMENT_EXCEPTION("%s: %lld is neither 0 nor 1", name,
                                         static_cast<long long>(value));
}

void requireNotAuto(const char* name, EmuAutoMode mode, const char* autoName)
{
    if (mode != EmuAutoMode::Off)
        throw ACCESS_EXCEPTION("%s is locked while %s is not Off", name, autoName);
}

} // namespace

EmuRegisterSpace::EmuRegisterSpace(Identity identity)
    : m_identity(std::move(identity)),
      m_files(EmuFileStore::UserSetAccess{
          [this](int userSet) { return userSetText(userSet); },
          [this](int userSet, const std::string& text, std::string* error) {
              return storeUserSetText(userSet, text, error);
          },
          [this](int userSet) {
              m_userSets[size_t(userSet - 1)] =
                  EmuFeatureState::factoryDefaults(kDefaultSensorWidth, kDefaultSensorHeight);
          }})
{
    m_userSets.fill(EmuFeatureState::factoryDefaults(kDefaultSensorWidth, kDefaultSensorHeight));
    powerUp();
}

void EmuRegisterSpace::powerUp()
{
    m_sensorWidth = kDefaultSensorWidth;
    m_sensorHeight = kDefaultSensorHeight;
    m_balanceRatioSelector = 0;
    m_autoRoiSelector = 0;
    m_userSetSelector = 0;
    m_tlParamsLocked = false;
    m_acquisitionActive = false;
    m_frameCounter = 0;
    m_failedBufferRate = 0;
    m_truncatedFrameRate = 0;
    m_failedAccumulator = 0;
    m_truncatedAccumulator = 0;
    m_files.reset();
    loadUserSet(m_userSetDefault);
}

int64_t EmuRegisterSpace::payloadSize() const
{
    return int64_t(Tarpo::ComputeBufferSize(m_settings.pixelFormat, uint32_t(m_settings.width),
                                            uint32_t(m_settings.height)));
}

double EmuRegisterSpace::resultingFrameRateHz() const
{
    double rate = 1e6 / m_settings.exposureTimeUs;
    if (m_settings.frameRateEnable)
        rate = std::min(rate, m_settings.frameRateHz);
    if (m_settings.linkThroughputLimitOn)
        rate = std::min(rate, double(m_settings.linkThroughputLimitBps) / double(payloadSize()));
    return rate;
}

EmuRegisterSpace::Faults EmuRegisterSpace::nextFrameFaults()
{
    Faults faults;
    m_failedAccumulator += m_failedBufferRate;
    if (m_failedAccumulator >= 1000) {
        m_failedAccumulator -= 1000;
        faults.failed = true;
    }
    m_truncatedAccumulator += m_truncatedFrameRate;
    if (m_truncatedAccumulator >= 1000) {
        m_truncatedAccumulator -= 1000;
        faults.truncated = !faults.failed;
    }
    return faults;
}

void EmuRegisterSpace::read(int64_t address, void* buffer, int64_t length) const
{
    int roi = -1;
    const Register* r = EmuRegisterTable::find(address, length, &roi);
    if (!r)
        throw RUNTIME_EXCEPTION("No register of %lld bytes at address 0x%04llX",
                                static_cast<long long>(length),
                                static_cast<unsigned long long>(address));
    switch (r->kind) {
    case Kind::String: {
        std::string value = stringValue(r->address);
        value.resize(size_t(r->length), '\0');
        std::memcpy(buffer, value.data() + (address - r->address), size_t(length));
        return;
    }
    case Kind::Buffer:
        m_files.readBuffer(address - r->address, buffer, length);
        return;
    case Kind::Float:
        EmuRegisterTable::encodeFloat(readFloat(address), buffer);
        return;
    case Kind::Integer:
        EmuRegisterTable::encodeInteger(roi >= 0 ? readRoi(roi, r->address) : readInteger(address),
                                        buffer, r->length);
        return;
    }
}

std::string EmuRegisterSpace::stringValue(int64_t address) const
{
    switch (address) {
    case EmuReg::DeviceVendorName:
        return m_identity.vendorName;
    case EmuReg::DeviceModelName:
        return m_identity.modelName;
    case EmuReg::DeviceManufacturerInfo:
        return m_identity.manufacturerInfo;
    case EmuReg::DeviceVersion:
        return m_identity.deviceVersion;
    case EmuReg::DeviceFirmwareVersion:
        return m_identity.firmwareVersion;
    case EmuReg::DeviceSerialNumber:
        return m_identity.serialNumber;
    case EmuReg::DeviceUserID:
        return m_deviceUserId;
    default:
        return m_settings.imageFilename;
    }
}

int64_t EmuRegisterSpace::readRoi(int roi, int64_t field) const
{
    const EmuAutoRoi& r = m_settings.autoRoi[roi];
    switch (field) {
    case EmuReg::AutoFunctionROIOffsetX:
        return r.offsetX;
    case EmuReg::AutoFunctionROIOffsetY:
        return r.offsetY;
    case EmuReg::AutoFunctionROIWidth:
        return r.width;
    case EmuReg::AutoFunctionROIHeight:
        return r.height;
    case EmuReg::AutoFunctionROIUseBrightness:
        return r.useBrightness;
    default:
        return r.useWhiteBalance;
    }
}

int64_t EmuRegisterSpace::readInteger(int64_t address) const
{
    const EmuFeatureState& s = m_settings;
    switch (address) {
    case EmuReg::DeviceLinkThroughputLimitMode:
        return s.linkThroughputLimitOn;
    case EmuReg::DeviceLinkThroughputLimit:
        return s.linkThroughputLimitBps;
    case EmuReg::SensorWidth:
        return m_sensorWidth;
    case EmuReg::SensorHeight:
        return m_sensorHeight;
    case EmuReg::Width:
        return s.width;
    case EmuReg::Height:
        return s.height;
    case EmuReg::OffsetX:
        return s.offsetX;
    case EmuReg::OffsetY:
        return s.offsetY;
    case EmuReg::PixelFormat:
        return int64_t(s.pixelFormat);
    case EmuReg::PixelDynamicRangeMin:
        return 0;
    case EmuReg::PixelDynamicRangeMax:
        return (int64_t(1) << Tarpo::BitDepth(s.pixelFormat)) - 1;
    case EmuReg::TestImageSelector:
        return int64_t(s.testImage);
    case EmuReg::PixelSize:
        return Tarpo::BitPerPixel(s.pixelFormat);
    case EmuReg::AcquisitionMode:
        return int64_t(s.acquisitionMode);
    case EmuReg::AcquisitionFrameCount:
        return s.acquisitionFrameCount;
    case EmuReg::AcquisitionFrameRateEnable:
        return s.frameRateEnable;
    case EmuReg::AcquisitionStatus:
        return m_acquisitionActive;
    case EmuReg::TriggerMode:
        return s.triggerMode;
    case EmuReg::TriggerSource:
        return int64_t(s.triggerSource);
    case EmuReg::TriggerActivation:
        return int64_t(s.triggerActivation);
    case EmuReg::ExposureAuto:
        return int64_t(s.exposureAuto);
    case EmuReg::GainAuto:
        return int64_t(s.gainAuto);
    case EmuReg::BalanceRatioSelector:
        return m_balanceRatioSelector;
    case EmuReg::BalanceWhiteAuto:
        return int64_t(s.balanceWhiteAuto);
    case EmuReg::LightSourcePreset:
        return int64_t(s.lightSourcePreset);
    case EmuReg::AutoFunctionProfile:
        return int64_t(s.autoFunctionProfile);
    case EmuReg::AutoFunctionROISelector:
        return m_autoRoiSelector;
    case EmuReg::UserSetSelector:
        return m_userSetSelector;
    case EmuReg::UserSetDefault:
        return m_userSetDefault;
    case EmuReg::FileSelector:
        return m_files.fileSelector();
    case EmuReg::FileOperationSelector:
        return m_files.operationSelector();
    case EmuReg::FileOpenMode:
        return m_files.openMode();
    case EmuReg::FileOperationStatus:
        return m_files.succeeded() ? 0 : 1;
    case EmuReg::FileOperationResult:
        return m_files.result();
    case EmuReg::FileAccessOffset:
        return m_files.accessOffset();
    case EmuReg::FileAccessLength:
        return m_files.accessLength();
    case EmuReg::FileSize:
        return m_files.fileSize();
    case EmuReg::PayloadSize:
        return payloadSize();
    case EmuReg::TLParamsLocked:
        return m_tlParamsLocked;
    case EmuReg::DebugFailedBufferRate:
        return m_failedBufferRate;
    case EmuReg::DebugTruncatedFrameRate:
        return m_truncatedFrameRate;
    case EmuReg::DebugSensorWidth:
        return m_sensorWidth;
    case EmuReg::DebugSensorHeight:
        return m_sensorHeight;
    case EmuReg::DebugFrameCounter:
        return int64_t(m_frameCounter);
    case EmuReg::DebugReadDelay:
        return m_readDelayUs;
    default:
        // Commands read 0 once done (they always are); single-entry selectors read their entry.
        return 0;
    }
}

double EmuRegisterSpace::readFloat(int64_t address) const
{
    const EmuFeatureState& s = m_settings;
    switch (address) {
    case EmuReg::DeviceTemperature:
        return m_temperatureC;
    case EmuReg::AcquisitionFrameRate:
        return s.frameRateHz;
    case EmuReg::ResultingFrameRate:
        return resultingFrameRateHz();
    case EmuReg::ExposureTime:
        return s.exposureTimeUs;
    case EmuReg::Gain:
        return s.gainDb;
    case EmuReg::BlackLevel:
        return s.blackLevel;
    case EmuReg::Gamma:
        return s.gamma;
    case EmuReg::AutoTargetBrightness:
        return s.autoTargetBrightness;
    case EmuReg::AutoGainLowerLimit:
        return s.autoGainLowerLimitDb;
    case EmuReg::AutoGainUpperLimit:
        return s.autoGainUpperLimitDb;
    case EmuReg::AutoExposureTimeLowerLimit:
        return s.autoExposureTimeLowerLimitUs;
    case EmuReg::AutoExposureTimeUpperLimit:
        return s.autoExposureTimeUpperLimitUs;
    default:
        return s.balanceRatio[(address - EmuReg::BalanceRatio) / EmuReg::BalanceRatioStride];
    }
}

EmuRegisterSpace::Action EmuRegisterSpace::write(int64_t address, const void* buffer,
                                                 int64_t length)
{
    int roi = -1;
    const Register* r = EmuRegisterTable::find(address, length, &roi);
    if (!r)
        throw RUNTIME_EXCEPTION("No register of %lld bytes at address 0x%04llX",
                                static_cast<long long>(length),
                                static_cast<unsigned long long>(address));
    if (r->access == Access::RO)
        throw ACCESS_EXCEPTION("%s is read-only", r->name);
    switch (r->kind) {
    case Kind::String: {
        // A write may cover part of the register: merge it into the current bytes, then take the
        // text up to the first zero byte.
        std::string bytes = stringValue(r->address);
        bytes.resize(size_t(r->length), '\0');
        std::memcpy(&bytes[size_t(address - r->address)], buffer, size_t(length));
        const size_t end = bytes.find('\0');
        if (end == std::string::npos)
            throw OUT_OF_RANGE_EXCEPTION("%s: the text is longer than %d characters", r->name,
                                         r->length - 1);
        writeString(r->address, bytes.substr(0, end));
        return Action::None;
    }
    case Kind::Buffer:
        m_files.writeBuffer(address - r->address, buffer, length);
        return Action::None;
    case Kind::Float:
        writeFloat(address, EmuRegisterTable::decodeFloat(buffer));
        return Action::None;
    case Kind::Integer:
        break;
    }
    const int64_t value = EmuRegisterTable::decodeInteger(buffer, r->length);
    if (roi >= 0) {
        writeRoi(roi, r->address, value);
        return Action::None;
    }
    return writeInteger(address, value);
}

void EmuRegisterSpace::writeString(int64_t address, const std::string& value)
{
    if (address == EmuReg::DeviceUserID) {
        m_deviceUserId = value;
        return;
    }
    if (!value.empty() && m_imageFileCheck) {
        try {
            m_imageFileCheck(value);
        } catch (const std::exception& e) {
            throw RUNTIME_EXCEPTION("ImageFilename: cannot replay '%s': %s", value.c_str(),
                                    e.what());
        }
    }
    m_settings.imageFilename = value;
    touchImage();
}

void EmuRegisterSpace::requireUnlocked(const char* feature) const
{
    if (m_tlParamsLocked)
        throw ACCESS_EXCEPTION("%s is locked while the camera grabs (TLParamsLocked is set)",
                               feature);
}

void EmuRegisterSpace::writeRoi(int roi, int64_t field, int64_t value)
{
    EmuAutoRoi& r = m_settings.autoRoi[roi];
    switch (field) {
    case EmuReg::AutoFunctionROIOffsetX:
        requireRange("AutoFunctionROIOffsetX", value, 0, m_sensorWidth - r.width, kOffsetXInc);
        r.offsetX = value;
        break;
    case EmuReg::AutoFunctionROIOffsetY:
        requireRange("AutoFunctionROIOffsetY", value, 0, m_sensorHeight - r.height, kOffsetYInc);
        r.offsetY = value;
        break;
    case EmuReg::AutoFunctionROIWidth:
        requireRange("AutoFunctionROIWidth", value, kWidthMin, m_sensorWidth - r.offsetX,
                     kWidthInc);
        r.width = value;
        break;
    case EmuReg::AutoFunctionROIHeight:
        requireRange("AutoFunctionROIHeight", value, kHeightMin, m_sensorHeight - r.offsetY,
                     kHeightInc);
        r.height = value;
        break;
    case EmuReg::AutoFunctionROIUseBrightness:
        requireBoolean("AutoFunctionROIUseBrightness", value);
        r.useBrightness = value != 0;
        break;
    default:
        requireBoolean("AutoFunctionROIUseWhiteBalance", value);
        r.useWhiteBalance = value != 0;
        break;
    }
}

EmuRegisterSpace::Action EmuRegisterSpace::writeInteger(int64_t address, int64_t value)
{
    EmuFeatureState& s = m_settings;
    switch (address) {
    case EmuReg::DeviceLinkThroughputLimitMode:
        requireEntry(EmuEnumTable::deviceLinkThroughputLimitMode(), value);
        s.linkThroughputLimitOn = value != 0;
        break;
    case EmuReg::DeviceLinkThroughputLimit:
        requireRange("DeviceLinkThroughputLimit", value, kLinkThroughputMinBps,
                     kLinkThroughputMaxBps);
        s.linkThroughputLimitBps = value;
        break;
    case EmuReg::Width:
        requireUnlocked("Width");
        requireRange("Width", value, kWidthMin, m_sensorWidth - s.offsetX, kWidthInc);
        s.width = value;
        touchImage();
        break;
    case EmuReg::Height:
        requireUnlocked("Height");
        requireRange("Height", value, kHeightMin, m_sensorHeight - s.offsetY, kHeightInc);
        s.height = value;
        touchImage();
        break;
    case EmuReg::OffsetX:
        requireUnlocked("OffsetX");
        requireRange("OffsetX", value, 0, m_sensorWidth - s.width, kOffsetXInc);
        s.offsetX = value;
        touchImage();
        break;
    case EmuReg::OffsetY:
        requireUnlocked("OffsetY");
        requireRange("OffsetY", value, 0, m_sensorHeight - s.height, kOffsetYInc);
        s.offsetY = value;
        touchImage();
        break;
    case EmuReg::PixelFormat:
        requireUnlocked("PixelFormat");
        requireEntry(EmuEnumTable::pixelFormat(), value);
        s.pixelFormat = Tarpo::EPixelType(value);
        touchImage();
        break;
    case EmuReg::TestImageSelector:
        requireEntry(EmuEnumTable::testImageSelector(), value);
        s.testImage = EmuTestImage(value);
        touchImage();
        break;
    case EmuReg::AcquisitionMode:
        requireEntry(EmuEnumTable::acquisitionMode(), value);
        s.acquisitionMode = EmuAcquisitionMode(value);
        break;
    case EmuReg::AcquisitionStart:
        return Action::AcquisitionStart;
    case EmuReg::AcquisitionStop:
        return Action::AcquisitionStop;
    case EmuReg::AcquisitionFrameCount:
        requireRange("AcquisitionFrameCount", value, kFrameCountMin, kFrameCountMax);
        s.acquisitionFrameCount = value;
        break;
    case EmuReg::AcquisitionFrameRateEnable:
        requireBoolean("AcquisitionFrameRateEnable", value);
        s.frameRateEnable = value != 0;
        break;
    case EmuReg::AcquisitionStatusSelector:
        requireEntry(EmuEnumTable::acquisitionStatusSelector(), value);
        break;
    case EmuReg::TriggerSelector:
        requireEntry(EmuEnumTable::triggerSelector(), value);
        break;
    case EmuReg::TriggerMode:
        requireEntry(EmuEnumTable::triggerMode(), value);
        s.triggerMode = value != 0;
        break;
    case EmuReg::TriggerSource:
        requireEntry(EmuEnumTable::triggerSource(), value);
        s.triggerSource = EmuTriggerSource(value);
        break;
    case EmuReg::TriggerActivation:
        requireEntry(EmuEnumTable::triggerActivation(), value);
        s.triggerActivation = EmuTriggerActivation(value);
        break;
    case EmuReg::TriggerSoftware:
        return Action::TriggerSoftware;
    case EmuReg::ExposureAuto:
        requireEntry(EmuEnumTable::exposureAuto(), value);
        s.exposureAuto = EmuAutoMode(value);
        break;
    case EmuReg::GainSelector:
        requireEntry(EmuEnumTable::gainSelector(), value);
        break;
    case EmuReg::GainAuto:
        requireEntry(EmuEnumTable::gainAuto(), value);
        s.gainAuto = EmuAutoMode(value);
        break;
    case EmuReg::BalanceRatioSelector:
        requireEntry(EmuEnumTable::balanceRatioSelector(), value);
        m_balanceRatioSelector = value;
        break;
    case EmuReg::BalanceWhiteAuto:
        requireEntry(EmuEnumTable::balanceWhiteAuto(), value);
        s.balanceWhiteAuto = EmuAutoMode(value);
        break;
    case EmuReg::LightSourcePreset:
        requireEntry(EmuEnumTable::lightSourcePreset(), value);
        s.lightSourcePreset = EmuLightSource(value);
        touchImage();
        break;
    case EmuReg::AutoFunctionProfile:
        requireEntry(EmuEnumTable::autoFunctionProfile(), value);
        s.autoFunctionProfile = EmuAutoProfile(value);
        break;
    case EmuReg::AutoFunctionROISelector:
        requireEntry(EmuEnumTable::autoFunctionROISelector(), value);
        m_autoRoiSelector = value;
        break;
    case EmuReg::UserSetSelector:
        requireEntry(EmuEnumTable::userSetSelector(), value);
        m_userSetSelector = value;
        break;
    case EmuReg::UserSetLoad:
        requireUnlocked("UserSetLoad");
        loadUserSet(m_userSetSelector);
        break;
    case EmuReg::UserSetSave:
        if (m_userSetSelector == 0)
            throw ACCESS_EXCEPTION("UserSetSave: the Default user set cannot be overwritten");
        saveUserSet(m_userSetSelector);
        break;
    case EmuReg::UserSetDefault:
        requireEntry(EmuEnumTable::userSetDefault(), value);
        m_userSetDefault = value;
        break;
    case EmuReg::FileSelector:
        requireEntry(EmuEnumTable::fileSelector(), value);
        m_files.setFileSelector(value);
        break;
    case EmuReg::FileOperationSelector:
        requireEntry(EmuEnumTable::fileOperationSelector(), value);
        m_files.setOperationSelector(value);
        break;
    case EmuReg::FileOpenMode:
        requireEntry(EmuEnumTable::fileOpenMode(), value);
        m_files.setOpenMode(value);
        break;
    case EmuReg::FileOperationExecute:
        m_files.execute();
        break;
    case EmuReg::FileAccessOffset:
        requireRange("FileAccessOffset", value, 0, kUserDataFileCapacity);
        m_files.setAccessOffset(value);
        break;
    case EmuReg::FileAccessLength:
        requireRange("FileAccessLength", value, 0, EmuReg::FileAccessBufferSize);
        m_files.setAccessLength(value);
        break;
    case EmuReg::TLParamsLocked:
        requireBoolean("TLParamsLocked", value);
        m_tlParamsLocked = value != 0;
        break;
    case EmuReg::DebugFailedBufferRate:
        requireRange("DebugFailedBufferRate", value, 0, 1000);
        m_failedBufferRate = value;
        m_failedAccumulator = 0;
        break;
    case EmuReg::DebugTruncatedFrameRate:
        requireRange("DebugTruncatedFrameRate", value, 0, 1000);
        m_truncatedFrameRate = value;
        m_truncatedAccumulator = 0;
        break;
    case EmuReg::DebugReadDelay:
        requireRange("DebugReadDelay", value, 0, kMaxReadDelayUs);
        m_readDelayUs = value;
        break;
    case EmuReg::DebugDeviceVanish:
        return Action::Vanish;
    case EmuReg::DebugSensorWidth:
        requireUnlocked("DebugSensorWidth");
        requireRange("DebugSensorWidth", value, kSensorWidthMin, kSensorWidthMax, kWidthInc);
        m_sensorWidth = value;
        s.fitToSensor(m_sensorWidth, m_sensorHeight);
        touchImage();
        break;
    case EmuReg::DebugSensorHeight:
        requireUnlocked("DebugSensorHeight");
        requireRange("DebugSensorHeight", value, kSensorHeightMin, kSensorHeightMax, kHeightInc);
        m_sensorHeight = value;
        s.fitToSensor(m_sensorWidth, m_sensorHeight);
        touchImage();
        break;
    case EmuReg::DebugLine1Pulse:
        return Action::Line1Pulse;
    default:
        break;
    }
    return Action::None;
}

void EmuRegisterSpace::writeFloat(int64_t address, double value)
{
    EmuFeatureState& s = m_settings;
    switch (address) {
    case EmuReg::AcquisitionFrameRate:
        requireRange("AcquisitionFrameRate", value, kFrameRateMinHz, kFrameRateMaxHz);
        s.frameRateHz = value;
        break;
    case EmuReg::ExposureTime:
        requireNotAuto("ExposureTime", s.exposureAuto, "ExposureAuto");
        requireRange("ExposureTime", value, kExposureTimeMinUs, kExposureTimeMaxUs);
        s.exposureTimeUs = value;
        break;
    case EmuReg::Gain:
        requireNotAuto("Gain", s.gainAuto, "GainAuto");
        requireRange("Gain", value, kGainMinDb, kGainMaxDb);
        s.gainDb = value;
        break;
    case EmuReg::BlackLevel:
        requireRange("BlackLevel", value, kBlackLevelMin, kBlackLevelMax);
        s.blackLevel = value;
        break;
    case EmuReg::Gamma:
        requireRange("Gamma", value, kGammaMin, kGammaMax);
        s.gamma = value;
        break;
    case EmuReg::AutoTargetBrightness:
        requireRange("AutoTargetBrightness", value, 0.0, 1.0);
        s.autoTargetBrightness = value;
        break;
    case EmuReg::AutoGainLowerLimit:
        requireRange("AutoGainLowerLimit", value, kGainMinDb, s.autoGainUpperLimitDb);
        s.autoGainLowerLimitDb = value;
        break;
    case EmuReg::AutoGainUpperLimit:
        requireRange("AutoGainUpperLimit", value, s.autoGainLowerLimitDb, kGainMaxDb);
        s.autoGainUpperLimitDb = value;
        break;
    case EmuReg::AutoExposureTimeLowerLimit:
        requireRange("AutoExposureTimeLowerLimit", value, kExposureTimeMinUs,
                     s.autoExposureTimeUpperLimitUs);
        s.autoExposureTimeLowerLimitUs = value;
        break;
    case EmuReg::AutoExposureTimeUpperLimit:
        requireRange("AutoExposureTimeUpperLimit", value, s.autoExposureTimeLowerLimitUs,
                     kExposureTimeMaxUs);
        s.autoExposureTimeUpperLimitUs = value;
        break;
    default: {
        requireNotAuto("BalanceRatio", s.balanceWhiteAuto, "BalanceWhiteAuto");
        requireRange("BalanceRatio", value, kBalanceRatioMin, kBalanceRatioMax);
        s.balanceRatio[(address - EmuReg::BalanceRatio) / EmuReg::BalanceRatioStride] = value;
        break;
    }
    }
    touchImage();
}

void EmuRegisterSpace::loadUserSet(int64_t userSet)
{
    m_settings = userSet == 0 ? EmuFeatureState::factoryDefaults(m_sensorWidth, m_sensorHeight)
                              : m_userSets[size_t(userSet - 1)];
    m_settings.fitToSensor(m_sensorWidth, m_sensorHeight);
    touchImage();
}

void EmuRegisterSpace::saveUserSet(int64_t userSet)
{
    // "Once" is a one-shot action, not a setting: a saved set keeps Off instead.
    EmuFeatureState saved = m_settings;
    for (EmuAutoMode* mode : {&saved.exposureAuto, &saved.gainAuto, &saved.balanceWhiteAuto}) {
        if (*mode == EmuAutoMode::Once)
            *mode = EmuAutoMode::Off;
    }
    m_userSets[size_t(userSet - 1)] = saved;
}

std::string EmuRegisterSpace::userSetText(int userSet) const
{
    return m_userSets[size_t(userSet - 1)].toText();
}

bool EmuRegisterSpace::storeUserSetText(int userSet, const std::string& text, std::string* error)
{
    EmuFeatureState state = m_userSets[size_t(userSet - 1)];
    if (!EmuFeatureState::fromText(text, &state, error))
        return false;
    m_userSets[size_t(userSet - 1)] = state;
    return true;
}

} // namespace Emulator
