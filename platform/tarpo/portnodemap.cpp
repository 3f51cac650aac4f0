#include "tarpo/portnodemap.h"

#include "genapi/genicamexception.h"

#include <cstring>
#include <sstream>

namespace Tarpo {

namespace {

// Each register is 8 bytes wide; its address is its index times this.
constexpr int64_t registerStride = 8;

std::string escaped(const std::string& text)
{
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string element(const char* name, const std::string& text)
{
    return text.empty() ? std::string()
                        : "    <" + std::string(name) + ">" + escaped(text) + "</" + name + ">\n";
}

uint64_t bitsOf(double value)
{
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

double doubleOf(uint64_t bits)
{
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

std::string doubleText(double value)
{
    std::ostringstream out;
    out.precision(17);
    out << value;
    return out.str();
}

} // namespace

CPortNodeMap::CPortNodeMap(const std::string& modelName, const std::string& toolTip)
    : m_modelName(modelName), m_toolTip(toolTip), m_nodeMapRef(modelName)
{
}

CPortNodeMap::~CPortNodeMap()
{
    // The node map reads through this port; let it go before the registers do.
    m_nodeMapRef._Destroy();
}

void CPortNodeMap::beginCategory(const std::string& name, const std::string& displayName,
                                 const std::string& toolTip)
{
    m_categories.push_back(Category{name, displayName, toolTip, {}});
}

void CPortNodeMap::listInCategory(const std::string& name)
{
    if (m_categories.empty())
        beginCategory("Main", "Main", std::string());
    m_categories.back().features.push_back(name);
}

std::string CPortNodeMap::header(const char* elementName, const FeatureInfo& info) const
{
    std::string xml =
        "  <" + std::string(elementName) + " Name=\"" + info.name + "\" NameSpace=\"Custom\">\n";
    xml += element("ToolTip", info.toolTip);
    xml += element("Description", info.toolTip);
    xml += element("DisplayName", info.displayName);
    xml += element("Visibility", GenApi::EVisibilityClass::ToString(info.visibility));
    xml += element("pIsLocked", info.lockedBy);
    return xml;
}

std::string CPortNodeMap::addRegister(const FeatureInfo& info, const char* elementName,
                                      std::function<uint64_t()> read,
                                      std::function<void(uint64_t)> write, const char* extra)
{
    if (write && !info.lockedBy.empty()) {
        // Refuse in the setter too: a write may come from a map that does not check locks.
        write = [this, lockedBy = info.lockedBy, name = info.name, write](uint64_t value) {
            for (const Register& reg : m_registers) {
                if (reg.name == lockedBy + "Reg" && reg.read && reg.read() != 0)
                    throw ACCESS_EXCEPTION("%s cannot change while %s is set", name.c_str(),
                                           lockedBy.c_str());
            }
            write(value);
        };
    }
    const std::string name = info.name + "Reg";
    const int64_t address = static_cast<int64_t>(m_registers.size()) * registerStride;
    const char* access = !write ? "RO" : (!read ? "WO" : "RW");
    m_registers.push_back(Register{name, std::move(read), std::move(write)});

    std::ostringstream xml;
    xml << "  <" << elementName << " Name=\"" << name << "\" NameSpace=\"Custom\">\n"
        << "    <Visibility>Invisible</Visibility>\n"
        << "    <Address>0x" << std::hex << address << std::dec << "</Address>\n"
        << "    <Length>" << registerStride << "</Length>\n"
        << "    <AccessMode>" << access << "</AccessMode>\n"
        << "    <pPort>Device</pPort>\n"
        // The values change behind the map's back (statistics, device state): never cache.
        << "    <Cachable>NoCache</Cachable>\n"
        << extra << "    <Endianess>LittleEndian</Endianess>\n"
        << "  </" << elementName << ">\n";
    m_body += xml.str();
    return name;
}

void CPortNodeMap::addInteger(const FeatureInfo& info, const IntRange& range, IntGetter get,
                              IntSetter set)
{
    std::function<void(uint64_t)> write;
    if (set)
        write = [set](uint64_t bits) { set(static_cast<int64_t>(bits)); };
    const std::string reg = addRegister(
        info, "IntReg", [get] { return static_cast<uint64_t>(get()); }, write,
        "    <Sign>Signed</Sign>\n");

    std::string xml = header("Integer", info);
    xml += element("pValue", reg);
    xml += element("Min", std::to_string(range.min));
    xml += element("Max", std::to_string(range.max));
    xml += element("Inc", std::to_string(range.inc));
    xml += element("Unit", range.unit);
    xml += element("Representation", GenApi::ERepresentationClass::ToString(range.representation));
    xml += "  </Integer>\n";
    m_body += xml;
    listInCategory(info.name);
}

void CPortNodeMap::addBoolean(const FeatureInfo& info, std::function<bool()> get,
                              std::function<void(bool)> set)
{
    std::function<void(uint64_t)> write;
    if (set)
        write = [set](uint64_t bits) { set(bits != 0); };
    const std::string reg = addRegister(
        info, "IntReg", [get] { return get() ? uint64_t(1) : uint64_t(0); }, write,
        "    <Sign>Unsigned</Sign>\n");

    std::string xml = header("Boolean", info);
    xml += element("pValue", reg);
    xml += element("OnValue", "1");
    xml += element("OffValue", "0");
    xml += "  </Boolean>\n";
    m_body += xml;
    listInCategory(info.name);
}

void CPortNodeMap::addFloat(const FeatureInfo& info, double min, double max,
                            const std::string& unit, FloatGetter get, FloatSetter set)
{
    std::function<void(uint64_t)> write;
    if (set)
        write = [set](uint64_t bits) { set(doubleOf(bits)); };
    const std::string reg = addRegister(
        info, "FloatReg", [get] { return bitsOf(get()); }, write);

    std::string xml = header("Float", info);
    xml += element("pValue", reg);
    xml += element("Min", doubleText(min));
    xml += element("Max", doubleText(max));
    xml += element("Unit", unit);
    xml += "  </Float>\n";
    m_body += xml;
    listInCategory(info.name);
}

void CPortNodeMap::addEnumeration(const FeatureInfo& info,
                                  const std::vector<std::pair<std::string, int64_t>>& entries,
                                  IntGetter get, IntSetter set)
{
    std::function<void(uint64_t)> write;
    if (set)
        write = [set](uint64_t bits) { set(static_cast<int64_t>(bits)); };
    const std::string reg = addRegister(
        info, "IntReg", [get] { return static_cast<uint64_t>(get()); }, write,
        "    <Sign>Signed</Sign>\n");

    std::string xml = header("Enumeration", info);
    for (const auto& entry : entries) {
        xml += "    <EnumEntry Name=\"" + entry.first + "\" NameSpace=\"Custom\">\n";
        xml += "  " + element("Value", std::to_string(entry.second));
        xml += "    </EnumEntry>\n";
    }
    xml += element("pValue", reg);
    xml += "  </Enumeration>\n";
    m_body += xml;
    listInCategory(info.name);
}

void CPortNodeMap::addCommand(const FeatureInfo& info, std::function<void()> execute)
{
    // Reading the register back gives 0, so IsDone() is true as soon as Execute() returned.
    const std::string reg = addRegister(
        info, "IntReg", [] { return uint64_t(0); },
        [execute](uint64_t bits) {
            if (bits != 0)
                execute();
        },
        "    <Sign>Unsigned</Sign>\n");

    std::string xml = header("Command", info);
    xml += element("pValue", reg);
    xml += element("CommandValue", "1");
    xml += "  </Command>\n";
    m_body += xml;
    listInCategory(info.name);
}

void CPortNodeMap::build()
{
    std::ostringstream xml;
    xml << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        << "<RegisterDescription ModelName=\"" << escaped(m_modelName)
        << "\" VendorName=\"Tarpo\" ToolTip=\"" << escaped(m_toolTip)
        << "\" StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\""
           " SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\""
           " SubMinorVersion=\"0\" ProductGuid=\"0\" VersionGuid=\"0\""
           " xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n";
    xml << "  <Category Name=\"Root\" NameSpace=\"Standard\">\n";
    for (const Category& category : m_categories)
        xml << "    <pFeature>" << category.name << "</pFeature>\n";
    xml << "  </Category>\n";
    for (const Category& category : m_categories) {
        xml << "  <Category Name=\"" << category.name << "\" NameSpace=\"Custom\">\n"
            << element("ToolTip", category.toolTip) << element("Description", category.toolTip)
            << element("DisplayName", category.displayName);
        for (const std::string& feature : category.features)
            xml << "    <pFeature>" << feature << "</pFeature>\n";
        xml << "  </Category>\n";
    }
    xml << m_body << "  <Port Name=\"Device\" NameSpace=\"Standard\"/>\n</RegisterDescription>\n";
    m_xml = xml.str();

    m_nodeMapRef._LoadXMLFromString(m_xml);
    m_nodeMapRef._Connect(this, "Device");
}

const CPortNodeMap::Register& CPortNodeMap::registerAt(int64_t address, int64_t length) const
{
    const int64_t index = address / registerStride;
    if (address < 0 || address % registerStride != 0 || length != registerStride ||
        index >= static_cast<int64_t>(m_registers.size()))
        throw RUNTIME_EXCEPTION("%s: no register of %lld bytes at 0x%llx", m_modelName.c_str(),
                                static_cast<long long>(length), static_cast<long long>(address));
    return m_registers[static_cast<size_t>(index)];
}

void CPortNodeMap::Read(void* buffer, int64_t address, int64_t length)
{
    const Register& reg = registerAt(address, length);
    if (!reg.read)
        throw ACCESS_EXCEPTION("%s is write-only", reg.name.c_str());
    const uint64_t value = reg.read();
    auto* bytes = static_cast<uint8_t*>(buffer);
    for (int i = 0; i < registerStride; ++i)
        bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

void CPortNodeMap::Write(const void* buffer, int64_t address, int64_t length)
{
    const Register& reg = registerAt(address, length);
    if (!reg.write)
        throw ACCESS_EXCEPTION("%s is read-only", reg.name.c_str());
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    uint64_t value = 0;
    for (int i = 0; i < registerStride; ++i)
        value |= static_cast<uint64_t>(bytes[i]) << (8 * i);
    reg.write(value);
}

} // namespace Tarpo
