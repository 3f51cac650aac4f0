#pragma once

// A node map over one Aravis GenICam document: our node objects for its feature nodes, the
// dependency graph that drives callbacks, polling, and the map's recursive lock.
// Thread-safe: every entry takes m_lock (recursive); callbacks registered as cbPostOutsideLock
// run after the writing call released it.

#include "genapi/gobjectptr.h"
#include "genapi/interfaces.h"

#include <arv.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace GenApi {

class Node;

class NodeMap : public INodeMap
{
public:
    // Parses `xml` into a map over an in-process port device; throws a RuntimeException with the
    // parser's message for malformed XML and for links to nodes that do not exist.
    static std::unique_ptr<NodeMap> fromXml(const std::string& xml, const gcstring& deviceName);
    // Wraps the document of an Aravis device (takes a reference on the device).
    static std::unique_ptr<NodeMap> fromAravisDevice(ArvDevice* device);
    ~NodeMap() override;

    // INodeMap
    void GetNodes(NodeList_t& nodes) const override;
    INode* GetNode(const gcstring& name) const override;
    void InvalidateNodes() const override;
    bool Connect(IPort* port, const gcstring& portName) const override;
    bool Connect(IPort* port) const override;
    gcstring GetDeviceName() override { return m_deviceName; }
    void Poll(int64_t elapsedTimeMs) override;
    CLock& GetLock() const override { return m_lock; }
    uint64_t GetNumNodes() const override { return m_nodes.size(); }

    // For the nodes.
    Node* nodeFor(ArvGcNode* arvNode) const;
    ArvGc* genicam() const { return m_genicam; }
    bool rangeChecks() const { return m_ownDevice; }
    // Runs the callbacks of `changed` and of every node that depends on it. Called with the
    // lock held once; the outside-lock callbacks are collected into `outside` for the caller.
    void collectCallbacks(const std::vector<Node*>& changed,
                          std::vector<std::shared_ptr<CNodeCallback>>& outside);
    // The nodes a write to `node` changes directly: the node and its pValue chain.
    std::vector<Node*> writeTargets(Node* node) const;
    const std::vector<Node*>& dependents(const Node* node) const;
    const std::vector<Node*>& dependencies(const Node* node) const;
    const std::vector<Node*>& categoriesOf(const Node* node) const;
    const std::vector<Node*>& selectingOf(const Node* node) const;
    // "Offset=4" / "pOffset=Name" of each <pIndex> of a node, in document order.
    const std::vector<std::string>& indexAttributes(const std::string& nodeName) const;
    // Every node that depends on the port (for CPortImpl::InvalidateNode).
    void invalidatePort();

private:
    NodeMap(GObjectPtr<ArvDevice> device, ArvGc* genicam, const gcstring& deviceName,
            bool ownDevice);
    void build(bool strictLinks);
    void addEdge(Node* from, Node* to); // `to` depends on `from`
    std::vector<Node*> closure(const std::vector<Node*>& start) const;
    void fire(const std::vector<Node*>& changed);

    GObjectPtr<ArvDevice> m_device;
    ArvGc* m_genicam; // owned by m_device
    gcstring m_deviceName;
    bool m_ownDevice; // our in-process port device (strict XML checks, range checks on)
    mutable CLock m_lock; // guards every node access, the graph's polling clocks and callbacks

    std::vector<std::unique_ptr<Node>> m_nodes;
    std::unordered_map<std::string, Node*> m_byName;
    std::unordered_map<ArvGcNode*, Node*> m_byArv;
    std::unordered_map<const Node*, std::vector<Node*>> m_dependents;
    std::unordered_map<const Node*, std::vector<Node*>> m_dependencies;
    std::unordered_map<const Node*, std::vector<Node*>> m_categories;
    std::unordered_map<const Node*, std::vector<Node*>> m_selecting;
    std::vector<Node*> m_ports;
    std::unordered_map<std::string, std::vector<std::string>> m_indexAttributes;
    struct Polled
    {
        Node* node;
        int64_t periodMs;
        int64_t elapsedMs;
    };
    std::vector<Polled> m_polled;
};

} // namespace GenApi
