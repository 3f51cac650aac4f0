#pragma once

// A command line that does not fit a command's synopsis; tarpo-cli exits with 2 for it.
// Thread: value type.

#include <stdexcept>
#include <string>

class UsageError : public std::runtime_error
{
public:
    explicit UsageError(const std::string& message) : std::runtime_error(message) {}
};
