#include "emulator/emuenumtable.h"

#include "emulator/emupixelwriter.h"
#include "tarpo/pixeltype.h"

namespace Emulator {

namespace {

const std::vector<EmuEnumTable::Entry> kAutoModes = {{"Off", 0}, {"Once", 1}, {"Continuous", 2}};
const std::vector<EmuEnumTable::Entry> kUserSets = {
    {"Default", 0}, {"UserSet1", 1}, {"UserSet2", 2}, {"UserSet3", 3}};

} // namespace

EmuEnumTable::EmuEnumTable(std::string featureName, std::vector<Entry> entries)
    : m_featureName(std::move(featureName)), m_entries(std::move(entries))
{
}

bool EmuEnumTable::contains(int64_t value) const
{
    for (const Entry& entry : m_entries) {
        if (entry.value == value)
            return true;
    }
    return false;
}

std::string EmuEnumTable::symbolic(int64_t value) const
{
    for (const Entry& entry : m_entries) {
        if (entry.value == value)
            return entry.symbolic;
    }
    return std::string();
}

bool EmuEnumTable::valueOf(const std::string& symbolic, int64_t* value) const
{
    for (const Entry& entry : m_entries) {
        if (entry.symbolic == symbolic) {
            *value = entry.value;
            return true;
        }
    }
    return false;
}

const EmuEnumTable& EmuEnumTable::acquisitionMode()
{
    static const EmuEnumTable table("AcquisitionMode",
                                    {{"SingleFrame", 0}, {"MultiFrame", 1}, {"Continuous", 2}});
    return table;
}

const EmuEnumTable& EmuEnumTable::acquisitionStatusSelector()
{
    static const EmuEnumTable table("AcquisitionStatusSelector", {{"AcquisitionActive", 0}});
    return table;
}

const EmuEnumTable& EmuEnumTable::triggerSelector()
{
    static const EmuEnumTable table("TriggerSelector", {{"FrameStart", 0}});
    return table;
}

const EmuEnumTable& EmuEnumTable::triggerMode()
{
    static const EmuEnumTable table("TriggerMode", {{"Off", 0}, {"On", 1}});
    return table;
}

const EmuEnumTable& EmuEnumTable::triggerSource()
{
    static const EmuEnumTable table("TriggerSource", {{"Software", 0}, {"Line1", 1}});
    return table;
}

const EmuEnumTable& EmuEnumTable::triggerActivation()
{
    static const EmuEnumTable table("TriggerActivation",
                                    {{"RisingEdge", 0}, {"FallingEdge", 1}, {"AnyEdge", 2}});
    return table;
}

const EmuEnumTable& EmuEnumTable::exposureAuto()
{
    static const EmuEnumTable table("ExposureAuto", kAutoModes);
    return table;
}

const EmuEnumTable& EmuEnumTable::gainSelector()
{
    static const EmuEnumTable table("GainSelector", {{"All", 0}});
    return table;
}

const EmuEnumTable& EmuEnumTable::gainAuto()
{
    static const EmuEnumTable table("GainAuto", kAutoModes);
    return table;
}

const EmuEnumTable& EmuEnumTable::balanceRatioSelector()
{
    static const EmuEnumTable table("BalanceRatioSelector",
                                    {{"Red", 0}, {"Green", 1}, {"Blue", 2}});
    return table;
}

const EmuEnumTable& EmuEnumTable::balanceWhiteAuto()
{
    static const EmuEnumTable table("BalanceWhiteAuto", kAutoModes);
    return table;
}

const EmuEnumTable& EmuEnumTable::lightSourcePreset()
{
    static const EmuEnumTable table(
        "LightSourcePreset",
        {{"Off", 0}, {"Daylight5000K", 1}, {"Daylight6500K", 2}, {"Tungsten2800K", 3}});
    return table;
}

const EmuEnumTable& EmuEnumTable::autoFunctionProfile()
{
    static const EmuEnumTable table("AutoFunctionProfile",
                                    {{"MinimizeGain", 0}, {"MinimizeExposureTime", 1}});
    return table;
}

const EmuEnumTable& EmuEnumTable::autoFunctionROISelector()
{
    static const EmuEnumTable table("AutoFunctionROISelector", {{"ROI1", 0}, {"ROI2", 1}});
    return table;
}

const EmuEnumTable& EmuEnumTable::pixelFormat()
{
    // The image synthesis decides which pixel types the camera offers; the entry values are
    // their PFNC codes, the names those of the pixel type table.
    static const EmuEnumTable table = [] {
        std::vector<Entry> entries;
        for (const Tarpo::EPixelType type : EmuPixelWriter::supportedPixelTypes())
            entries.push_back({Tarpo::GetPixelTypeName(type), static_cast<int64_t>(type)});
        return EmuEnumTable("PixelFormat", std::move(entries));
    }();
    return table;
}

const EmuEnumTable& EmuEnumTable::pixelSize()
{
    static const EmuEnumTable table(
        "PixelSize",
        {{"Bpp8", 8}, {"Bpp10", 10}, {"Bpp12", 12}, {"Bpp16", 16}, {"Bpp24", 24}, {"Bpp32", 32}});
    return table;
}

const EmuEnumTable& EmuEnumTable::testImageSelector()
{
    // In the order of EmuTestImage, whose enumerators the values are.
    static const EmuEnumTable table("TestImageSelector", {{"Off", 0},
                                                          {"GreyRamp", 1},
                                                          {"ColorBars", 2},
                                                          {"MovingStripes", 3},
                                                          {"Checkerboard", 4},
                                                          {"FrameCounter", 5}});
    return table;
}

const EmuEnumTable& EmuEnumTable::deviceLinkThroughputLimitMode()
{
    static const EmuEnumTable table("DeviceLinkThroughputLimitMode", {{"Off", 0}, {"On", 1}});
    return table;
}

const EmuEnumTable& EmuEnumTable::userSetSelector()
{
    static const EmuEnumTable table("UserSetSelector", kUserSets);
    return table;
}

const EmuEnumTable& EmuEnumTable::userSetDefault()
{
    static const EmuEnumTable table("UserSetDefault", kUserSets);
    return table;
}

const EmuEnumTable& EmuEnumTable::fileSelector()
{
    static const EmuEnumTable table(
        "FileSelector", {{"UserData", 0}, {"UserSet1", 1}, {"UserSet2", 2}, {"UserSet3", 3}});
    return table;
}

const EmuEnumTable& EmuEnumTable::fileOperationSelector()
{
    static const EmuEnumTable table(
        "FileOperationSelector",
        {{"Open", 0}, {"Close", 1}, {"Read", 2}, {"Write", 3}, {"Delete", 4}});
    return table;
}

const EmuEnumTable& EmuEnumTable::fileOpenMode()
{
    static const EmuEnumTable table("FileOpenMode", {{"Read", 0}, {"Write", 1}, {"ReadWrite", 2}});
    return table;
}

const EmuEnumTable& EmuEnumTable::fileOperationStatus()
{
    static const EmuEnumTable table("FileOperationStatus", {{"Success", 0}, {"Failure", 1}});
    return table;
}

std::vector<const EmuEnumTable*> EmuEnumTable::all()
{
    return {&acquisitionMode(),
            &acquisitionStatusSelector(),
            &triggerSelector(),
            &triggerMode(),
            &triggerSource(),
            &triggerActivation(),
            &exposureAuto(),
            &gainSelector(),
            &gainAuto(),
            &balanceRatioSelector(),
            &balanceWhiteAuto(),
            &lightSourcePreset(),
            &autoFunctionProfile(),
            &autoFunctionROISelector(),
            &pixelFormat(),
            &pixelSize(),
            &testImageSelector(),
            &deviceLinkThroughputLimitMode(),
            &userSetSelector(),
            &userSetDefault(),
            &fileSelector(),
            &fileOperationSelector(),
            &fileOpenMode(),
            &fileOperationStatus()};
}

} // namespace Emulator
