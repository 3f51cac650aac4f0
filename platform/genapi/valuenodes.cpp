#include "genapi/valuenodes.h"

#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <cinttypes>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace GenApi {

namespace {

ERepresentation fromArv(ArvGcRepresentation representation)
{
    switch (representation) {
    case ARV_GC_REPRESENTATION_LINEAR:
        return Linear;
    case ARV_GC_REPRESENTATION_LOGARITHMIC:
        return Logarithmic;
    case ARV_GC_REPRESENTATION_BOOLEAN:
        return Boolean;
    case ARV_GC_REPRESENTATION_PURE_NUMBER:
        return PureNumber;
    case ARV_GC_REPRESENTATION_HEX_NUMBER:
        return HexNumber;
    case ARV_GC_REPRESENTATION_IPV4_ADDRESS:
        return IPV4Address;
    case ARV_GC_REPRESENTATION_MAC_ADDRESS:
        return MACAddress;
    default:
        return _UndefinedRepresentation;
    }
}

bool parseInteger(const std::string& text, int64_t* value)
{
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    const long long parsed = std::strtoll(text.c_str(), &end, 0);
    if (errno != 0 || !end || *end != '\0')
        return false;
    *value = parsed;
    return true;
}

bool parseIpv4(const std::string& text, int64_t* value)
{
    unsigned a, b, c, d;
    char tail;
    if (std::sscanf(text.c_str(), "%u.%u.%u.%u%c", &a, &b, &c, &d, &tail) != 4)
        return false;
    if (a > 255 || b > 255 || c > 255 || d > 255)
        return false;
    *value = (int64_t(a) << 24) | (int64_t(b) << 16) | (int64_t(c) << 8) | int64_t(d);
    return true;
}

bool parseMac(const std::string& text, int64_t* value)
{
    unsigned bytes[6];
    char tail;
    if (std::sscanf(text.c_str(), "%x:%x:%x:%x:%x:%x%c", &bytes[0], &bytes[1], &bytes[2], &bytes[3],
                    &bytes[4], &bytes[5], &tail) != 6)
        return false;
    int64_t result = 0;
    for (unsigned byte : bytes) {
        if (byte > 255)
            return false;
        result = (result << 8) | byte;
    }
    *value = result;
    return true;
}

} // namespace

// --- IntegerNode -------------------------------------------------------------------------

void IntegerNode::SetValue(int64_t value, bool)
{
    write([&] {
        requireWritable();
        const int64_t minimum = GetMin();
        const int64_t maximum = GetMax();
        const int64_t increment = GetInc();
        if (value < minimum)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %" PRId64
                                         " is below the minimum %" PRId64,
                                         m_name.c_str(), value, minimum);
        if (value > maximum)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %" PRId64
                                         " is above the maximum %" PRId64,
                                         m_name.c_str(), value, maximum);
        if (increment > 1 && (value - minimum) % increment != 0)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %" PRId64
                                         " is not a multiple of the increment %" PRId64
                                         " counted from the minimum %" PRId64,
                                         m_name.c_str(), value, increment, minimum);
        checked("writing", [&](GError** error) {
            arv_gc_integer_set_value(ARV_GC_INTEGER(m_arv), value, error);
        });
    });
}

int64_t IntegerNode::GetValue(bool, bool)
{
    AutoLock lock(m_map->GetLock());
    requireReadable();
    return checked("reading", [&](GError** error) {
        return arv_gc_integer_get_value(ARV_GC_INTEGER(m_arv), error);
    });
}

int64_t IntegerNode::GetMin()
{
    AutoLock lock(m_map->GetLock());
    return checked("reading the minimum", [&](GError** error) {
        return arv_gc_integer_get_min(ARV_GC_INTEGER(m_arv), error);
    });
}

int64_t IntegerNode::GetMax()
{
    AutoLock lock(m_map->GetLock());
    return checked("reading the maximum", [&](GError** error) {
        return arv_gc_integer_get_max(ARV_GC_INTEGER(m_arv), error);
    });
}

int64_t IntegerNode::GetInc()
{
    AutoLock lock(m_map->GetLock());
    const int64_t value = checked("reading the increment", [&](GError** error) {
        return arv_gc_integer_get_inc(ARV_GC_INTEGER(m_arv), error);
    });
    return value > 0 ? value : 1;
}

ERepresentation IntegerNode::GetRepresentation()
{
    AutoLock lock(m_map->GetLock());
    const ERepresentation representation =
        fromArv(arv_gc_integer_get_representation(ARV_GC_INTEGER(m_arv)));
    return representation == _UndefinedRepresentation ? PureNumber : representation;
}

gcstring IntegerNode::GetUnit()
{
    AutoLock lock(m_map->GetLock());
    return gcstring(arv_gc_integer_get_unit(ARV_GC_INTEGER(m_arv)));
}

gcstring IntegerNode::ToString(bool, bool)
{
    AutoLock lock(m_map->GetLock());
    const int64_t value = GetValue();
    switch (GetRepresentation()) {
    case HexNumber:
        return GenICam::formatMessage("0x%" PRIX64, static_cast<uint64_t>(value));
    case IPV4Address:
        return GenICam::formatMessage("%u.%u.%u.%u", unsigned(value >> 24) & 0xFF,
                                      unsigned(value >> 16) & 0xFF, unsigned(value >> 8) & 0xFF,
                                      unsigned(value) & 0xFF);
    case MACAddress:
        return GenICam::formatMessage("%02X:%02X:%02X:%02X:%02X:%02X", unsigned(value >> 40) & 0xFF,
                                      unsigned(value >> 32) & 0xFF, unsigned(value >> 24) & 0xFF,
                                      unsigned(value >> 16) & 0xFF, unsigned(value >> 8) & 0xFF,
                                      unsigned(value) & 0xFF);
    default:
        return GenICam::formatMessage("%" PRId64, value);
    }
}

void IntegerNode::FromString(const gcstring& valueString, bool verify)
{
    int64_t value = 0;
    if (!parseInteger(valueString, &value) && !parseIpv4(valueString, &value) &&
        !parseMac(valueString, &value))
        throw INVALID_ARGUMENT_EXCEPTION("Node '%s': '%s' is not an integer", m_name.c_str(),
                                         valueString.c_str());
    SetValue(value, verify);
}

// --- FloatNode ---------------------------------------------------------------------------

void FloatNode::SetValue(double value, bool)
{
    write([&] {
        requireWritable();
        ArvGcFloat* node = ARV_GC_FLOAT(m_arv);
        if (!std::isfinite(value))
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': %g is not a finite number", m_name.c_str(),
                                         value);
        const double minimum = GetMin();
        const double maximum = GetMax();
        if (value < minimum)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %.15g is below the minimum %.15g",
                                         m_name.c_str(), value, minimum);
        if (value > maximum)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %.15g is above the maximum %.15g",
                                         m_name.c_str(), value, maximum);
        const double increment = GetInc();
        if (increment > DBL_MIN) {
            const double steps = (value - minimum) / increment;
            if (std::fabs(steps - std::round(steps)) > 1e-6)
                throw OUT_OF_RANGE_EXCEPTION("Node '%s': value %.15g is not a multiple of the "
                                             "increment %.15g counted from the minimum %.15g",
                                             m_name.c_str(), value, increment, minimum);
        }
        checked("writing", [&](GError** error) { arv_gc_float_set_value(node, value, error); });
    });
}

double FloatNode::GetValue(bool, bool)
{
    AutoLock lock(m_map->GetLock());
    requireReadable();
    return checked("reading", [&](GError** error) {
        return arv_gc_float_get_value(ARV_GC_FLOAT(m_arv), error);
    });
}

double FloatNode::GetMin()
{
    AutoLock lock(m_map->GetLock());
    return checked("reading the minimum", [&](GError** error) {
        return arv_gc_float_get_min(ARV_GC_FLOAT(m_arv), error);
    });
}

double FloatNode::GetMax()
{
    AutoLock lock(m_map->GetLock());
    return checked("reading the maximum", [&](GError** error) {
        return arv_gc_float_get_max(ARV_GC_FLOAT(m_arv), error);
    });
}

bool FloatNode::HasInc()
{
    // Aravis reports DBL_MIN when the description has no increment.
    return GetInc() > DBL_MIN;
}

double FloatNode::GetInc()
{
    AutoLock lock(m_map->GetLock());
    GError* error = nullptr;
    const double value = arv_gc_float_get_inc(ARV_GC_FLOAT(m_arv), &error);
    if (error && error->domain == arv_gc_error_quark() &&
        (error->code == ARV_GC_ERROR_PROPERTY_NOT_DEFINED ||
         error->code == ARV_GC_ERROR_NODE_NOT_FOUND)) {
        // A register-backed float without <Inc>: it has no increment.
        g_error_free(error);
        return DBL_MIN;
    }
    if (error)
        raise(error, "reading the increment");
    return value;
}

ERepresentation FloatNode::GetRepresentation()
{
    AutoLock lock(m_map->GetLock());
    const ERepresentation representation =
        fromArv(arv_gc_float_get_representation(ARV_GC_FLOAT(m_arv)));
    return representation == _UndefinedRepresentation ? PureNumber : representation;
}

gcstring FloatNode::GetUnit() const
{
    AutoLock lock(m_map->GetLock());
    return gcstring(arv_gc_float_get_unit(ARV_GC_FLOAT(m_arv)));
}

EDisplayNotation FloatNode::GetDisplayNotation() const
{
    AutoLock lock(m_map->GetLock());
    switch (arv_gc_float_get_display_notation(ARV_GC_FLOAT(m_arv))) {
    case ARV_GC_DISPLAY_NOTATION_FIXED:
        return fnFixed;
    case ARV_GC_DISPLAY_NOTATION_SCIENTIFIC:
        return fnScientific;
    default:
        return fnAutomatic;
    }
}

int64_t FloatNode::GetDisplayPrecision() const
{
    AutoLock lock(m_map->GetLock());
    return arv_gc_float_get_display_precision(ARV_GC_FLOAT(m_arv));
}

gcstring FloatNode::ToString(bool, bool)
{
    return GenICam::formatMessage("%.15g", GetValue());
}

void FloatNode::FromString(const gcstring& valueString, bool verify)
{
    errno = 0;
    char* end = nullptr;
    const double value = std::strtod(valueString.c_str(), &end);
    if (valueString.empty() || errno != 0 || !end || *end != '\0')
        throw INVALID_ARGUMENT_EXCEPTION("Node '%s': '%s' is not a number", m_name.c_str(),
                                         valueString.c_str());
    SetValue(value, verify);
}

// --- BooleanNode -------------------------------------------------------------------------

void BooleanNode::SetValue(bool value, bool)
{
    write([&] {
        requireWritable();
        checked("writing", [&](GError** error) {
            arv_gc_boolean_set_value(ARV_GC_BOOLEAN(m_arv), value, error);
        });
    });
}

bool BooleanNode::GetValue(bool, bool) const
{
    AutoLock lock(m_map->GetLock());
    requireReadable();
    return checked("reading", [&](GError** error) {
        return arv_gc_boolean_get_value(ARV_GC_BOOLEAN(m_arv), error);
    });
}

gcstring BooleanNode::ToString(bool, bool)
{
    return GetValue() ? "1" : "0";
}

void BooleanNode::FromString(const gcstring& valueString, bool verify)
{
    const char* text = valueString.c_str();
    if (strcasecmp(text, "1") == 0 || strcasecmp(text, "true") == 0)
        SetValue(true, verify);
    else if (strcasecmp(text, "0") == 0 || strcasecmp(text, "false") == 0)
        SetValue(false, verify);
    else
        throw INVALID_ARGUMENT_EXCEPTION("Node '%s': '%s' is not a boolean (true, false, 1, 0)",
                                         m_name.c_str(), text);
}

// --- CommandNode -------------------------------------------------------------------------

void CommandNode::Execute(bool)
{
    write([&] {
        requireWritable();
        checked("executing",
                [&](GError** error) { arv_gc_command_execute(ARV_GC_COMMAND(m_arv), error); });
    });
}

bool CommandNode::IsDone(bool)
{
    AutoLock lock(m_map->GetLock());
    // A command is done once its register no longer holds the command value (the device
    // clears self-clearing commands when they finished).
    auto* target = dynamic_cast<IInteger*>(linked("pValue"));
    if (!target || !IsReadable(target->GetAccessMode()))
        return true;
    int64_t commandValue = 0;
    if (Node* pCommandValue = linked("pCommandValue")) {
        auto* integer = dynamic_cast<IInteger*>(pCommandValue);
        commandValue = integer ? integer->GetValue() : 0;
    } else {
        parseInteger(propertyText("CommandValue"), &commandValue);
    }
    return target->GetValue() != commandValue;
}

gcstring CommandNode::ToString(bool, bool)
{
    return gcstring();
}

void CommandNode::FromString(const gcstring& valueString, bool verify)
{
    const char* text = valueString.c_str();
    if (strcasecmp(text, "1") == 0 || strcasecmp(text, "true") == 0 ||
        strcasecmp(text, "Execute") == 0)
        Execute(verify);
    else
        throw INVALID_ARGUMENT_EXCEPTION("Node '%s': a command takes 1, true or Execute, not '%s'",
                                         m_name.c_str(), text);
}

// --- StringNode --------------------------------------------------------------------------

void StringNode::SetValue(const gcstring& value, bool)
{
    write([&] {
        requireWritable();
        const int64_t maxLength = GetMaxLength();
        if (maxLength > 0 && static_cast<int64_t>(value.size()) > maxLength)
            throw OUT_OF_RANGE_EXCEPTION(
                "Node '%s': a text of %zu characters is longer than the maximum %" PRId64,
                m_name.c_str(), value.size(), maxLength);
        checked("writing", [&](GError** error) {
            arv_gc_string_set_value(ARV_GC_STRING(m_arv), value.c_str(), error);
        });
    });
}

gcstring StringNode::GetValue(bool, bool)
{
    AutoLock lock(m_map->GetLock());
    requireReadable();
    return gcstring(checked("reading", [&](GError** error) {
        return arv_gc_string_get_value(ARV_GC_STRING(m_arv), error);
    }));
}

int64_t StringNode::GetMaxLength()
{
    AutoLock lock(m_map->GetLock());
    return checked("reading the maximum length", [&](GError** error) {
        return arv_gc_string_get_max_length(ARV_GC_STRING(m_arv), error);
    });
}

gcstring StringNode::ToString(bool, bool)
{
    return GetValue();
}

void StringNode::FromString(const gcstring& valueString, bool verify)
{
    SetValue(valueString, verify);
}

// --- Registers ---------------------------------------------------------------------------

template <class Base> void WithRegister<Base>::Set(const uint8_t* buffer, int64_t length, bool)
{
    this->write([&] {
        this->requireWritable();
        const int64_t registerLength = GetLength();
        if (length != registerLength)
            throw OUT_OF_RANGE_EXCEPTION("Node '%s': %" PRId64
                                         " bytes do not match the register length %" PRId64,
                                         this->m_name.c_str(), length, registerLength);
        this->checked("writing", [&](GError** error) {
            arv_gc_register_set(ARV_GC_REGISTER(this->m_arv), buffer, static_cast<guint64>(length),
                                error);
        });
    });
}

template <class Base> void WithRegister<Base>::Get(uint8_t* buffer, int64_t length, bool, bool)
{
    AutoLock lock(this->m_map->GetLock());
    this->requireReadable();
    const int64_t registerLength = GetLength();
    if (length != registerLength)
        throw OUT_OF_RANGE_EXCEPTION("Node '%s': %" PRId64
                                     " bytes do not match the register length %" PRId64,
                                     this->m_name.c_str(), length, registerLength);
    this->checked("reading", [&](GError** error) {
        arv_gc_register_get(ARV_GC_REGISTER(this->m_arv), buffer, static_cast<guint64>(length),
                            error);
    });
}

template <class Base> int64_t WithRegister<Base>::GetLength()
{
    AutoLock lock(this->m_map->GetLock());
    return static_cast<int64_t>(this->checked("reading the length", [&](GError** error) {
        return arv_gc_register_get_length(ARV_GC_REGISTER(this->m_arv), error);
    }));
}

template <class Base> int64_t WithRegister<Base>::GetAddress()
{
    AutoLock lock(this->m_map->GetLock());
    return static_cast<int64_t>(this->checked("reading the address", [&](GError** error) {
        return arv_gc_register_get_address(ARV_GC_REGISTER(this->m_arv), error);
    }));
}

template class WithRegister<Node>;
template class WithRegister<IntegerNode>;
template class WithRegister<FloatNode>;
template class WithRegister<StringNode>;

gcstring RegisterNode::ToString(bool, bool)
{
    AutoLock lock(m_map->GetLock());
    std::vector<uint8_t> bytes(static_cast<size_t>(GetLength()));
    Get(bytes.data(), static_cast<int64_t>(bytes.size()));
    gcstring text = "0x";
    for (uint8_t byte : bytes)
        text += GenICam::formatMessage("%02X", byte);
    return text;
}

void RegisterNode::FromString(const gcstring& valueString, bool verify)
{
    AutoLock lock(m_map->GetLock());
    std::string hex = valueString;
    if (hex.rfind("0x", 0) == 0 || hex.rfind("0X", 0) == 0)
        hex = hex.substr(2);
    const auto length = static_cast<size_t>(GetLength());
    if (hex.size() != length * 2 ||
        hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        throw INVALID_ARGUMENT_EXCEPTION("Node '%s': '%s' is not %zu bytes in hexadecimal",
                                         m_name.c_str(), valueString.c_str(), length);
    std::vector<uint8_t> bytes(length);
    for (size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<uint8_t>(std::strtoul(hex.substr(i * 2, 2).c_str(), nullptr, 16));
    Set(bytes.data(), static_cast<int64_t>(length), verify);
}

// --- Enumerations ------------------------------------------------------------------------

EnumEntryNode::EnumEntryNode(NodeMap* map, ArvGcFeatureNode* arvNode, std::string name,
                             std::string symbolic)
    : Node(map, arvNode, std::move(name), intfIEnumEntry), m_symbolic(std::move(symbolic))
{
}

int64_t EnumEntryNode::GetValue()
{
    AutoLock lock(m_map->GetLock());
    return checked("reading the entry value", [&](GError** error) {
        return arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(m_arv), error);
    });
}

double EnumEntryNode::GetNumericValue()
{
    AutoLock lock(m_map->GetLock());
    bool found = false;
    const std::string text = propertyText("NumericValue", &found);
    return found ? std::strtod(text.c_str(), nullptr) : static_cast<double>(GetValue());
}

bool EnumEntryNode::IsSelfClearing()
{
    AutoLock lock(m_map->GetLock());
    return propertyText("IsSelfClearing") == "Yes";
}

gcstring EnumEntryNode::ToString(bool, bool)
{
    return m_symbolic;
}

void EnumEntryNode::FromString(const gcstring&, bool)
{
    throw ACCESS_EXCEPTION("Node '%s' is an enumeration entry and cannot be written",
                           m_name.c_str());
}

std::vector<EnumEntryNode*> EnumerationNode::entries() const
{
    // In document order (Aravis' own entry list runs backwards).
    std::vector<EnumEntryNode*> result;
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(m_arv)); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (!ARV_IS_GC_ENUM_ENTRY(child))
            continue;
        if (auto* entry = dynamic_cast<EnumEntryNode*>(m_map->nodeFor(ARV_GC_NODE(child))))
            result.push_back(entry);
    }
    return result;
}

void EnumerationNode::GetSymbolics(StringList_t& symbolics)
{
    AutoLock lock(m_map->GetLock());
    symbolics.clear();
    for (EnumEntryNode* entry : entries()) {
        if (IsAvailable(entry->GetAccessMode()))
            symbolics.push_back(entry->GetSymbolic());
    }
}

void EnumerationNode::GetEntries(NodeList_t& result)
{
    AutoLock lock(m_map->GetLock());
    result.clear();
    for (EnumEntryNode* entry : entries())
        result.push_back(entry);
}

IEnumEntry* EnumerationNode::GetEntryByName(const gcstring& symbolic)
{
    AutoLock lock(m_map->GetLock());
    for (EnumEntryNode* entry : entries()) {
        if (entry->GetSymbolic() == symbolic)
            return entry;
    }
    return nullptr;
}

IEnumEntry* EnumerationNode::GetEntry(int64_t intValue)
{
    AutoLock lock(m_map->GetLock());
    for (EnumEntryNode* entry : entries()) {
        if (entry->GetValue() == intValue)
            return entry;
    }
    return nullptr;
}

int64_t EnumerationNode::GetIntValue(bool, bool)
{
    AutoLock lock(m_map->GetLock());
    requireReadable();
    return checked("reading", [&](GError** error) {
        return arv_gc_enumeration_get_int_value(ARV_GC_ENUMERATION(m_arv), error);
    });
}

IEnumEntry* EnumerationNode::GetCurrentEntry(bool, bool)
{
    AutoLock lock(m_map->GetLock());
    return GetEntry(GetIntValue());
}

void EnumerationNode::setEntry(EnumEntryNode* entry)
{
    write([&] {
        requireWritable();
        const EAccessMode entryMode = entry->GetAccessMode();
        if (!IsAvailable(entryMode))
            throw ACCESS_EXCEPTION("Node '%s': the entry '%s' is %s", m_name.c_str(),
                                   entry->GetSymbolic().c_str(),
                                   entryMode == NI ? "not implemented" : "not available");
        checked("writing", [&](GError** error) {
            arv_gc_enumeration_set_int_value(ARV_GC_ENUMERATION(m_arv), entry->GetValue(), error);
        });
    });
}

void EnumerationNode::SetIntValue(int64_t value, bool)
{
    AutoLock lock(m_map->GetLock());
    auto* entry = dynamic_cast<EnumEntryNode*>(GetEntry(value));
    if (!entry) {
        requireWritable();
        throw INVALID_ARGUMENT_EXCEPTION("Node '%s': %" PRId64 " is the value of no entry",
                                         m_name.c_str(), value);
    }
    setEntry(entry);
}

void EnumerationNode::FromString(const gcstring& valueString, bool)
{
    AutoLock lock(m_map->GetLock());
    auto* entry = dynamic_cast<EnumEntryNode*>(GetEntryByName(valueString));
    if (!entry) {
        requireWritable();
        throw INVALID_ARGUMENT_EXCEPTION("Node '%s': '%s' is not one of its entries",
                                         m_name.c_str(), valueString.c_str());
    }
    setEntry(entry);
}

gcstring EnumerationNode::ToString(bool, bool)
{
    AutoLock lock(m_map->GetLock());
    const int64_t value = GetIntValue();
    IEnumEntry* entry = GetEntry(value);
    if (!entry)
        throw RUNTIME_EXCEPTION("Node '%s': the value %" PRId64 " matches no entry", m_name.c_str(),
                                value);
    return entry->GetSymbolic();
}

// --- CategoryNode ------------------------------------------------------------------------

void CategoryNode::GetFeatures(FeatureList_t& features) const
{
    AutoLock lock(m_map->GetLock());
    features.clear();
    for (const GSList* item = arv_gc_category_get_features(ARV_GC_CATEGORY(m_arv)); item;
         item = item->next) {
        const char* name = static_cast<const char*>(item->data);
        if (Node* node = m_map->nodeFor(arv_gc_get_node(m_map->genicam(), name)))
            features.push_back(node);
    }
}

gcstring CategoryNode::ToString(bool, bool)
{
    return gcstring();
}

void CategoryNode::FromString(const gcstring&, bool)
{
    throw ACCESS_EXCEPTION("Node '%s' is a category and has no value", m_name.c_str());
}

// --- PortNode ----------------------------------------------------------------------------

void PortNode::Read(void* buffer, int64_t address, int64_t length)
{
    AutoLock lock(m_map->GetLock());
    checked("reading the port", [&](GError** error) {
        arv_gc_port_read(ARV_GC_PORT(m_arv), buffer, static_cast<guint64>(address),
                         static_cast<guint64>(length), error);
    });
}

void PortNode::Write(const void* buffer, int64_t address, int64_t length)
{
    write([&] {
        checked("writing the port", [&](GError** error) {
            arv_gc_port_write(ARV_GC_PORT(m_arv), const_cast<void*>(buffer),
                              static_cast<guint64>(address), static_cast<guint64>(length), error);
        });
    });
}

gcstring PortNode::ToString(bool, bool)
{
    return gcstring();
}

void PortNode::FromString(const gcstring&, bool)
{
    throw ACCESS_EXCEPTION("Node '%s' is a port and has no value", m_name.c_str());
}

} // namespace GenApi
