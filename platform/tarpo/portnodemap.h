#pragma once

// A GenICam node map whose registers live in this process: each feature is an 8-byte register
// whose reads and writes call the functions given for it, so a feature can stand for an Aravis
// stream property, a statistic or a GigE Vision device call. The stream-grabber and
// transport-layer node maps are built with it; the XML is generated from the feature list.
// Thread: add features and build() from one thread; afterwards the node map is thread-safe and
// the functions run with the map's lock held, on whichever thread uses the map.

#include "genapi/nodemapref.h"
#include "genapi/portimpl.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Tarpo {

using GenICam::gcstring;

class CPortNodeMap : public GenApi::CPortImpl
{
public:
    // What the feature tree shows of a feature. `lockedBy` names an integer feature of the same
    // map that reads non-zero while the feature may not change (its setter refuses then too).
    struct FeatureInfo
    {
        std::string name;
        std::string displayName;
        std::string toolTip;
        GenApi::EVisibility visibility = GenApi::Beginner;
        std::string lockedBy = std::string();
    };

    using IntGetter = std::function<int64_t()>;
    using IntSetter = std::function<void(int64_t)>;
    using FloatGetter = std::function<double()>;
    using FloatSetter = std::function<void(double)>;

    struct IntRange
    {
        int64_t min = 0;
        int64_t max = INT64_MAX;
        int64_t inc = 1;
        std::string unit = std::string();
        GenApi::ERepresentation representation = GenApi::Linear;
    };

    // `modelName` goes into the description's header and names the map's device.
    CPortNodeMap(const std::string& modelName, const std::string& toolTip);
    ~CPortNodeMap() override;
    CPortNodeMap(const CPortNodeMap&) = delete;
    CPortNodeMap& operator=(const CPortNodeMap&) = delete;

    // Features added after this call are listed by that category (a child of "Root").
    void beginCategory(const std::string& name, const std::string& displayName,
                       const std::string& toolTip);
    // A feature without a setter is read-only.
    void addInteger(const FeatureInfo& info, const IntRange& range, IntGetter get,
                    IntSetter set = IntSetter());
    void addBoolean(const FeatureInfo& info, std::function<bool()> get,
                    std::function<void(bool)> set = std::function<void(bool)>());
    void addFloat(const FeatureInfo& info, double min, double max, const std::string& unit,
                  FloatGetter get, FloatSetter set = FloatSetter());
    void addEnumeration(const FeatureInfo& info,
                        const std::vector<std::pair<std::string, int64_t>>& entries, IntGetter get,
                        IntSetter set = IntSetter());
    void addCommand(const FeatureInfo& info, std::function<void()> execute);

    // Parses the generated description and connects the registers; throws a GenICam
    // RuntimeException when the description does not load.
    void build();
    GenApi::INodeMap* nodeMap() const { return m_nodeMapRef._GetNodeMap(); }
    const std::string& xml() const { return m_xml; }

    // GenApi::IPort: one whole 8-byte register per access.
    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;

private:
    struct Register
    {
        std::string name;
        std::function<uint64_t()> read;      // null: write-only
        std::function<void(uint64_t)> write; // null: read-only
    };
    struct Category
    {
        std::string name;
        std::string displayName;
        std::string toolTip;
        std::vector<std::string> features;
    };

    // Appends the register node behind a feature and returns its name.
    std::string addRegister(const FeatureInfo& info, const char* element,
                            std::function<uint64_t()> read, std::function<void(uint64_t)> write,
                            const char* extra = "");
    std::string header(const char* element, const FeatureInfo& info) const;
    void listInCategory(const std::string& name);
    const Register& registerAt(int64_t address, int64_t length) const;

    std::string m_modelName;
    std::string m_toolTip;
    std::vector<Register> m_registers;
    std::vector<Category> m_categories;
    std::string m_body; // feature and register nodes, in the order they were added
    std::string m_xml;
    GenApi::CNodeMapRef m_nodeMapRef;
};

} // namespace Tarpo
