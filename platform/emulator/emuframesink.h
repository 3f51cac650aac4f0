#pragma once

// What the emulated camera's frame thread needs of a stream grabber: the next queued buffer for
// each frame the sensor produces, and a place to hand it back filled.
// Thread: beginFrame/endFrame on the camera's frame thread "Emu_<serial>", deviceLost on the
// thread that made the camera vanish; implementations guard their own state.

#include "tarpo/streamgrabber.h"

#include <cstddef>
#include <cstdint>

namespace Emulator {

class EmuFrameSink
{
public:
    struct Target
    {
        uint8_t* data = nullptr;
        size_t size = 0;
    };

    virtual ~EmuFrameSink() = default;
    // Takes the oldest queued buffer for the frame with this id; false, counting an underrun
    // while a grab is prepared, when nothing is queued. A sink gives out one buffer at a time.
    virtual bool beginFrame(uint64_t frameId, Target* target) = 0;
    // Hands the buffer of beginFrame back. `result` carries status, error, sizes, pixel type,
    // frame id and time stamp; the sink adds handle, context and buffer.
    virtual void endFrame(const Tarpo::GrabResult& result) = 0;
    // The camera is gone: queued buffers come back failed, and so does every one queued later.
    virtual void deviceLost() = 0;
};

} // namespace Emulator
