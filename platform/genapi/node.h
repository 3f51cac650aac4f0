#pragma once

// Our node objects over Aravis' feature nodes. Node implements what every node has (INode,
// IValue, user data, callbacks, the GenApi access rules); the kinds below add their interfaces.
// Thread-safe: every public operation takes the node map's lock.

#include "genapi/interfaces.h"

#include <arv.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace GenApi {

class NodeMap;

class Node : public virtual IValue, public IUserData
{
public:
    Node(NodeMap* map, ArvGcFeatureNode* arvNode, std::string name, EInterfaceType principal);
    ~Node() override;

    // IBase / INode
    EAccessMode GetAccessMode() const override;
    gcstring GetName(bool fullQualified = false) const override;
    ENameSpace GetNameSpace() const override;
    EVisibility GetVisibility() const override;
    void InvalidateNode() override;
    bool IsCachable() const override;
    EYesNo IsAccessModeCacheable() const override;
    ECachingMode GetCachingMode() const override;
    int64_t GetPollingTime() const override;
    gcstring GetToolTip() const override;
    gcstring GetDescription() const override;
    gcstring GetDisplayName() const override;
    gcstring GetDeviceName() const override;
    void GetChildren(NodeList_t& children) const override;
    void GetParents(NodeList_t& parents) const override;
    INodeMap* GetNodeMap() const override;
    gcstring GetEventID() const override;
    bool IsStreamable() const override;
    void GetPropertyNames(gcstring_vector& names) const override;
    bool GetProperty(const gcstring& propertyName, gcstring& valueStr,
                     gcstring& attributeStr) const override;
    void ImposeAccessMode(EAccessMode mode) override;
    void ImposeVisibility(EVisibility visibility) override;
    bool IsDeprecated() const override;
    bool IsFeature() const override;
    EInterfaceType GetPrincipalInterfaceType() const override { return m_principal; }
    bool IsSelector() const override;
    void GetSelectedFeatures(FeatureList_t& features) const override;
    void GetSelectingFeatures(FeatureList_t& features) const override;
    void GetCategories(NodeList_t& categories) const override;
    CallbackHandleType RegisterCallback(CNodeCallback* callback) override;
    bool DeregisterCallback(CallbackHandleType handle) override;

    // IValue
    INode* GetNode() override { return this; }
    gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const gcstring& valueString, bool verify = true) override;
    bool IsValueCacheValid() const override { return false; }

    // IUserData
    UserData_t GetUserData() const override;
    UserData_t SetUserData(UserData_t userData) override;

    // For the node map.
    ArvGcFeatureNode* arvNode() const { return m_arv; }
    NodeMap* map() const { return m_map; }
    const std::string& name() const { return m_name; }
    // The callbacks of this node for firing: inside-lock ones are called, outside-lock ones
    // collected. Called with the map's lock held.
    void fireInside();
    void collectOutside(std::vector<std::shared_ptr<CNodeCallback>>& outside) const;
    bool hasCallbacks() const { return !m_callbacks.empty(); }

    // DOM helpers: the XML properties of this node.
    struct Property
    {
        std::string name;       // element name: "pValue", "Min", "PollingTime", ...
        std::string text;       // element text: a node name for links
        std::string attributes; // "Offset=4" for pIndex, else empty
        ArvDomNode* element;
    };
    std::vector<Property> properties() const;
    // The first property of that name (empty text when absent; `found` tells).
    std::string propertyText(const char* name, bool* found = nullptr) const;
    // The node a link property ("pValue", ...) points to, or null.
    Node* linked(const char* propertyName) const;

protected:
    // Access checks with texts that name the node and the rule. Call with the lock held.
    void requireReadable() const;
    void requireWritable() const;
    // Throws the GenICam exception that matches an Aravis error (and frees it).
    void raise(GError* error, const char* operation) const;
    // Calls an Aravis function that reports through a GError (`call(GError**)`), turning an
    // error into the matching GenICam exception; returns what the function returns.
    template <class F>
    auto checked(const char* operation, F&& call) const
    {
        GError* error = nullptr;
        if constexpr (std::is_void_v<decltype(call(&error))>) {
            call(&error);
            if (error)
                raise(error, operation);
        } else {
            auto value = call(&error);
            if (error)
                raise(error, operation);
            return value;
        }
    }
    // Runs a write: the lock, the write itself, then the callbacks of everything it changed.
    template <class F>
    void write(F&& doWrite);
    bool isLocked() const;
    EAccessMode accessModeLocked() const;

    NodeMap* m_map;
    ArvGcFeatureNode* m_arv;
    std::string m_name;
    EInterfaceType m_principal;
    EAccessMode m_imposedAccessMode = _UndefinedAccesMode;
    EVisibility m_imposedVisibility = _UndefinedVisibility;
    UserData_t m_userData = NoUserData;
    std::vector<std::shared_ptr<CNodeCallback>> m_callbacks;
};

// Throws the GenICam exception that matches an Aravis error about `nodeName`; frees the error.
[[noreturn]] void raiseAravisError(GError* error, const std::string& nodeName,
                                   const char* operation);

} // namespace GenApi

#include "genapi/nodemap.h"

namespace GenApi {

template <class F>
void Node::write(F&& doWrite)
{
    std::vector<std::shared_ptr<CNodeCallback>> outside;
    {
        AutoLock lock(m_map->GetLock());
        doWrite();
        m_map->collectCallbacks(m_map->writeTargets(this), outside);
    }
    // Outside-lock callbacks run after this call released the lock (a caller further up may
    // still hold it: the lock is recursive).
    for (const auto& callback : outside)
        (*callback)(cbPostOutsideLock);
}

} // namespace GenApi
