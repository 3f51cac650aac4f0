#pragma once

// How tarpo-cli writes a feature: its kind ("Integer", "Enumeration", ...), its access mode
// ("RW", "RO", ...) and its value as text.
// Thread: main thread only (the nodes take their map's lock).

#include <string>

namespace GenApi {
class INode;
}

class FeatureText
{
public:
    static std::string kind(GenApi::INode* node);
    static std::string access(GenApi::INode* node);
    // The value, "" for a command, and "(not readable)" for a feature that cannot be read now.
    static std::string value(GenApi::INode* node);
};
