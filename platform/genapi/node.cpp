#include "genapi/node.h"

#include "genapi/nodemap.h"

#include <algorithm>
#include <cstring>

namespace GenApi {

namespace {

// pValue chains are short; a longer one is a cycle in a broken description.
constexpr int kMaxChain = 16;

std::string textOf(ArvDomNode* element)
{
    std::string text;
    for (ArvDomNode* child = arv_dom_node_get_first_child(element); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_DOM_CHARACTER_DATA(child)) {
            const char* data = arv_dom_character_data_get_data(ARV_DOM_CHARACTER_DATA(child));
            if (data)
                text += data;
        }
    }
    // Descriptions may be indented in the XML; values never carry meaningful outer blanks.
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return std::string();
    const auto last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

} // namespace

void raiseAravisError(GError* error, const std::string& nodeName, const char* operation)
{
    const std::string message = error && error->message ? error->message : "unknown error";
    const bool gcError = error && error->domain == arv_gc_error_quark();
    const int code = error ? error->code : -1;
    if (error)
        g_error_free(error);
    const GenICam::gcstring text = GenICam::formatMessage(
        "Node '%s': %s failed: %s", nodeName.c_str(), operation, message.c_str());
    if (gcError) {
        switch (code) {
        case ARV_GC_ERROR_OUT_OF_RANGE:
        case ARV_GC_ERROR_INVALID_LENGTH:
        case ARV_GC_ERROR_INVALID_BIT_RANGE:
            throw OUT_OF_RANGE_EXCEPTION(text);
        case ARV_GC_ERROR_READ_ONLY:
            throw ACCESS_EXCEPTION(text);
        case ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND:
        case ARV_GC_ERROR_INVALID_SYNTAX:
            throw INVALID_ARGUMENT_EXCEPTION(text);
        case ARV_GC_ERROR_NODE_NOT_FOUND:
        case ARV_GC_ERROR_PVALUE_NOT_DEFINED:
        case ARV_GC_ERROR_PROPERTY_NOT_DEFINED:
        case ARV_GC_ERROR_INVALID_PVALUE:
            throw PROPERTY_EXCEPTION(text);
        default:
            break;
        }
    }
    throw RUNTIME_EXCEPTION(text);
}

Node::Node(NodeMap* map, ArvGcFeatureNode* arvNode, std::string name, EInterfaceType principal)
    : m_map(map), m_arv(arvNode), m_name(std::move(name)), m_principal(principal)
{
}

Node::~Node() = default;

void Node::raise(GError* error, const char* operation) const
{
    raiseAravisError(error, m_name, operation);
}

bool Node::isLocked() const
{
    GError* error = nullptr;
    const gboolean locked = arv_gc_feature_node_is_locked(m_arv, &error);
    if (error) {
        g_error_free(error);
        return false;
    }
    return locked;
}

EAccessMode Node::accessModeLocked() const
{
    GError* error = nullptr;
    const gboolean implemented = arv_gc_feature_node_is_implemented(m_arv, &error);
    if (error) {
        g_error_free(error);
        return NA;
    }
    if (!implemented || m_imposedAccessMode == NI)
        return NI;
    const gboolean available = arv_gc_feature_node_is_available(m_arv, &error);
    if (error) {
        g_error_free(error);
        return NA;
    }
    if (!available)
        return NA;

    EAccessMode mode = RW;
    switch (m_principal) {
    case intfICategory:
    case intfIEnumEntry:
        mode = RO;
        break;
    case intfIPort:
        mode = RW;
        break;
    default:
        switch (arv_gc_feature_node_get_actual_access_mode(m_arv)) {
        case ARV_GC_ACCESS_MODE_RO:
            mode = RO;
            break;
        case ARV_GC_ACCESS_MODE_WO:
            mode = WO;
            break;
        default:
            mode = RW;
            break;
        }
        switch (arv_gc_feature_node_get_imposed_access_mode(m_arv)) {
        case ARV_GC_ACCESS_MODE_RO:
            mode = Combine(mode, RO);
            break;
        case ARV_GC_ACCESS_MODE_WO:
            mode = Combine(mode, WO);
            break;
        default:
            break;
        }
        break;
    }
    if (mode == RW || mode == WO) {
        if (isLocked())
            mode = mode == RW ? RO : NA;
    }
    if (m_imposedAccessMode != _UndefinedAccesMode)
        mode = Combine(mode, m_imposedAccessMode);
    return mode;
}

EAccessMode Node::GetAccessMode() const
{
    AutoLock lock(m_map->GetLock());
    return accessModeLocked();
}

void Node::requireReadable() const
{
    const EAccessMode mode = accessModeLocked();
    if (IsReadable(mode))
        return;
    switch (mode) {
    case NI:
        throw ACCESS_EXCEPTION("Node '%s' is not implemented and cannot be read", m_name.c_str());
    case NA:
        throw ACCESS_EXCEPTION("Node '%s' is not available and cannot be read", m_name.c_str());
    default:
        throw ACCESS_EXCEPTION("Node '%s' is not readable (access mode %s)", m_name.c_str(),
                               EAccessModeClass::ToString(mode).c_str());
    }
}

void Node::requireWritable() const
{
    const EAccessMode mode = accessModeLocked();
    if (IsWritable(mode))
        return;
    switch (mode) {
    case NI:
        throw ACCESS_EXCEPTION("Node '%s' is not implemented and cannot be written",
                               m_name.c_str());
    case NA:
        throw ACCESS_EXCEPTION("Node '%s' is not available and cannot be written",
                               m_name.c_str());
    default:
        if (isLocked())
            throw ACCESS_EXCEPTION("Node '%s' is locked and cannot be written", m_name.c_str());
        throw ACCESS_EXCEPTION("Node '%s' is not writable (access mode %s)", m_name.c_str(),
                               EAccessModeClass::ToString(mode).c_str());
    }
}

gcstring Node::GetName(bool fullQualified) const
{
    if (!fullQualified)
        return m_name;
    return (GetNameSpace() == Standard ? "Std::" : "Cust::") + m_name;
}

ENameSpace Node::GetNameSpace() const
{
    AutoLock lock(m_map->GetLock());
    switch (arv_gc_feature_node_get_name_space(m_arv)) {
    case ARV_GC_NAME_SPACE_STANDARD:
        return Standard;
    case ARV_GC_NAME_SPACE_CUSTOM:
        return Custom;
    default:
        return _UndefinedNameSpace;
    }
}

EVisibility Node::GetVisibility() const
{
    AutoLock lock(m_map->GetLock());
    EVisibility visibility = Beginner;
    switch (arv_gc_feature_node_get_visibility(m_arv)) {
    case ARV_GC_VISIBILITY_INVISIBLE:
        visibility = Invisible;
        break;
    case ARV_GC_VISIBILITY_GURU:
        visibility = Guru;
        break;
    case ARV_GC_VISIBILITY_EXPERT:
        visibility = Expert;
        break;
    default:
        visibility = Beginner;
        break;
    }
    // An imposed visibility can only hide a node further.
    if (m_imposedVisibility != _UndefinedVisibility && m_imposedVisibility > visibility)
        visibility = m_imposedVisibility;
    return visibility;
}

void Node::InvalidateNode()
{
    std::vector<std::shared_ptr<CNodeCallback>> outside;
    {
        AutoLock lock(m_map->GetLock());
        m_map->collectCallbacks({this}, outside);
    }
    for (const auto& callback : outside)
        (*callback)(cbPostOutsideLock);
}

ECachingMode Node::GetCachingMode() const
{
    AutoLock lock(m_map->GetLock());
    // The caching mode usually sits on the register behind a feature: follow the pValue chain.
    int depth = 0;
    for (const Node* node = this; node && depth < kMaxChain; node = node->linked("pValue"), ++depth) {
        bool found = false;
        const std::string text = node->propertyText("Cachable", &found);
        if (found) {
            ECachingMode mode = _UndefinedCachingMode;
            return ECachingModeClass::FromString(text, &mode) ? mode : _UndefinedCachingMode;
        }
    }
    return WriteThrough;
}

bool Node::IsCachable() const
{
    return GetCachingMode() != NoCache;
}

int64_t Node::GetPollingTime() const
{
    AutoLock lock(m_map->GetLock());
    int depth = 0;
    for (const Node* node = this; node && depth < kMaxChain; node = node->linked("pValue"), ++depth) {
        bool found = false;
        const std::string text = node->propertyText("PollingTime", &found);
        if (found)
            return std::strtoll(text.c_str(), nullptr, 0);
    }
    return -1;
}

EYesNo Node::IsAccessModeCacheable() const
{
    AutoLock lock(m_map->GetLock());
    // The access mode can be cached unless it rests on a node whose value changes on its own
    // (polled) or may not be cached.
    std::vector<const Node*> pending{this};
    std::vector<const Node*> seen;
    while (!pending.empty()) {
        const Node* node = pending.back();
        pending.pop_back();
        if (std::find(seen.begin(), seen.end(), node) != seen.end())
            continue;
        seen.push_back(node);
        bool found = false;
        node->propertyText("PollingTime", &found);
        if (found || node->propertyText("Cachable") == "NoCache")
            return No;
        for (const char* link : {"pValue", "pIsAvailable", "pIsImplemented", "pIsLocked"}) {
            if (Node* target = node->linked(link))
                pending.push_back(target);
        }
    }
    return Yes;
}

gcstring Node::GetToolTip() const
{
    AutoLock lock(m_map->GetLock());
    return gcstring(arv_gc_feature_node_get_tooltip(m_arv));
}

gcstring Node::GetDescription() const
{
    AutoLock lock(m_map->GetLock());
    return gcstring(arv_gc_feature_node_get_description(m_arv));
}

gcstring Node::GetDisplayName() const
{
    AutoLock lock(m_map->GetLock());
    const char* displayName = m_principal == intfIEnumEntry ? nullptr
                                                            : arv_gc_feature_node_get_display_name(m_arv);
    if (m_principal == intfIEnumEntry) {
        bool found = false;
        const std::string text = propertyText("DisplayName", &found);
        if (found && !text.empty())
            return text;
        return gcstring(arv_gc_feature_node_get_name(m_arv));
    }
    return displayName && *displayName ? gcstring(displayName) : gcstring(m_name);
}

gcstring Node::GetDeviceName() const
{
    return m_map->GetDeviceName();
}

void Node::GetChildren(NodeList_t& children) const
{
    AutoLock lock(m_map->GetLock());
    children.clear();
    for (Node* node : m_map->dependencies(this))
        children.push_back(node);
}

void Node::GetParents(NodeList_t& parents) const
{
    AutoLock lock(m_map->GetLock());
    parents.clear();
    for (Node* node : m_map->dependents(this))
        parents.push_back(node);
}

INodeMap* Node::GetNodeMap() const
{
    return m_map;
}

gcstring Node::GetEventID() const
{
    AutoLock lock(m_map->GetLock());
    return propertyText("EventID");
}

bool Node::IsStreamable() const
{
    AutoLock lock(m_map->GetLock());
    return propertyText("Streamable") == "Yes";
}

std::vector<Node::Property> Node::properties() const
{
    std::vector<Property> result;
    size_t indexCount = 0;
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(m_arv)); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (!ARV_IS_DOM_ELEMENT(child) || ARV_IS_GC_FEATURE_NODE(child))
            continue; // enum entries are nodes of their own, not properties
        Property property;
        property.name = arv_dom_node_get_node_name(child);
        property.text = textOf(child);
        property.element = child;
        if (property.name == "pIndex") {
            const auto& attributes = m_map->indexAttributes(m_name);
            if (indexCount < attributes.size())
                property.attributes = attributes[indexCount];
            ++indexCount;
        }
        result.push_back(std::move(property));
    }
    return result;
}

std::string Node::propertyText(const char* name, bool* found) const
{
    for (ArvDomNode* child = arv_dom_node_get_first_child(ARV_DOM_NODE(m_arv)); child;
         child = arv_dom_node_get_next_sibling(child)) {
        if (ARV_IS_DOM_ELEMENT(child) && !ARV_IS_GC_FEATURE_NODE(child) &&
            std::strcmp(arv_dom_node_get_node_name(child), name) == 0) {
            if (found)
                *found = true;
            return textOf(child);
        }
    }
    if (found)
        *found = false;
    return std::string();
}

Node* Node::linked(const char* propertyName) const
{
    bool found = false;
    const std::string target = propertyText(propertyName, &found);
    if (!found || target.empty())
        return nullptr;
    return m_map->nodeFor(arv_gc_get_node(m_map->genicam(), target.c_str()));
}

void Node::GetPropertyNames(gcstring_vector& names) const
{
    AutoLock lock(m_map->GetLock());
    names.clear();
    names.push_back("Name");
    if (GetNameSpace() != _UndefinedNameSpace)
        names.push_back("NameSpace");
    for (const Property& property : properties()) {
        if (std::find(names.begin(), names.end(), property.name) == names.end())
            names.push_back(property.name);
    }
}

bool Node::GetProperty(const gcstring& propertyName, gcstring& valueStr,
                       gcstring& attributeStr) const
{
    AutoLock lock(m_map->GetLock());
    valueStr.clear();
    attributeStr.clear();
    if (propertyName == "Name") {
        valueStr = m_name;
        return true;
    }
    if (propertyName == "NameSpace") {
        const ENameSpace nameSpace = GetNameSpace();
        if (nameSpace == _UndefinedNameSpace)
            return false;
        valueStr = ENameSpaceClass::ToString(nameSpace);
        return true;
    }
    bool found = false;
    for (const Property& property : properties()) {
        if (property.name != propertyName)
            continue;
        if (found) {
            valueStr += "\t";
            attributeStr += "\t";
        }
        valueStr += property.text;
        attributeStr += property.attributes;
        found = true;
    }
    return found;
}

void Node::ImposeAccessMode(EAccessMode mode)
{
    AutoLock lock(m_map->GetLock());
    m_imposedAccessMode = mode;
}

void Node::ImposeVisibility(EVisibility visibility)
{
    AutoLock lock(m_map->GetLock());
    m_imposedVisibility = visibility;
}

bool Node::IsDeprecated() const
{
    AutoLock lock(m_map->GetLock());
    return propertyText("IsDeprecated") == "Yes";
}

bool Node::IsFeature() const
{
    AutoLock lock(m_map->GetLock());
    return !m_map->categoriesOf(this).empty();
}

bool Node::IsSelector() const
{
    AutoLock lock(m_map->GetLock());
    for (const Property& property : properties()) {
        if (property.name == "pSelected")
            return true;
    }
    return false;
}

void Node::GetSelectedFeatures(FeatureList_t& features) const
{
    AutoLock lock(m_map->GetLock());
    features.clear();
    for (const Property& property : properties()) {
        if (property.name != "pSelected")
            continue;
        if (Node* node = m_map->nodeFor(arv_gc_get_node(m_map->genicam(), property.text.c_str())))
            features.push_back(node);
    }
}

void Node::GetSelectingFeatures(FeatureList_t& features) const
{
    AutoLock lock(m_map->GetLock());
    features.clear();
    for (Node* node : m_map->selectingOf(this))
        features.push_back(node);
}

void Node::GetCategories(NodeList_t& categories) const
{
    AutoLock lock(m_map->GetLock());
    categories.clear();
    for (Node* node : m_map->categoriesOf(this))
        categories.push_back(node);
}

CallbackHandleType Node::RegisterCallback(CNodeCallback* callback)
{
    AutoLock lock(m_map->GetLock());
    m_callbacks.emplace_back(callback);
    return callback;
}

bool Node::DeregisterCallback(CallbackHandleType handle)
{
    AutoLock lock(m_map->GetLock());
    const auto it = std::find_if(m_callbacks.begin(), m_callbacks.end(),
                                 [handle](const auto& cb) { return cb.get() == handle; });
    if (it == m_callbacks.end())
        return false;
    m_callbacks.erase(it);
    return true;
}

void Node::fireInside()
{
    // A callback may deregister itself or others: call a snapshot, skipping removed ones.
    const auto snapshot = m_callbacks;
    for (const auto& callback : snapshot) {
        if (callback->GetCallbackType() != cbPostInsideLock)
            continue;
        if (std::find(m_callbacks.begin(), m_callbacks.end(), callback) != m_callbacks.end())
            (*callback)(cbPostInsideLock);
    }
}

void Node::collectOutside(std::vector<std::shared_ptr<CNodeCallback>>& outside) const
{
    for (const auto& callback : m_callbacks) {
        if (callback->GetCallbackType() == cbPostOutsideLock)
            outside.push_back(callback);
    }
}

gcstring Node::ToString(bool, bool)
{
    AutoLock lock(m_map->GetLock());
    requireReadable();
    GError* error = nullptr;
    const char* text = arv_gc_feature_node_get_value_as_string(m_arv, &error);
    if (error)
        raise(error, "reading");
    return gcstring(text);
}

void Node::FromString(const gcstring& valueString, bool)
{
    write([&] {
        requireWritable();
        GError* error = nullptr;
        arv_gc_feature_node_set_value_from_string(m_arv, valueString.c_str(), &error);
        if (error)
            raise(error, "writing");
    });
}

UserData_t Node::GetUserData() const
{
    AutoLock lock(m_map->GetLock());
    return m_userData;
}

UserData_t Node::SetUserData(UserData_t userData)
{
    AutoLock lock(m_map->GetLock());
    return std::exchange(m_userData, userData);
}

} // namespace GenApi
