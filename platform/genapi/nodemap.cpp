#include "genapi/nodemap.h"

#include "genapi/node.h"
#include "genapi/portdevice.h"
#include "genapi/portimpl.h"
#include "genapi/valuenodes.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <deque>
#include <map>
#include <set>
#include <unordered_set>

namespace GenApi {

namespace {

// Reads the description once with GLib's parser: a broken file gets the parser's message (Aravis
// itself only says that no document came out), and the attributes of <pIndex> elements, which
// Aravis keeps to itself, are collected by owning node.
struct ParseState
{
    std::vector<std::string> owners; // "Name" attribute of each open element ("" when none)
    std::unordered_map<std::string, std::vector<std::string>>* indexAttributes;
    std::string rootElement;
};

void onStartElement(GMarkupParseContext*, const gchar* element, const gchar** names,
                    const gchar** values, gpointer data, GError**)
{
    auto* state = static_cast<ParseState*>(data);
    if (state->rootElement.empty())
        state->rootElement = element;
    std::string owner;
    std::string attributes;
    for (size_t i = 0; names[i]; ++i) {
        if (std::strcmp(names[i], "Name") == 0)
            owner = values[i];
        else if (std::strcmp(names[i], "Offset") == 0 || std::strcmp(names[i], "pOffset") == 0)
            attributes = std::string(names[i]) + "=" + values[i];
    }
    if (std::strcmp(element, "pIndex") == 0) {
        for (auto it = state->owners.rbegin(); it != state->owners.rend(); ++it) {
            if (!it->empty()) {
                (*state->indexAttributes)[*it].push_back(attributes);
                break;
            }
        }
    }
    state->owners.push_back(owner);
}

void onEndElement(GMarkupParseContext*, const gchar*, gpointer data, GError**)
{
    auto* state = static_cast<ParseState*>(data);
    if (!state->owners.empty())
        state->owners.pop_back();
}

// Returns false with the parser's message for text that is not well-formed XML.
bool scanDescription(const char* xml, size_t size,
                     std::unordered_map<std::string, std::vector<std::string>>& indexAttributes,
                     std::string* message, std::string* rootElement = nullptr)
{
    GMarkupParser parser{};
    parser.start_element = onStartElement;
    parser.end_element = onEndElement;
    ParseState state{{}, &indexAttributes, {}};
    GMarkupParseContext* context =
        g_markup_parse_context_new(&parser, GMarkupParseFlags(0), &state, nullptr);
    GError* error = nullptr;
    const bool ok = g_markup_parse_context_parse(context, xml, static_cast<gssize>(size), &error) &&
                    g_markup_parse_context_end_parse(context, &error);
    g_markup_parse_context_free(context);
    if (rootElement)
        *rootElement = state.rootElement;
    if (!ok && message)
        *message = error ? error->message : "unknown error";
    if (error)
        g_error_free(error);
    return ok;
}

bool isLinkProperty(const std::string& name)
{
    return name.size() > 1 && name[0] == 'p' && std::isupper(static_cast<unsigned char>(name[1]));
}

std::unique_ptr<Node> makeNode(NodeMap* map, ArvGcFeatureNode* arvNode,
                               const std::string& enumerationName)
{
    const std::string element = arv_dom_node_get_node_name(ARV_DOM_NODE(arvNode));
    const char* rawName = arv_gc_feature_node_get_name(arvNode);
    const std::string name = rawName ? rawName : "";
    if (element == "Integer" || element == "IntConverter" || element == "IntSwissKnife")
        return std::make_unique<IntegerNode>(map, arvNode, name, intfIInteger);
    if (element == "IntReg" || element == "MaskedIntReg" || element == "StructEntry")
        return std::make_unique<IntRegNode>(map, arvNode, name, intfIInteger);
    if (element == "Float" || element == "Converter" || element == "SwissKnife")
        return std::make_unique<FloatNode>(map, arvNode, name, intfIFloat);
    if (element == "FloatReg")
        return std::make_unique<FloatRegNode>(map, arvNode, name, intfIFloat);
    if (element == "String")
        return std::make_unique<StringNode>(map, arvNode, name, intfIString);
    if (element == "StringReg")
        return std::make_unique<StringRegNode>(map, arvNode, name, intfIString);
    if (element == "Register")
        return std::make_unique<RegisterNode>(map, arvNode, name, intfIRegister);
    if (element == "Boolean")
        return std::make_unique<BooleanNode>(map, arvNode, name, intfIBoolean);
    if (element == "Command")
        return std::make_unique<CommandNode>(map, arvNode, name, intfICommand);
    if (element == "Enumeration")
        return std::make_unique<EnumerationNode>(map, arvNode, name, intfIEnumeration);
    if (element == "EnumEntry")
        return std::make_unique<EnumEntryNode>(map, arvNode,
                                               "EnumEntry_" + enumerationName + "_" + name, name);
    if (element == "Category")
        return std::make_unique<CategoryNode>(map, arvNode, name, intfICategory);
    if (element == "Port")
        return std::make_unique<PortNode>(map, arvNode, name, intfIPort);
    return std::make_unique<Node>(map, arvNode, name, intfIValue);
}

bool isRegisterElement(const std::string& element)
{
    return element == "IntReg" || element == "MaskedIntReg" || element == "Register" ||
           element == "StringReg" || element == "FloatReg" || element == "StructEntry";
}

const std::vector<Node*> kNone;

} // namespace

NodeMap::NodeMap(GObjectPtr<ArvDevice> device, ArvGc* genicam, const gcstring& deviceName,
                 bool ownDevice)
    : m_device(std::move(device)), m_genicam(genicam), m_deviceName(deviceName),
      m_ownDevice(ownDevice)
{
}

NodeMap::~NodeMap()
{
    if (m_ownDevice)
        portDeviceSetPort(m_device.get(), nullptr);
}

std::unique_ptr<NodeMap> NodeMap::fromXml(const std::string& xml, const gcstring& deviceName)
{
    if (xml.empty())
        throw RUNTIME_EXCEPTION("Malformed GenICam XML: the description is empty");
    std::unordered_map<std::string, std::vector<std::string>> indexAttributes;
    std::string message;
    std::string rootElement;
    if (!scanDescription(xml.data(), xml.size(), indexAttributes, &message, &rootElement))
        throw RUNTIME_EXCEPTION("Malformed GenICam XML: %s", message.c_str());
    if (rootElement != "RegisterDescription")
        throw RUNTIME_EXCEPTION("The XML is not a GenICam register description (its root is <%s>, "
                                "not <RegisterDescription>)",
                                rootElement.c_str());
    GObjectPtr<ArvDevice> device(portDeviceNew(xml));
    ArvGc* genicam = portDeviceGenicam(device.get());
    if (!genicam)
        throw RUNTIME_EXCEPTION(
            "The XML is not a GenICam register description (no RegisterDescription element)");
    std::unique_ptr<NodeMap> map(new NodeMap(std::move(device), genicam, deviceName, true));
    map->m_indexAttributes = std::move(indexAttributes);
    map->build(true);
    return map;
}

std::unique_ptr<NodeMap> NodeMap::fromAravisDevice(ArvDevice* device)
{
    if (!device)
        throw LOGICAL_ERROR_EXCEPTION("No device to take the node map from");
    ArvGc* genicam = arv_device_get_genicam(device);
    if (!genicam)
        throw RUNTIME_EXCEPTION("The device has no GenICam description");
    std::unique_ptr<NodeMap> map(
        new NodeMap(GObjectPtr<ArvDevice>::ref(device), genicam, "Device", false));
    size_t size = 0;
    if (const char* xml = arv_device_get_genicam_xml(device, &size))
        scanDescription(xml, size, map->m_indexAttributes, nullptr);
    map->build(false);
    return map;
}

void NodeMap::build(bool strictLinks)
{
    // Range and access checks in Aravis too: ours run first and give the better texts, theirs
    // guard the paths that do not pass through our nodes (pValue chains written by Aravis).
    arv_gc_set_range_check_policy(m_genicam, ARV_RANGE_CHECK_POLICY_ENABLE);
    arv_gc_set_access_check_policy(m_genicam, ARV_ACCESS_CHECK_POLICY_ENABLE);

    // 1. Our node for every feature node of the document, in document order.
    std::vector<std::pair<ArvDomNode*, std::string>> pending; // element, enclosing enumeration
    ArvDomElement* root = arv_dom_document_get_document_element(ARV_DOM_DOCUMENT(m_genicam));
    for (ArvDomNode* child = root ? arv_dom_node_get_first_child(ARV_DOM_NODE(root)) : nullptr;
         child; child = arv_dom_node_get_next_sibling(child))
        pending.emplace_back(child, std::string());
    for (size_t i = 0; i < pending.size(); ++i) {
        ArvDomNode* element = pending[i].first;
        std::string enclosing = pending[i].second;
        if (ARV_IS_GC_FEATURE_NODE(element)) {
            auto* arvNode = ARV_GC_FEATURE_NODE(element);
            if (!m_byArv.count(ARV_GC_NODE(arvNode))) {
                auto node = makeNode(this, arvNode, enclosing);
                if (!node->name().empty() && !m_byName.count(node->name())) {
                    m_byName[node->name()] = node.get();
                    m_byArv[ARV_GC_NODE(arvNode)] = node.get();
                    if (node->GetPrincipalInterfaceType() == intfIPort)
                        m_ports.push_back(node.get());
                    m_nodes.push_back(std::move(node));
                }
            }
            if (ARV_IS_GC_ENUMERATION(element))
                enclosing = arv_gc_feature_node_get_name(arvNode);
        }
        if (ARV_IS_DOM_ELEMENT(element)) {
            for (ArvDomNode* child = arv_dom_node_get_first_child(element); child;
                 child = arv_dom_node_get_next_sibling(child)) {
                if (ARV_IS_GC_FEATURE_NODE(child) || !ARV_IS_GC_PROPERTY_NODE(child))
                    pending.emplace_back(child, enclosing);
            }
        }
    }

    // 2. The dependency graph from the links of the description.
    std::vector<std::string> missing;
    std::map<std::string, std::vector<Node*>> byAddress;
    for (const auto& owned : m_nodes) {
        Node* node = owned.get();
        for (const Node::Property& property : node->properties()) {
            std::vector<std::string> targets;
            if (isLinkProperty(property.name))
                targets.push_back(property.text);
            if (property.attributes.rfind("pOffset=", 0) == 0)
                targets.push_back(property.attributes.substr(8));
            for (const std::string& targetName : targets) {
                Node* target = nodeFor(arv_gc_get_node(m_genicam, targetName.c_str()));
                if (!target) {
                    missing.push_back("node '" + node->name() + "' refers to the missing node '" +
                                      targetName + "' in <" + property.name + ">");
                    continue;
                }
                if (property.name == "pFeature") {
                    m_dependencies[node].push_back(target);
                    m_categories[target].push_back(node);
                } else if (property.name == "pSelected") {
                    addEdge(node, target);
                    m_selecting[target].push_back(node);
                } else {
                    addEdge(target, node);
                }
            }
        }
        if (ARV_IS_GC_ENUMERATION(node->arvNode())) {
            for (const GSList* item =
                     arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(node->arvNode()));
                 item; item = item->next) {
                if (Node* entry = nodeFor(static_cast<ArvGcNode*>(item->data)))
                    addEdge(entry, node);
            }
        }
        const std::string element = arv_dom_node_get_node_name(ARV_DOM_NODE(node->arvNode()));
        if (isRegisterElement(element)) {
            const std::string key = node->propertyText("Address") + "|" +
                                    node->propertyText("pAddress") + "|" +
                                    node->propertyText("pIndex") + "|" +
                                    node->propertyText("pPort");
            byAddress[key].push_back(node);
        }
        bool polled = false;
        const std::string pollingTime = node->propertyText("PollingTime", &polled);
        if (polled) {
            const int64_t periodMs = std::strtoll(pollingTime.c_str(), nullptr, 0);
            if (periodMs > 0)
                m_polled.push_back({node, periodMs, 0});
        }
    }
    // Registers at one address (bit fields of one register) change together.
    for (const auto& group : byAddress) {
        for (Node* a : group.second) {
            for (Node* b : group.second) {
                if (a != b)
                    addEdge(a, b);
            }
        }
    }
    if (strictLinks && !missing.empty()) {
        std::string text = missing.front();
        if (missing.size() > 1)
            text += " (and " + std::to_string(missing.size() - 1) + " more)";
        throw RUNTIME_EXCEPTION("Inconsistent GenICam XML: %s", text.c_str());
    }
}

void NodeMap::addEdge(Node* from, Node* to)
{
    auto& dependents = m_dependents[from];
    if (std::find(dependents.begin(), dependents.end(), to) == dependents.end())
        dependents.push_back(to);
    auto& dependencies = m_dependencies[to];
    if (std::find(dependencies.begin(), dependencies.end(), from) == dependencies.end())
        dependencies.push_back(from);
}

Node* NodeMap::nodeFor(ArvGcNode* arvNode) const
{
    if (!arvNode)
        return nullptr;
    const auto it = m_byArv.find(arvNode);
    return it == m_byArv.end() ? nullptr : it->second;
}

const std::vector<Node*>& NodeMap::dependents(const Node* node) const
{
    const auto it = m_dependents.find(node);
    return it == m_dependents.end() ? kNone : it->second;
}

const std::vector<Node*>& NodeMap::dependencies(const Node* node) const
{
    const auto it = m_dependencies.find(node);
    return it == m_dependencies.end() ? kNone : it->second;
}

const std::vector<Node*>& NodeMap::categoriesOf(const Node* node) const
{
    const auto it = m_categories.find(node);
    return it == m_categories.end() ? kNone : it->second;
}

const std::vector<std::string>& NodeMap::indexAttributes(const std::string& nodeName) const
{
    static const std::vector<std::string> none;
    const auto it = m_indexAttributes.find(nodeName);
    return it == m_indexAttributes.end() ? none : it->second;
}

const std::vector<Node*>& NodeMap::selectingOf(const Node* node) const
{
    const auto it = m_selecting.find(node);
    return it == m_selecting.end() ? kNone : it->second;
}

std::vector<Node*> NodeMap::writeTargets(Node* node) const
{
    std::vector<Node*> targets{node};
    for (Node* next = node->linked("pValue"); next && targets.size() < 16;
         next = next->linked("pValue")) {
        if (std::find(targets.begin(), targets.end(), next) != targets.end())
            break;
        targets.push_back(next);
    }
    return targets;
}

std::vector<Node*> NodeMap::closure(const std::vector<Node*>& start) const
{
    std::vector<Node*> order;
    std::unordered_set<const Node*> seen;
    std::deque<Node*> queue;
    for (Node* node : start) {
        if (seen.insert(node).second) {
            queue.push_back(node);
            order.push_back(node);
        }
    }
    while (!queue.empty()) {
        Node* node = queue.front();
        queue.pop_front();
        for (Node* dependent : dependents(node)) {
            if (seen.insert(dependent).second) {
                queue.push_back(dependent);
                order.push_back(dependent);
            }
        }
    }
    return order;
}

void NodeMap::collectCallbacks(const std::vector<Node*>& changed,
                               std::vector<std::shared_ptr<CNodeCallback>>& outside)
{
    const std::vector<Node*> affected = closure(changed);
    for (Node* node : affected) {
        if (node->hasCallbacks())
            node->fireInside();
    }
    for (Node* node : affected)
        node->collectOutside(outside);
}

void NodeMap::fire(const std::vector<Node*>& changed)
{
    std::vector<std::shared_ptr<CNodeCallback>> outside;
    {
        AutoLock lock(m_lock);
        collectCallbacks(changed, outside);
    }
    for (const auto& callback : outside)
        (*callback)(cbPostOutsideLock);
}

void NodeMap::GetNodes(NodeList_t& nodes) const
{
    AutoLock lock(m_lock);
    nodes.clear();
    for (const auto& node : m_nodes)
        nodes.push_back(node.get());
}

INode* NodeMap::GetNode(const gcstring& name) const
{
    AutoLock lock(m_lock);
    const auto it = m_byName.find(name);
    return it == m_byName.end() ? nullptr : it->second;
}

void NodeMap::InvalidateNodes() const
{
    // Nothing is cached: Aravis' register cache stays off, so every read reaches the device.
}

bool NodeMap::Connect(IPort* port, const gcstring& portName) const
{
    AutoLock lock(m_lock);
    if (!m_ownDevice || !port)
        return false;
    const bool named = std::any_of(m_ports.begin(), m_ports.end(),
                                   [&](const Node* node) { return node->name() == portName; });
    if (!named && !m_ports.empty() && portName != "Device")
        return false;
    // Aravis sends every port's traffic to the document's one device, so one map has one port.
    portDeviceSetPort(m_device.get(), port);
    if (auto* impl = dynamic_cast<CPortImpl*>(port))
        impl->setNodeMapForInvalidation(const_cast<NodeMap*>(this));
    return true;
}

bool NodeMap::Connect(IPort* port) const
{
    return Connect(port, m_ports.empty() ? gcstring("Device") : gcstring(m_ports.front()->name()));
}

void NodeMap::Poll(int64_t elapsedTimeMs)
{
    std::vector<Node*> due;
    {
        AutoLock lock(m_lock);
        for (Polled& polled : m_polled) {
            polled.elapsedMs += elapsedTimeMs;
            if (polled.elapsedMs >= polled.periodMs) {
                polled.elapsedMs = 0;
                due.push_back(polled.node);
            }
        }
    }
    if (!due.empty())
        fire(due);
}

void NodeMap::invalidatePort()
{
    fire(m_ports);
}

} // namespace GenApi
