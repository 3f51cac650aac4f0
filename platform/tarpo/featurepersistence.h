#pragma once

// Camera feature files (".tfs"): the values of a camera's streamable features, saved so that
// loading them reproduces the camera's state.
//
// The format is text, UTF-8, one line each:
//
//   # Tarpo Feature Stream
//   # Version<TAB>1
//   # Model<TAB>Emulated Camera
//   # Vendor<TAB>Morvex
//   Width<TAB>640
//   GainSelector<TAB>AnalogAll
//   Gain<TAB>2.5
//   ...
//
// The first line names the format and the second its version; "Model" and "Vendor" name the
// camera the file was saved from. Then one `name<TAB>value` line per feature that is streamable,
// readable and writable, except commands and registers: integers in decimal, floats with every
// digit they need to come back exact, enumerations by the entry's symbolic name, booleans as 1
// or 0, strings with backslash, tab, line feed and carriage return written as \\, \t, \n, \r.
// Lines starting with '#' after the header are comments; empty lines are skipped.
//
// Features come in an order that respects their dependencies: a feature whose range, lock or
// availability depends on others (OffsetX on Width, Width on PixelFormat) comes after them. A
// feature that has selectors is saved once per selector value, each line after the selector
// lines that select it, and the selectors' own values follow the block, so loading leaves them
// as they were. Loading applies the lines in file order; a line that fails is tried again after
// the others (a value may only fit once a later feature made room), so the order between
// features that bound each other does not matter.
//
// Thread: as the node map (the map's lock serialises each access).

#include "genapi/gcstring.h"

#include <string>

namespace GenApi {
class INodeMap;
}

namespace Tarpo {

class CFeaturePersistence
{
public:
    static constexpr int kFormatVersion = 1;

    // Writes the file through a temporary file, so a failure leaves no partial file behind.
    // Throws a RuntimeException when it cannot be written.
    static void Save(const GenICam::gcstring& fileName, GenApi::INodeMap* pNodeMap);
    static std::string SaveToString(GenApi::INodeMap* pNodeMap);

    // Applies the file's values. A file that is not a feature file, or of another format
    // version, throws before anything is written. Otherwise every line is tried (with `validate`
    // the node map's rules are checked before each write); when any line fails, after every
    // other line was applied, one RuntimeException lists each failure with its line, feature
    // and reason (and the model the file was saved from when it differs from this camera).
    static void Load(const GenICam::gcstring& fileName, GenApi::INodeMap* pNodeMap,
                     bool validate = true);
    static void LoadFromString(const std::string& text, GenApi::INodeMap* pNodeMap,
                               bool validate = true);
};

} // namespace Tarpo
