#include "emulator/emufilestore.h"

#include "emulator/emulimits.h"

#include <algorithm>
#include <cstring>

namespace Emulator {

EmuFileStore::EmuFileStore(UserSetAccess userSets) : m_userSets(std::move(userSets)) {}

const char* EmuFileStore::fileName() const
{
    static const char* const names[kFileCount] = {"UserData", "UserSet1", "UserSet2", "UserSet3"};
    return names[m_fileSelector];
}

bool EmuFileStore::fail(const std::string& why)
{
    m_succeeded = false;
    m_lastError = std::string(fileName()) + ": " + why;
    return false;
}

std::string& EmuFileStore::contents(OpenState& file)
{
    return m_fileSelector == UserData ? m_userData : file.text;
}

void EmuFileStore::execute()
{
    m_succeeded = true;
    m_result = 0;
    m_lastError.clear();
    OpenState& file = m_files[m_fileSelector];
    switch (m_operationSelector) {
    case Open:
        openFile(file);
        break;
    case Close:
        closeFile(file);
        break;
    case Read:
        readFile(file);
        break;
    case Write:
        writeFile(file);
        break;
    case Delete:
        deleteFile(file);
        break;
    default:
        fail("unknown operation");
        break;
    }
}

bool EmuFileStore::openFile(OpenState& file)
{
    if (file.open)
        return fail("the file is already open");
    file.open = true;
    file.mode = m_openMode;
    if (m_fileSelector == UserData) {
        // Write starts an empty file, as a host file opened for writing does.
        if (m_openMode == WriteMode)
            m_userData.clear();
        return true;
    }
    file.text = m_openMode == WriteMode ? std::string() : m_userSets.read(int(m_fileSelector));
    return true;
}

bool EmuFileStore::closeFile(OpenState& file)
{
    if (!file.open)
        return fail("the file is not open");
    file.open = false;
    const bool written = file.mode != ReadMode;
    std::string text;
    text.swap(file.text);
    if (m_fileSelector == UserData || !written)
        return true;
    std::string error;
    if (!m_userSets.write(int(m_fileSelector), text, &error))
        return fail("not stored, the text is not a valid user set: " + error);
    return true;
}

bool EmuFileStore::readFile(OpenState& file)
{
    if (!file.open || file.mode == WriteMode)
        return fail("the file is not open for reading");
    const std::string& data = contents(file);
    const int64_t size = int64_t(data.size());
    if (m_accessOffset > size)
        return fail("the offset lies beyond the end of the file");
    const int64_t length =
        std::min({m_accessLength, EmuReg::FileAccessBufferSize, size - m_accessOffset});
    std::memcpy(m_buffer.data(), data.data() + m_accessOffset, size_t(length));
    m_result = length;
    return true;
}

bool EmuFileStore::writeFile(OpenState& file)
{
    if (!file.open || file.mode == ReadMode)
        return fail("the file is not open for writing");
    std::string& data = contents(file);
    const int64_t size = int64_t(data.size());
    if (m_accessOffset > size)
        return fail("the offset lies beyond the end of the file");
    if (m_accessLength > EmuReg::FileAccessBufferSize)
        return fail("the length exceeds the file access buffer");
    // User set texts are small; the user data file has its memory's size.
    const int64_t capacity = m_fileSelector == UserData ? EmuLimits::kUserDataFileCapacity
                                                        : EmuLimits::kUserDataFileCapacity / 16;
    const int64_t length = std::min(m_accessLength, capacity - m_accessOffset);
    if (m_accessOffset + length > size)
        data.resize(size_t(m_accessOffset + length));
    std::memcpy(&data[size_t(m_accessOffset)], m_buffer.data(), size_t(length));
    m_result = length;
    if (length < m_accessLength)
        return fail("the file is full");
    return true;
}

bool EmuFileStore::deleteFile(OpenState& file)
{
    if (file.open)
        return fail("an open file cannot be deleted");
    if (m_fileSelector == UserData)
        m_userData.clear();
    else
        m_userSets.reset(int(m_fileSelector));
    return true;
}

int64_t EmuFileStore::fileSize() const
{
    const OpenState& file = m_files[m_fileSelector];
    if (m_fileSelector == UserData)
        return int64_t(m_userData.size());
    if (file.open)
        return int64_t(file.text.size());
    return int64_t(m_userSets.read(int(m_fileSelector)).size());
}

void EmuFileStore::readBuffer(int64_t offset, void* buffer, int64_t length) const
{
    std::memcpy(buffer, m_buffer.data() + offset, size_t(length));
}

void EmuFileStore::writeBuffer(int64_t offset, const void* buffer, int64_t length)
{
    std::memcpy(m_buffer.data() + offset, buffer, size_t(length));
}

void EmuFileStore::reset()
{
    for (OpenState& file : m_files)
        file = OpenState();
    m_fileSelector = UserData;
    m_operationSelector = Open;
    m_openMode = ReadMode;
    m_accessOffset = 0;
    m_accessLength = 0;
    m_succeeded = true;
    m_result = 0;
    m_lastError.clear();
}

} // namespace Emulator
