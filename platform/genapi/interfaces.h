#pragma once

// The GenApi node interfaces. A node object implements INode and IValue plus the interfaces of
// its kind (an IntReg is an IInteger and an IRegister); casting between them is a dynamic_cast,
// which the smart pointers of pointer.h do. Every operation takes the node map's lock.
// Thread-safe: any thread may use a node; one recursive lock per node map serialises access.

#include "genapi/genicamexception.h"
#include "genapi/types.h"

#include <cstdint>
#include <functional>
#include <mutex>

namespace GenApi {

class INodeMap;
class CNodeCallback;
class IEnumEntry;
using CallbackHandleType = CNodeCallback*;

class IBase
{
public:
    virtual ~IBase() = default;
    virtual EAccessMode GetAccessMode() const = 0;
};

class INode : public virtual IBase
{
public:
    virtual gcstring GetName(bool fullQualified = false) const = 0;
    virtual ENameSpace GetNameSpace() const = 0;
    virtual EVisibility GetVisibility() const = 0;
    virtual void InvalidateNode() = 0;
    virtual bool IsCachable() const = 0;
    virtual EYesNo IsAccessModeCacheable() const = 0;
    virtual ECachingMode GetCachingMode() const = 0;
    // Milliseconds between polls, -1 when the node is not polled.
    virtual int64_t GetPollingTime() const = 0;
    virtual gcstring GetToolTip() const = 0;
    virtual gcstring GetDescription() const = 0;
    // Falls back to the name when the description has no display name.
    virtual gcstring GetDisplayName() const = 0;
    virtual gcstring GetDeviceName() const = 0;
    // Nodes this node reads from (pValue, pMin, pIsAvailable, ... and a category's features).
    virtual void GetChildren(NodeList_t& children) const = 0;
    // Nodes that read from this one.
    virtual void GetParents(NodeList_t& parents) const = 0;
    virtual INodeMap* GetNodeMap() const = 0;
    virtual gcstring GetEventID() const = 0;
    virtual bool IsStreamable() const = 0;
    // The XML element names of the node's properties ("Name", "NameSpace", "pValue", "Min", ...).
    virtual void GetPropertyNames(gcstring_vector& names) const = 0;
    // A property's text; several occurrences are joined with tabs. False when there is none.
    virtual bool GetProperty(const gcstring& propertyName, gcstring& valueStr,
                             gcstring& attributeStr) const = 0;
    virtual void ImposeAccessMode(EAccessMode mode) = 0;
    virtual void ImposeVisibility(EVisibility visibility) = 0;
    virtual bool IsDeprecated() const = 0;
    virtual bool IsFeature() const = 0;
    virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
    virtual bool IsSelector() const = 0;
    // The features a selector selects, and the selectors that select this feature.
    virtual void GetSelectedFeatures(FeatureList_t& features) const = 0;
    virtual void GetSelectingFeatures(FeatureList_t& features) const = 0;
    // The categories that list this node.
    virtual void GetCategories(NodeList_t& categories) const = 0;
    virtual CallbackHandleType RegisterCallback(CNodeCallback* callback) = 0;
    virtual bool DeregisterCallback(CallbackHandleType handle) = 0;
};

class IValue : public virtual INode
{
public:
    virtual INode* GetNode() = 0;
    virtual gcstring ToString(bool verify = false, bool ignoreCache = false) = 0;
    virtual void FromString(const gcstring& valueString, bool verify = true) = 0;
    virtual bool IsValueCacheValid() const = 0;
};

class IInteger : public virtual IValue
{
public:
    virtual void SetValue(int64_t value, bool verify = true) = 0;
    virtual int64_t GetValue(bool verify = false, bool ignoreCache = false) = 0;
    virtual int64_t GetMin() = 0;
    virtual int64_t GetMax() = 0;
    virtual EIncMode GetIncMode() = 0;
    virtual int64_t GetInc() = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual gcstring GetUnit() = 0;
    IInteger& operator=(int64_t value)
    {
        SetValue(value);
        return *this;
    }
    int64_t operator()() { return GetValue(); }
    int64_t operator*() { return GetValue(); }
};

class IFloat : public virtual IValue
{
public:
    virtual void SetValue(double value, bool verify = true) = 0;
    virtual double GetValue(bool verify = false, bool ignoreCache = false) = 0;
    virtual double GetMin() = 0;
    virtual double GetMax() = 0;
    virtual bool HasInc() = 0;
    virtual EIncMode GetIncMode() = 0;
    virtual double GetInc() = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual gcstring GetUnit() const = 0;
    virtual EDisplayNotation GetDisplayNotation() const = 0;
    virtual int64_t GetDisplayPrecision() const = 0;
    IFloat& operator=(double value)
    {
        SetValue(value);
        return *this;
    }
    double operator()() { return GetValue(); }
    double operator*() { return GetValue(); }
};

class IBoolean : public virtual IValue
{
public:
    virtual void SetValue(bool value, bool verify = true) = 0;
    virtual bool GetValue(bool verify = false, bool ignoreCache = false) const = 0;
    IBoolean& operator=(bool value)
    {
        SetValue(value);
        return *this;
    }
    bool operator()() const { return GetValue(); }
};

class ICommand : public virtual IValue
{
public:
    virtual void Execute(bool verify = true) = 0;
    // True once the device reports the command finished (it reads the command's register back).
    virtual bool IsDone(bool verify = true) = 0;
    void operator()() { Execute(); }
};

class IString : public virtual IValue
{
public:
    virtual void SetValue(const gcstring& value, bool verify = true) = 0;
    virtual gcstring GetValue(bool verify = false, bool ignoreCache = false) = 0;
    virtual int64_t GetMaxLength() = 0;
    IString& operator=(const gcstring& value)
    {
        SetValue(value);
        return *this;
    }
    gcstring operator()() { return GetValue(); }
};

class IRegister : public virtual IValue
{
public:
    virtual void Set(const uint8_t* buffer, int64_t length, bool verify = true) = 0;
    virtual void Get(uint8_t* buffer, int64_t length, bool verify = false,
                     bool ignoreCache = false) = 0;
    virtual int64_t GetLength() = 0;
    virtual int64_t GetAddress() = 0;
};

class ICategory : public virtual IValue
{
public:
    virtual void GetFeatures(FeatureList_t& features) const = 0;
};

class IEnumEntry : public virtual IValue
{
public:
    virtual int64_t GetValue() = 0;
    virtual gcstring GetSymbolic() const = 0;
    virtual double GetNumericValue() = 0;
    virtual bool IsSelfClearing() = 0;
};

class IEnumeration : public virtual IValue
{
public:
    virtual void GetSymbolics(StringList_t& symbolics) = 0;
    // Every entry, available or not, in the order of the description.
    virtual void GetEntries(NodeList_t& entries) = 0;
    virtual void SetIntValue(int64_t value, bool verify = true) = 0;
    virtual int64_t GetIntValue(bool verify = false, bool ignoreCache = false) = 0;
    virtual IEnumEntry* GetEntryByName(const gcstring& symbolic) = 0;
    virtual IEnumEntry* GetEntry(int64_t intValue) = 0;
    virtual IEnumEntry* GetCurrentEntry(bool verify = false, bool ignoreCache = false) = 0;
    IEnumeration& operator=(const gcstring& symbolic)
    {
        FromString(symbolic);
        return *this;
    }
};

// A register port: the device memory a node map reads and writes.
class IPort : public virtual IBase
{
public:
    virtual void Read(void* buffer, int64_t address, int64_t length) = 0;
    virtual void Write(const void* buffer, int64_t address, int64_t length) = 0;
};

// User data that a node map's owner attaches to a node (the camera layer marks each map's
// "Root" node with its kind).
class IUserData
{
public:
    virtual ~IUserData() = default;
    virtual UserData_t GetUserData() const = 0;
    virtual UserData_t SetUserData(UserData_t userData) = 0;
};

// The lock of one node map; recursive, so a callback may use the map it was called from.
class CLock
{
public:
    void Lock() { m_mutex.lock(); }
    void Unlock() { m_mutex.unlock(); }
    bool TryLock() { return m_mutex.try_lock(); }
    // For std::lock_guard / std::unique_lock.
    void lock() { m_mutex.lock(); }
    void unlock() { m_mutex.unlock(); }
    bool try_lock() { return m_mutex.try_lock(); }

private:
    std::recursive_mutex m_mutex;
};

class AutoLock
{
public:
    explicit AutoLock(CLock& lock) : m_lock(lock) { m_lock.Lock(); }
    ~AutoLock() { m_lock.Unlock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    CLock& m_lock;
};

class INodeMap
{
public:
    virtual ~INodeMap() = default;
    virtual void GetNodes(NodeList_t& nodes) const = 0;
    // Null when there is no node of that name.
    virtual INode* GetNode(const gcstring& name) const = 0;
    virtual void InvalidateNodes() const = 0;
    // Connects the map's port of that name ("Device" by default) to an implementation.
    virtual bool Connect(IPort* port, const gcstring& portName) const = 0;
    virtual bool Connect(IPort* port) const = 0;
    virtual gcstring GetDeviceName() = 0;
    // Advances the polling clocks by `elapsedTimeMs` and fires the callbacks of due nodes.
    virtual void Poll(int64_t elapsedTimeMs) = 0;
    virtual CLock& GetLock() const = 0;
    virtual uint64_t GetNumNodes() const = 0;
};

// A callback registered on a node: runs after a write through the node map to the node or to a
// node it depends on, and when a polled node it depends on is due.
class CNodeCallback
{
public:
    CNodeCallback(INode* node, std::function<void(INode*)> function, ECallbackType callbackType)
        : m_node(node), m_function(std::move(function)), m_callbackType(callbackType)
    {
    }
    void operator()(ECallbackType callbackType) const
    {
        if (callbackType == m_callbackType && m_function)
            m_function(m_node);
    }
    INode* GetNode() const { return m_node; }
    ECallbackType GetCallbackType() const { return m_callbackType; }

private:
    INode* m_node;
    std::function<void(INode*)> m_function;
    ECallbackType m_callbackType;
};

// Registers `function` on `node`; the returned handle deregisters it.
inline CallbackHandleType Register(INode* node, std::function<void(INode*)> function,
                                   ECallbackType callbackType = cbPostInsideLock)
{
    if (!node)
        throw LOGICAL_ERROR_EXCEPTION("Register: the node is null");
    return node->RegisterCallback(new CNodeCallback(node, std::move(function), callbackType));
}

template <class Client, class Member>
CallbackHandleType Register(INode* node, Client& client, Member member,
                            ECallbackType callbackType = cbPostInsideLock)
{
    return Register(
        node, [&client, member](INode* n) { (client.*member)(n); }, callbackType);
}

// Removes a callback registered with Register; false when it is not registered (any more).
inline bool Deregister(CallbackHandleType handle)
{
    return handle && handle->GetNode() && handle->GetNode()->DeregisterCallback(handle);
}

} // namespace GenApi
