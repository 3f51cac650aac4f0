#pragma once

// The entries of one enumeration feature of the emulated camera, as its register behaviour knows
// them: which register values are valid, and the symbolic names user set files use. The camera's
// description (emucamera.xml) lists the same entries; tst_emucamera compares the two.
// Thread-safe: the tables are built once and never change.

#include <cstdint>
#include <string>
#include <vector>

namespace Emulator {

class EmuEnumTable
{
public:
    struct Entry
    {
        std::string symbolic;
        int64_t value;
    };

    EmuEnumTable(std::string featureName, std::vector<Entry> entries);

    const std::string& featureName() const { return m_featureName; }
    const std::vector<Entry>& entries() const { return m_entries; }
    bool contains(int64_t value) const;
    // Empty when the value has no entry.
    std::string symbolic(int64_t value) const;
    bool valueOf(const std::string& symbolic, int64_t* value) const;

    static const EmuEnumTable& acquisitionMode();
    static const EmuEnumTable& acquisitionStatusSelector();
    static const EmuEnumTable& triggerSelector();
    static const EmuEnumTable& triggerMode();
    static const EmuEnumTable& triggerSource();
    static const EmuEnumTable& triggerActivation();
    static const EmuEnumTable& exposureAuto();
    static const EmuEnumTable& gainSelector();
    static const EmuEnumTable& gainAuto();
    static const EmuEnumTable& balanceRatioSelector();
    static const EmuEnumTable& balanceWhiteAuto();
    static const EmuEnumTable& lightSourcePreset();
    static const EmuEnumTable& autoFunctionProfile();
    static const EmuEnumTable& autoFunctionROISelector();
    static const EmuEnumTable& pixelFormat();
    static const EmuEnumTable& pixelSize();
    static const EmuEnumTable& testImageSelector();
    static const EmuEnumTable& deviceLinkThroughputLimitMode();
    static const EmuEnumTable& userSetSelector();
    static const EmuEnumTable& userSetDefault();
    static const EmuEnumTable& fileSelector();
    static const EmuEnumTable& fileOperationSelector();
    static const EmuEnumTable& fileOpenMode();
    static const EmuEnumTable& fileOperationStatus();

    // Every table above, for checks against the description.
    static std::vector<const EmuEnumTable*> all();

private:
    std::string m_featureName;
    std::vector<Entry> m_entries;
};

} // namespace Emulator
