#pragma once

// Base of in-process register ports: a class derives from it, implements Read and Write, and
// connects to a CNodeMapRef, which then reads and writes its registers through it.
// Thread: Read and Write are called with the node map's lock held, from any thread using the map.

#include "genapi/interfaces.h"

namespace GenApi {

class CPortImpl : public IPort
{
public:
    EAccessMode GetAccessMode() const override { return RW; }
    void Read(void* buffer, int64_t address, int64_t length) override = 0;
    void Write(const void* buffer, int64_t address, int64_t length) override = 0;
    // Called by the node map when the device changed registers behind the map's back, so that
    // the map re-reads them and runs the callbacks of every node that may have changed.
    void InvalidateNode();
    void setNodeMapForInvalidation(INodeMap* nodeMap) { m_nodeMap = nodeMap; }

private:
    INodeMap* m_nodeMap = nullptr;
};

} // namespace GenApi
