#pragma once

// How a feature's value reads for a person: with its unit, in its representation (hexadecimal,
// IP address), an enumeration by its entry's display name, a register by its length and first
// bytes. Shared by the feature tree, its clipboard text and the documentation.
// Thread: as the node map (reads the device).

#include <QString>

namespace GenApi {
class INode;
}

namespace NodeText {

// The value as shown; throws what the node map throws when the value cannot be read.
QString displayValue(GenApi::INode* node, bool utf8);

// The value as a feature file writes it (symbolic enumeration entries, plain numbers).
QString fileValue(GenApi::INode* node, bool utf8);

// One of the node's strings (display name, tool tip) decoded as the device encodes it.
QString text(const char* value, bool utf8);

} // namespace NodeText
