#include "emulator/emuport.h"

#include "emulator/emucamera.h"

namespace Emulator {

void EmuPort::Read(void* buffer, int64_t address, int64_t length)
{
    m_camera.readRegister(address, buffer, length);
}

void EmuPort::Write(const void* buffer, int64_t address, int64_t length)
{
    m_camera.writeRegister(m_client, address, buffer, length);
}

} // namespace Emulator
