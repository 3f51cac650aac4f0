#pragma once

// The transport-layer node map of an opened Aravis camera ("Transport Layer"): for GigE Vision
// the stream packet size and delay, the heartbeat timeout, the camera's network configuration
// and time-stamp clock; for every camera that has it, TLParamsLocked. Each feature reads or
// writes the camera when it is used (nothing is cached), through Aravis' GigE Vision calls,
// raw bootstrap registers or the camera's own GenICam nodes.
// Thread-safe: the node map's lock serialises its features; each camera access also takes the
// device node map's lock, because Aravis' GenICam document has no lock of its own.

#include "tarpo/portnodemap.h"

typedef struct _ArvDevice ArvDevice;

namespace Tarpo {

class CArvTlNodeMap
{
public:
    // Borrows `device` and `deviceNodeMap` for its lifetime. `readOnly` (monitor access) leaves
    // every feature without a setter.
    CArvTlNodeMap(ArvDevice* device, GenApi::INodeMap* deviceNodeMap,
                  const std::string& serialNumber, bool readOnly);

    GenApi::INodeMap* nodeMap() const { return m_map.nodeMap(); }

private:
    void addTransportFeatures();
    void addNetworkFeatures();
    // Bootstrap register access; throws a RuntimeException naming the register on failure.
    uint32_t readRegister(uint32_t address, const char* what) const;
    void writeRegister(uint32_t address, uint32_t value, const char* what) const;
    // An integer of Aravis' GenICam document (including its ArvGev* nodes).
    int64_t readFeature(const char* name) const;
    void writeFeature(const char* name, int64_t value) const;
    template <class Setter> Setter writable(Setter setter) const
    {
        return m_readOnly ? Setter() : setter;
    }

    ArvDevice* m_device;
    GenApi::INodeMap* m_deviceNodeMap;
    bool m_readOnly;
    bool m_gigE;
    CPortNodeMap m_map;
};

} // namespace Tarpo
