#include "emulator/emufeaturestate.h"

#include "emulator/emuenumtable.h"
#include "emulator/emulimits.h"
#include "emulator/emuscene.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <functional>
#include <sstream>
#include <vector>

namespace Emulator {

namespace {

using namespace EmuLimits;

const char* const kUserSetHeader = "# Morvex Emulated Camera user set";

// One line of a user set file: its name, how the value is written, and how a text is checked
// and taken.
struct Field
{
    std::string name;
    std::function<std::string(const EmuFeatureState&)> write;
    std::function<bool(EmuFeatureState&, const std::string&)> read;
};

template <class T> using Accessor = std::function<T&(EmuFeatureState&)>;

std::string doubleText(double value)
{
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}

bool parseInt(const std::string& text, int64_t* value)
{
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, *value);
    return result.ec == std::errc() && result.ptr == end;
}

bool parseDouble(const std::string& text, double* value)
{
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, *value);
    return result.ec == std::errc() && result.ptr == end && std::isfinite(*value);
}

Field intField(std::string name, int64_t min, int64_t max, int64_t inc, Accessor<int64_t> at)
{
    return {std::move(name),
            [at](const EmuFeatureState& s) {
                return std::to_string(at(const_cast<EmuFeatureState&>(s)));
            },
            [at, min, max, inc](EmuFeatureState& s, const std::string& text) {
                int64_t value = 0;
                if (!parseInt(text, &value) || value < min || value > max || (value - min) % inc)
                    return false;
                at(s) = value;
                return true;
            }};
}

Field floatField(std::string name, double min, double max, Accessor<double> at)
{
    return {
        std::move(name),
        [at](const EmuFeatureState& s) { return doubleText(at(const_cast<EmuFeatureState&>(s))); },
        [at, min, max](EmuFeatureState& s, const std::string& text) {
            double value = 0;
            if (!parseDouble(text, &value) || value < min || value > max)
                return false;
            at(s) = value;
            return true;
        }};
}

Field boolField(std::string name, Accessor<bool> at)
{
    return {std::move(name),
            [at](const EmuFeatureState& s) {
                return std::string(at(const_cast<EmuFeatureState&>(s)) ? "1" : "0");
            },
            [at](EmuFeatureState& s, const std::string& text) {
                if (text != "0" && text != "1")
                    return false;
                at(s) = text == "1";
                return true;
            }};
}

// An enumeration stored as one of the enum classes (or EPixelType) in the state.
template <class E> Field enumField(const EmuEnumTable& table, Accessor<E> at)
{
    return {table.featureName(),
            [&table, at](const EmuFeatureState& s) {
                return table.symbolic(static_cast<int64_t>(at(const_cast<EmuFeatureState&>(s))));
            },
            [&table, at](EmuFeatureState& s, const std::string& text) {
                int64_t value = 0;
                if (!table.valueOf(text, &value))
                    return false;
                at(s) = static_cast<E>(value);
                return true;
            }};
}

const std::vector<Field>& fields()
{
    static const std::vector<Field> list = [] {
        using S = EmuFeatureState;
        std::vector<Field> f;
        f.push_back(intField("Width", kWidthMin, kSensorWidthMax, kWidthInc,
                             [](S& s) -> int64_t& { return s.width; }));
        f.push_back(intField("Height", kHeightMin, kSensorHeightMax, kHeightInc,
                             [](S& s) -> int64_t& { return s.height; }));
        f.push_back(intField("OffsetX", 0, kSensorWidthMax - kWidthMin, kOffsetXInc,
                             [](S& s) -> int64_t& { return s.offsetX; }));
        f.push_back(intField("OffsetY", 0, kSensorHeightMax - kHeightMin, kOffsetYInc,
                             [](S& s) -> int64_t& { return s.offsetY; }));
        f.push_back(enumField<Tarpo::EPixelType>(
            EmuEnumTable::pixelFormat(), [](S& s) -> Tarpo::EPixelType& { return s.pixelFormat; }));
        f.push_back(enumField<EmuTestImage>(EmuEnumTable::testImageSelector(),
                                            [](S& s) -> EmuTestImage& { return s.testImage; }));
        f.push_back({"ImageFilename", [](const S& s) { return s.imageFilename; },
                     [](S& s, const std::string& text) {
                         if (static_cast<int64_t>(text.size()) >= kImageFilenameLength)
                             return false;
                         s.imageFilename = text;
                         return true;
                     }});
        f.push_back(enumField<EmuAcquisitionMode>(
            EmuEnumTable::acquisitionMode(),
            [](S& s) -> EmuAcquisitionMode& { return s.acquisitionMode; }));
        f.push_back(intField("AcquisitionFrameCount", kFrameCountMin, kFrameCountMax, 1,
                             [](S& s) -> int64_t& { return s.acquisitionFrameCount; }));
        f.push_back(boolField("AcquisitionFrameRateEnable",
                              [](S& s) -> bool& { return s.frameRateEnable; }));
        f.push_back(floatField("AcquisitionFrameRate", kFrameRateMinHz, kFrameRateMaxHz,
                               [](S& s) -> double& { return s.frameRateHz; }));
        f.push_back(
            boolField("TriggerMode[FrameStart]", [](S& s) -> bool& { return s.triggerMode; }));
        Field source =
            enumField<EmuTriggerSource>(EmuEnumTable::triggerSource(),
                                        [](S& s) -> EmuTriggerSource& { return s.triggerSource; });
        source.name += "[FrameStart]";
        f.push_back(source);
        Field activation = enumField<EmuTriggerActivation>(
            EmuEnumTable::triggerActivation(),
            [](S& s) -> EmuTriggerActivation& { return s.triggerActivation; });
        activation.name += "[FrameStart]";
        f.push_back(activation);
        f.push_back(floatField("ExposureTime", kExposureTimeMinUs, kExposureTimeMaxUs,
                               [](S& s) -> double& { return s.exposureTimeUs; }));
        f.push_back(enumField<EmuAutoMode>(EmuEnumTable::exposureAuto(),
                                           [](S& s) -> EmuAutoMode& { return s.exposureAuto; }));
        f.push_back(floatField("Gain[All]", kGainMinDb, kGainMaxDb,
                               [](S& s) -> double& { return s.gainDb; }));
        Field gainAuto = enumField<EmuAutoMode>(EmuEnumTable::gainAuto(),
                                                [](S& s) -> EmuAutoMode& { return s.gainAuto; });
        gainAuto.name += "[All]";
        f.push_back(gainAuto);
        f.push_back(floatField("BlackLevel", kBlackLevelMin, kBlackLevelMax,
                               [](S& s) -> double& { return s.blackLevel; }));
        f.push_back(
            floatField("Gamma", kGammaMin, kGammaMax, [](S& s) -> double& { return s.gamma; }));
        const char* const channels[] = {"BalanceRatio[Red]", "BalanceRatio[Green]",
                                        "BalanceRatio[Blue]"};
        for (int c = 0; c < 3; ++c) {
            f.push_back(floatField(channels[c], kBalanceRatioMin, kBalanceRatioMax,
                                   [c](S& s) -> double& { return s.balanceRatio[c]; }));
        }
        f.push_back(
            enumField<EmuAutoMode>(EmuEnumTable::balanceWhiteAuto(),
                                   [](S& s) -> EmuAutoMode& { return s.balanceWhiteAuto; }));
        f.push_back(
            enumField<EmuLightSource>(EmuEnumTable::lightSourcePreset(),
                                      [](S& s) -> EmuLightSource& { return s.lightSourcePreset; }));
        f.push_back(floatField("AutoTargetBrightness", 0.0, 1.0,
                               [](S& s) -> double& { return s.autoTargetBrightness; }));
        f.push_back(enumField<EmuAutoProfile>(
            EmuEnumTable::autoFunctionProfile(),
            [](S& s) -> EmuAutoProfile& { return s.autoFunctionProfile; }));
        f.push_back(floatField("AutoGainLowerLimit", kGainMinDb, kGainMaxDb,
                               [](S& s) -> double& { return s.autoGainLowerLimitDb; }));
        f.push_back(floatField("AutoGainUpperLimit", kGainMinDb, kGainMaxDb,
                               [](S& s) -> double& { return s.autoGainUpperLimitDb; }));
        f.push_back(floatField("AutoExposureTimeLowerLimit", kExposureTimeMinUs, kExposureTimeMaxUs,
                               [](S& s) -> double& { return s.autoExposureTimeLowerLimitUs; }));
        f.push_back(floatField("AutoExposureTimeUpperLimit", kExposureTimeMinUs, kExposureTimeMaxUs,
                               [](S& s) -> double& { return s.autoExposureTimeUpperLimitUs; }));
        for (int r = 0; r < kAutoRoiCount; ++r) {
            const std::string roi = "[ROI" + std::to_string(r + 1) + "]";
            auto name = [&roi](const char* feature) { return feature + roi; };
            f.push_back(intField(name("AutoFunctionROIOffsetX"), 0, kSensorWidthMax - kWidthMin,
                                 kOffsetXInc,
                                 [r](S& s) -> int64_t& { return s.autoRoi[r].offsetX; }));
            f.push_back(intField(name("AutoFunctionROIOffsetY"), 0, kSensorHeightMax - kHeightMin,
                                 kOffsetYInc,
                                 [r](S& s) -> int64_t& { return s.autoRoi[r].offsetY; }));
            f.push_back(intField(name("AutoFunctionROIWidth"), kWidthMin, kSensorWidthMax,
                                 kWidthInc, [r](S& s) -> int64_t& { return s.autoRoi[r].width; }));
            f.push_back(intField(name("AutoFunctionROIHeight"), kHeightMin, kSensorHeightMax,
                                 kHeightInc,
                                 [r](S& s) -> int64_t& { return s.autoRoi[r].height; }));
            f.push_back(boolField(name("AutoFunctionROIUseBrightness"),
                                  [r](S& s) -> bool& { return s.autoRoi[r].useBrightness; }));
            f.push_back(boolField(name("AutoFunctionROIUseWhiteBalance"),
                                  [r](S& s) -> bool& { return s.autoRoi[r].useWhiteBalance; }));
        }
        f.push_back(enumField<bool>(EmuEnumTable::deviceLinkThroughputLimitMode(),
                                    [](S& s) -> bool& { return s.linkThroughputLimitOn; }));
        f.push_back(intField("DeviceLinkThroughputLimit", kLinkThroughputMinBps,
                             kLinkThroughputMaxBps, 1,
                             [](S& s) -> int64_t& { return s.linkThroughputLimitBps; }));
        return f;
    }();
    return list;
}

// Keeps offset + size within the sensor, moving the offset first; both stay on their grids.
void fitAxis(int64_t& offset, int64_t& size, int64_t sensor, int64_t sizeMin, int64_t sizeInc,
             int64_t offsetInc)
{
    size = std::clamp(size, sizeMin, sensor);
    size -= (size - sizeMin) % sizeInc;
    if (offset + size > sensor)
        offset = sensor - size;
    offset -= offset % offsetInc;
    offset = std::max<int64_t>(offset, 0);
}

} // namespace

EmuFeatureState EmuFeatureState::factoryDefaults(int64_t sensorWidth, int64_t sensorHeight)
{
    EmuFeatureState state;
    state.width = sensorWidth;
    state.height = sensorHeight;
    state.autoRoi[0] = EmuAutoRoi{0, 0, sensorWidth, sensorHeight, true, true};
    state.autoRoi[1] = EmuAutoRoi{0, 0, sensorWidth, sensorHeight, false, false};
    return state;
}

void EmuFeatureState::fitToSensor(int64_t sensorWidth, int64_t sensorHeight)
{
    fitAxis(offsetX, width, sensorWidth, kWidthMin, kWidthInc, kOffsetXInc);
    fitAxis(offsetY, height, sensorHeight, kHeightMin, kHeightInc, kOffsetYInc);
    for (EmuAutoRoi& roi : autoRoi) {
        fitAxis(roi.offsetX, roi.width, sensorWidth, kWidthMin, kWidthInc, kOffsetXInc);
        fitAxis(roi.offsetY, roi.height, sensorHeight, kHeightMin, kHeightInc, kOffsetYInc);
    }
}

EmuImageParameters EmuFeatureState::imageParameters(int64_t sensorWidth, int64_t sensorHeight) const
{
    EmuImageParameters p;
    p.width = uint32_t(width);
    p.height = uint32_t(height);
    p.offsetX = uint32_t(offsetX);
    p.offsetY = uint32_t(offsetY);
    p.sensorWidth = uint32_t(sensorWidth);
    p.sensorHeight = uint32_t(sensorHeight);
    p.pixelType = pixelFormat;
    p.testImage = testImage;
    p.exposureTimeUs = exposureTimeUs;
    p.gainDb = gainDb;
    p.blackLevel = blackLevel;
    p.gamma = gamma;
    double factors[3];
    lightSourceFactors(lightSourcePreset, factors);
    p.balanceRatioRed = balanceRatio[0] * factors[0];
    p.balanceRatioGreen = balanceRatio[1] * factors[1];
    p.balanceRatioBlue = balanceRatio[2] * factors[2];
    p.imageFilename = imageFilename;
    return p;
}

void EmuFeatureState::lightSourceFactors(EmuLightSource preset, double factors[3])
{
    // The scene is lit by warm, tungsten-like light: the Tungsten2800K preset takes exactly its
    // colour cast away, measured once on the scene's neutral grey card (a reflector without
    // colour shows the light's colour). The daylight presets are small corrections around the
    // 5500 K the camera's colours are tuned for, so the scene stays warm under them, as it would
    // with a real camera.
    static const std::array<double, 3> tungsten = [] {
        const EmuScene::Radiance card = EmuScene::radiance(
            uint32_t(kDefaultSensorWidth * 48 / 100), uint32_t(kDefaultSensorHeight * 51 / 100),
            uint32_t(kDefaultSensorWidth), uint32_t(kDefaultSensorHeight));
        return std::array<double, 3>{double(card.green) / card.red, 1.0,
                                     double(card.green) / card.blue};
    }();
    switch (preset) {
    case EmuLightSource::Daylight5000K:
        factors[0] = 0.94;
        factors[1] = 1.0;
        factors[2] = 1.10;
        return;
    case EmuLightSource::Daylight6500K:
        factors[0] = 1.06;
        factors[1] = 1.0;
        factors[2] = 0.92;
        return;
    case EmuLightSource::Tungsten2800K:
        std::copy(tungsten.begin(), tungsten.end(), factors);
        return;
    default:
        factors[0] = factors[1] = factors[2] = 1.0;
        return;
    }
}

std::string EmuFeatureState::toText() const
{
    std::ostringstream out;
    out << kUserSetHeader << '\n';
    for (const Field& field : fields())
        out << field.name << '\t' << field.write(*this) << '\n';
    return out.str();
}

bool EmuFeatureState::fromText(const std::string& text, EmuFeatureState* state, std::string* error)
{
    EmuFeatureState result = *state;
    std::istringstream in(text);
    std::string line;
    int lineNumber = 0;
    while (std::getline(in, line)) {
        ++lineNumber;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.empty() || line[0] == '#')
            continue;
        const size_t tab = line.find('\t');
        const std::string name = line.substr(0, tab);
        const std::string value = tab == std::string::npos ? std::string() : line.substr(tab + 1);
        const auto field = std::find_if(fields().begin(), fields().end(),
                                        [&name](const Field& f) { return f.name == name; });
        if (field == fields().end()) {
            *error = "line " + std::to_string(lineNumber) + ": unknown feature '" + name + "'";
            return false;
        }
        if (tab == std::string::npos || !field->read(result, value)) {
            *error = "line " + std::to_string(lineNumber) + ": '" + value +
                     "' is not a valid value of " + name;
            return false;
        }
    }
    if (result.autoGainLowerLimitDb > result.autoGainUpperLimitDb ||
        result.autoExposureTimeLowerLimitUs > result.autoExposureTimeUpperLimitUs) {
        *error = "an auto-function lower limit exceeds its upper limit";
        return false;
    }
    *state = result;
    return true;
}

} // namespace Emulator
