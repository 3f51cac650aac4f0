#pragma once

// Owns one node map built from GenICam XML, and connects it to an in-process port (CPortImpl).
// This is how our own GenICam devices (the emulator, the converter's parameters, the transport
// layer and stream grabber maps) get their node maps.
// Thread: load and connect from one thread; the node map it gives out is thread-safe.

#include "genapi/interfaces.h"

#include <memory>

typedef struct _ArvDevice ArvDevice;

namespace GenApi {

class NodeMap;

class CNodeMapRef
{
public:
    explicit CNodeMapRef(const gcstring& deviceName = "Device");
    ~CNodeMapRef();
    CNodeMapRef(const CNodeMapRef&) = delete;
    CNodeMapRef& operator=(const CNodeMapRef&) = delete;
    CNodeMapRef(CNodeMapRef&&) noexcept;
    CNodeMapRef& operator=(CNodeMapRef&&) noexcept;

    // Builds the node map; a malformed or inconsistent description throws a RuntimeException
    // with the parser's message, and the object stays empty.
    void _LoadXMLFromFile(const gcstring& fileName);
    void _LoadXMLFromString(const gcstring& xml);
    // Wraps the node map of an opened Aravis device (GigE Vision, USB3 Vision): takes a reference
    // on the device, which keeps the map alive.
    void _LoadFromAravisDevice(ArvDevice* device);

    bool _Connect(IPort* port, const gcstring& portName);
    bool _Connect(IPort* port);

    bool IsValid() const { return m_nodeMap != nullptr; }
    INodeMap* _GetNodeMap() const;
    INode* _GetNode(const gcstring& name) const;
    gcstring _GetDeviceName() const { return m_deviceName; }
    void _Poll(int64_t elapsedTimeMs);
    void _Destroy();

    operator INodeMap*() const { return _GetNodeMap(); }

private:
    gcstring m_deviceName;
    std::unique_ptr<NodeMap> m_nodeMap;
};

// Factory-level cache of node map descriptions read from files.
class CNodeMapFactory
{
public:
    // Forgets every cached description; the next load reads the file again.
    static void ClearCache();
    // Number of cached descriptions (for diagnostics and tests).
    static size_t CacheSize();
};

} // namespace GenApi
