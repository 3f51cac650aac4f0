#pragma once

// A register-level device for the node map tests: plain memory plus a few registers with
// behaviour (limits that follow other registers, a polled temperature, a self-clearing command,
// SFNC file access over two files, one of them read-only) and a switch that makes the port fail.

#include "genapi/genapi.h"

#include <QFile>
#include <QString>
#include <QtTest>

#include <cstring>
#include <map>
#include <set>
#include <vector>

class TestDevice : public GenApi::CPortImpl
{
public:
    enum : uint32_t
    {
        WidthAddr = 0x100,
        WidthMaxAddr = 0x104,
        OffsetXAddr = 0x108,
        OffsetXMaxAddr = 0x10C,
        GainAddr = 0x200,
        ReverseAddr = 0x300,
        PixelFormatAddr = 0x400,
        GainSelectorAddr = 0x500,
        GainRawAddr = 0x504,
        ResetAddr = 0x600,
        UserIdAddr = 0x700,
        LutAddr = 0x800,
        TemperatureAddr = 0x900,
        FileExecuteAddr = 0xF00,
        FileOffsetAddr = 0xF04,
        FileLengthAddr = 0xF08,
        FileStatusAddr = 0xF0C,
        FileResultAddr = 0xF10,
        FileSizeAddr = 0xF14,
        FileSelectorAddr = 0xF20,
        FileOperationAddr = 0xF24,
        FileOpenModeAddr = 0xF28,
        FileBufferAddr = 0x10000,
        SensorWidth = 1024
    };

    TestDevice() : m_memory(0x10400, 0)
    {
        setU32(WidthAddr, 640);
        setU32(PixelFormatAddr, 0x01080001);
    }

    uint32_t u32(uint32_t address) const
    {
        uint32_t value;
        std::memcpy(&value, &m_memory[address], 4);
        return value;
    }
    void setU32(uint32_t address, uint32_t value) { std::memcpy(&m_memory[address], &value, 4); }

    void Read(void* buffer, int64_t address, int64_t length) override
    {
        ++readCount;
        if (failing)
            throw RUNTIME_EXCEPTION("cable unplugged");
        check(address, length);
        switch (address) {
        case WidthMaxAddr:
            setU32(WidthMaxAddr, SensorWidth - u32(OffsetXAddr));
            break;
        case OffsetXMaxAddr:
            setU32(OffsetXMaxAddr, SensorWidth - u32(WidthAddr));
            break;
        case TemperatureAddr:
            setU32(TemperatureAddr, static_cast<uint32_t>(temperature));
            break;
        case FileSizeAddr:
            setU32(FileSizeAddr, static_cast<uint32_t>(m_files[u32(FileSelectorAddr)].size()));
            break;
        default:
            break;
        }
        std::memcpy(buffer, &m_memory[static_cast<size_t>(address)], static_cast<size_t>(length));
    }

    void Write(const void* buffer, int64_t address, int64_t length) override
    {
        ++writeCount;
        if (failing)
            throw RUNTIME_EXCEPTION("cable unplugged");
        check(address, length);
        std::memcpy(&m_memory[static_cast<size_t>(address)], buffer, static_cast<size_t>(length));
        if (address == ResetAddr) {
            ++resetCount;
            if (selfClearingReset)
                setU32(ResetAddr, 0);
        }
        if (address == FileExecuteAddr && u32(FileExecuteAddr) == 1) {
            executeFileOperation();
            setU32(FileExecuteAddr, 0);
        }
    }

    std::vector<uint8_t>& file(uint32_t index) { return m_files[index]; }

    bool failing = false;
    bool selfClearingReset = false;
    int temperature = 40;
    int readCount = 0;
    int writeCount = 0;
    int resetCount = 0;

private:
    static void check(int64_t address, int64_t length)
    {
        if (address < 0 || length < 0 || address + length > 0x10400)
            throw RUNTIME_EXCEPTION("address 0x%llx beyond the device memory",
                                    static_cast<long long>(address));
    }

    // File 0 "UserData" is read-write, file 1 "Firmware" read-only.
    void executeFileOperation()
    {
        const uint32_t file = u32(FileSelectorAddr);
        const uint32_t offset = u32(FileOffsetAddr);
        const uint32_t length = u32(FileLengthAddr);
        std::vector<uint8_t>& data = m_files[file];
        bool ok = true;
        uint32_t result = 0;
        switch (u32(FileOperationAddr)) {
        case 0: { // Open
            const uint32_t mode = u32(FileOpenModeAddr);
            ok = !(file == 1 && mode != 0);
            if (ok) {
                if (mode == 1)
                    data.clear();
                m_openModes[file] = mode;
            }
            break;
        }
        case 1: // Close
            ok = m_openModes.erase(file) == 1;
            break;
        case 2: // Read
            ok = m_openModes.count(file) && m_openModes[file] != 1;
            if (ok) {
                result = offset < data.size()
                             ? std::min<uint32_t>(length, static_cast<uint32_t>(data.size()) - offset)
                             : 0;
                std::memcpy(&m_memory[FileBufferAddr], data.data() + offset, result);
            }
            break;
        case 3: // Write
            ok = m_openModes.count(file) && m_openModes[file] != 0;
            if (ok) {
                if (data.size() < offset + length)
                    data.resize(offset + length);
                std::memcpy(data.data() + offset, &m_memory[FileBufferAddr], length);
                result = length;
            }
            break;
        case 4: // Delete
            ok = file != 1;
            if (ok)
                data.clear();
            break;
        default:
            ok = false;
        }
        setU32(FileStatusAddr, ok ? 0 : 1);
        setU32(FileResultAddr, result);
    }

    std::vector<uint8_t> m_memory;
    std::map<uint32_t, std::vector<uint8_t>> m_files;
    std::map<uint32_t, uint32_t> m_openModes;
};

inline QByteArray testDeviceXml()
{
    QFile file(QFINDTESTDATA("testdevice.xml"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("testdevice.xml not found");
    return file.readAll();
}
