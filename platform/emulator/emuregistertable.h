#pragma once

// Which registers the emulated camera has: address, size, kind and access of each, and their
// little-endian encoding. EmuRegisterSpace gives them their behaviour.
// Thread-safe: constant tables and pure functions.

#include <cstdint>
#include <vector>

namespace Emulator {

class EmuRegisterTable
{
public:
    enum class Kind
    {
        Integer, // 4 bytes unsigned or 8 bytes signed
        Float,   // 8-byte IEEE double
        String,  // zero-padded text
        Buffer   // raw bytes (the file access buffer)
    };
    enum class Access
    {
        RO,
        RW,
        Command // reads 0: the command is always done
    };
    struct Register
    {
        int64_t address;
        int length;
        Kind kind;
        Access access;
        const char* name;
    };

    // The register an access of `length` bytes at `address` reaches, or null. Numbers must be
    // accessed whole; strings and the buffer also in part. An auto-function ROI register comes
    // back with its offset within the ROI's block, and `roi` tells the ROI (-1 for the others).
    static const Register* find(int64_t address, int64_t length, int* roi);
    // Every register at its absolute address, for checks against the description.
    static std::vector<Register> all();

    static int64_t decodeInteger(const void* buffer, int length);
    static void encodeInteger(int64_t value, void* buffer, int length);
    static double decodeFloat(const void* buffer);
    static void encodeFloat(double value, void* buffer);
};

} // namespace Emulator
