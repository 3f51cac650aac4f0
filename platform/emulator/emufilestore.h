#pragma once

// The emulated camera's files and its side of the file access protocol: FileSelector,
// FileOperationSelector, FileOpenMode, FileAccessOffset/Length/Buffer, FileOperationExecute,
// FileOperationStatus/Result and FileSize. "UserData" is plain memory of 1 MiB; "UserSet1..3"
// are the saved user sets as text, read through the functions the owner passes: a user set file
// written and closed replaces the saved set when its text is valid, and the Close fails when not.
// Thread: not thread-safe; the camera calls it with its mutex held.

#include "emulator/emuregisters.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace Emulator {

class EmuFileStore
{
public:
    enum File : int64_t
    {
        UserData = 0,
        UserSet1 = 1,
        UserSet2 = 2,
        UserSet3 = 3
    };
    enum Operation : int64_t
    {
        Open = 0,
        Close = 1,
        Read = 2,
        Write = 3,
        Delete = 4
    };
    enum OpenMode : int64_t
    {
        ReadMode = 0,
        WriteMode = 1,
        ReadWriteMode = 2
    };
    static constexpr int kFileCount = 4;

    struct UserSetAccess
    {
        // The saved text of user set 1..3.
        std::function<std::string(int userSet)> read;
        // Stores a new text; false with `error` set when the text is not a valid user set.
        std::function<bool(int userSet, const std::string& text, std::string* error)> write;
        // Forgets what was saved: the set holds the factory settings again.
        std::function<void(int userSet)> reset;
    };

    explicit EmuFileStore(UserSetAccess userSets);

    int64_t fileSelector() const { return m_fileSelector; }
    int64_t operationSelector() const { return m_operationSelector; }
    int64_t openMode() const { return m_openMode; }
    int64_t accessOffset() const { return m_accessOffset; }
    int64_t accessLength() const { return m_accessLength; }
    void setFileSelector(int64_t file) { m_fileSelector = file; }
    void setOperationSelector(int64_t operation) { m_operationSelector = operation; }
    void setOpenMode(int64_t mode) { m_openMode = mode; }
    void setAccessOffset(int64_t offset) { m_accessOffset = offset; }
    void setAccessLength(int64_t length) { m_accessLength = length; }

    // Runs the selected operation on the selected file; the outcome is in status() and result().
    void execute();
    bool succeeded() const { return m_succeeded; }
    int64_t result() const { return m_result; }
    // Why the last operation failed, for the camera's trace; empty after a success.
    const std::string& lastError() const { return m_lastError; }

    // Size of the selected file.
    int64_t fileSize() const;

    // The FileAccessBuffer window.
    void readBuffer(int64_t offset, void* buffer, int64_t length) const;
    void writeBuffer(int64_t offset, const void* buffer, int64_t length);

    // Power-down: open files are closed without storing anything, the selectors reset. The
    // user data stays: it lives in the camera's non-volatile memory.
    void reset();

private:
    struct OpenState
    {
        bool open = false;
        int64_t mode = ReadMode;
        // A user set file's text while it is open: a snapshot to read, or the text being written.
        std::string text;
    };

    bool fail(const std::string& why);
    bool openFile(OpenState& file);
    bool closeFile(OpenState& file);
    bool readFile(OpenState& file);
    bool writeFile(OpenState& file);
    bool deleteFile(OpenState& file);
    // The selected file's current contents.
    std::string& contents(OpenState& file);
    const char* fileName() const;

    UserSetAccess m_userSets;
    std::string m_userData;
    std::array<OpenState, kFileCount> m_files;
    std::array<uint8_t, EmuReg::FileAccessBufferSize> m_buffer{};

    int64_t m_fileSelector = UserData;
    int64_t m_operationSelector = Open;
    int64_t m_openMode = ReadMode;
    int64_t m_accessOffset = 0;
    int64_t m_accessLength = 0;
    bool m_succeeded = true;
    int64_t m_result = 0;
    std::string m_lastError;
};

} // namespace Emulator
