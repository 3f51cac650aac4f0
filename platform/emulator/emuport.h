#pragma once

// The register port of one handle's device node map: reads and writes go to the emulated
// camera, which refuses the writes of monitors.
// Thread: called with the node map's lock held, from any thread using the map.

#include "genapi/portimpl.h"

namespace Emulator {

class EmuCamera;
class EmuCameraClient;

class EmuPort : public GenApi::CPortImpl
{
public:
    // Borrows both for its lifetime.
    EmuPort(EmuCamera& camera, EmuCameraClient* client) : m_camera(camera), m_client(client) {}

    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;

private:
    EmuCamera& m_camera;
    EmuCameraClient* m_client;
};

} // namespace Emulator
