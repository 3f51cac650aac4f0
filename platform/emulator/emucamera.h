#pragma once

// One emulated camera: its registers and their behaviour, the handles that have it open, and
// its frame thread "Emu_<serial>", which runs while any handle is open. The thread produces the
// frames of an acquisition into the queued buffers of every attached stream grabber, paced by
// ResultingFrameRate or by triggers, runs the automatic functions, keeps the device temperature,
// and tells the handles' node maps about changes the camera made on its own.
// Opening the camera while no handle has it open is its power-up: the settings come from the
// set UserSetDefault names. One handle at a time may have control access; handles with stream
// access alone are monitors: they read but do not write, and receive the same frames.
// Thread-safe: every public operation takes m_mutex. Lock order: a node map's lock, then
// m_lifecycleMutex, then m_mutex, then a stream grabber's lock. The frame thread calls the
// handles and renders without m_mutex.

#include "emulator/emuautofunctions.h"
#include "emulator/emucameraclient.h"
#include "emulator/emuframesink.h"
#include "emulator/emuregisterspace.h"
#include "tarpo/deviceinfo.h"
#include "tarpo/tarpodevice.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Emulator {

class EmuImageSynth;

class EmuCamera
{
public:
    static constexpr const char* kDeviceClass = "MorvexCamEmu";
    static constexpr const char* kVendorName = "Morvex";
    static constexpr const char* kModelName = "Emulated Camera";
    static constexpr const char* kDeviceVersion = "1.0";
    static constexpr const char* kFirmwareVersion = "1.0.0";

    // `index` counts from 0; it gives the camera its serial number.
    explicit EmuCamera(int index);
    ~EmuCamera();
    EmuCamera(const EmuCamera&) = delete;
    EmuCamera& operator=(const EmuCamera&) = delete;

    // "EMU0001" for index 0: stable across runs and processes.
    static std::string serialNumberOf(int index);
    const std::string& serialNumber() const { return m_serialNumber; }
    const std::string& fullName() const { return m_fullName; }
    // The camera as a device list shows it; the friendly name carries the device user ID.
    Tarpo::CDeviceInfo deviceInfo() const;
    // False from the moment the camera vanished until every handle has closed it.
    bool isPresent() const;

    // A handle opens the camera. Throws an AccessException when `mode` asks for control while
    // another handle has it, and a RuntimeException while the camera is vanished.
    void open(EmuCameraClient* client, Tarpo::AccessModeSet mode);
    // No call reaches the client once this returned. The controller's close stops acquisition.
    void close(EmuCameraClient* client);
    bool isController(const EmuCameraClient* client) const;

    // The registers, for the handles' ports. Monitors' writes are refused.
    void readRegister(int64_t address, void* buffer, int64_t length) const;
    void writeRegister(EmuCameraClient* client, int64_t address, const void* buffer,
                       int64_t length);

    // Stream grabbers receive frames from attach to detach; detach waits for a frame being
    // delivered to the sink.
    void attachSink(EmuFrameSink* sink);
    void detachSink(EmuFrameSink* sink);
    // PrepareGrab / FinishGrab of the controller's grabber, and the TL node map.
    void setTLParamsLocked(bool locked);
    bool tlParamsLocked() const;
    int64_t payloadSize() const;

private:
    using Clock = std::chrono::steady_clock;

    void requirePresent() const;
    // Runs what a register write asked for; called with m_mutex held.
    void perform(EmuRegisterSpace::Action action);
    void startAcquisition();
    void stopAcquisition();
    void addTriggers(int count);
    void vanish();
    // Asks the frame thread to run the callbacks of these handles' node maps (null: all).
    void requestInvalidation(const EmuCameraClient* except = nullptr);
    void checkImageFile(const std::string& fileName) const;

    // The frame thread.
    void run();
    // Removal notices, node map invalidation and the temperature; may unlock `lock`.
    // Returns when it next wants to run.
    Clock::time_point housekeeping(std::unique_lock<std::mutex>& lock);
    Clock::duration framePeriod() const;
    bool frameDue(Clock::time_point now, Clock::time_point* frameAt) const;
    void produceFrame(std::unique_lock<std::mutex>& lock, EmuImageSynth& synth);
    // Fills m_targets' buffers; runs without m_mutex.
    void deliver(EmuImageSynth& synth, uint64_t frameId, uint64_t timeStampNs,
                 const EmuRegisterSpace::Faults& faults);
    void applyAutoStep(const EmuAutoFunctions::Step& step);
    void updateTemperature(Clock::time_point now);

    const std::string m_serialNumber;
    const std::string m_fullName;

    std::mutex m_lifecycleMutex; // serialises open() and close(), so a thread ends before the next
    mutable std::mutex m_mutex;  // guards every member below
    std::condition_variable m_wake; // the frame thread waits here for work or its next frame
    std::condition_variable m_idle; // close() and detachSink() wait here for the frame thread

    EmuRegisterSpace m_registers;
    std::vector<EmuCameraClient*> m_clients;
    EmuCameraClient* m_controller = nullptr;
    std::vector<EmuFrameSink*> m_sinks;
    bool m_removed = false;
    bool m_removalPending = false;
    std::vector<EmuCameraClient*> m_invalidationPending;
    Clock::time_point m_lastInvalidation;
    // The frame thread is calling the clients (m_callingClients) or filling the sinks' buffers
    // (m_delivering) without m_mutex.
    bool m_callingClients = false;
    bool m_delivering = false;

    // Acquisition.
    bool m_acquiring = false;
    uint64_t m_acquisitionSerial = 0; // counts AcquisitionStart commands
    int64_t m_framesLeft = -1;        // -1: continuous
    int64_t m_pendingTriggers = 0;
    bool m_firstFrame = false;
    Clock::time_point m_powerUpTime; // time stamps count from here
    Clock::time_point m_acquisitionStartTime;
    Clock::time_point m_lastFrameTime; // the start of the last frame
    uint64_t m_frameId = 0;
    // The frame thread's copy of the image parameters and the generation it was taken at.
    EmuImageParameters m_frameParameters;
    uint64_t m_frameGeneration = UINT64_MAX;

    // The frame thread's own, used while it runs without m_mutex.
    EmuAutoFunctions m_autoFunctions;
    EmuFeatureState m_autoSettings;
    std::vector<std::pair<EmuFrameSink*, EmuFrameSink::Target>> m_targets;
    std::string m_synthError; // why the synthesis refused the parameters; empty when fine

    double m_temperatureC = 35.0;
    Clock::time_point m_temperatureTime;

    bool m_quit = false;
    std::thread m_thread;
};

} // namespace Emulator
