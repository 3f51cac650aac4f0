#pragma once

// The register behaviour of the emulated camera: what each address of emuregisters.h reads and
// what a write to it does. It checks every write as the camera's firmware would (range,
// increment, valid entry, locks while grabbing) and throws a GenICam exception with a clear text
// when it refuses, whether the write came through GenApi or straight to the port. It keeps the
// camera's settings, its non-volatile memory (device user ID, user sets, the user set loaded at
// power-up, user data) and its volatile state (selectors, locks, fault rates). Commands that need
// the camera's threads come back to the caller as an Action.
// Thread: not thread-safe; EmuCamera calls it with its mutex held.

#include "emulator/emufeaturestate.h"
#include "emulator/emufilestore.h"
#include "emulator/emulimits.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace Emulator {

class EmuRegisterSpace
{
public:
    struct Identity
    {
        std::string vendorName;
        std::string modelName;
        std::string manufacturerInfo;
        std::string deviceVersion;
        std::string firmwareVersion;
        std::string serialNumber;
    };

    // What the camera has to do after a write.
    enum class Action
    {
        None,
        AcquisitionStart,
        AcquisitionStop,
        TriggerSoftware,
        Line1Pulse,
        Vanish
    };

    // Runs at a write of ImageFilename and throws (any std::exception) when the file cannot be
    // replayed, so that the write is refused.
    using ImageFileCheck = std::function<void(const std::string& fileName)>;

    explicit EmuRegisterSpace(Identity identity);

    // Power-up: the sensor size, the selectors, the locks and the fault rates return to their
    // defaults, and the settings are loaded from the set UserSetDefault names. Non-volatile
    // memory stays.
    void powerUp();

    void read(int64_t address, void* buffer, int64_t length) const;
    Action write(int64_t address, const void* buffer, int64_t length);

    void setImageFileCheck(ImageFileCheck check) { m_imageFileCheck = std::move(check); }

    const Identity& identity() const { return m_identity; }
    std::string deviceUserId() const { return m_deviceUserId; }

    // The current settings; the automatic functions change exposure, gain and balance here.
    const EmuFeatureState& settings() const { return m_settings; }
    EmuFeatureState& settings() { return m_settings; }
    // Increases with every change of what the image looks like (settings, sensor size).
    uint64_t imageGeneration() const { return m_imageGeneration; }
    void touchImage() { ++m_imageGeneration; }

    int64_t sensorWidth() const { return m_sensorWidth; }
    int64_t sensorHeight() const { return m_sensorHeight; }
    int64_t payloadSize() const;
    // What every register read costs, as a slow link would: DebugReadDelay.
    int64_t readDelayUs() const { return m_readDelayUs; }
    // min(AcquisitionFrameRate when enabled, 1 / ExposureTime, link limit / payload when on).
    double resultingFrameRateHz() const;

    bool tlParamsLocked() const { return m_tlParamsLocked; }
    void setTLParamsLocked(bool locked) { m_tlParamsLocked = locked; }

    // Values the camera keeps up to date for reading.
    void setAcquisitionActive(bool active) { m_acquisitionActive = active; }
    void setTemperatureC(double temperatureC) { m_temperatureC = temperatureC; }
    void setFrameCounter(uint64_t frames) { m_frameCounter = frames; }

    // Fault injection for the next frame the sensor produces: each rate in per mille, counted
    // from the moment it was written (see DebugFailedBufferRate in the description).
    struct Faults
    {
        bool failed = false;
        bool truncated = false;
    };
    Faults nextFrameFaults();

private:
    // Registers that hold one integer or one double, by address.
    std::string stringValue(int64_t address) const;
    int64_t readRoi(int roi, int64_t field) const;
    int64_t readInteger(int64_t address) const;
    double readFloat(int64_t address) const;
    void writeRoi(int roi, int64_t field, int64_t value);
    Action writeInteger(int64_t address, int64_t value);
    void writeFloat(int64_t address, double value);
    void writeString(int64_t address, const std::string& value);

    void requireUnlocked(const char* feature) const;
    void loadUserSet(int64_t userSet);
    void saveUserSet(int64_t userSet);
    std::string userSetText(int userSet) const;
    bool storeUserSetText(int userSet, const std::string& text, std::string* error);

    Identity m_identity;
    ImageFileCheck m_imageFileCheck;

    // Non-volatile memory.
    std::string m_deviceUserId;
    int64_t m_userSetDefault = 0;
    std::array<EmuFeatureState, EmuLimits::kUserSetCount> m_userSets;
    EmuFileStore m_files;

    // Settings and volatile state.
    EmuFeatureState m_settings;
    uint64_t m_imageGeneration = 0;
    int64_t m_sensorWidth = EmuLimits::kDefaultSensorWidth;
    int64_t m_sensorHeight = EmuLimits::kDefaultSensorHeight;
    int64_t m_balanceRatioSelector = 0;
    int64_t m_autoRoiSelector = 0;
    int64_t m_userSetSelector = 0;
    bool m_tlParamsLocked = false;
    bool m_acquisitionActive = false;
    double m_temperatureC = 35.0;
    uint64_t m_frameCounter = 0;
    int64_t m_failedBufferRate = 0;
    int64_t m_truncatedFrameRate = 0;
    int64_t m_readDelayUs = 0;
    int64_t m_failedAccumulator = 0;
    int64_t m_truncatedAccumulator = 0;
};

} // namespace Emulator
