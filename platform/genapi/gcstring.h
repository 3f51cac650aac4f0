#pragma once

// GenICam's string type: a std::string that also converts from a null C string (to empty).
// Thread: value type, no shared state.

#include <string>
#include <vector>

namespace GenICam {

class gcstring : public std::string
{
public:
    gcstring() = default;
    gcstring(const char* text) : std::string(text ? text : "") {}
    gcstring(const char* text, size_t length) : std::string(text, length) {}
    gcstring(const std::string& text) : std::string(text) {}
    gcstring(std::string&& text) : std::string(std::move(text)) {}
};

using gcstring_vector = std::vector<gcstring>;

} // namespace GenICam
