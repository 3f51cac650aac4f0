#include "emulator/emucamera.h"

#include "emulator/emuimagesynth.h"
#include "emulator/emuregisters.h"
#include "genapi/genicamexception.h"
#include "tarpo/threadpriority.h"
#include "trace/trace.h"

#include <sys/prctl.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <chrono>
#include <thread>

namespace Emulator {

namespace {

const char* const kTrace = "EmuCamera";

// Node maps hear of changes the camera made on its own at most this often.
constexpr auto kInvalidationInterval = std::chrono::milliseconds(50);
constexpr auto kTemperatureInterval = std::chrono::seconds(1);
constexpr auto kIdleWait = std::chrono::seconds(1);
// The board warms towards kGrabbingTemperatureC while acquiring and cools towards
// kIdleTemperatureC otherwise, with this time constant.
constexpr double kIdleTemperatureC = 35.0;
constexpr double kGrabbingTemperatureC = 45.0;
constexpr double kTemperatureTimeConstantS = 120.0;

// Waits shorter than this are spent yielding rather than sleeping.
constexpr auto kShortestSleep = std::chrono::microseconds(50);

// Timer slack of the frame thread: without it, a sleep until the next frame ends up to 50 us
// late, which would distort fast frame rates.
constexpr unsigned long kTimerSlackNs = 1000;

bool anyAuto(const EmuFeatureState& s)
{
    return s.exposureAuto != EmuAutoMode::Off || s.gainAuto != EmuAutoMode::Off ||
           s.balanceWhiteAuto != EmuAutoMode::Off;
}

} // namespace

EmuCamera::EmuCamera(int index)
    : m_serialNumber(serialNumberOf(index)),
      m_fullName(std::string(kVendorName) + "-EmulatedCamera-" + m_serialNumber),
      m_registers(EmuRegisterSpace::Identity{kVendorName, kModelName,
                                             "Emulated by Tarpo Viewer; no hardware attached",
                                             kDeviceVersion, kFirmwareVersion, m_serialNumber})
{
    m_registers.setImageFileCheck(
        [this](const std::string& fileName) { checkImageFile(fileName); });
}

EmuCamera::~EmuCamera()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_quit = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

std::string EmuCamera::serialNumberOf(int index)
{
    char text[16];
    std::snprintf(text, sizeof text, "EMU%04d", index + 1);
    return text;
}

Tarpo::CDeviceInfo EmuCamera::deviceInfo() const
{
    std::string userId;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        userId = m_registers.deviceUserId();
    }
    Tarpo::CDeviceInfo info;
    info.SetDeviceClass(kDeviceClass)
        .SetFullName(m_fullName)
        .SetSerialNumber(m_serialNumber)
        .SetModelName(kModelName)
        .SetVendorName(kVendorName)
        .SetDeviceVersion(kDeviceVersion)
        .SetFriendlyName(Tarpo::CDeviceInfo::MakeFriendlyName(kModelName, m_serialNumber, userId));
    if (!userId.empty())
        info.SetUserDefinedName(userId);
    return info;
}

bool EmuCamera::isPresent() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return !m_removed;
}

void EmuCamera::requirePresent() const
{
    if (m_removed)
        throw RUNTIME_EXCEPTION("The camera %s (%s) has been removed", kModelName,
                                m_serialNumber.c_str());
}

void EmuCamera::open(EmuCameraClient* client, Tarpo::AccessModeSet mode)
{
    std::lock_guard<std::mutex> lifecycle(m_lifecycleMutex);
    std::lock_guard<std::mutex> lock(m_mutex);
    requirePresent();
    if (std::find(m_clients.begin(), m_clients.end(), client) != m_clients.end())
        throw LOGICAL_ERROR_EXCEPTION("The camera %s is already open", m_serialNumber.c_str());
    if ((mode & Tarpo::Control) && m_controller)
        throw ACCESS_EXCEPTION("The camera %s (%s) is already opened by another application "
                               "with control access",
                               kModelName, m_serialNumber.c_str());
    const bool powerUp = m_clients.empty();
    m_clients.push_back(client);
    if (mode & Tarpo::Control)
        m_controller = client;
    if (!powerUp)
        return;

    m_registers.powerUp();
    const Clock::time_point now = Clock::now();
    m_powerUpTime = now;
    m_acquiring = false;
    m_frameId = 0;
    m_frameGeneration = UINT64_MAX;
    m_temperatureC = kIdleTemperatureC;
    m_temperatureTime = now;
    m_registers.setTemperatureC(m_temperatureC);
    m_lastInvalidation = now;
    m_quit = false;
    // The thread waits for m_mutex before it does anything.
    m_thread = std::thread(&EmuCamera::run, this);
}

void EmuCamera::close(EmuCameraClient* client)
{
    std::lock_guard<std::mutex> lifecycle(m_lifecycleMutex);
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto it = std::find(m_clients.begin(), m_clients.end(), client);
    if (it == m_clients.end())
        return;
    m_clients.erase(it);
    m_invalidationPending.erase(
        std::remove(m_invalidationPending.begin(), m_invalidationPending.end(), client),
        m_invalidationPending.end());
    if (client == m_controller) {
        // The controlling application went away: a real camera ends the acquisition and
        // unlocks its parameters, so the monitors see the stream end.
        m_controller = nullptr;
        stopAcquisition();
        m_registers.setTLParamsLocked(false);
        requestInvalidation();
    }
    m_idle.wait(lock, [this] { return !m_callingClients; });
    if (!m_clients.empty())
        return;

    m_quit = true;
    m_wake.notify_all();
    lock.unlock();
    if (m_thread.joinable())
        m_thread.join();
    lock.lock();
    // Every handle is gone: a vanished camera is plugged in again.
    m_quit = false;
    m_removed = false;
    m_removalPending = false;
    m_invalidationPending.clear();
}

bool EmuCamera::isController(const EmuCameraClient* client) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return client && client == m_controller;
}

void EmuCamera::readRegister(int64_t address, void* buffer, int64_t length) const
{
    int64_t delayUs = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        requirePresent();
        m_registers.read(address, buffer, length);
        delayUs = m_registers.readDelayUs();
    }
    // A slow link: the read takes this long, without holding up the camera's other clients.
    if (delayUs > 0)
        std::this_thread::sleep_for(std::chrono::microseconds(delayUs));
}

void EmuCamera::writeRegister(EmuCameraClient* client, int64_t address, const void* buffer,
                              int64_t length)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    requirePresent();
    if (client != m_controller)
        throw ACCESS_EXCEPTION("The camera %s is opened for monitoring only: its features cannot "
                               "be written",
                               m_serialNumber.c_str());
    const EmuRegisterSpace::Action action = m_registers.write(address, buffer, length);
    perform(action);
    // A frame being delivered when acquisition stops still arrives; once the command returned,
    // no frame does.
    if (action == EmuRegisterSpace::Action::AcquisitionStop ||
        action == EmuRegisterSpace::Action::Vanish)
        m_idle.wait(lock, [this] { return !m_delivering; });
    // The writer's node map follows its own links; the other handles' maps learn of the change
    // here. Loading a user set and TLParamsLocked change more than the description's links say.
    const bool writerToo = address == EmuReg::UserSetLoad || address == EmuReg::TLParamsLocked;
    requestInvalidation(writerToo ? nullptr : client);
}

void EmuCamera::perform(EmuRegisterSpace::Action action)
{
    const EmuFeatureState& s = m_registers.settings();
    switch (action) {
    case EmuRegisterSpace::Action::AcquisitionStart:
        startAcquisition();
        break;
    case EmuRegisterSpace::Action::AcquisitionStop:
        stopAcquisition();
        break;
    case EmuRegisterSpace::Action::TriggerSoftware:
        if (s.triggerSource == EmuTriggerSource::Software)
            addTriggers(1);
        break;
    case EmuRegisterSpace::Action::Line1Pulse:
        // A pulse has a rising and a falling edge.
        if (s.triggerSource == EmuTriggerSource::Line1)
            addTriggers(s.triggerActivation == EmuTriggerActivation::AnyEdge ? 2 : 1);
        break;
    case EmuRegisterSpace::Action::Vanish:
        vanish();
        break;
    case EmuRegisterSpace::Action::None:
        break;
    }
}

void EmuCamera::checkImageFile(const std::string& fileName) const
{
    EmuImageParameters parameters = m_registers.settings().imageParameters(
        m_registers.sensorWidth(), m_registers.sensorHeight());
    parameters.testImage = EmuTestImage::Off;
    parameters.imageFilename = fileName;
    EmuImageSynth probe;
    probe.setParameters(parameters);
}

void EmuCamera::startAcquisition()
{
    if (m_acquiring)
        return;
    const EmuFeatureState& s = m_registers.settings();
    if (s.testImage == EmuTestImage::Off && !s.imageFilename.empty()) {
        try {
            checkImageFile(s.imageFilename);
        } catch (const std::exception& e) {
            throw RUNTIME_EXCEPTION("AcquisitionStart: cannot replay '%s': %s",
                                    s.imageFilename.c_str(), e.what());
        }
    }
    m_acquiring = true;
    ++m_acquisitionSerial;
    m_registers.setAcquisitionActive(true);
    switch (s.acquisitionMode) {
    case EmuAcquisitionMode::SingleFrame:
        m_framesLeft = 1;
        break;
    case EmuAcquisitionMode::MultiFrame:
        m_framesLeft = s.acquisitionFrameCount;
        break;
    case EmuAcquisitionMode::Continuous:
        m_framesLeft = -1;
        break;
    }
    m_pendingTriggers = 0;
    m_firstFrame = true;
    m_acquisitionStartTime = Clock::now();
    m_wake.notify_all();
}

void EmuCamera::stopAcquisition()
{
    m_acquiring = false;
    m_registers.setAcquisitionActive(false);
    m_pendingTriggers = 0;
    m_wake.notify_all();
}

void EmuCamera::addTriggers(int count)
{
    // Triggers outside an acquisition, or while the trigger is off, are ignored as a sensor
    // ignores them; inside, each one is kept until a frame served it.
    if (!m_acquiring || !m_registers.settings().triggerMode)
        return;
    m_pendingTriggers += count;
    m_wake.notify_all();
}

void EmuCamera::vanish()
{
    TarpoViewer::Trace::debug(kTrace, "camera %s vanishes", m_serialNumber.c_str());
    m_removed = true;
    m_removalPending = true;
    stopAcquisition();
    for (EmuFrameSink* sink : m_sinks)
        sink->deviceLost();
}

void EmuCamera::requestInvalidation(const EmuCameraClient* except)
{
    for (EmuCameraClient* client : m_clients) {
        if (client == except)
            continue;
        if (std::find(m_invalidationPending.begin(), m_invalidationPending.end(), client) ==
            m_invalidationPending.end())
            m_invalidationPending.push_back(client);
    }
    if (!m_invalidationPending.empty())
        m_wake.notify_all();
}

void EmuCamera::attachSink(EmuFrameSink* sink)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (std::find(m_sinks.begin(), m_sinks.end(), sink) == m_sinks.end())
        m_sinks.push_back(sink);
    if (m_removed)
        sink->deviceLost();
}

void EmuCamera::detachSink(EmuFrameSink* sink)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_sinks.erase(std::remove(m_sinks.begin(), m_sinks.end(), sink), m_sinks.end());
    m_idle.wait(lock, [this] { return !m_delivering; });
}

void EmuCamera::setTLParamsLocked(bool locked)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_registers.setTLParamsLocked(locked);
    requestInvalidation();
}

bool EmuCamera::tlParamsLocked() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_registers.tlParamsLocked();
}

int64_t EmuCamera::payloadSize() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_registers.payloadSize();
}

EmuCamera::Clock::duration EmuCamera::framePeriod() const
{
    const double periodNs = 1e9 / m_registers.resultingFrameRateHz();
    return std::chrono::nanoseconds(std::max<int64_t>(1, std::llround(periodNs)));
}

void EmuCamera::run()
{
    Tarpo::SetCurrentThreadName(("Emu_" + m_serialNumber).c_str());
    prctl(PR_SET_TIMERSLACK, kTimerSlackNs, 0, 0, 0);
    EmuImageSynth synth;
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_quit) {
        try {
            Clock::time_point wakeAt = housekeeping(lock);
            if (m_quit)
                break;
            Clock::time_point frameAt;
            if (frameDue(Clock::now(), &frameAt)) {
                produceFrame(lock, synth);
                continue;
            }
            const Clock::time_point until = std::min(wakeAt, frameAt);
            if (until - Clock::now() < kShortestSleep) {
                // Sleeping costs more than the wait here (a futex and a timer per frame): at
                // tens of thousands of frames per second the thread yields until the frame is
                // due instead, without the mutex so that commands get through.
                lock.unlock();
                while (Clock::now() < until)
                    std::this_thread::yield();
                lock.lock();
                continue;
            }
            m_wake.wait_until(lock, until);
        } catch (const std::exception& e) {
            // Nothing may leave the thread; the next round starts afresh.
            if (!lock.owns_lock())
                lock.lock();
            m_delivering = false;
            m_callingClients = false;
            m_idle.notify_all();
            TarpoViewer::Trace::debug(kTrace, "frame thread of %s: %s", m_serialNumber.c_str(),
                                      e.what());
        }
    }
}

EmuCamera::Clock::time_point EmuCamera::housekeeping(std::unique_lock<std::mutex>& lock)
{
    const Clock::time_point now = Clock::now();
    if (now - m_temperatureTime >= kTemperatureInterval)
        updateTemperature(now);
    Clock::time_point next = std::min(now + kIdleWait, m_temperatureTime + kTemperatureInterval);

    if (m_removalPending) {
        m_removalPending = false;
        const std::vector<EmuCameraClient*> clients = m_clients;
        m_callingClients = true;
        lock.unlock();
        for (EmuCameraClient* client : clients)
            client->notifyRemoved();
        lock.lock();
        m_callingClients = false;
        m_idle.notify_all();
    }

    if (!m_invalidationPending.empty()) {
        const Clock::time_point due = m_lastInvalidation + kInvalidationInterval;
        if (now < due)
            return std::min(next, due);
        std::vector<EmuCameraClient*> clients;
        clients.swap(m_invalidationPending);
        m_lastInvalidation = now;
        m_callingClients = true;
        lock.unlock();
        for (EmuCameraClient* client : clients) {
            try {
                client->invalidateNodeMaps();
            } catch (...) {
                // A node callback failed; the camera carries on.
            }
        }
        lock.lock();
        m_callingClients = false;
        m_idle.notify_all();
    }
    return next;
}

void EmuCamera::updateTemperature(Clock::time_point now)
{
    const double elapsedS = std::chrono::duration<double>(now - m_temperatureTime).count();
    const double target = m_acquiring ? kGrabbingTemperatureC : kIdleTemperatureC;
    m_temperatureC +=
        (target - m_temperatureC) * (1.0 - std::exp(-elapsedS / kTemperatureTimeConstantS));
    m_temperatureTime = now;
    m_registers.setTemperatureC(m_temperatureC);
}

bool EmuCamera::frameDue(Clock::time_point now, Clock::time_point* frameAt) const
{
    *frameAt = Clock::time_point::max();
    if (!m_acquiring || m_removed)
        return false;
    if (m_registers.settings().triggerMode && m_pendingTriggers == 0)
        return false;
    // A frame may start one frame period after the previous one started; the first one at once.
    const Clock::time_point due =
        m_firstFrame ? m_acquisitionStartTime : m_lastFrameTime + framePeriod();
    if (now >= due)
        return true;
    *frameAt = due;
    return false;
}

void EmuCamera::produceFrame(std::unique_lock<std::mutex>& lock, EmuImageSynth& synth)
{
    const EmuFeatureState& s = m_registers.settings();
    const Clock::time_point now = Clock::now();

    // Free-running frames start on a grid of the frame period, as a sensor's do: a thread that
    // fell behind takes the latest slot that has begun (the missed ones produce nothing) and
    // goes on at once, without rushing to catch up. A triggered frame starts at its trigger.
    Clock::time_point frameTime = now;
    if (s.triggerMode) {
        --m_pendingTriggers;
    } else if (!m_firstFrame) {
        const Clock::duration period = framePeriod();
        const Clock::time_point due = m_lastFrameTime + period;
        frameTime = due + ((now - due) / period) * period;
    } else {
        frameTime = m_acquisitionStartTime;
    }
    m_firstFrame = false;
    m_lastFrameTime = frameTime;

    const uint64_t frameId = ++m_frameId;
    const uint64_t acquisitionSerial = m_acquisitionSerial;
    m_registers.setFrameCounter(frameId);
    const EmuRegisterSpace::Faults faults = m_registers.nextFrameFaults();
    const int64_t sensorWidth = m_registers.sensorWidth();
    const int64_t sensorHeight = m_registers.sensorHeight();
    const bool parametersChanged = m_registers.imageGeneration() != m_frameGeneration;
    if (parametersChanged) {
        m_frameParameters = s.imageParameters(sensorWidth, sensorHeight);
        m_frameGeneration = m_registers.imageGeneration();
    }
    const bool autoOn = anyAuto(s);
    if (autoOn)
        m_autoSettings = s;

    m_targets.clear();
    for (EmuFrameSink* sink : m_sinks) {
        EmuFrameSink::Target target;
        if (sink->beginFrame(frameId, &target))
            m_targets.push_back({sink, target});
    }
    m_delivering = !m_targets.empty();
    lock.unlock();

    // Rendering and delivery run without the camera's mutex, so that features stay readable.
    if (parametersChanged) {
        try {
            synth.setParameters(m_frameParameters);
            m_synthError.clear();
        } catch (const std::exception& e) {
            m_synthError = e.what();
        }
    }
    if (!m_targets.empty())
        deliver(synth, frameId, uint64_t((frameTime - m_powerUpTime).count()), faults);
    EmuAutoFunctions::Step step;
    if (autoOn)
        step = m_autoFunctions.step(m_autoSettings, sensorWidth, sensorHeight);

    lock.lock();
    m_delivering = false;
    m_idle.notify_all();
    if (autoOn && step.any())
        applyAutoStep(step);
    if (acquisitionSerial == m_acquisitionSerial && m_acquiring && m_framesLeft > 0 &&
        --m_framesLeft == 0) {
        stopAcquisition();
        requestInvalidation();
    }
}

void EmuCamera::deliver(EmuImageSynth& synth, uint64_t frameId, uint64_t timeStampNs,
                        const EmuRegisterSpace::Faults& faults)
{
    const EmuImageParameters& p = synth.parameters();
    const size_t payload = synth.payloadSize();
    const uint8_t* rendered = nullptr;
    for (const auto& entry : m_targets) {
        EmuFrameSink* sink = entry.first;
        const EmuFrameSink::Target& target = entry.second;
        Tarpo::GrabResult result;
        result.m_sizeX = int32_t(p.width);
        result.m_sizeY = int32_t(p.height);
        result.m_offsetX = int32_t(p.offsetX);
        result.m_offsetY = int32_t(p.offsetY);
        result.m_pixelType = p.pixelType;
        result.m_paddingX = 0;
        result.m_frameNumber = frameId;
        result.m_timeStamp = timeStampNs;
        result.m_status = Tarpo::Failed;
        if (!m_synthError.empty()) {
            result.m_errorCode = Tarpo::GrabError_Unknown;
            result.m_errorDescription =
                "The emulated camera cannot produce the frame: " + m_synthError;
        } else if (target.size < payload) {
            result.m_errorCode = Tarpo::GrabError_BufferTooSmall;
            result.m_errorDescription = GenICam::formatMessage(
                "The buffer of %zu bytes is smaller than the payload of %zu bytes", target.size,
                payload);
        } else if (faults.failed) {
            result.m_errorCode = Tarpo::GrabError_MissingPackets;
            result.m_errorDescription =
                GenICam::formatMessage("Packets of frame %llu were lost (emulated fault)",
                                       static_cast<unsigned long long>(frameId));
        } else {
            if (!rendered) {
                synth.render(frameId, target.data, target.size);
                rendered = target.data;
            } else {
                std::memcpy(target.data, rendered, payload);
            }
            if (faults.truncated) {
                const size_t kept = payload / 2;
                std::memset(target.data + kept, 0, payload - kept);
                result.m_errorCode = Tarpo::GrabError_Truncated;
                result.m_errorDescription = GenICam::formatMessage(
                    "Frame %llu ended after %zu of %zu bytes (emulated fault)",
                    static_cast<unsigned long long>(frameId), kept, payload);
                result.m_payloadSize = int64_t(kept);
            } else {
                result.m_status = Tarpo::Grabbed;
                result.m_payloadSize = int64_t(payload);
            }
        }
        sink->endFrame(result);
    }
}

void EmuCamera::applyAutoStep(const EmuAutoFunctions::Step& step)
{
    // The user may have switched a function off while the frame was measured: only functions
    // still running take the step.
    EmuFeatureState& s = m_registers.settings();
    if (step.exposureChanged && s.exposureAuto != EmuAutoMode::Off)
        s.exposureTimeUs = step.exposureTimeUs;
    if (step.gainChanged && s.gainAuto != EmuAutoMode::Off)
        s.gainDb = step.gainDb;
    if (step.balanceChanged && s.balanceWhiteAuto != EmuAutoMode::Off) {
        s.balanceRatio[0] = step.balanceRatio[0];
        s.balanceRatio[2] = step.balanceRatio[2];
    }
    if (step.exposureOnceDone && s.exposureAuto == EmuAutoMode::Once)
        s.exposureAuto = EmuAutoMode::Off;
    if (step.gainOnceDone && s.gainAuto == EmuAutoMode::Once)
        s.gainAuto = EmuAutoMode::Off;
    if (step.balanceOnceDone && s.balanceWhiteAuto == EmuAutoMode::Once)
        s.balanceWhiteAuto = EmuAutoMode::Off;
    m_registers.touchImage();
    requestInvalidation();
}

} // namespace Emulator
