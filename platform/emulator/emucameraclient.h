#pragma once

// What the emulated camera needs of each handle that has it open (EmuDevice): to tell the
// handle's node maps that registers changed behind their back, and to report the camera's
// removal.
// Thread: both are called on the camera's frame thread "Emu_<serial>", never with the camera's
// mutex held, so they may read the camera through the node maps.

namespace Emulator {

class EmuCameraClient
{
public:
    virtual ~EmuCameraClient() = default;
    // Runs the callbacks of the handle's node maps (CPortImpl::InvalidateNode).
    virtual void invalidateNodeMaps() = 0;
    // The camera vanished: runs the handle's removal callbacks.
    virtual void notifyRemoved() = 0;
};

} // namespace Emulator
